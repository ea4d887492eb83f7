/* The barcode decoder library: PDF417, Code 128 and Code 39 in one grey image. All functions are cdecl.
 *
 * A handle carries the image's description and, after SD_Decode, the result. Handles are independent: any
 * number may decode at once on different threads; one handle belongs to one thread at a time. The image is
 * read during SD_Decode only and never written.
 *
 * Position and orientation, with lines counted from the top of the image and pixels along a line:
 * - Position: the first and the last line of the symbol, bars only. Both words lie between 1 and the number
 *   of lines - 1, and the second is never below the first. For linear codes it is the lines on which the
 *   code could be read.
 * - Orientation: 1 when the symbol reads towards growing pixels or, when it stands across the lines, towards
 *   growing lines; 2 when it reads the other way. Mirroring does not change it.
 */
#ifndef K274_SD2_H
#define K274_SD2_H

#include <stdint.h>

#if defined(_WIN32) && defined(SD2_BUILD)
#define SD2_API __declspec(dllexport)
#elif defined(_WIN32)
#define SD2_API __declspec(dllimport)
#else
#define SD2_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Properties that are set. SD_Set returns 1, or -1 for an unknown property or a value out of range, and then
 * keeps what was set before. */
enum {
    SD_PROP_MODE = 0x40003001,   /* 0, the only one */
    SD_PROP_LINES = 0x40004001,  /* 1 to 16384 */
    SD_PROP_STRIDE = 0x40004002, /* bytes from line to line: 1 to 16384, at least the pixels */
    SD_PROP_IMAGE = 0x40004004,  /* address of the first pixel of the first line, one byte each, 0 is black */
    SD_PROP_PIXELS = 0x40004005, /* per line: 1 to 16384 */
    SD_PROP_CODE128 = 0x40010201, /* 0 or 1: look for it; all three are 0 at first */
    SD_PROP_CODE39 = 0x40010301,
    SD_PROP_PDF417 = 0x40010701,
    /* Milliseconds after which no further attempt is begun: 1 to 600000, 150 at first. For slow machines
     * and tests; the scanner's callers leave it alone. */
    SD_PROP_TIME_LIMIT = 0x4001F001
};

/* Properties that are got: SD_Get writes all of the stated size and returns 1, or -1 for an unknown property.
 * Before a decode, and after one that found nothing, they are zero and the text is empty. */
enum {
    SD_PROP_SYMBOLOGY = 0x40007003,     /* int32_t: one of SD_CODE_128, SD_CODE_39, SD_PDF417 */
    SD_PROP_TEXT_LENGTH = 0x40007004,   /* int32_t: 1 to 4000 */
    SD_PROP_ORIENTATION = 0x40007005,   /* int32_t: 1 or 2, see above */
    SD_PROP_INFO = 0x40007011,          /* uint16_t[8], see below */
    SD_PROP_POSITION = 0x40007012,      /* uint16_t[2], see above */
    SD_PROP_VERSION_MAJOR = 0x40008006, /* int32_t */
    SD_PROP_VERSION_MINOR = 0x40008007, /* int32_t */
    SD_PROP_VERSION_TEXT = 0x50008011   /* char[16] with its terminator */
};
/* The text's bytes, as many as the text length says, without a terminator and as encoded: no character set
 * is applied. Not an enumerator, since it does not fit an int. */
#define SD_PROP_TEXT 0x80007007u

enum { SD_CODE_128 = 0x10, SD_CODE_39 = 0x20, SD_PDF417 = 0x1000 };

/* Words of the info block; those not named are 0, and a word is 0 where nothing is known. */
enum {
    SD_INFO_ACCEPTED = 0,   /* 1: the read holds */
    SD_INFO_ROWS = 2,       /* PDF417: rows of codewords */
    SD_INFO_COLUMNS = 3,    /* PDF417: data columns */
    SD_INFO_CORRECTION = 4, /* PDF417: error correction level 0 to 8 */
    SD_INFO_ATTEMPT = 5,    /* which attempt read it, 1 for the first */
    SD_INFO_MODULE = 6,     /* PDF417: width of the narrowest element, tenths of a pixel */
    SD_INFO_CORRECTED = 7   /* PDF417: codewords that were misread or unreadable and have been corrected */
};

SD2_API void *SD_Create(void); /* null when out of memory */
SD2_API int32_t SD_Set(void *handle, uint32_t property, intptr_t value);
/* 1 found something, 0 nothing, -1 misuse: no image, lines or pixels not set, stride below the pixels, or no
 * symbology chosen. When there is a PDF417 symbol and a linear code, the PDF417 symbol is the result. */
SD2_API int32_t SD_Decode(void *handle);
SD2_API int32_t SD_Get(void *handle, uint32_t property, void *destination);
SD2_API void SD_Destroy(void *handle); /* null is allowed */

#ifdef __cplusplus
}
#endif

#endif
