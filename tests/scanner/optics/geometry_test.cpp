// Where the art of a card appears in the lines, and how faithfully.
#include "lines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace {

using namespace optics_test;
using namespace scanner;

/// The line that is brightest at a device pixel in one colour.
int BrightestLine(const Scene &scene, int pixel, int colour, int around) {
    int best = -1, level = -1;
    for (int n = around - 12; n <= around + 12; n++) {
        const int seen = At(Render(scene, n), pixel, colour);
        if (seen > level) {
            level = seen;
            best = n;
        }
    }
    return level > 100 ? best : -1;
}

TEST(OpticsGeometry, ADotAppearsInTheLineAndPixelOfEachColour) {
    constexpr int kWidth = 90, kHeight = 60;
    constexpr int kX = 70, kY = 11; // far from the middle of the card: a mirrored dot is elsewhere
    const Card card = MakeCard(kWidth, kHeight, 550, [](bool, int x, int y, int) {
        return static_cast<uint8_t>(x == kX && y == kY ? 255 : 0);
    });
    const Scene scene = SceneOf(&card);

    const int frontPixel = kFrontEdge - 1 - kY;
    const int frontColumn = kLead + kX;
    const int backPixel = 4027 - (kBackEdge - 1 - kY);
    const int backColumn = kScanLines - kLead - kWidth + kX; // the back is read from its other end
    const struct {
        const char *what;
        int pixel, colour, line;
    } kCases[] = {
        {"front red", frontPixel, kRed, 2295 - frontColumn},
        {"front green", frontPixel, kGreen, 2299 - frontColumn},
        {"front blue", frontPixel, kBlue, 2303 - frontColumn},
        {"back red", backPixel, kRed, backColumn - 4},
        {"back green", backPixel, kGreen, backColumn},
        {"back blue", backPixel, kBlue, backColumn + 4},
    };
    for (const auto &c : kCases)
        EXPECT_EQ(BrightestLine(scene, c.pixel, c.colour, c.line), c.line) << c.what;
}

/// Patches of random colours, five to the side, so that a shift by one pixel is a large error.
uint8_t Patches(bool front, int x, int y, int colour) {
    auto v = static_cast<uint32_t>(((x / 5) * 131 + y / 5) * 6 + colour * 2 + (front ? 1 : 0));
    v = (v ^ (v >> 7)) * 2654435761u;
    return static_cast<uint8_t>(40 + (v >> 16) % 200);
}

/// Soft shapes that neither turning nor scaling damages.
uint8_t Waves(bool front, int x, int y, int colour) {
    return static_cast<uint8_t>(130 + 60 * std::sin(x / (front ? 7.0 : 9.0) + colour) +
                                50 * std::sin(y / 8.0 + x / 31.0));
}

/// Peak signal to noise, in dB, of one colour of one side as it comes out of the lines.
double Psnr(const RawImage &raw, const Card &card, int skew, bool front, int colour) {
    const Picture &art = front ? card.front : card.back;
    constexpr int kMargin = 3;
    const double turn = skew / 65536.0, scale = 550.0 / card.dotsPerInch;
    double sum = 0;
    int count = 0;
    for (int y = kMargin; y < art.height - kMargin; y++) {
        for (int x = kMargin; x < art.width - kMargin; x++) {
            // From the leading edge and the upper edge, before the card is turned.
            const double across = ((front ? x : art.width - 1 - x) + 0.5) * scale - 0.5;
            const double down = (y + 0.5) * scale - 0.5;
            const double longer = 1 + turn * turn; // the turn is a shear of both axes
            const double column = kLead + (across + turn * down) / longer;
            const double row = (front ? kFrontEdge : kBackEdge) - 1 - (down - turn * across) / longer;
            const double seen = raw.Level(row, front ? column : kScanLines - 1 - column, colour);
            const double error = seen - art.rgb[static_cast<size_t>(3 * (y * art.width + x) + colour)];
            sum += error * error;
            count++;
        }
    }
    return 10 * std::log10(255.0 * 255.0 * count / sum);
}

TEST(OpticsGeometry, ArtComesBackOutOfTheLines) {
    // Noise, dark levels and rounding make 1.2 levels, the dimmest lamp nearly doubles them: 41 dB. What is
    // soft loses a little more between pixels. A shift by one pixel leaves less than 30 dB.
    const struct {
        const char *what;
        int width, height, dotsPerInch, skew;
        uint8_t (*paint)(bool, int, int, int);
        double least; // dB
    } kCases[] = {
        {"straight, one pixel of art a position", 120, 170, 550, 0, Patches, 41},
        {"turned clockwise", 120, 170, 550, 171, Waves, 40},
        {"turned counter-clockwise", 120, 170, 550, -171, Waves, 40},
        {"turned far", 120, 170, 550, 4000, Waves, 40},
        {"coarse art", 60, 80, 300, 171, Waves, 38},
        {"fine art", 200, 240, 1100, -171, Waves, 40},
    };
    for (const auto &c : kCases) {
        const Card card = MakeCard(c.width, c.height, c.dotsPerInch, c.paint);
        const RawImage raw(SceneOf(&card, c.skew), kLead - 2, kLead + c.width * 550 / c.dotsPerInch + 14);
        for (const bool front : {true, false})
            for (const int colour : {kRed, kGreen, kBlue})
                EXPECT_GT(Psnr(raw, card, c.skew, front, colour), c.least)
                    << c.what << (front ? ", front, colour " : ", back, colour ") << colour;
    }
}

TEST(OpticsGeometry, CardEndsAtItsEdgesAndRoundedCorners) {
    Card card = PlainCard(100, 80, 255);
    card.cornerRadius = 20;
    const RawImage raw(SceneOf(&card), kLead - 10, kLead + 110);
    const struct {
        const char *what;
        double x, y; // pixels of the art
        bool lit;
    } kCases[] = {
        {"leading edge", 0, 40, true},         {"before the leading edge", -2, 40, false},
        {"trailing edge", 98, 40, true},       {"behind the trailing edge", 101, 40, false},
        {"upper edge", 50, 1, true},           {"above the upper edge", 50, -2, false},
        {"lower edge", 50, 79, true},          {"below the lower edge", 50, 81, false},
        {"upper left corner", 4, 4, false},    {"inside the corner's arc", 8, 8, true},
        {"lower right corner", 95, 75, false},
    };
    for (const auto &c : kCases) {
        for (const int colour : {kRed, kGreen, kBlue}) {
            const double front = raw.Level(kFrontEdge - 1 - c.y, kLead + c.x, colour);
            const double back = raw.Level(kBackEdge - 1 - c.y, kScanLines - kLead - 100 + c.x, colour);
            for (const double level : {front, back})
                EXPECT_TRUE(c.lit ? level > 240 : level < 11)
                    << c.what << ", colour " << colour << ": " << level;
        }
    }
}

TEST(OpticsGeometry, NoCardIsDark) {
    for (const int n : {0, 1150, 2299}) {
        const std::vector<uint8_t> line = Render(SceneOf(nullptr), n);
        EXPECT_LT(*std::max_element(line.begin(), line.end()), 12) << n;
        EXPECT_GT(*std::max_element(line.begin(), line.end()), 2) << "not a line of zeros";
    }
}

TEST(OpticsGeometry, CardsOfAnyShapeStayInsideTheLine) {
    const struct {
        int width, height, dotsPerInch, cornerRadius, leadColumn, edgeRow, skew;
    } kCases[] = {
        {1, 1, 550, 0, 200, 1175, 171},         {1, 1169, 550, 0, 200, 1175, -171},
        {1925, 1210, 550, 605, 200, 1175, 171}, {350, 220, 100, 110, 200, 1175, -171},
        {300, 100, 100, 12, -1500, 3000, 4000}, {300, 100, 100, 12, 2299, -50, -4000},
    };
    constexpr uint8_t kGuard = 0xA5;
    for (const auto &c : kCases) {
        Card card = PlainCard(c.width, c.height, 255);
        card.dotsPerInch = c.dotsPerInch;
        card.cornerRadius = c.cornerRadius;
        Scene scene = SceneOf(&card);
        scene.placement = {c.leadColumn * 256, c.edgeRow * 256, (c.edgeRow + 1360) * 256, c.skew};
        scene.dustSeed = 77;
        for (const int n : {0, 150, 1000, 2094, 2098, 2099, 2100, 2299}) {
            std::vector<uint8_t> line(kRgbLineBytes + 64, kGuard);
            RenderRgbLine(scene, n, line.data() + 32);
            EXPECT_EQ(std::count(line.begin(), line.begin() + 32, kGuard), 32);
            EXPECT_EQ(std::count(line.end() - 32, line.end(), kGuard), 32);
            for (int p = 2678; p < kLinePixels; p++)
                EXPECT_LT(line[static_cast<size_t>(32 + 3 * p)], 12) << "nothing looks at the end of a line";
        }
    }
}

} // namespace
