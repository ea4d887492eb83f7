// Undoes the optics, one byte at a time.
#include "lines.h"

#include <cmath>

namespace optics_test {

using namespace scanner;

Card MakeCard(int width, int height, int dotsPerInch, const Paint &paint) {
    Card card;
    card.dotsPerInch = dotsPerInch;
    for (const bool front : {true, false}) {
        Picture &picture = front ? card.front : card.back;
        picture = {width, height, {}};
        for (int y = 0; y < height; y++)
            for (int x = 0; x < width; x++)
                for (const int colour : {kRed, kGreen, kBlue})
                    picture.rgb.push_back(paint(front, x, y, colour));
    }
    return card;
}

Card PlainCard(int width, int height, uint8_t level) {
    return MakeCard(width, height, 550, [level](bool, int, int, int) { return level; });
}

Scene SceneOf(const Card *card, int skew) {
    static const WhiteResponse lamps = LampResponse();
    return {card, {kLead * 256, kFrontEdge * 256, kBackEdge * 256, skew}, &lamps, 1, 0};
}

int At(const std::vector<uint8_t> &line, int pixel, int colour) {
    return line.at(3 * static_cast<size_t>(pixel) + static_cast<size_t>(colour));
}

std::vector<uint8_t> Render(const Scene &scene, int line) {
    std::vector<uint8_t> bytes(kRgbLineBytes);
    RenderRgbLine(scene, line, bytes.data());
    return bytes;
}

RawImage::RawImage(const Scene &scene, int first, int end)
    : bytes_(size_t{3} * kSensorRows * kScanLines), lamps_(scene.lamps) {
    const auto put = [this](int row, int column, int colour, int value) {
        if (column >= 0 && column < kScanLines)
            bytes_[static_cast<size_t>(3 * (row * kScanLines + column) + colour)] =
                static_cast<uint8_t>(value);
    };
    for (int n = kScanLines - 1 - (end + 4); n <= kScanLines - 1 - (first - 4); n++) {
        const std::vector<uint8_t> line = Render(scene, n);
        for (int p = 0; p < 1350; p++)
            for (const int colour : {kRed, kGreen, kBlue})
                put(p, 2295 + 4 * colour - n, colour, At(line, p, colour));
        // The two sensors share a few pixels of the line in the middle, where no card reaches.
        for (int j = 22; j < 1350; j++)
            for (const int colour : {kRed, kGreen, kBlue})
                put(2699 - j, n + 4 - 4 * colour, colour, At(line, 1328 + j, colour));
    }
}

uint8_t RawImage::Byte(int row, int column, int colour) const {
    return bytes_.at(static_cast<size_t>(3 * (row * kScanLines + column) + colour));
}

double RawImage::Level(double row, double column, int colour) const {
    constexpr double kDark = 3;
    const int r = static_cast<int>(std::floor(row)), c = static_cast<int>(std::floor(column));
    double level = 0;
    for (const int nextRow : {0, 1}) {
        const double white = lamps_->at(static_cast<size_t>((2 - colour) * kSensorRows + r + nextRow));
        for (const int nextColumn : {0, 1}) {
            const double weight =
                (nextRow != 0 ? row - r : 1 - (row - r)) * (nextColumn != 0 ? column - c : 1 - (column - c));
            level += weight * (Byte(r + nextRow, c + nextColumn, colour) - kDark) * 255 / white;
        }
    }
    return level;
}

} // namespace optics_test
