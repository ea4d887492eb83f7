// The ultraviolet image, row by row: brightness, colour rows, black level, illumination gain.
#include "src/capture/uv_lines.h"

#include "src/common/pixel_sums.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace k274 {

namespace {

constexpr int kBlue = 0, kGreen = 1, kRed = 2;
constexpr int kRowBytes = 3 * kUvPixels;

// ---- Colour rows

// The sensor sends red, green, blue, and sees a point with green two lines and with blue four lines later.
constexpr int kColourLineOffset = 2;
constexpr int kFirstRow = 3, kLastRow = 1196;

using Black = std::array<uint8_t, 3>;

// Bytes that one vector loop takes at a time, whole pixels of each.
constexpr int kGroupBytes = 48;
using GroupBytes = std::array<uint8_t, kGroupBytes>;

constexpr GroupBytes Repeat(const Black &colours) {
    GroupBytes bytes{};
    for (size_t i = 0; i < bytes.size(); i++)
        bytes[i] = colours[i % 3];
    return bytes;
}
constexpr GroupBytes kBlueMask = Repeat({255, 0, 0}), kGreenMask = Repeat({0, 255, 0}),
                     kRedMask = Repeat({0, 0, 255});

// Where a row's colours come from, each as the address from which its bytes are taken at their own place.
struct ColourSources {
    const uint8_t *blue, *green, *red;
};

ColourSources SourcesOf(ConstColourView raw, int row) {
    const uint8_t *here = raw.Row(row);
    if (row < kFirstRow || row > kLastRow)
        return {here, here, here};
    // The last row's blue would come from behind the image: it keeps the byte that it has.
    const int blueRow = row + 2 * kColourLineOffset;
    const uint8_t *blue = blueRow < raw.rows ? raw.Row(blueRow) + kRed : here;
    return {blue, raw.Row(row + kColourLineOffset), here - kRed};
}

void TakeBlack(const ColourSources &from, const Black &black, uint8_t *line) {
    const uint8_t *blue = from.blue, *green = from.green, *red = from.red;
    const GroupBytes level = Repeat(black);
    int done = 0;
    for (; done + kGroupBytes < kRowBytes; done += kGroupBytes)
        for (int i = 0; i < kGroupBytes; i++) {
            const auto k = static_cast<size_t>(i);
            const auto merged =
                static_cast<uint8_t>((blue[done + i] & kBlueMask[k]) | (green[done + i] & kGreenMask[k]) |
                                     (red[done + i] & kRedMask[k]));
            line[done + i] = static_cast<uint8_t>(std::max(merged, level[k]) - level[k]);
        }
    // Masked bytes of the others would lie behind the image.
    const auto take = [&](uint8_t value, uint8_t off) {
        return static_cast<uint8_t>(std::max(value, off) - off);
    };
    for (; done < kRowBytes; done += 3) {
        line[done + kBlue] = take(blue[done + kBlue], black[kBlue]);
        line[done + kGreen] = take(green[done + kGreen], black[kGreen]);
        line[done + kRed] = take(red[done + kRed], black[kRed]);
    }
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

// Factors are four times the gain, bytes are taken times 256: the upper half of the 32-bit product is then
// the byte times the gain shifted right by 6. Gains from 16,320 up make 255 of every byte but 0, so that
// cutting them at 16,383 changes nothing.
struct GainLine {
    explicit GainLine(const uint16_t (&gains)[kSensorRows]) {
        constexpr uint16_t kMaxGain = 16383;
        for (size_t i = 0; i < kGainBytes; i++) {
            factors[i] = static_cast<uint16_t>(4 * std::min(gains[i / 3], kMaxGain));
            limits[i] = i % 3 == kBlue ? kMaxGainedBlue : 255;
        }
    }
    std::array<uint16_t, kGainBytes> factors;
    std::array<uint8_t, kGainBytes> limits;
};

void Gain(const uint8_t *line, const GainLine &gains, uint8_t *out) {
    for (size_t i = 0; i < kGainBytes; i++) {
        const auto shifted = static_cast<uint16_t>(line[i] << 8);
        const auto gained = static_cast<uint16_t>(uint32_t{shifted} * gains.factors[i] >> 16);
        const auto limited = static_cast<uint8_t>(gained | -(gained > 255));
        out[i] = line[i] > gains.limits[i] ? line[i] : limited;
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
    const Black noBlack{}, black = options.blackSub ? BlackLevel(raw) : noBlack;
    const GainLine gainLine(gains);
    for (int row = 0; row < raw.rows; row++) {
        // Later rows are still as they were sent.
        std::array<uint8_t, kRowBytes> line;
        TakeBlack(SourcesOf(raw, row), row < kBlackEndRow ? black : noBlack, line.data());
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
