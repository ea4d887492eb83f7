/* K274 card and identity-document scanner: the library's C interface.
 *
 * One scanner per process. K274_Init starts the library: a monitor thread then watches the scanner and
 * scans every card by itself. The host registers one callback, is told of every stage, reads the images
 * through the getters after state 8, and ends with K274_Close.
 *
 * Threads: every function may be called from any thread unless it says otherwise. Functions that talk to
 * the scanner take turns on one internal lock, the device lock; it is held for one exchange, never for a
 * whole scan. The callback runs on the library's threads.
 *
 * Calling anything but K274_RegNewScanCB, K274_SetLogPath and the option setters marked "before K274_Init"
 * ahead of K274_Init is the host's error: without a scanner such calls fail or do nothing.
 *
 * Numbers in records and in the scanner's packets are little-endian. Calling convention: cdecl; the
 * callback is stdcall on 32-bit Windows.
 */
#ifndef K274_H
#define K274_H

#include <stdint.h>

#if defined(_WIN32) && defined(K274_BUILD)
#define K274_API __declspec(dllexport)
#elif defined(_WIN32)
#define K274_API __declspec(dllimport)
#elif defined(__GNUC__)
#define K274_API __attribute__((visibility("default")))
#else
#define K274_API
#endif

#if defined(_WIN32) && !defined(_WIN64)
#define K274_CALLBACK __stdcall
#else
#define K274_CALLBACK
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Scan states ------------------------------------------------------------------------------- */

/* What the callback is told. States 1 to 9 follow a scan, 10 to 12 the link, 20 to 29 the scanner's own
 * events, 30 to 38 qualify the card, negative ones are faults found at start-up or by the scanner. */
typedef enum K274_State {
    K274_STATE_SCAN_STARTED = 1,
    K274_STATE_STRIPE_TAKEN = 2,  /* stripe data taken */
    K274_STATE_RGB_DONE = 3,      /* visible-light lines transferred */
    K274_STATE_BARCODE_READY = 4, /* barcode results ready; may come before or after 8 */
    K274_STATE_CARD_MEASURED = 5, /* the card's edges were measured */
    K274_STATE_IR_DONE = 6,       /* infrared lines transferred */
    K274_STATE_LAST_DONE = 7,     /* ultraviolet or 1200-dpi lines transferred */
    K274_STATE_COMPLETE = 8,      /* images and records hold the new scan */
    K274_STATE_CANCELLED = 9,     /* the scan ended early */
    K274_STATE_CONNECTED = 10,
    K274_STATE_DISCONNECTED = 11,
    K274_STATE_DEVICE_RESET = 12, /* the scanner says it was reset; may overlap another callback */
    K274_STATE_CARD_IN = 20,
    K274_STATE_CARD_OUT = 21,
    K274_STATE_LENGTH_MISMATCH = 23, /* the card's length disagrees with the expected one */
    K274_STATE_DOOR_OPENED = 24,
    K274_STATE_DOOR_CLOSED = 25,
    K274_STATE_EJECT_BUTTON = 26,
    K274_STATE_CARD_JAMMED = 29,
    K274_STATE_WHITE_CARD = 30, /* the card looks like a white calibration card */
    K274_STATE_CALIBRATION_FWD = 31,
    K274_STATE_FACTORY_REV = 32,
    K274_STATE_CALIBRATION_REV = 33,
    K274_STATE_CLEANING_CARD = 34,
    K274_STATE_AFE_WRITTEN = 35,
    K274_STATE_WHITE_WRITTEN = 36,
    K274_STATE_FACTORY_DONE = 37,
    K274_STATE_JITTER_CARD = 38,
    K274_STATE_FIRMWARE_DIFFERS = -1, /* firmware differs from the one the library expects */
    K274_STATE_BARCODE_LIB_DIFFERS = -2,
    K274_STATE_AFE_ERROR = -4, /* an AFE register exceeds 999 */
    K274_STATE_FIRMWARE_UPGRADE = -5,
    K274_STATE_UNDEFINED_IRQ = -6
} K274_State;

/* Called once for every state, on one of the library's threads; two calls never overlap, except that
 * state 12 may overlap another. The callback holds up the scan while it runs. It may call any function
 * of this file; one that talks to the scanner waits for the exchange under way. */
typedef void(K274_CALLBACK *K274_ScanStateCallback)(int32_t state);

/* ---- Image geometries -------------------------------------------------------------------------- */

/* Width and height in pixels, rows one after another without padding. Colour pixels are three bytes:
 * blue, green, red. */
enum {
    K274_NAT_WIDTH = 1880,
    K274_NAT_HEIGHT = 1180, /* visible light, 3 bytes a pixel */
    K274_IR_WIDTH = 2048,
    K274_IR_HEIGHT = 1286, /* infrared, 1 byte */
    K274_UV_WIDTH = 1024,
    K274_UV_HEIGHT = 643, /* ultraviolet, 3 bytes */
    K274_SLI_WIDTH = 1000,
    K274_SLI_HEIGHT = 2300, /* 1200 dpi, 3 bytes */
    K274_EDGE_WIDTH = 500,
    K274_EDGE_HEIGHT = 60, /* strip across the back card edge, 3 bytes */
    K274_MSIR_WIDTH = 900,
    K274_MSIR_HEIGHT = 640, /* stripe in infrared, 1 byte */
    K274_MSBL_WIDTH = 640,
    K274_MSBL_HEIGHT = 400, /* stripe bleed image, 1 byte */
    K274_STILL_LINES = 150, /* still image, 2720 x 3 bytes a line */
    K274_STILL_BYTES = 1224000,
    K274_STILL_PROFILES = 6,    /* of 2700 bytes */
    K274_FOCUS_BYTES = 163200,  /* focus image, 10 lines of 16320 bytes */
    K274_MERGE_BYTES = 7901184, /* image for K274_MergeImg, 2048 x 1286 x 3 */
    K274_FLASH_BLOCK = 4096,
    K274_RESP_TABLES = 7,
    K274_RESP_POSITIONS = 2700 /* a CCD response block, 1 byte an entry */
};

/* ---- Records of fixed layout ------------------------------------------------------------------- */

/* Status record, 80 bytes. Fields named device... are the scanner's own values, handed on unread. */
typedef struct K274_Status {
    uint16_t device5;
    uint16_t statusWord; /* 0xFFFF while no reply has been taken since the last poll began */
    uint16_t device17, device18;
    uint16_t device38, device36;
    uint16_t device20[8];
    uint16_t cardWidth;   /* scan columns, 550 per inch */
    uint16_t frontHeight; /* sensor positions, 550 per inch */
    uint16_t backHeight;
    uint16_t reserved34;
    float rgbDeviation; /* card length against the nominal one, percent */
    float irDeviation, uvDeviation;
    uint32_t device40, device42, device48, device50;
    uint32_t device44, device52, device56;
    uint16_t topEdge;    /* sensor position of the front card's upper edge */
    uint16_t backOffset; /* back card's upper edge, counted from the back sensor's first position */
} K274_Status;

/* Version block, 40 bytes. Bytes without a name are 0. The 64-bit number lies at offset 8 and is kept as
 * two halves, so that every compiler lays the record out alike. */
typedef struct K274_Version {
    uint32_t serialNumber; /* 0 without a scanner */
    uint32_t reserved4;
    uint32_t serialNumber2Low; /* second serial number, 0 when the scanner has none */
    uint32_t serialNumber2High;
    uint8_t reserved16[11];
    uint8_t library[3];        /* major, minor, build */
    uint8_t barcodeLibrary[2]; /* major, minor */
    uint8_t firmware[3];
    uint8_t fpga[2];
    uint8_t hardware;
    uint8_t device38;
    uint8_t reserved39;
} K274_Version;

/* Magnetic record, 384 bytes: the tracks of the last card, as decoded from either direction of swipe. */
typedef struct K274_Track {
    uint8_t count;   /* characters, 0 when nothing was read; at most 107 */
    uint8_t error;   /* 0 good; else the check character or the parity was wrong, and `text` ends there */
    uint8_t bits[2]; /* number of bits that the head saw, little-endian */
    uint8_t reserved4[12];
    uint8_t text[112]; /* sentinels included, the check character not; not terminated, zeros behind it */
} K274_Track;
typedef struct K274_Magnetic {
    K274_Track tracks[3];
} K274_Magnetic;

/* Barcode record, 3192 bytes: what the last decode read. */
typedef struct K274_Barcode {
    /* Linear code */
    int16_t linearLength; /* 0 to 90 */
    uint16_t linearCode;  /* 4 Code 128, 5 Code 39 */
    uint16_t linearInfo;  /* first word of the decoder's info block */
    uint8_t reserved6[10];
    uint8_t linearText[90]; /* not terminated */
    uint8_t reserved106[6];
    /* PDF417 */
    int16_t pdfLength; /* 0 to 2000; 7 for a white card */
    uint16_t pdfCode;  /* 12 */
    uint16_t pdfInfo;  /* first word of the decoder's info block; 0: the read was not accepted */
    uint16_t reserved118;
    uint16_t duration;       /* of the decode, milliseconds */
    uint8_t rows, columns;   /* of the symbol; these five as the decoder tells, 0 unknown, at most 255 */
    uint8_t correctionLevel; /* of the symbol's error correction */
    uint8_t moduleWidth;     /* narrowest bar, tenths of a pixel */
    uint8_t attempt;         /* of the decoder that read it */
    uint8_t reserved127;
    uint8_t pdfText[3032]; /* not terminated; may hold any byte */
    /* Decode */
    uint16_t
        position[2]; /* where the decoder found the code; the second word from 1350 on lies on the back */
    uint32_t reserved3164;
    int32_t decoderMajor, decoderMinor; /* version of the barcode library */
    int32_t orientation;                /* 1 and 2 on the back, 3 and 4 on the front, 0 unknown */
    int32_t decoder;                    /* 1 contrast-stretched image, 2 plain image, 3 infrared image */
    char decoderText[5];                /* four characters, terminated */
    uint8_t reserved3189[3];
} K274_Barcode;

/* Parameter block, 44 bytes. What the fields mean lies in the scanner's firmware. */
typedef struct K274_Parameters {
    uint32_t fields[11]; /* fields[10] must be 500 for the block to be written */
} K274_Parameters;

/* AFE (analogue front end) register block, 52 bytes. */
typedef struct K274_Afe {
    uint16_t redGain, greenGain, blueGain, irGain;
    uint16_t word4, word5;
    uint16_t uvGain2, uvGain3, uvGain;
    uint16_t rgbExposureFront, rgbExposureBack;
    uint16_t irExposureFront, irExposureBack;
    uint16_t uvExposureFront, uvExposureBack;
    uint16_t words15[11];
} K274_Afe;

/* Result of a still image, 296 bytes. Profiles: 0 to 2 are blue, green and red of segment A, 3 is the red of
 * segment B, 4 and 5 are blue and green of segment C. Pairs are front and back. Steps, balances, ranges and
 * noise are penalties, 0 at best; scores are 100 at best. */
typedef struct K274_StillResult {
    int32_t peaks[6][2];   /* largest value of each profile */
    int32_t floors[6][2];  /* smallest one, single dark positions aside */
    int32_t means[6][2];   /* sum over 1010 positions / 1050 */
    int32_t defects[6][2]; /* weighted positions that are too dark or outside the good band */
    int32_t stepsA[2], stepsC[2];
    int32_t balance[3][2];          /* profile 1 to 2, 0 to 2, and 4 to 5 */
    int32_t rangeA, rangeB, rangeC; /* from peak to floor */
    int32_t edges[4];               /* of the target: front start and end, back start and end; 0 too dark */
    int32_t widthDifference;        /* the back's width less the front's */
    int32_t noise;                  /* from line to line */
    int32_t darkCount;              /* dark samples of segment C */
    int32_t sideScores[2];          /* of everything on one side */
    int32_t segmentScores[3];       /* of one segment on both sides */
    int32_t verdict;                /* 2 perfect, 1 good, 0 acceptable, -1 failed */
} K274_StillResult;

/* ---- Life of the library ----------------------------------------------------------------------- */

/* Starts the library: opens the log, loads the settings file, opens the driver, greets the scanner and
 * starts the monitor thread, which runs whatever the result. The argument is not used.
 * Returns 0; -1 when no scanner has attached yet (the monitor thread reports it by state 10 when it
 * comes); otherwise the driver's status. After K274_Close the library may be started again; a second
 * call without it first closes the running session. */
K274_API int32_t K274_Init(int32_t reserved);

/* Stops the library: a running scan ends as cancelled at its next step, the close command goes out, the
 * driver is closed. Waits about 30 ms; the monitor thread ends by itself. May be called at any moment,
 * from the callback too. */
K274_API void K274_Close(void);

/* Registers the callback; null stops delivery. Takes effect with the next state, also during a scan.
 * May be called before K274_Init; states raised before are lost. */
K274_API void K274_RegNewScanCB(K274_ScanStateCallback callback);

/* Sends the reset command. No reply is awaited, and nothing is reported; the scanner answers with state
 * 12 when it has restarted. */
K274_API void K274_Reset(void);

/* Clears the last scan: fills the visible, infrared and ultraviolet images and the bleed image with the
 * byte, empties the barcode and magnetic records (the tracks' error flags stay), and tells the scanner to
 * forget its lines. The 1200-dpi images, Edge and MsIr stay. */
K274_API void K274_Clear(uint8_t fill);

/* ---- Link and status --------------------------------------------------------------------------- */

/* 1 when the monitor thread counts the scanner as online, else 0. */
K274_API uint8_t K274_UsbIsOnline(void);

/* The scanner's status word as the last poll got it; 0xFFFFFFFF after a failed poll. Not a state code. */
K274_API uint32_t K274_ScanState(void);

/* Copies the 80-byte status record (K274_Status). */
K274_API void K274_UpdateStatus(void *record);

/* Copies the 40-byte version block (K274_Version), filled at start and at every connect. */
K274_API void K274_GetVersion(void *record);

/* Number of failed requests and reads of image lines since load or since K274_ClrXfrErrs. */
K274_API uint32_t K274_GefXfrErrs(void);
K274_API void K274_ClrXfrErrs(void);

/* Verbosity of the transport's log lines. Failed transfers beyond the first two since an attach are
 * logged only at level 1, failed line requests only at level 0 (the value at load). */
K274_API void K274_Verbose(uint32_t level);

/* ---- Log --------------------------------------------------------------------------------------- */

/* Directory of the log file "K274dll.log", with its trailing separator (at most 244 characters); null, or
 * a longer text, turns logging off. It is also the directory of the settings file "K274.ini", whose place
 * K274_Init fixes. The directory is not created. Before K274_Init. */
K274_API void K274_SetLogPath(const char *directory);

/* Hands a text (at most 255 characters, longer ones are cut) to the log; the monitor thread writes it.
 * Waits 10 ms for texts of up to 3 characters, else 20 ms. Null is ignored. */
K274_API void K274_Log(const char *text);

/* ---- Scan options (before K274_Init or any time; they take effect at the next use) -------------- */

/* Scan mode: 82 (the letter R) ends every scan after the visible-light pass. Default 0. */
K274_API void K274_ScanMode(uint8_t mode);

/* Bit 0 visible, bit 1 infrared, bit 2 ultraviolet: correct the lines by the white-card response. Bit 3 is
 * kept without effect. Default 7. */
K274_API void K274_SetIllumOpt(int32_t flags);

/* Bit 0 ultraviolet enhancement (also sent to the scanner), bit 1 gain, bit 2 black-level table.
 * Default 7. Waits for the device lock; not before K274_Init. */
K274_API void K274_SetUvOpt(int32_t flags);

/* K274_SetUvOpt(7) when non-zero, else K274_SetUvOpt(1). */
K274_API void K274_UvEnhance(uint8_t on);

/* With the value 300: K274_2ndScan(0), then K274_SetUvOpt(7). Other values do nothing. */
K274_API void K274_UseCertaxis(int32_t value);

/* Infrared enhancement, on when non-zero. Default on. */
K274_API void K274_IrEnhance(uint8_t on);

/* Stripe image tone: 1 or 2 selects a tone table, other values none. Default 1. */
K274_API void K274_SetMsImgOpt(int32_t option);

/* Whether an older firmware may be replaced by the carried one at start. Default 1. */
K274_API void K274_AutoFwUpgrade(uint8_t enable);

/* Last pass of a scan: 0 ultraviolet, 1 and 2 the 1200-dpi captures; and its line count: 0 stays 0, below
 * 2 or above 2000 becomes 1370. Sent to the scanner; waits for the device lock; not before K274_Init. */
K274_API void K274_LstScan(int32_t mode, int32_t lines);

/* Sends the second-scan value (its low byte). Waits for the device lock; not before K274_Init. */
K274_API void K274_2ndScan(int32_t value);

/* ---- Requests to the scanner ------------------------------------------------------------------- */

/* These three post a request, which goes out with the next status poll, and wait 20 ms. LED values are 0
 * to 4, beeps 0 to 5; others are dropped. */
K274_API void K274_Eject(void);
K274_API void K274_UserLED(int32_t value);
K274_API void K274_UserBeep(uint8_t value);

/* Posts a scan request of the host's own user interface. */
K274_API void K274_GuiScan(void);

/* Posts a request to fetch the last scan's lines once more and to process them with the options now in
 * force. The monitor thread carries it out between scans and reports states 2, 3, 5, 6, 7 and 8 (2, 3, 5
 * and 8 in scan mode 82). Without a scanner, or after K274_Clear, it is dropped without a word. */
K274_API void K274_ReSend(void);

/* Switches a debug LED; LEDs 0 to 3 also drive the test rig's lines 0, 1, 8 and 9. Takes the device lock
 * and waits 10 ms after it. */
K274_API void K274_DebugLEDs(uint8_t led, uint8_t on);

/* Sets the login flag, which every status poll carries. Returns 1 when it was sent, else 0; the flag is
 * kept either way. Takes the device lock. */
K274_API uint8_t K274_LogIn(uint8_t flag);

/* Requests one visible-light line and returns its first four bytes (little-endian); on failure the
 * result of the failed step: the driver's status, 0xFFFFFFFF without a scanner, or 0. Takes no lock: only
 * while no scan runs. */
K274_API uint32_t K274_RdCcUv(void);

/* ---- Stripe and barcodes ----------------------------------------------------------------------- */

/* Copies the 384-byte magnetic record (K274_Magnetic), filled before state 2. A failed transfer leaves the
 * card before in it. */
K274_API void K274_GetMag(void *record);

/* Copies the 3192-byte barcode record (K274_Barcode). Decoding runs beside the scan on threads of its own;
 * state 4 tells that it has ended, read or not. */
K274_API void K274_GetBC(void *record);

/* 1 decodes barcodes after every visible-light pass, other values do not. Default 1. */
K274_API void K274_SetBcdOpt(uint8_t flag);

/* Which decoders run: 0 the first on the contrast-stretched image, ended after 200 ms in favour of the second
 * on the plain image; 1 and 2 a first decoder that may take its time (1 the stretched image, 2 the plain
 * one); 3 and above no decoder for cards with a dark back, but that 3 starts the second one after 200 ms. A
 * decoder that reads no PDF417 code is followed by the next, the last one being that of the infrared image.
 * Setting the mode clears the counters; a "Decode Mode" card sets it, too. Default 0. */
K274_API void K274_SetBcDecMode(int32_t mode);
K274_API int32_t K274_GetBcDecMode(void);
K274_API uint32_t K274_GetBcDec1Cnt(void); /* cards that the first decoder read */
K274_API uint32_t K274_GetBcDec2Cnt(void); /* cards that the second decoder read */
K274_API uint32_t K274_GetBcDecKCnt(void); /* first decoders ended after 200 ms */

/* Decodes a picture of the host on the calling thread, delivers state 4 there, and leaves the picture's red
 * channel in "C:\K274\BMP\K274_RED_REPARSE.bmp".
 * image: rows stored bottom-up without padding; format 1: one byte a pixel, others: blue, green, red.
 * Returns the length of the PDF417 text (0: none; for colour pictures then that of the linear code), and -1
 * for a null image, negative sizes or a picture of over 2700 rows or 2300 columns. Not during a scan:
 * whichever begins later takes the barcode record. */
K274_API int32_t K274_ReParseBC(const uint8_t *image, int32_t rows, int32_t columns, int32_t format);

/* ---- Scan files -------------------------------------------------------------------------------- */

/* Saves the last scan as a TIFF file of fixed layout: 22,915,520 bytes with ultraviolet pages, 36,715,520
 * with 1200-dpi pages, 18,964,928 without either. A null or empty path takes the automatic name from the
 * settings file, in "C:\K274\Tif\"; without one nothing is done. A file that is already there is replaced
 * only when all of the new one has been written. Between scans.
 * Returns 0; -1 when the file cannot be created; -2 when not all of it could be written. */
K274_API int32_t K274_Save(const char *path);

/* Loads a saved scan into the images, tables and records, as if it had just been scanned. Between scans.
 * variant (may be null) gets what the file says: 0 ultraviolet pages, 1 1200-dpi pages, 2 neither; 0 when the
 * file is too short to say.
 * Returns 0; -1 when there is no such file or it is not one of these; -2 when it is shorter than 4 MB. A file
 * of a length that is not one of 22,915,520 and 22,418,936 bytes is accepted but loads nothing. Only a loaded
 * file changes anything, except that K274_GetInfo shows the start of every accepted one. */
K274_API int32_t K274_Open(const char *path, uint32_t *variant);

/* Copies the 256 bytes of scan information: the first bytes of the scan file, as of the last ultraviolet
 * pass, save or open; zeros before. Byte 225 is always 0. */
K274_API void K274_GetInfo(void *information);

/* Dumps a working image as a BMP file, for diagnosis: 1 the stripe, 11 and 12 the raw and corrected
 * visible image, 13 and 14 the barcode images (into the current folder), 21 and 22 infrared, 31 and 32
 * ultraviolet, the others into "C:\K274\BMP\". Marks the first row (ultraviolet: column) of the back in
 * the working images, whatever the selector; the marks stay. Failures are not told. Between scans. */
K274_API void K274_SaveImages(uint16_t which);

/* ---- Programming ------------------------------------------------------------------------------- */

/* All of these take the device lock from start to end: the monitor thread waits meanwhile, and a scan under
 * way is disturbed. They must not be called while a card is in the scanner. */

/* Programs a firmware image: a file of at most 131,072 bytes (what is longer is cut), or with null the image
 * that the library carries. The scanner then restarts by itself, which takes it some seconds and ends with
 * state 12; the library does not wait. Programming at start is held off for the next 60 passes of the
 * monitor thread (6 seconds), whatever the result.
 * Returns 0 programming started; 1 no such file, or an empty one; 2 the image or the reply could not be
 * transferred; 3 the scanner refused the image, or there is none. */
K274_API int32_t K274_ProgFlash(const char *path);

/* Formats the scanner's data flash: factory record, user record, calibration record. No reply is awaited. */
K274_API void K274_FormatFlash(void);

/* Erases the FPGA configuration. No reply is awaited. */
K274_API void K274_EraseFPGA(void);

/* Programs an FPGA configuration file of at most 131,072 bytes, erasing first, or without erasing. No reply
 * is awaited. Returns 0 sent; 1 no such file, or an empty one; 2 the scanner's versions were never read, or
 * the file could not be sent. */
K274_API int32_t K274_ProgFpga(const char *path);
K274_API int32_t K274_ProgFpgaEx(const char *path);

/* ---- The scanner's data areas and registers ---------------------------------------------------- */

/* Reads a flash block of 4096 bytes; what does not arrive is zero. Returns 1, or 0 when the device lock was
 * taken twice, 100 ms apart, or the buffer is null; the buffer is then untouched. */
K274_API uint8_t K274_RdFlashData(uint8_t *buffer, uint16_t block);

/* Read and write the 128-byte factory and user records. Lengths above 128 are cut to it, negative ones are 0;
 * a shorter write is filled with zeros. A failed read copies zeros. K274_RdUserData gives 0 at once, with an
 * untouched buffer, when the device lock is taken; the others wait for it.
 * Return 1 when the reply was read (reads) or the command was sent (writes), else 0. */
K274_API uint8_t K274_RdFactData(uint8_t *buffer, int32_t length);
K274_API uint8_t K274_WrFactData(const uint8_t *data, int32_t length);
K274_API uint8_t K274_RdUserData(uint8_t *buffer, int32_t length);
K274_API uint8_t K274_WrUserData(const uint8_t *data, int32_t length);

/* Exchanges the parameter block (K274_Parameters): mode 0 reads, 1 writes, and the block then holds the
 * scanner's answer. Returns 0; -1, with an untouched block, when the device lock is taken, the exchange
 * fails, or a block to be written does not hold 500 in fields[10]. */
K274_API int32_t K274_Params(void *block, uint8_t mode);

/* K274_Params(block, 0), but always returns 0. */
K274_API int32_t K274_GetParams(void *block);

/* Exchanges the AFE register block (K274_Afe): mode 0 reads, 1 writes until the next restart, 2 writes for
 * good; the block then holds the scanner's answer. Takes the device lock, then waits 80 ms. Returns 0, or -1
 * with an untouched block. */
K274_API int32_t K274_AfeRegs(void *block, uint8_t mode);

/* Stores 18,900 bytes of white-card response (the layout of K274_GetCcdRawResp) in the scanner. Holds the
 * device lock for 700 ms. Returns 0, or 6 when it could not be sent. */
K274_API int32_t K274_SaveWcc(const uint8_t *response);

/* ---- Workshop commands ------------------------------------------------------------------------- */

/* Each sends one command; its effect is the firmware's. K274_GuiLedAging sends without the device lock, the
 * others take it; replies are read and not examined. */
K274_API void K274_SetLEDs(uint8_t a, uint8_t b, uint8_t c);
K274_API void K274_GuiLedAging(uint8_t mode);
K274_API void K274_MechTest(uint8_t test, uint32_t first, uint32_t second);

/* One exchange of the USB loopback test: n is its number, counted from 1 by the host, length what the reply
 * should hold (0 to 196,352). From the first call with an n of 1 to 3,999,998 until K274_UsbTest(0, 0) the
 * monitor thread does not poll. 0xFFFFF cycles the port, 0xFFFFE makes a hard reset, 0xFFFFD resets the
 * pipes. Returns 0; -1 the command could not be sent; -2 the reply did not come, or cannot be that long. */
K274_API int32_t K274_UsbTest(int32_t n, uint32_t length);

/* Sets an output line of the test rig: action 0 low, 1 high, 2 a high pulse, 3 a low pulse. Without a rig
 * nothing happens but a line in the log. Takes no lock. */
K274_API void K274_LabJack(int32_t channel, int32_t action);

/* Focus images. Holds the device lock for the exchange. The first takes an image of a mode and drops it; it
 * returns 1 when it was read, else 0. The second takes one of mode 2 into 163,200 bytes (zeros where nothing
 * arrived) and always returns 1. */
K274_API uint8_t K274_GetFocusImg(uint8_t mode, uint8_t parameter);
K274_API uint8_t K274_GetFocImgAry(uint8_t *image);

/* Still image: the scanner images a fixed target without moving it, in three segments of 50 lines that differ
 * in their light. Takes about a second, all of it under the device lock. The image is 1,224,000 bytes, blue,
 * green, red. Returns 0; -1, with an untouched image, when the capture fails. */
K274_API int32_t K274_StillImage(uint8_t *image);
/* Analyses an image that K274_StillImage gave once more. Not while K274_StillImage runs. */
K274_API void K274_SiRes(const uint8_t *image);
/* Copies the 296-byte result (K274_StillResult), or the six profiles of 2700 bytes; zeros before the first
 * image. Not while K274_StillImage runs. */
K274_API void K274_SiDat(void *result);
K274_API void K274_SiAry(void *profiles);

/* Jitter test on the back image of the last scan: measures how evenly the card moved, draws a chart into
 * K274_GetImgNatBk and scores it, 0 the best. Returns the largest of the last five scores of the same test
 * card in the upper 16 bits (-1 before there are five) and this scan's in the lower; 0 when the card shows no
 * barcode to measure by. Between scans, best after state 38. */
K274_API int32_t K274_JitterTest(void);

/* 1: state 38 follows every full scan, not only one of the jitter test card. Default 0. */
K274_API void K274_JitterCheck(uint8_t on);

/* ---- 1200 dpi ---------------------------------------------------------------------------------- */

/* The first capture allocates 120,000,000 bytes, which stay until the library is unloaded. */

/* Captures 4000 lines of 1200 dpi and saves them as a picture of 4000 x 5000 pixels: under the automatic name
 * of the settings file, in the log's directory, or as "K274_1100FR.bmp" in the current folder. Holds the
 * device lock for the transfer. Always returns 0; the log tells of failures. Between scans. */
K274_API int32_t K274_1200F(void);

/* Makes the 1200-dpi images (K274_GetImgSliFr, K274_GetImgSliBk) from the lines of the last short capture.
 * Scans do so by themselves with last-scan mode 1. Nothing happens before the first capture. Always returns
 * 0. */
K274_API int32_t K274_1200S(void);

/* Composes an image of 2048 x 1286 x 3 bytes with the three images of the calls before it, in place, so that
 * repeated captures can be compared: strips one above the other, a mean, a scale. One caller at a time. */
K274_API void K274_MergeImg(uint8_t *image);

/* ---- Images ------------------------------------------------------------------------------------ */

/* Addresses of the library's own buffers, the same for the life of the library; nothing is copied. They
 * hold the last scan from state 8 to the start of the next scan, and zeros before the first. */
K274_API uint8_t *K274_GetImgNatFr(void); /* 1880 x 1180 x 3, row 0 is the card's upper edge */
K274_API uint8_t *K274_GetImgNatBk(void); /* 1880 x 1180 x 3 */
K274_API uint8_t *K274_GetImgIrFr(void);  /* 2048 x 1286 */
K274_API uint8_t *K274_GetImgIrBk(void);  /* 2048 x 1286 */
K274_API uint8_t *K274_GetImgIrbFr(void); /* 2048 x 1286, written by K274_Clear alone */
K274_API uint8_t *K274_GetImgIrbBk(void); /* 2048 x 1286, written by K274_Clear alone */
K274_API uint8_t *K274_GetImgUvFr(void);  /* 1024 x 643 x 3 */
K274_API uint8_t *K274_GetImgUvBk(void);  /* 1024 x 643 x 3 */
K274_API uint8_t *K274_GetImgSliFr(void); /* 1000 x 2300 x 3 */
K274_API uint8_t *K274_GetImgSliBk(void); /* 1000 x 2300 x 3 */
K274_API uint8_t *K274_GetImgEdge(void);  /* 500 x 60 x 3 */
K274_API uint8_t *K274_GetImgMsIr(void);  /* 900 x 640 */
K274_API uint8_t *K274_GetImgMsBl(void);  /* 640 x 400 */

/* ---- Response tables --------------------------------------------------------------------------- */

/* 7 tables of 2700 bytes, one entry a sensor position (0 to 1349 front, 1350 to 2699 back).
 * The white-card response as the scanner last sent it: blue, green, red, infrared, two unused, UV. */
K274_API uint8_t *K274_GetCcdWccResp(void);
/* Means of the last scan's raw and corrected images; raw rows 0 to 2 are blue, green, red, corrected ones
 * red, green, blue. */
K274_API uint8_t *K274_GetCcdRawResp(void);
K274_API uint8_t *K274_GetCcdCorResp(void);

/* Copies the FT profile, 6 rows (blue, green, red, infrared, ultraviolet blue and green) of 1000 bytes:
 * brightness of the last white card along its travel, points 0 to 498 the front, 500 to 998 the back. */
K274_API void K274_UpdateFT(void *profile);

#ifdef __cplusplus
}
#endif

/* The layouts above are what hosts in other languages rely on. */
#if defined(__cplusplus)
#define K274_ASSERT_SIZE(type, size) static_assert(sizeof(type) == (size), "layout of " #type)
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define K274_ASSERT_SIZE(type, size) _Static_assert(sizeof(type) == (size), "layout of " #type)
#else
#define K274_ASSERT_SIZE(type, size) typedef char type##_size[sizeof(type) == (size) ? 1 : -1]
#endif
K274_ASSERT_SIZE(K274_Status, 80);
K274_ASSERT_SIZE(K274_Version, 40);
K274_ASSERT_SIZE(K274_Magnetic, 384);
K274_ASSERT_SIZE(K274_Barcode, 3192);
K274_ASSERT_SIZE(K274_Parameters, 44);
K274_ASSERT_SIZE(K274_Afe, 52);
K274_ASSERT_SIZE(K274_StillResult, 296);
#undef K274_ASSERT_SIZE

#endif
