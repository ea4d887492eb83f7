// Device lines of the visible-light pass into the raw colour image: a transposition in which the three
// colours of one device pixel land four columns apart.
#include "src/capture/rgb_lines.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace k274 {

namespace {

constexpr int kFirstLine = 4, kLastLine = 2296;
constexpr int kColourRowOffset = 4;     // columns between the sensor's colour rows
constexpr int kFrontGreenColumn = 2299; // column of line 0's green on the front
constexpr int kSideRows = kBackFirstRow;
constexpr int kBlue = 0, kRed = 2;

enum class Side { Front, Back };

void StoreByte(ColourView raw, int row, int column, int colour, uint8_t value) {
    if (column >= 0 && column < raw.columns)
        raw.Pixel(row, column)[colour] = value;
}

// One line at the borders of the image, where some of its columns do not exist.
void StoreLine(const uint8_t *line, int number, ColourView raw) {
    for (int i = 0; i < kSideRows; i++) {
        const uint8_t *front = line + 3 * i, *back = line + 3 * (kBackFirstPixel + i);
        for (int colour = 0; colour < 3; colour++) {
            const int shift = kColourRowOffset * (colour - 1);
            StoreByte(raw, i, kFrontGreenColumn - number - shift, colour, front[2 - colour]);
            StoreByte(raw, kSensorRows - 1 - i, number + shift, colour, back[2 - colour]);
        }
    }
}

// A block touches 20 columns of every row, its window. By columns of four: one colour alone, two, all
// three, two, one; red comes first on the front and blue first on the back.
constexpr int kWindowColumns = kRgbLinesPerPacket + 2 * kColourRowOffset;

// Line of the block that a window column takes a colour from; outside 0 to 11 the block has none.
template <Side side>
constexpr int LineOf(int column, int colour) {
    return side == Side::Front ? kWindowColumns - 1 - kColourRowOffset * colour - column
                               : column - kColourRowOffset * colour;
}

// Window columns 4 to 15 are first put together as lines of pixels, so that pixels and pairs of bytes can
// be moved instead of bytes.
constexpr int kFirstMerged = kColourRowOffset, kMergedColumns = kRgbLinesPerPacket;
constexpr int kRowsAtOnce = 150; // rows merged at a time, so that the merged lines stay in the first cache
static_assert(kSideRows % kRowsAtOnce == 0);

// Merging goes in groups of 16 pixels from byte 2 on: the red byte of pixel x lies two bytes further in
// the merged line than in the device's, so from byte 0 on it would reach before the block.
constexpr int kGroupBytes = 48;
constexpr int kMergedBytes = (3 * kRowsAtOnce - 2 + kGroupBytes - 1) / kGroupBytes * kGroupBytes;
static_assert(3 * (kBackFirstPixel + kSideRows - kRowsAtOnce) + kMergedBytes + 4 <= kRgbLineBytes);

using MergedLines = uint8_t[kMergedColumns][2 + kMergedBytes];

struct ColourMasks {
    uint8_t byte[3][kGroupBytes];
};
constexpr ColourMasks MakeColourMasks() {
    ColourMasks masks{};
    for (int i = 0; i < kGroupBytes; i++)
        masks.byte[(i + 2) % 3][i] = 0xFF;
    return masks;
}
constexpr ColourMasks kMasks = MakeColourMasks();

void MergeColours(const uint8_t *blue, const uint8_t *green, const uint8_t *red, uint8_t *merged) {
    merged[0] = blue[2];
    merged[1] = green[1];
    for (int group = 0; group < kMergedBytes; group += kGroupBytes)
        for (int i = 0; i < kGroupBytes; i++)
            merged[2 + group + i] = static_cast<uint8_t>((blue[group + i + 4] & kMasks.byte[0][i]) |
                                                         (green[group + i + 2] & kMasks.byte[1][i]) |
                                                         (red[group + i] & kMasks.byte[2][i]));
}

template <Side side>
void MergeWindow(const uint8_t *block, MergedLines &merged) {
    for (int m = 0; m < kMergedColumns; m++) {
        // A colour that the block does not have is taken from any line and never moved to the image.
        std::array<const uint8_t *, 3> line{};
        for (int colour = 0; colour < 3; colour++)
            line[static_cast<size_t>(colour)] =
                block +
                kRgbLineBytes * std::clamp(LineOf<side>(kFirstMerged + m, colour), 0, kRgbLinesPerPacket - 1);
        MergeColours(line[0], line[1], line[2], merged[m]);
    }
}

// Writes one row's window: 36 of its 60 bytes.
template <Side side>
void StoreWindow(const uint8_t *pixel, const MergedLines &merged, int mergedByte, uint8_t *window) {
    constexpr int kFirst = side == Side::Front ? kRed : kBlue, kLast = 2 - kFirst;
    constexpr int kFirstPair = kFirst / 2, kLastPair = kLast / 2;
    for (int c = 0; c < 4; c++)
        window[3 * c + kFirst] = pixel[kRgbLineBytes * LineOf<side>(c, kFirst) + 2 - kFirst];
    for (int c = 4; c < 8; c++)
        std::memcpy(window + 3 * c + kFirstPair, merged[c - kFirstMerged] + mergedByte + kFirstPair, 2);
    // The fourth byte is the next column's first and is written again with it.
    for (int c = 8; c < 11; c++)
        std::memcpy(window + 3 * c, merged[c - kFirstMerged] + mergedByte, 4);
    std::memcpy(window + 33, merged[11 - kFirstMerged] + mergedByte, 3);
    for (int c = 12; c < 16; c++)
        std::memcpy(window + 3 * c + kLastPair, merged[c - kFirstMerged] + mergedByte + kLastPair, 2);
    for (int c = 16; c < 20; c++)
        window[3 * c + kLast] = pixel[kRgbLineBytes * LineOf<side>(c, kLast) + 2 - kLast];
}

template <Side side>
void StoreSide(const uint8_t *block, int firstColumn, ColourView raw) {
    // Every row lies in another page, where the processor does not fetch ahead by itself.
    constexpr int kRowsAhead = 32;
    const auto windowOf = [&](int i) {
        return raw.Pixel(side == Side::Front ? i : kSensorRows - 1 - i, firstColumn);
    };
    const uint8_t *pixels = block + (side == Side::Front ? 0 : 3 * kBackFirstPixel);
    MergedLines merged;
    for (int first = 0; first < kSideRows; first += kRowsAtOnce) {
        MergeWindow<side>(pixels + 3 * first, merged);
        for (int i = 0; i < kRowsAtOnce; i++) {
            const uint8_t *ahead = windowOf(std::min(first + i + kRowsAhead, kSideRows - 1));
            __builtin_prefetch(ahead, 1);
            __builtin_prefetch(ahead + 3 * kWindowColumns - 1, 1);
            StoreWindow<side>(pixels + 3 * (first + i), merged, 3 * i, windowOf(first + i));
        }
    }
}

} // namespace

void RgbLineStore(const uint8_t *block, int linesLeft, ColourView raw) {
    if (linesLeft > kLastLine || linesLeft <= kFirstLine - kRgbLinesPerPacket)
        return;
    const int lastLine = linesLeft + kRgbLinesPerPacket - 1;
    const int frontColumn = kFrontGreenColumn - kColourRowOffset - lastLine;
    const int backColumn = linesLeft - kColourRowOffset;
    if (frontColumn >= 0 && backColumn >= 0) {
        StoreSide<Side::Front>(block, frontColumn, raw);
        StoreSide<Side::Back>(block, backColumn, raw);
        return;
    }
    for (int line = std::max(linesLeft, kFirstLine); line <= std::min(lastLine, kLastLine); line++)
        StoreLine(block + kRgbLineBytes * (line - linesLeft), line, raw);
}

} // namespace k274
