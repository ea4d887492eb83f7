/* Control of the virtual scanner, from outside the wire.
 *
 * The wdapi1140 stand-in exports these functions beside the driver's own, so that a test or a tool that
 * runs in the host's process can put cards in, press buttons and make transfers misbehave. Look them up at
 * run time: another driver library has none of them. There is one virtual scanner per process; it exists
 * from the first call here or from WDU_Init with K274_DEVICE=virtual, whichever comes first, and keeps its
 * state across WDU_Uninit, as a scanner on a desk does. Every function may be called from any thread.
 *
 * Environment, read when the scanner comes into being: K274_CARDS (a folder of cards, inserted one after
 * the other as the slot becomes free), K274_SPEED, K274_SEED, K274_JITTER, K274_SCANNER_LOG (a file that gets
 * the device log), K274_FLASH (a file that keeps what the scanner stores). What each of them means to a user
 * is in docs/virtual-scanner.md.
 */
#ifndef VIRTUAL_SCANNER_H
#define VIRTUAL_SCANNER_H

#include <stdint.h>

#if defined(_WIN32) && defined(WDAPI_BUILD)
#define VS_API __declspec(dllexport)
#elif defined(_WIN32)
#define VS_API
#else
#define VS_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Results. */
enum {
    VS_OK = 0,
    VS_BAD_CARD = -1,  /* the folder is no card, or a picture in it cannot be used; VS_LastError says why */
    VS_SLOT_BUSY = -2, /* a card is in the slot already */
    VS_BAD_ARGUMENT = -3,
    VS_QUEUE_FULL = -4 /* the scanner holds as many event texts as it can */
};

/* ---- the user's side ---- */

/* Puts a card (a folder) into the slot. The scanner draws it in when the host next polls an idle scanner
 * whose door is closed. */
VS_API int32_t VS_InsertCard(const char *folder);
/* Names the cards that are inserted one after the other; an empty or null text stops that. */
VS_API int32_t VS_SetCards(const char *folder);
/* 1 while a card is in the slot or being scanned, or more cards are waiting. */
VS_API int32_t VS_CardWaiting(void);
/* Opening the door or pressing the button in mid-scan ends the scan. */
VS_API void VS_OpenDoor(void);
VS_API void VS_CloseDoor(void);
VS_API void VS_PressEject(void);
/* Any event text, as the scanner's firmware would report it (at most 127 characters). */
VS_API int32_t VS_PostEvent(const char *text);
VS_API void VS_Unplug(void);
VS_API void VS_PlugIn(void);
/* Restarts the scanner without unplugging it: the next status reply says that it was reset. In the middle of
 * programming this, like unplugging, leaves the old version or, once it is erased, none. */
VS_API void VS_RestartFirmware(void);
/* Text of this thread's last failure of a function here, empty when its last call did not fail. Valid until
 * the thread's next call. */
VS_API const char *VS_LastError(void);

/* ---- the scanner's own properties ---- */

/* 1 is the pace of a real scanner, 10 ten times as fast, 0 no waiting at all. */
VS_API int32_t VS_SetSpeed(double factor);
/* Seeds the noise, the dust and the way cards lie, from the next card on. The same seed and cards give the
 * same bytes. */
VS_API void VS_SetSeed(uint32_t seed);

typedef struct VS_Identity {
    uint32_t serialNumber;
    uint64_t serialNumber2; /* 0: the scanner has none */
    uint8_t firmware[3], fpga[2], hardware, further;
    uint8_t reserved;
} VS_Identity;
VS_API void VS_GetIdentity(VS_Identity *identity);
/* A scanner that lost its firmware in mid-programming has one again. */
VS_API void VS_SetIdentity(const VS_Identity *identity);

/* AFE register block, 26 words. Gains and exposures scale what the sensor delivers from the next card on. */
VS_API void VS_SetAfeRegisters(const uint16_t registers[26]);
/* The calibration record as the scanner sends it: length, checksum and 18,900 response bytes. A record
 * that is never set follows the lamps; null returns to that. At most 18,908 bytes are taken, and what is
 * missing is zero. */
VS_API int32_t VS_SetCalibrationRecord(const uint8_t *record, uint32_t size);

/* How far the transport runs ahead and behind, at most, in columns of the visible-light picture: 0 (even) to
 * 16, from the next card on. */
VS_API int32_t VS_SetTransportJitter(double columns);

/* How far the lens is from sharp, in pixels of a focus line: 0 (sharp) to 32. */
VS_API int32_t VS_SetLensBlur(int32_t pixels);

/* What is wrong with the sensor in its test on a target at rest. Pixels are numbered as in a line, 0 to 2719.
 */
typedef struct VS_StillDefects {
    uint32_t deadFirst, deadCount;  /* these pixels see nothing; count 0: none */
    uint32_t stepPixel, stepLevels; /* from this pixel to the end of its half the light is so much less */
    uint32_t noise; /* about its standard deviation in levels: a sound sensor has 1; at most 64 */
} VS_StillDefects;
/* Null: a sound sensor. */
VS_API int32_t VS_SetStillDefects(const VS_StillDefects *defects);

/* What the scanner has been told and has seen, for tests. */
typedef struct VS_Observed {
    uint32_t leds[8];         /* debug LEDs, as last set */
    uint32_t userLed;         /* as last set */
    uint32_t beeps, lastBeep; /* number of beeps, value of the last */
    uint32_t ejects, resets, clears, handshakes, closes, guiScans, hardResets, portCycles, pipeResets;
    uint32_t loggedIn;                /* from the login command */
    uint32_t pollLogin, pollScanMode; /* from the last status poll */
    uint32_t uvOption, secondScan, lastScanMode, lastScanLines;
    uint32_t polls, rgbBlocks; /* status polls and RGB blocks answered */
    uint32_t scans, cancelled; /* cards that went through, and those that did not */
    uint32_t unknownCommands;
    uint32_t lastSequence;                                /* sequence number of the last command */
    uint32_t irBlocks, uvBlocks, stripeReads, trackReads; /* answered */
    uint32_t whiteCardNumber; /* low byte of the number that the host read from a white card, as last told */
    uint32_t hiresBlocks;     /* at twice the pitch, answered */
    uint32_t ledBytes[3];     /* of the LED command, as last set */
    uint32_t mechTests, lastMechTest, mechParameters[2]; /* number of tests, the last one and its values */
    uint32_t loopbacks, agingMode;                       /* loopback exchanges, lamp aging as last set */
    uint32_t firmwareLoads, fpgaLoads;                   /* images taken */
    uint32_t firmwarePrograms, fpgaPrograms, fpgaErases; /* done to the end */
    uint32_t formats, recordWrites, calibrationWrites, afeWrites;
} VS_Observed;
VS_API void VS_GetObserved(VS_Observed *observed);

/* ---- misbehaviour ---- */

/* What happens to a transfer. */
enum {
    VS_FAULT_STATUS = 1,  /* fails with status `value` at once, nothing is transferred */
    VS_FAULT_SHORT = 2,   /* only `value` bytes come through, status 0 */
    VS_FAULT_STALL = 3,   /* hangs until its time-out, then fails with the time-out status */
    VS_FAULT_LENGTH = 4,  /* goes through, but the driver claims `value` bytes */
    VS_FAULT_GARBAGE = 5, /* goes through with every byte replaced by noise seeded with `value` */
    VS_FAULT_UNPLUG = 6   /* the scanner is unplugged in the middle of it */
};
enum { VS_ANY_COMMAND = 0x1FF };
enum { VS_OUT = 0, VS_IN = 1 };

typedef struct VS_Fault {
    uint32_t command;   /* code of the command that the transfer belongs to, or VS_ANY_COMMAND */
    uint32_t direction; /* VS_OUT: sending the command; VS_IN: reading its reply */
    uint32_t first;     /* 1: the next such transfer, 2: the one after it, ... */
    uint32_t count;     /* how many in a row; 0: all from then on */
    uint32_t action;    /* VS_FAULT_... */
    uint32_t value;
} VS_Fault;
/* Arms a fault beside those that are armed already. Of several that are due the one armed first applies.
 * VS_BAD_ARGUMENT for values outside the lists above. */
VS_API int32_t VS_ArmFault(const VS_Fault *fault);
VS_API void VS_ClearFaults(void);

#ifdef __cplusplus
}
#endif

#endif
