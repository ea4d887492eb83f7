// Barcode decoding: the record that the host copies, and the decodes that fill it.
//
// A decode works on a copy of its image and publishes its result only while its ticket is the current one.
// A new scan, a newer decode and the watchdog each draw a new ticket; what an abandoned decoder still finds
// is dropped, and no thread is ever ended from outside.
#pragma once

#include "src/common/view.h"
#include "src/state/barcode_state.h"

#include <cstdint>

namespace k274 {

/// What a decode reads.
enum class BarcodeSource { Red0, Red1, Infrared };

struct DecoderVersion {
    int32_t major, minor;
};
/// Reads the decoder library's version into the record; once per session, before the scanner is opened.
void SdVersion();
DecoderVersion BarcodeLibraryVersion();

/// Sets the mode and clears the counters.
void SetDecodeMode(int32_t mode);

/// One decode into the record, on the calling thread.
/// @param endsFirst  this is the first decoder: publishing clears its running mark
/// @param read       the record as this decode left it
/// @return false when the ticket became void; nothing was published then
bool BcDecode(BarcodeSource source, BarcodeTicket ticket, bool endsFirst, BarcodeRecord &read);

/// Decodes the short barcode of a white card into the record: exactly 7 characters, or none.
void DecodeWhiteCard(ConstGreyView region);

} // namespace k274
