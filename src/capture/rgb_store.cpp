// Device lines of the visible-light pass into the raw colour image: a transposition in which the three
// colours of one device pixel land four columns apart.
#include "src/capture/rgb_store.h"

#include "src/capture/colour_rows.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace k274 {

namespace {

constexpr int kFirstLine = 4, kLastLine = 2296;
constexpr int kColourRowOffset = 4;     // columns between the sensor's colour rows
constexpr int kFrontGreenColumn = 2299; // column of line 0's green on the front
constexpr int kSideRows = kBackFirstRow;

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

// A block touches so many columns of every row, its window. Red comes first on the front and blue on the
// back.
constexpr int kWindowColumns = kRgbLinesPerPacket + 2 * kColourRowOffset;

// Line of the block that a window column takes a colour from; outside the block there is none.
template <Side side>
constexpr int LineOf(int column, int colour) {
    return side == Side::Front ? kWindowColumns - 1 - kColourRowOffset * colour - column
                               : column - kColourRowOffset * colour;
}

// The columns of more than one colour are first put together as lines of pixels, so that pixels and pairs of
// bytes can be moved instead of bytes.
constexpr int kFirstMerged = kColourRowOffset, kMergedColumns = kRgbLinesPerPacket;
constexpr int kRowsAtOnce = 150; // rows merged at a time, so that the merged lines stay in the first cache
static_assert(kSideRows % kRowsAtOnce == 0);

// Merging goes in groups of 16 pixels from byte 2 on: the red byte of pixel x lies two bytes further in
// the merged line than in the device's, so from byte 0 on it would reach before the block.
constexpr int kMergedBytes = (3 * kRowsAtOnce - kRed + kColourGroup - 1) / kColourGroup * kColourGroup;
static_assert(3 * (kBackFirstPixel + kSideRows - kRowsAtOnce) + kMergedBytes + 4 <= kRgbLineBytes);

using MergedLines = uint8_t[kMergedColumns][kRed + kMergedBytes];

void MergeColours(const uint8_t *blue, const uint8_t *green, const uint8_t *red, uint8_t *merged) {
    const ColourRows from = TurnedColours(blue, green, red);
    merged[kBlue] = from.blue[kBlue];
    merged[kGreen] = from.green[kGreen];
    for (int at = kRed; at < kRed + kMergedBytes; at += kColourGroup)
        for (int i = 0; i < kColourGroup; i++)
            merged[at + i] = MergedByte<kRed>(from, at, i);
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

// The window's columns by the colours that the block has for them: up to each of these one alone, two, all
// three, two, and one alone up to the window's end.
constexpr int kTwoColours = kColourRowOffset, kAllColours = 2 * kColourRowOffset,
              kTwoAgain = kRgbLinesPerPacket, kOneAgain = kRgbLinesPerPacket + kColourRowOffset;
static_assert(kTwoColours == kFirstMerged && kOneAgain == kFirstMerged + kMergedColumns);
static_assert(kAllColours < kTwoAgain, "a packet has lines enough for columns of all three colours");

// Writes one row's window, three bytes of every line of the packet.
template <Side side>
void StoreWindow(const uint8_t *pixel, const MergedLines &merged, int mergedByte, uint8_t *window) {
    constexpr int kFirst = side == Side::Front ? kRed : kBlue, kLast = kRed - kFirst;
    constexpr int kFirstPair = kFirst / 2, kLastPair = kLast / 2; // where the pair with green begins
    const auto move = [&](int column, int byte, size_t bytes) {
        std::memcpy(window + 3 * column + byte, merged[column - kFirstMerged] + mergedByte + byte, bytes);
    };
    for (int c = 0; c < kTwoColours; c++)
        window[3 * c + kFirst] = pixel[kRgbLineBytes * LineOf<side>(c, kFirst) + kRed - kFirst];
    for (int c = kTwoColours; c < kAllColours; c++)
        move(c, kFirstPair, 2);
    // Four bytes are moved at once: the fourth is the next column's first and is written again with it.
    for (int c = kAllColours; c < kTwoAgain - 1; c++)
        move(c, 0, 4);
    move(kTwoAgain - 1, 0, 3);
    for (int c = kTwoAgain; c < kOneAgain; c++)
        move(c, kLastPair, 2);
    for (int c = kOneAgain; c < kWindowColumns; c++)
        window[3 * c + kLast] = pixel[kRgbLineBytes * LineOf<side>(c, kLast) + kRed - kLast];
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
