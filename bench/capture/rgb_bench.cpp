// Steps of the visible-light pass.
#include "bench/capture/step_table.h"

#include "src/analysis/rgb_profiles.h"
#include "src/analysis/white_test.h"
#include "src/capture/measure.h"
#include "src/capture/rgb_crop.h"
#include "src/capture/rgb_store.h"
#include "tests/reference/formulas.h"

#include <benchmark/benchmark.h>

#include <cstring>

namespace k274::bench {
namespace {

constexpr int kFirstBlock = 2188, kLastBlock = 100;
constexpr int kBlocks = (kFirstBlock - kLastBlock) / kRgbLinesPerPacket + 1;
constexpr size_t kImageBytes = size_t{kSensorRows} * kRgbColumns * 3;

// Static like the library's own buffers.
uint8_t lines[kBlocks][kRgbBlockBytes];
uint8_t rawBytes[kImageBytes], correctedBytes[kImageBytes];
uint8_t frontBytes[1180 * 1880 * 3], backBytes[1180 * 1880 * 3], edgeBytes[60 * 500 * 3];
RgbGains gains;
ScanMeasures measures;
ResponseTable rawTable, correctedTable;

const ColourView raw{rawBytes, kSensorRows, kRgbColumns};
const ColourView corrected{correctedBytes, kSensorRows, kRgbColumns};
const ColourView natFr{frontBytes, 1180, 1880}, natBk{backBytes, 1180, 1880}, edge{edgeBytes, 60, 500};

// A bright noisy card on dark ground.
void PrepareLines() {
    std::mt19937 random(1);
    for (int block = 0; block < kBlocks; block++)
        for (int i = 0; i < kRgbBlockBytes; i++) {
            const int line = kFirstBlock - block * kRgbLinesPerPacket + i / kRgbLineBytes;
            const int pixel = i % kRgbLineBytes / 3;
            const bool card = line > 290 && line < 2150 && ((pixel > 20 && pixel < 1155) || pixel > 1480);
            lines[block][i] = Noise(random, card);
        }
    for (auto &row : gains)
        for (uint16_t &gain : row)
            gain = static_cast<uint16_t>(100 + random() % 227);
}

// ---- The steps: as plain loops, as the library does them, as copies

template <void (*store)(const uint8_t *, int, ColourView)>
void StoreLines() {
    for (int block = 0; block < kBlocks; block++)
        store(lines[block], kFirstBlock - block * kRgbLinesPerPacket, raw);
}
void CopyLines() {
    for (int block = 0; block < kBlocks; block++)
        std::memcpy(rawBytes + size_t{kRgbBlockBytes} * static_cast<size_t>(block), lines[block],
                    kRgbBlockBytes);
}

void PlainCopy() { reference::Copy<3>(raw, corrected); }
void Copy() { CopyImage(raw, corrected); }
void CopyWhole() { std::memcpy(correctedBytes, rawBytes, kImageBytes); }

void PlainGain() { reference::RgbIllumGain(raw, gains, corrected); }
void Gain() { RgbIllumGain(raw, gains, corrected); }

void PlainCrop() { reference::RgbCrop(raw, corrected, FindCard(raw), natFr, natBk, edge); }
void Crop() {
    CardPosition position{};
    RgbCrop(raw, corrected, position, natFr, natBk, edge);
    benchmark::DoNotOptimize(position);
}
void CopyCrops() {
    std::memcpy(frontBytes, correctedBytes, sizeof frontBytes);
    std::memcpy(backBytes, correctedBytes + kImageBytes / 2, sizeof backBytes);
    std::memcpy(edgeBytes, rawBytes, sizeof edgeBytes);
}

// Copies a span of columns of so many rows, one after another, into a buffer that stays in the cache.
void CopySpans(ConstColourView image, int firstRow, int rows, int rowStep, int firstColumn, int columns) {
    static uint8_t span[kRgbColumns * 3];
    for (int i = 0; i < rows; i++) {
        std::memcpy(span, image.Pixel(firstRow + i * rowStep, firstColumn), static_cast<size_t>(3 * columns));
        benchmark::ClobberMemory();
    }
}

void PlainRawProfile() { reference::RgbResp(raw, rawTable); }
void RawProfile() { RgbResp(raw, rawTable); }
void CopyRawProfile() { CopySpans(raw, 0, kSensorRows, 1, 500, 1000); }

void PlainCorrectedProfile() { reference::RgbCorResp(corrected, correctedTable); }
void CorrectedProfile() { RgbCorResp(corrected, correctedTable); }
void CopyCorrectedProfile() { CopySpans(corrected, 0, kSensorRows, 1, 1155, 580); }

// Of few pixels, the same on both sides.
void LevelsAndWhiteTest() {
    benchmark::DoNotOptimize(RgbLevels(raw));
    benchmark::DoNotOptimize(WhiteTest(raw, measures));
}
void CopyLevels() {
    for (const int side : {0, kBackFirstRow}) {
        CopySpans(raw, 25 + side, 220, 5, 200, 1900);
        CopySpans(raw, 150 + side, 100, 8, 650, 1000);
    }
}

void CopyPass() { All<CopyLines, CopyLevels, CopyWhole, CopyCrops, CopyRawProfile, CopyCorrectedProfile>(); }

} // namespace

void PlainRgbPass() {
    All<StoreLines<reference::RgbLineStore>, LevelsAndWhiteTest, PlainGain, PlainCrop, PlainRawProfile,
        PlainCorrectedProfile>();
}
void RgbPass() {
    All<StoreLines<RgbLineStore>, LevelsAndWhiteTest, Gain, Crop, RawProfile, CorrectedProfile>();
}
void CopyRgbRaw() { CopyWhole(); }

// Lines and gain come first, so that the other steps find a card.
std::vector<StepRow> RgbRows() {
    PrepareLines();
    return {
        {"RGB line store", StoreLines<reference::RgbLineStore>, StoreLines<RgbLineStore>, CopyLines,
         "<= 6.5 copies"},
        {"RGB copy", PlainCopy, Copy, CopyWhole},
        {"RGB copy and gain", PlainGain, Gain, CopyWhole, "<= 1.3 copies"},
        {"RGB search and crops", PlainCrop, Crop, CopyCrops},
        {"RGB raw profile", PlainRawProfile, RawProfile, CopyRawProfile},
        {"RGB corrected profile", PlainCorrectedProfile, CorrectedProfile, CopyCorrectedProfile},
        {"RGB pass", PlainRgbPass, RgbPass, CopyPass, ">= 4 x plain"},
    };
}

} // namespace k274::bench
