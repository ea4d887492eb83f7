// Steps of the infrared pass, with the barcode images that the scan makes while it runs.
#include "bench/capture/step_table.h"

#include "include/k274.h"
#include "src/analysis/ir_profiles.h"
#include "src/capture/ir_destripe.h"
#include "src/capture/ir_gain.h"
#include "src/capture/ir_store.h"
#include "src/carddata/barcode_images.h"
#include "tests/reference/formulas.h"

#include <benchmark/benchmark.h>

#include <cstring>

namespace k274::bench {
namespace {

constexpr int kFirstBlock = 100, kBlocks = 200;
constexpr size_t kImageBytes = size_t{kSensorRows} * kIrColumns;
constexpr int kCopyBytes = K274_IR_WIDTH * K274_IR_HEIGHT;

uint8_t lines[kBlocks][kIrBlockBytes];
uint8_t rawBytes[kImageBytes], correctedBytes[kImageBytes];
uint8_t frontBytes[kCopyBytes], backBytes[kCopyBytes];
uint8_t colourBytes[3 * size_t{kSensorRows} * kRgbColumns], red0Bytes[size_t{kSensorRows} * kRgbColumns],
    red1Bytes[size_t{kSensorRows} * kRgbColumns];
uint16_t gains[kSensorRows];
ResponseTable rawTable, correctedTable;
const CardPosition card{150, 1168, 140, 2533, false};
const ContrastTable contrast = BuildContrastTable();

const GreyView raw{rawBytes, kSensorRows, kIrColumns}, corrected{correctedBytes, kSensorRows, kIrColumns};
const GreyView irFr{frontBytes, K274_IR_HEIGHT, K274_IR_WIDTH},
    irBk{backBytes, K274_IR_HEIGHT, K274_IR_WIDTH};
const ColourView colour{colourBytes, kSensorRows, kRgbColumns};
const GreyView red0{red0Bytes, kSensorRows, kRgbColumns}, red1{red1Bytes, kSensorRows, kRgbColumns};

void Prepare() {
    std::mt19937 random(2);
    for (int block = 0; block < kBlocks; block++)
        for (int i = 0; i < kIrBlockBytes; i++) {
            const int line = kFirstBlock + block * kIrLinesPerPacket + i / kLinePixels,
                      pixel = i % kLinePixels;
            lines[block][i] =
                Noise(random, line > 200 && line < 2225 && ((pixel > 20 && pixel < 1155) || pixel > 1480));
        }
    for (uint16_t &gain : gains)
        gain = static_cast<uint16_t>(100 + random() % 227);
    for (uint8_t &byte : colourBytes)
        byte = Noise(random, true);
}

template <void (*store)(const uint8_t *, int, GreyView)>
void StoreLines() {
    for (int block = 0; block < kBlocks; block++)
        store(lines[block], kFirstBlock + block * kIrLinesPerPacket, raw);
}
void CopyLines() { std::memcpy(rawBytes, lines, sizeof lines); }

void PlainGain() { reference::IrIllumGain(raw, gains, corrected); }
void Gain() { IrIllumGain(raw, gains, corrected); }
void CopyWhole() { std::memcpy(correctedBytes, rawBytes, kImageBytes); }

void PlainCrop() { reference::IrCrop(raw, corrected, card, false, irFr, irBk); }
void Crop() { benchmark::DoNotOptimize(IrCrop(raw, corrected, card, false, irFr, irBk)); }
void CopyCrops() {
    std::memcpy(frontBytes, correctedBytes, sizeof frontBytes);
    std::memcpy(backBytes, correctedBytes + kImageBytes / 2, sizeof backBytes);
}

template <void (*destripe)(GreyView)>
void Destripe() {
    destripe(irFr);
    destripe(irBk);
}

void PlainProfiles() { reference::IrResp(raw, corrected, rawTable, correctedTable); }
void Profiles() { IrResp(raw, corrected, rawTable, correctedTable); }

void PlainRed() {
    reference::BuildRedImage(colour, red0);
    reference::RedContrast(contrast, red0, red1);
}
void Red() {
    BuildRedImage(colour, red0);
    RedContrast(contrast, red0, red1);
}
void CopyRed() {
    std::memcpy(red0Bytes, colourBytes, sizeof red0Bytes);
    std::memcpy(red1Bytes, red0Bytes, sizeof red1Bytes);
}

void PlainIrBarcode() { reference::BuildIrBarcodeImage(corrected, red1); }
void IrBarcode() { BuildIrBarcodeImage(corrected, red1); }
void CopyIrBarcode() { std::memcpy(red1Bytes, correctedBytes, sizeof red1Bytes); }

constexpr Step kPlainEnd = All<PlainGain, PlainCrop, Destripe<reference::IrDestripe>, PlainProfiles>;
constexpr Step kEnd = All<Gain, Crop, Destripe<IrDestripe>, Profiles>;

} // namespace

void PlainIrPass() { All<PlainRed, StoreLines<reference::IrLineStore>, kPlainEnd, PlainIrBarcode>(); }
void IrPass() { All<Red, StoreLines<IrLineStore>, kEnd, IrBarcode>(); }

std::vector<StepRow> IrRows() {
    Prepare();
    return {
        {"red barcode images", PlainRed, Red, CopyRed},
        {"IR line store", StoreLines<reference::IrLineStore>, StoreLines<IrLineStore>, CopyLines},
        {"IR copy and gain", PlainGain, Gain, CopyWhole},
        {"IR crops", PlainCrop, Crop, CopyCrops},
        {"IR destriping", Destripe<reference::IrDestripe>, Destripe<IrDestripe>, CopyCrops},
        {"IR profiles", PlainProfiles, Profiles, CopyWhole},
        {"IR barcode image", PlainIrBarcode, IrBarcode, CopyIrBarcode},
        {"IR after last packet", kPlainEnd, kEnd, All<CopyWhole, CopyCrops>, ">= 5 x plain"},
    };
}

} // namespace k274::bench
