// Where the card lies on the raw colour image, found by brightness at fixed places. What the search went by
// is marked in the raw image for service dumps.
#include "src/capture/card_search.h"

#include "src/common/find_from.h"

#include <algorithm>
#include <cstdlib>

namespace k274 {

namespace {

constexpr int kBlue = 0, kGreen = 1, kRed = 2;

// ---- Leading edges

constexpr int kLeadFirstColumn = 40, kLeadEndColumn = 320;
constexpr int kLeadRows = 8, kLeadRowStep = 100, kFrontLeadRow = 210, kBackLeadRow = 1500;
constexpr int kBrightMean = 14;       // mean of a bright pixel's channels
constexpr int kBrightChannelMax = 32; // brighter channels count as this much

int BrightSum(ConstColourView raw, int row, int column) {
    const uint8_t *pixel = raw.Pixel(row, column);
    int sum = 0;
    for (int channel = 0; channel < 3; channel++)
        sum += std::min<int>(pixel[channel], kBrightChannelMax);
    return sum;
}

int32_t LeadColumn(ConstColourView raw, int firstRow) {
    const auto bright = [&](int column) {
        int sum = 0;
        for (int i = 0; i < kLeadRows; i++)
            sum += BrightSum(raw, firstRow + i * kLeadRowStep, column);
        return sum >= kLeadRows * 3 * kBrightMean;
    };
    return FindFrom(kLeadFirstColumn, kLeadEndColumn, bright) - 1;
}

// ---- Grey band

constexpr int kBandFirstRow = 2501, kBandLastRow = 2600, kBandMinRows = 30;
constexpr int kBandColumn = 70; // where the card's edges are looked for beside the band

bool GreyRatio(const uint8_t *pixel) {
    const float ratio = static_cast<float>(pixel[kRed]) / static_cast<float>(pixel[kGreen] + 1);
    return ratio > 0.6F && ratio < 1.7F;
}

bool FindGreyBand(ConstColourView raw) {
    int count = 0;
    for (int row = kBandFirstRow; row <= kBandLastRow; row++) {
        const uint8_t *at100 = raw.Pixel(row, 100), *at300 = raw.Pixel(row, 300),
                      *at315 = raw.Pixel(row, 315);
        const int sum100 = at100[kGreen] + at100[kRed], sum300 = at300[kGreen] + at300[kRed];
        if (sum100 >= 42 && std::abs(sum300 - sum100) < 30 && GreyRatio(at100) && GreyRatio(at315))
            count++;
    }
    return count >= kBandMinRows;
}

// Downwards over the rows above `lowRow`: first a bright pair, then the first dark pair after it.
int32_t BandEdgeRow(ConstColourView raw, int highRow, int lowRow) {
    const auto green = [&](int row) { return raw.Pixel(row, kBandColumn)[kGreen]; };
    const int bright =
        FindFrom(highRow, lowRow, [&](int row) { return green(row) > 24 && green(row + 1) > 24; });
    const int dark =
        FindFrom(bright, lowRow, [&](int row) { return green(row) < 20 && green(row - 1) < 20; });
    return dark + 4;
}

// ---- Card corner

// Where one side's corner is looked for, in rows, and the limits of the edge found.
struct CornerPlace {
    int brightRows[7];
    int firstRow, endRow;
    int lowLimit, highLimit;
};
constexpr CornerPlace kFrontCorner{{1000, 1010, 1020, 1030, 1040, 1050, 1060}, 1125, 1185, 1140, 1180};
constexpr CornerPlace kBackCorner{{2200, 2210, 2220, 2230, 2480, 2485, 2490}, 2485, 2545, 2510, 2550};

struct Corner {
    int brightColumn; // first bright column beside the leading edge
    int column, row;
    int EdgeRow() const { return row + 15; }
};

int DarkTest(ConstColourView raw, int row, int column) {
    const uint8_t *pixel = raw.Pixel(row, column);
    return pixel[kBlue] + pixel[kGreen] + pixel[kRed] >= 91 ? 1 : -1;
}

// Bright within, dark along the diagonal that the rounded corner cuts off.
bool IsCorner(ConstColourView raw, int row, int column) {
    int block = 0, diagonal = 0;
    for (int r = row - 3; r < row; r++)
        for (int c = column + 1; c <= column + 3; c++)
            block += DarkTest(raw, r, c);
    for (int i = -3; i <= 0; i++)
        diagonal += DarkTest(raw, row + i, column + i - 1);
    for (int i = 0; i <= 4; i++)
        diagonal += DarkTest(raw, row + i, column + i);
    return block > 0 && diagonal < 0;
}

Corner FindCorner(ConstColourView raw, int leadColumn, const CornerPlace &place) {
    const auto bright = [&](int column) {
        int sum = 0;
        for (const int row : place.brightRows)
            sum += BrightSum(raw, row, column);
        return sum >= 7 * 3 * kBrightMean;
    };
    const int brightColumn = FindFrom(leadColumn - 10, leadColumn + 10, bright);
    const int column = brightColumn + 24;
    const int row = FindFrom(place.firstRow, place.endRow, [&](int r) { return IsCorner(raw, r, column); });
    return {brightColumn, column, row};
}

int32_t LimitedEdgeRow(const Corner &corner, const CornerPlace &place) {
    if (corner.EdgeRow() < place.lowLimit)
        return place.lowLimit + 10;
    if (corner.EdgeRow() > place.highLimit)
        return place.highLimit - 10;
    return corner.EdgeRow();
}

// ---- Marks

// The colour's upper byte is blue, the lower red.
void Mark(ColourView raw, int row, int column, uint32_t colour) {
    uint8_t *pixel = raw.Pixel(row, column);
    pixel[kBlue] = static_cast<uint8_t>(colour >> 16);
    pixel[kGreen] = static_cast<uint8_t>(colour >> 8);
    pixel[kRed] = static_cast<uint8_t>(colour);
}

void MarkBand(ColourView raw, const CardPosition &position) {
    for (const int row : {1130, 1230, 2495, 2595})
        Mark(raw, row, kBandColumn, 0x202080);
    const int32_t edges[2][2] = {{position.frontEdgeRow, position.frontLeadCol},
                                 {position.backEdgeRow, position.backLeadCol}};
    for (const auto &[row, leadColumn] : edges) {
        Mark(raw, row - 4, kBandColumn, 0x0000B0);
        Mark(raw, row, 250, 0x0000D0);
        Mark(raw, row, 275, 0x0000FF);
        Mark(raw, row, leadColumn, 0xFF3F00);
    }
}

void MarkCorner(ColourView raw, const Corner &corner, const CornerPlace &place) {
    Mark(raw, place.firstRow, corner.brightColumn, 0xFF7F3F);
    Mark(raw, place.firstRow, corner.column, 0xFF7F3F);
    Mark(raw, place.endRow, corner.column, 0xFF7F3F);
    Mark(raw, corner.EdgeRow(), corner.column - 1, 0x8F8F8F);
    Mark(raw, corner.EdgeRow(), corner.column + 1, 0x8F8F8F);
    Mark(raw, corner.row, corner.column, 0x00FF00);
}

} // namespace

// Every row and column read or marked lies inside the image whatever it shows: the searches end at columns
// 39 to 357 and rows up to 2600.
CardPosition FindCard(ColourView raw) {
    CardPosition position{};
    position.frontLeadCol = LeadColumn(raw, kFrontLeadRow);
    position.backLeadCol = LeadColumn(raw, kBackLeadRow);
    position.greyBandFound = FindGreyBand(raw);
    if (position.greyBandFound) {
        position.backEdgeRow = BandEdgeRow(raw, 2595, 2495);
        position.frontEdgeRow = BandEdgeRow(raw, 1230, 1130);
        MarkBand(raw, position);
        return position;
    }
    const Corner front = FindCorner(raw, position.frontLeadCol, kFrontCorner);
    const Corner back = FindCorner(raw, position.backLeadCol, kBackCorner);
    position.frontEdgeRow = LimitedEdgeRow(front, kFrontCorner);
    position.backEdgeRow = LimitedEdgeRow(back, kBackCorner);
    MarkCorner(raw, front, kFrontCorner);
    MarkCorner(raw, back, kBackCorner);
    return position;
}

} // namespace k274
