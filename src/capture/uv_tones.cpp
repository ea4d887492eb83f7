// White level, gain and tones of the corrected ultraviolet image.
#include "src/capture/uv_tones.h"

#include "src/capture/gain_rows.h"

#include <algorithm>
#include <cmath>

namespace k274 {

namespace {

// ---- White level

constexpr int kRow = 140, kEndRow = 1060, kRowStep = 4;
constexpr int kColumn = 40, kEndColumn = 1328, kColumnStep = 5;
constexpr int kGapColumn = 651, kGapEndColumn = 760; // between the two sensor halves

using Histogram = std::array<int32_t, 256>;

Histogram CountBytes(ConstColourView corrected) {
    Histogram counts{};
    for (int row = kRow; row < kEndRow; row += kRowStep)
        for (int column = kColumn; column < kEndColumn; column += kColumnStep) {
            if (column >= kGapColumn && column < kGapEndColumn)
                continue;
            const uint8_t *pixel = corrected.Pixel(row, column);
            for (int channel = 0; channel < 3; channel++)
                counts[pixel[channel]]++;
        }
    return counts;
}

// The level above which no more than so many bytes lie.
int32_t LevelOf(const Histogram &counts, int32_t bytes) {
    int level = 256;
    for (int32_t total = 0; total <= bytes && level > 0;)
        total += counts[static_cast<size_t>(--level)];
    return level;
}

// A white level of 0 takes the most gain there is.
float GainFor(int32_t white) {
    constexpr float kExponent = 0.9F, kMinGain = 1.0F, kMaxGain = 3.0F;
    if (white == 0)
        return kMaxGain;
    const float ratio = 255.0F / static_cast<float>(white);
    const auto gain =
        static_cast<float>(std::pow(static_cast<double>(ratio), static_cast<double>(kExponent)));
    return std::clamp(gain, kMinGain, kMaxGain);
}

// ---- Gain and tones

constexpr int kToneColumns = 1350;
constexpr int kMaxBlack = 24;
constexpr float kGainFixed = 128.0F;
} // namespace

UvMeasure UvWhiteLevel(ConstColourView corrected) {
    const Histogram counts = CountBytes(corrected);
    int32_t total = 0;
    for (const int32_t count : counts)
        total += count;
    UvMeasure measure{};
    measure.uvWhite =
        (LevelOf(counts, total / 5000) + 2 * LevelOf(counts, total / 2000) + LevelOf(counts, total / 1000)) /
        4;
    measure.medianLevel = LevelOf(counts, total / 2);
    measure.whiteRatio = static_cast<float>(measure.uvWhite) / 255.0F;
    measure.gain = GainFor(measure.uvWhite);
    return measure;
}

ByteMap UvBlackTable(int32_t medianLevel, float gain) {
    const int k = std::min(static_cast<int>(static_cast<float>(medianLevel) * gain / 2.0F), kMaxBlack);
    const int pressed = k / 4;
    const float slope = static_cast<float>(255 - pressed) / static_cast<float>(256 - k);
    ByteMap table{};
    for (int v = 0; v < 256; v++)
        table[static_cast<size_t>(v)] = static_cast<uint8_t>(
            v < k ? v / 4 : pressed + static_cast<int>(static_cast<float>(v - k) * slope));
    table[255] = 255;
    return table;
}

void UvTones(const UvOptions &options, const UvMeasure &measure, ColourView corrected) {
    const auto gain = static_cast<uint16_t>(measure.gain * kGainFixed);
    const GainPattern gains({gain, gain, gain});
    const ByteMap tones = UvBlackTable(measure.medianLevel, measure.gain);
    for (int row = 0; row < corrected.rows; row++) {
        uint8_t *bytes = corrected.Row(row);
        if (options.gain)
            GainRow(bytes, bytes, 3 * corrected.columns, gains);
        if (options.blackTable)
            MapBytes(tones, bytes, 3 * kToneColumns, bytes);
    }
}

} // namespace k274
