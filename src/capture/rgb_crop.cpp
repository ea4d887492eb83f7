// The images that a host sees of the visible-light pass, cut at the card's position.
#include "src/capture/rgb_crop.h"

#include <algorithm>
#include <cstring>

namespace k274 {

namespace {

constexpr uint8_t kNoRow = 2;          // fill of rows that the sensor does not have
constexpr int kEdgeRowsBeyond = 45;    // rows of the strip beyond the card's edge
constexpr int kEdgeColumnsBefore = 40; // columns of the strip before the leading edge
constexpr int kEdgeColumnStep = 4;

// Row 0 is the row before the edge row, so the image is turned upside down. On the front a card at the
// sensor's end may leave no rows for the last lines; the back takes the front sensor's rows there. The
// columns fit: the leading edge is at most 319.
void CutCard(ConstColourView corrected, int edgeRow, int leadColumn, ColourView card) {
    const auto rowBytes = static_cast<size_t>(card.Stride());
    for (int i = 0; i < card.rows; i++) {
        const int row = edgeRow - 1 - i;
        if (row >= 0)
            std::memcpy(card.Row(i), corrected.Pixel(row, leadColumn), rowBytes);
        else
            std::memset(card.Row(i), kNoRow, rowBytes);
    }
}

void CutEdge(ConstColourView raw, int edgeRow, int leadColumn, ColourView edge) {
    for (int i = 0; i < edge.rows; i++) {
        const int row = edgeRow + kEdgeRowsBeyond - i;
        for (int k = 0; k < edge.columns; k++) {
            // A card seen in the first column tried would begin the strip at column -1: column 0 stands in.
            const int column = std::max(0, leadColumn - kEdgeColumnsBefore + kEdgeColumnStep * k);
            std::memcpy(edge.Pixel(i, k), raw.Pixel(row, column), 3);
        }
    }
}

} // namespace

void RgbCrop(ColourView raw, ConstColourView corrected, CardPosition &position, ColourView natFr,
             ColourView natBk, ColourView edge) {
    position = FindCard(raw);
    CutCard(corrected, position.frontEdgeRow, position.frontLeadCol, natFr);
    CutCard(corrected, position.backEdgeRow, position.backLeadCol, natBk);
    CutEdge(raw, position.backEdgeRow, position.backLeadCol, edge);
}

} // namespace k274
