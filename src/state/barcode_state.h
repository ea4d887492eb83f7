// What the barcode decoders of a scan share with the host: the record, the ticket that tells whose results
// still count, and the options.
#pragma once

#include "src/common/geometry.h"
#include "src/state/barcode_record.h"

#include <atomic>
#include <cstdint>
#include <mutex>

namespace k274 {

using BarcodeTicket = uint32_t;

/// Image of a running decode.
constexpr int kDecodedLines = 2540; // of the images' 2700
struct DecoderImage {
    std::atomic<bool> taken{false};
    uint8_t pixels[kDecodedLines * kRgbColumns];
};

struct BarcodeState {
    std::mutex lock; // guards the record, the images RED0, RED1 and IRc, and the two below
    BarcodeRecord record{};
    BarcodeTicket ticket = 0;
    bool firstRunning = false; // the first decoder, which the watchdog watches

    // An abandoned decoder keeps its image until it has ended; while all are taken, decodes find nothing.
    DecoderImage images[4];

    std::atomic<uint8_t> enabled{1};                                // host
    std::atomic<int32_t> decodeMode{0};                             // host, or a "Decode Mode" card
    std::atomic<uint32_t> dec1Count{0}, dec2Count{0}, decKCount{0}; // workers; whoever sets the mode clears
};
extern BarcodeState barcode;

/// A ticket that makes all earlier ones void: their decoders are abandoned.
BarcodeTicket DrawBarcodeTicket();

/// Forgets the results and abandons the decoders: of the last scan when a new one starts, and those of a
/// scan that the host clears.
void ClearBarcode();
void ClearBarcodeForHost();
/// Forgets the PDF417 code alone, which a white card's recognition is to find anew.
void ForgetPdf();
/// Forgets what the record says of the codes but their texts, which have no meaning then.
void ForgetCodes(BarcodeRecord &record);

} // namespace k274
