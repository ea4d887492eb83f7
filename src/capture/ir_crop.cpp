#include "src/capture/ir_crop.h"

#include "src/capture/ir_destripe.h"
#include "src/capture/stretch.h"
#include "src/common/find_from.h"
#include "src/common/geometry.h"

#include <algorithm>
#include <cstring>

namespace k274 {

namespace {

// ---- Leading edges

constexpr int kLeadFirstColumn = 40, kFrontLeadEnd = 260, kBackLeadEnd = 360;
constexpr int kFrontLeadRows[] = {200, 400, 500, 600, 700, 800, 900, 1100};
constexpr int kBackLeadRows[] = {1500, 1700, 1800, 1900, 2000, 2100, 2200, 2400};
constexpr int kLeadSum = 112;

int32_t LeadColumn(ConstGreyView raw, const int (&rows)[8], int endColumn) {
    return FindFrom(kLeadFirstColumn, endColumn, [&](int column) {
        int sum = 0;
        for (const int row : rows)
            sum += *raw.Pixel(row, column);
        return sum >= kLeadSum;
    });
}

// ---- Crop and stretch

constexpr int kWidth = K274_IR_WIDTH, kHeight = K274_IR_HEIGHT;
constexpr int kCardRows = 1180;
constexpr uint8_t kNoPixel = 3; // fill of what the sensor does not have

// What the sensor sees beside the card, times 16, in the last bytes of a row.
constexpr int kDarkColumns[] = {50, 51, 2350, 2349};
constexpr int kDarkFactor = 16;

struct Side {
    int edgeRow, leadColumn;
    int firstRow;            // of the image; rows before it do not exist
    int firstDark, lastDark; // rows with a dark reference
};

// One row of the crop, the card's edge foremost. Rows that the sensor half or the image does not have and
// columns behind the image are filled.
void CutRow(ConstGreyView raw, ConstGreyView corrected, const Side &side, int row, uint8_t *line) {
    if (row < side.firstRow || row >= corrected.rows) {
        std::memset(line, kNoPixel, kWidth);
        return;
    }
    const int columns = std::min(kWidth, corrected.columns - side.leadColumn);
    std::memcpy(line, corrected.Pixel(row, side.leadColumn), static_cast<size_t>(columns));
    std::memset(line + columns, kNoPixel, static_cast<size_t>(kWidth - columns));
    if (row < side.firstDark || row > side.lastDark)
        return;
    uint8_t *dark = line + kWidth - std::size(kDarkColumns);
    for (const int column : kDarkColumns)
        *dark++ = static_cast<uint8_t>(*raw.Pixel(row, column) * kDarkFactor);
}

// The crop's rows count down from the card's edge, and are cut as the stretching comes to them.
void CutSide(ConstGreyView raw, ConstGreyView corrected, const Side &side, GreyView image) {
    uint8_t lines[2][kWidth];
    int cut = kIrStretch[0].a - 1;
    for (int i = 0; i < kHeight; i++) {
        const StretchEntry &entry = kIrStretch[static_cast<size_t>(i)];
        while (cut < entry.b) {
            cut++;
            CutRow(raw, corrected, side, side.edgeRow - kCardRows + kHeight - 1 - cut, lines[cut & 1]);
        }
        StretchRow(lines[entry.a & 1], lines[entry.b & 1], entry, kWidth, image.Row(i));
    }
}

} // namespace

IrPosition FindIrEdges(ConstGreyView raw) {
    return {LeadColumn(raw, kFrontLeadRows, kFrontLeadEnd), LeadColumn(raw, kBackLeadRows, kBackLeadEnd)};
}

IrPosition IrCrop(ConstGreyView raw, ConstGreyView corrected, const CardPosition &card, bool enhance,
                  GreyView irFr, GreyView irBk) {
    const IrPosition position = FindIrEdges(raw);
    const Side front{card.frontEdgeRow, position.frontLeadCol, 0, 31, 1155};
    const Side back{card.backEdgeRow, position.backLeadCol, kBackFirstRow, card.backEdgeRow - kCardRows + 31,
                    card.backEdgeRow - kCardRows + 1164};
    CutSide(raw, corrected, front, irFr);
    CutSide(raw, corrected, back, irBk);
    if (enhance) {
        IrDestripe(irFr);
        IrDestripe(irBk);
    }
    return position;
}

} // namespace k274
