// What a host makes of the lines: plain loops that place them in the colour image, find the card and level
// the light, written from the receiving end.
#pragma once

#include "scanner/optics/optics.h"

#include <vector>

namespace stored {

constexpr int kColumns = 2300;

/// Rows are sensor positions, columns scan columns, pixels blue, green, red.
struct Image {
    std::vector<uint8_t> bytes = std::vector<uint8_t>(size_t{2700} * kColumns * 3, 1);
    uint8_t *Pixel(int row, int column) {
        return &bytes.at(3 * (static_cast<size_t>(row) * kColumns + static_cast<size_t>(column)));
    }
};

/// Scans the scene.
Image Scan(const scanner::Scene &scene);

/// A byte after the gain for a position whose white response is given.
int Levelled(int value, int response);

/// Where the host finds the card; edges beyond the search's limits mean that it found nothing.
struct Found {
    int frontLead, backLead; // last column before the leading edge
    int frontEdge, backEdge; // row just past the upper edge
};
Found FindCard(Image &image);

/// Lies straight, on whole pixels.
constexpr scanner::Placement kStraight = {200 * 256, 1175 * 256, 2535 * 256, 0};

} // namespace stored
