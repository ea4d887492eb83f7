// Barcode decoding: the record that the host copies, the decodes that fill it, and the worker threads that
// run them beside the scan.
//
// A decode works on a copy of its image and publishes its result only while its ticket is the current one.
// A new scan, a newer decode and the watchdog each draw a new ticket; what an abandoned decoder still finds
// is dropped, and no thread is ever ended from outside.
#pragma once

#include "src/carddata/barcode_record.h"
#include "src/common/view.h"

#include <atomic>
#include <cstdint>
#include <mutex>

namespace k274 {

/// What a decode reads.
enum class BarcodeSource { Red0, Red1, Infrared };

using BarcodeTicket = uint32_t;

struct BarcodeState {
    std::mutex lock; // guards the record, the images RED0, RED1 and IRc, and the two below
    BarcodeRecord record{};
    BarcodeTicket ticket = 0;
    bool firstRunning = false; // the first decoder, which the watchdog watches

    std::atomic<uint8_t> enabled{1};                                // host
    std::atomic<int32_t> decodeMode{0};                             // host, or a "Decode Mode" card
    std::atomic<uint32_t> dec1Count{0}, dec2Count{0}, decKCount{0}; // workers; whoever sets the mode clears
};
extern BarcodeState barcode;

struct DecoderVersion {
    int32_t major, minor;
};
/// Reads the decoder library's version into the record; once per session, before the scanner is opened.
void SdVersion();
DecoderVersion BarcodeLibraryVersion();

/// Sets the mode and clears the counters.
void SetDecodeMode(int32_t mode);

/// A ticket that makes all earlier ones void: their decoders are abandoned.
BarcodeTicket DrawBarcodeTicket();

/// One decode into the record, on the calling thread.
/// @param endsFirst  this is the first decoder: publishing clears its running mark
/// @param read       the record as this decode left it
/// @return false when the ticket became void; nothing was published then
bool BcDecode(BarcodeSource source, BarcodeTicket ticket, bool endsFirst, BarcodeRecord &read);

/// Decodes the short barcode of a white card into the record: exactly 7 characters, or none.
void DecodeWhiteCard(ConstGreyView region);

/// Forgets the results and abandons the decoders: of the last scan when a new one starts, and those of a
/// scan that the host clears.
void ClearBarcode();
void ClearBarcodeForHost();
/// Forgets the PDF417 code alone, which a white card's recognition is to find anew.
void ForgetPdf();
/// Forgets what the record says of the codes but their texts, which have no meaning then.
void ForgetCodes(BarcodeRecord &record);

/// After the visible-light pass: starts the decoders that the decode mode asks for. Monitor thread.
void StartBarcodeDecode();

/// Decodes an image of the host, stored bottom-up.
/// @param format  1: one byte a pixel, else three bytes of which the last counts
/// @return characters found, or -1 for an image larger than 2700 x 2300 or none at all
int32_t ReParse(const uint8_t *image, int32_t rows, int32_t columns, int32_t format);

} // namespace k274
