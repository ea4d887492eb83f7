// Steps of the ultraviolet pass.
#include "bench/capture/step_table.h"

#include "include/k274.h"
#include "src/analysis/uv_profiles.h"
#include "src/capture/uv_crop.h"
#include "tests/reference/formulas.h"

#include <benchmark/benchmark.h>

#include <cstring>

namespace k274::bench {
namespace {

constexpr size_t kImageBytes = size_t{kUvLines} * kUvPixels * 3;
constexpr size_t kCropBytes = K274_UV_WIDTH * K274_UV_HEIGHT * 3;

uint8_t lines[kImageBytes], rawBytes[kImageBytes], correctedBytes[kImageBytes];
uint8_t frontBytes[kCropBytes], backBytes[kCropBytes];
uint16_t gains[kSensorRows];
ScanMeasures measures;
ResponseTable rawTable, correctedTable;
constexpr UvOptions kOptions{true, true, true, true};
UvMeasure measure;

const ColourView raw{rawBytes, kUvLines, kUvPixels}, corrected{correctedBytes, kUvLines, kUvPixels};
const ColourView uvFr{frontBytes, K274_UV_HEIGHT, K274_UV_WIDTH},
    uvBk{backBytes, K274_UV_HEIGHT, K274_UV_WIDTH};

void Prepare() {
    std::mt19937 random(3);
    for (size_t i = 0; i < kImageBytes; i++) {
        const size_t line = i / (3 * kUvPixels), pixel = i / 3 % kUvPixels;
        lines[i] = Noise(random, line > 80 && line < 1092 &&
                                     ((pixel > 10 && pixel < 577) || (pixel > 760 && pixel < 1340)));
        lines[i] = static_cast<uint8_t>(lines[i] / 2);
    }
    for (uint16_t &gain : gains)
        gain = static_cast<uint16_t>(50 + random() % 114);
}

// The transfer's own copies of its blocks.
void Fetch() { std::memcpy(rawBytes, lines, kImageBytes); }
void CopyWhole() { std::memcpy(correctedBytes, rawBytes, kImageBytes); }

template <void (*brighten)(ColourView)>
void Brighten() {
    brighten(raw);
}

void PlainRealign() {
    reference::UvRealign(raw);
    reference::UvBlackSub(raw);
    reference::UvIllumGain(gains, raw, corrected);
}
void Realign() { UvRealign(kOptions, gains, raw, corrected); }

void White() { measure = UvWhiteLevel(corrected); }

void PlainTones() {
    reference::UvGain(measure.gain, corrected);
    reference::UvBlackTable(measure.medianLevel, measure.gain, corrected);
}
void Tones() { UvTones(kOptions, measure, corrected); }

void PlainCrops() {
    reference::UvCropFront(corrected, 1168, uvFr);
    reference::UvCropBack(corrected, uvBk);
}
void Crops() {
    UvCropFront(corrected, 1168, uvFr);
    UvCropBack(corrected, uvBk);
}
void CopyCrops() {
    std::memcpy(frontBytes, correctedBytes, kCropBytes);
    std::memcpy(backBytes, correctedBytes + kCropBytes, kCropBytes);
}

void PlainProfiles() { reference::UvResp(raw, corrected, 1.0F, rawTable, correctedTable); }
void Profiles() { UvResp(raw, corrected, measures, rawTable, correctedTable); }

// Levels and lamp check, of few pixels each, are left out on both sides.
constexpr Step kPlainEnd =
    All<Brighten<reference::UvBrighten>, PlainRealign, White, PlainTones, PlainCrops, PlainProfiles>;
constexpr Step kEnd = All<Brighten<UvBrighten>, Realign, White, Tones, Crops, Profiles>;

// The corrected image before its tones.
void Corrected() { All<Fetch, Brighten<UvBrighten>, Realign, White>(); }

} // namespace

void PlainUvPass() { All<Fetch, kPlainEnd>(); }
void UvPass() { All<Fetch, kEnd>(); }

std::vector<StepRow> UvRows() {
    Prepare();
    Fetch();
    return {
        {"UV brighten", Brighten<reference::UvBrighten>, Brighten<UvBrighten>, CopyWhole, "", Fetch},
        {"UV realign to gain", PlainRealign, Realign, CopyWhole, "", Fetch},
        {"UV gain and tones", PlainTones, Tones, CopyWhole, "", Corrected},
        {"UV crops", PlainCrops, Crops, CopyCrops},
        {"UV profiles", PlainProfiles, Profiles, CopyWhole},
        {"UV after last packet", kPlainEnd, kEnd, All<CopyWhole, CopyCrops>, ">= 4.5 x plain", Fetch},
    };
}

} // namespace k274::bench
