// The ultraviolet image, row by row: brightness, colour rows, black level, illumination gain.
#include "src/capture/uv_correct.h"

#include "src/capture/colour_rows.h"
#include "src/capture/gain_rows.h"
#include "src/common/pixel_sums.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace k274 {

namespace {

constexpr int kRowBytes = 3 * kUvPixels;

// ---- Colour rows

// The sensor sends red, green, blue, and sees a point with green two lines and with blue four lines later.
constexpr int kColourLineOffset = 2;
constexpr int kFirstRow = 3, kLastRow = 1196;

using Black = std::array<uint8_t, 3>;

ColourRows SourcesOf(ConstColourView raw, int row) {
    const uint8_t *here = raw.Row(row);
    if (row < kFirstRow || row > kLastRow)
        return {here, here, here};
    // The last row's blue would come from behind the image: it keeps the byte that it has.
    const int blueRow = row + 2 * kColourLineOffset;
    const ColourRows turned =
        TurnedColours(raw.Row(std::min(blueRow, raw.rows - 1)), raw.Row(row + kColourLineOffset), here);
    return {blueRow < raw.rows ? turned.blue : here, turned.green, turned.red};
}

// ---- Black level

constexpr int kBlackFirstRow = 400, kBlackRows = 500, kBlackColumn = 640, kBlackColumns = 10;
constexpr int kBlackMargin = 2;
constexpr int kBlackEndRow = 1199; // the last row keeps its level

// On the raw image as it is before its colours are brought together.
Black BlackLevel(ConstColourView raw) {
    Black black{};
    for (const int colour : {kBlue, kGreen, kRed}) {
        int32_t sum = 0;
        for (int i = 0; i < kBlackRows; i++) {
            const int row = kBlackFirstRow + i + kColourLineOffset * (kRed - colour);
            sum += SumPixels(raw.Pixel(row, kBlackColumn), 1, kBlackColumns).channel[kRed - colour];
        }
        // A byte holds no more than 255.
        const int32_t level = sum / (kBlackRows * kBlackColumns) + kBlackMargin;
        black[static_cast<size_t>(colour)] = static_cast<uint8_t>(std::min(level, 255));
    }
    return black;
}

// ---- Illumination gain

constexpr size_t kGainBytes = 3 * 1350;
constexpr uint8_t kMaxGainedBlue = 253; // brighter blue bytes keep their value

struct GainLine {
    explicit GainLine(const uint16_t (&gains)[kSensorRows]) {
        for (size_t i = 0; i < kGainBytes; i++) {
            factors[i] = GainFactor<6>(gains[i / 3]);
            limits[i] = i % 3 == kBlue ? kMaxGainedBlue : 255;
        }
    }
    std::array<uint16_t, kGainBytes> factors;
    std::array<uint8_t, kGainBytes> limits;
};

void Gain(const uint8_t *line, const GainLine &gains, uint8_t *out) {
    for (size_t i = 0; i < kGainBytes; i++) {
        const uint8_t gained = Gained(line[i], gains.factors[i]);
        out[i] = line[i] > gains.limits[i] ? line[i] : gained;
    }
}

} // namespace

void UvBrighten(ColourView raw) {
    uint8_t *bytes = raw.data;
    const size_t size = raw.Size();
    // The byte and 4/5 of it, which 205/256 give exactly for every byte; no more than there is room for.
    for (size_t i = 0; i < size; i++) {
        const auto more = static_cast<uint8_t>(static_cast<uint16_t>(bytes[i] * 205) >> 8);
        const auto room = static_cast<uint8_t>(255 - bytes[i]);
        bytes[i] = static_cast<uint8_t>(bytes[i] + std::min(more, room));
    }
}

void UvRealign(const UvOptions &options, const uint16_t (&gains)[kSensorRows], ColourView raw,
               ColourView corrected) {
    const Black noBlack{};
    const ColourGroup noLevel{}, level = RepeatPixel(options.blackSub ? BlackLevel(raw) : noBlack);
    const GainLine gainLine(gains);
    for (int row = 0; row < raw.rows; row++) {
        // Later rows are still as they were sent.
        std::array<uint8_t, kRowBytes> line;
        MergeLine(SourcesOf(raw, row), 0, kRowBytes, row < kBlackEndRow ? level : noLevel, line.data());
        std::memcpy(raw.Row(row), line.data(), line.size());
        if (options.illumGain)
            Gain(line.data(), gainLine, corrected.Row(row));
        else
            std::memcpy(corrected.Row(row), line.data(), line.size());
    }
}

UvMeasure UvCorrect(const UvOptions &options, const uint16_t (&gains)[kSensorRows], ColourView raw,
                    ColourView corrected) {
    UvRealign(options, gains, raw, corrected);
    const UvMeasure measure = UvWhiteLevel(corrected);
    UvTones(options, measure, corrected);
    return measure;
}

} // namespace k274
