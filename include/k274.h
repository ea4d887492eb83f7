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
 * byte, and tells the scanner to forget its lines. The 1200-dpi images, Edge and MsIr stay. */
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
#undef K274_ASSERT_SIZE

#endif
