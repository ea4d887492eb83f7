// The header of the scan as the next saved file will carry it, the information text that the host reads, and
// saving and opening of whole scans.
#pragma once

#include "src/tiff/scan_reader.h"

namespace k274 {

/// Builds the header anew: at start, ...
void ResetScanHeader();
/// ... and after each ultraviolet pass, when the information text follows it. Monitor thread.
void RebuildScanHeader();

/// Notes the time of the scan that has just ended.
void StampScanTime();

/// Shows the card's width in the information text until the next header build.
void ShowCardWidth(uint32_t width);

/// Copies the information text; its byte 225 is always 0.
void CopyScanInfo(void *info);

/// Saves the last scan. A null or empty path takes the automatic name.
/// @return kSaved also when there is nothing to do
SaveResult SaveScan(const char *path);

/// Loads a saved scan into the images and records.
/// @param variant  may be null; always set: the variant that the file names, or 0
/// @return only kOpened changes anything
OpenResult OpenScan(const char *path, uint32_t *variant);

} // namespace k274
