// Chart and verdict boxes of the jitter test.
#include "src/analysis/jitter_chart.h"

#include <algorithm>
#include <cstring>

namespace k274 {

namespace {

struct Colour {
    uint8_t bytes[3]; // blue, green, red
};
constexpr Colour kBlack = {{0, 0, 0}}, kRed = {{0, 0, 255}}, kOrange = {{0, 128, 255}},
                 kGreen = {{0, 255, 0}}, kGround = {{200, 200, 200}}, kGrey = {{128, 128, 128}},
                 kLightGrey = {{144, 144, 144}}, kBrown = {{80, 80, 128}};

// Rows above the chart's base line.
constexpr int kTop = 80, kBottom = -2;
constexpr int kTallestBar = 85;
struct Line {
    int above;
    Colour colour;
};
constexpr Line kLines[] = {{0, kGrey}, {30, kLightGrey}, {50, kRed}, {70, kBrown}};
constexpr int kDashedLines[] = {25, 75};
constexpr int kDash = 8;

struct Mark {
    int column, above;
};
constexpr Mark kMarks[] = {{1122, 80}, {1134, 80}, {782, 78}, {790, 78}, {415, 76}};

constexpr int kBandMark = 15; // rows that the band's ends are marked over

bool IsInside(ConstColourView image, int column, int row) {
    return row >= 0 && row < image.rows && column >= 0 && column < image.columns;
}

void Set(ColourView image, int column, int row, const Colour &colour) {
    if (IsInside(image, column, row))
        std::memcpy(image.Pixel(row, column), colour.bytes, sizeof colour.bytes);
}

struct Box {
    int firstColumn, firstRow, columns, rows;
};

void Blend(ColourView image, const Box &box, const Colour &colour) {
    for (int row = box.firstRow; row < box.firstRow + box.rows; row++)
        for (int column = box.firstColumn; column < box.firstColumn + box.columns; column++)
            if (IsInside(image, column, row))
                for (int k = 0; k < 3; k++) {
                    uint8_t &byte = image.Pixel(row, column)[k];
                    byte = static_cast<uint8_t>((byte + 3 * colour.bytes[k]) / 4);
                }
}

const Colour &Verdict(int32_t value) { return value < 50 ? kGreen : value < 100 ? kOrange : kRed; }

void DrawPlus(ColourView image, int column, int row, const Colour &colour) {
    for (int step = -1; step <= 1; step++) {
        Set(image, column + step, row, colour);
        Set(image, column, row + step, colour);
    }
}

void DrawFrame(const JitterBand &band, ColourView image) {
    const int base = band.chartRow;
    for (int x = FirstChartColumn(band); x < EndChartColumn(band); x++) {
        for (int above = kBottom; above <= kTop; above++)
            Set(image, x, base - above, kGround);
        for (const Line &line : kLines)
            Set(image, x, base - line.above, line.colour);
        if (x % kDash < kDash / 2)
            for (const int above : kDashedLines)
                Set(image, x, base - above, kGrey);
        if (x < band.x0 || x > band.x1)
            for (const int row : {band.y0, band.y1})
                Set(image, x, row, kBlack);
    }
    for (const Mark &mark : kMarks)
        DrawPlus(image, mark.column, base - mark.above, kRed);
    for (const int x : {FirstChartColumn(band), EndChartColumn(band)})
        for (int i = 0; i < kBandMark; i++) {
            Set(image, x, band.y0 + i, kBlack);
            Set(image, x, band.y1 - i, kBlack);
        }
}

} // namespace

void DrawJitterChart(const JitterBand &band, const FringeLevels &levels, ColourView natBk) {
    DrawFrame(band, natBk);
    for (int x = FirstChartColumn(band); x < EndChartColumn(band); x++) {
        const int height = std::min(kTallestBar, levels[static_cast<size_t>(x)] / 2 - 1);
        for (int i = 0; i < height; i++)
            Set(natBk, x, band.chartRow - i, kBlack);
    }
}

void DrawJitterBoxes(const JitterBand &band, int32_t value, int32_t most, ColourView natBk) {
    Blend(natBk, {band.x1 - 60, band.chartRow + 25, 40, 40}, Verdict(value));
    if (most >= 0)
        Blend(natBk, {band.x1 - 110, band.chartRow + 85, 90, 45}, Verdict(most));
}

void DrawBarcodeBox(bool read, ColourView natBk) { Blend(natBk, {1830, 1130, 40, 40}, read ? kGreen : kRed); }

} // namespace k274
