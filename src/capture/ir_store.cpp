// Device lines of the infrared pass into the raw image: a transposition of eleven lines, whose pixels lie
// side by side in every row of the image.
#include "src/capture/ir_store.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace k274 {

namespace {

constexpr int kFirstLine = 6, kLastLine = 2394;
constexpr int kFrontColumn = 2393; // column of line 0 on the front
constexpr int kBackColumn = 6;     // and on the back
constexpr int kSideRows = kBackFirstRow;

void StoreByte(GreyView raw, int row, int column, uint8_t value) {
    if (column >= 0 && column < raw.columns)
        *raw.Pixel(row, column) = value;
}

// One line, whose columns may not exist at the borders of the image.
void StoreLine(const uint8_t *line, int number, GreyView raw) {
    for (int i = 0; i < kSideRows; i++) {
        StoreByte(raw, i, kFrontColumn - number, line[i]);
        StoreByte(raw, kSensorRows - 1 - i, kBackColumn + number, line[kBackFirstPixel + i]);
    }
}

#if defined(__SSE2__)
using BlockLines = std::array<const uint8_t *, kIrLinesPerPacket>;

// Lines become rows when every line has been joined with the eighth one after it four times.
constexpr int kTilePixels = 16;
struct Tile {
    __m128i rows[kTilePixels];
};

Tile Joined(const Tile &lines) {
    constexpr int kHalf = kTilePixels / 2;
    Tile joined;
    for (int i = 0; i < kHalf; i++) {
        joined.rows[2 * i] = _mm_unpacklo_epi8(lines.rows[i], lines.rows[i + kHalf]);
        joined.rows[2 * i + 1] = _mm_unpackhi_epi8(lines.rows[i], lines.rows[i + kHalf]);
    }
    return joined;
}

// Sixteen pixels of every line into sixteen rows, a byte of every line each. More than twice as fast as byte
// by byte.
void StoreTile(const BlockLines &lines, int pixel, uint8_t *first, ptrdiff_t stride) {
    Tile tile;
    for (size_t i = 0; i < kTilePixels; i++) {
        const uint8_t *line = lines[std::min(i, lines.size() - 1)];
        tile.rows[i] = _mm_loadu_si128(reinterpret_cast<const __m128i *>(line + pixel));
    }
    tile = Joined(Joined(Joined(Joined(tile))));
    // The first eight bytes, and the last four, some of which are the same.
    static_assert(8 <= kIrLinesPerPacket && kIrLinesPerPacket <= 12 && kIrLinesPerPacket <= kTilePixels);
    for (const __m128i row : tile.rows) {
        _mm_storel_epi64(reinterpret_cast<__m128i *>(first), row);
        const int last = _mm_cvtsi128_si32(_mm_srli_si128(row, kIrLinesPerPacket - 4));
        std::memcpy(first + kIrLinesPerPacket - 4, &last, 4);
        first += stride;
    }
}

// The tiles' rows begin at one column; the last tile repeats some of the pixels before it.
void StoreSide(const BlockLines &lines, uint8_t *first, ptrdiff_t stride) {
    for (int pixel = 0; pixel < kSideRows; pixel += kTilePixels) {
        const int tilePixel = std::min(pixel, kSideRows - kTilePixels);
        // Every row lies in another page, where the processor does not fetch ahead by itself.
        for (int i = 0; i < kTilePixels; i++)
            __builtin_prefetch(first + std::min(tilePixel + kTilePixels + i, kSideRows - 1) * stride, 1);
        StoreTile(lines, tilePixel, first + tilePixel * stride, stride);
    }
}

void StoreBlock(const uint8_t *block, int firstLine, GreyView raw) {
    BlockLines rising, falling;
    for (size_t i = 0; i < rising.size(); i++) {
        rising[i] = block + kLinePixels * i + kBackFirstPixel;
        falling[rising.size() - 1 - i] = block + kLinePixels * i;
    }
    const int lastLine = firstLine + kIrLinesPerPacket - 1;
    StoreSide(falling, raw.Pixel(0, kFrontColumn - lastLine), raw.Stride());
    StoreSide(rising, raw.Pixel(kSensorRows - 1, kBackColumn + firstLine), -raw.Stride());
}
#endif

} // namespace

void IrLineStore(const uint8_t *block, int firstLine, GreyView raw) {
    if (firstLine > kLastLine || firstLine <= kFirstLine - kIrLinesPerPacket)
        return;
    const int lastLine = firstLine + kIrLinesPerPacket - 1;
#if defined(__SSE2__)
    if (firstLine >= kFirstLine && lastLine <= kFrontColumn) {
        StoreBlock(block, firstLine, raw);
        return;
    }
#endif
    for (int line = std::max(firstLine, kFirstLine); line <= std::min(lastLine, kLastLine); line++)
        StoreLine(block + kLinePixels * (line - firstLine), line, raw);
}

} // namespace k274
