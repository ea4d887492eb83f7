// Cards made up from numbers, and the lines that the scanner sees of them put back into one raw image.
#pragma once

#include "scanner/optics/optics.h"

#include <functional>

namespace optics_test {

constexpr int kRed = 0, kGreen = 1, kBlue = 2;

/// Level of one colour at a pixel of one side.
using Paint = std::function<uint8_t(bool front, int x, int y, int colour)>;
scanner::Card MakeCard(int width, int height, int dotsPerInch, const Paint &paint);
scanner::Card PlainCard(int width, int height, uint8_t level);

/// A card lying still and straight under clean glass; 256ths and 65536ths as in Placement.
scanner::Scene SceneOf(const scanner::Card *card, int skew = 0);
constexpr int kLead = 200, kFrontEdge = 1175, kBackEdge = 2535;

/// The byte of a rendered line.
int At(const std::vector<uint8_t> &line, int pixel, int colour);
std::vector<uint8_t> Render(const scanner::Scene &scene, int line);

/// What all lines of a scan show, colours together again: rows of both sensors, 2300 columns, red, green,
/// blue. Lines are rendered as far as the front's columns first to end - 1 (and the back's, opposite) need
/// them.
class RawImage {
public:
    RawImage(const scanner::Scene &scene, int first, int end);
    /// Light of a colour at a place, 0 to 255 as in the art.
    double Level(double row, double column, int colour) const;

private:
    uint8_t Byte(int row, int column, int colour) const;
    std::vector<uint8_t> bytes_;
    const scanner::WhiteResponse *lamps_;
};

} // namespace optics_test
