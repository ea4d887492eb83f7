// Where the art of a card appears in the lines, how bright it is there, and what a seed decides: how cards
// lie, noise and dust.
#include "scanner/cards/hidden_light.h"
#include "scanner/firmware/line_pass.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numeric>
#include <set>

namespace {

using namespace scanner;
using Line = std::vector<uint8_t>;

/// The same level of art in every colour. Infrared and ultraviolet light show what visible light does.
Card MakeCard(int width, int height, const std::function<uint8_t(int x, int y)> &paint) {
    Card card;
    card.front = {width, height, {}};
    for (int i = 0; i < 3 * width * height; i++)
        card.front.rgb.push_back(paint(i / 3 % width, i / 3 / width));
    card.back = card.frontUv = card.backUv = card.front;
    card.frontIr = card.backIr = Luminance(card.front);
    return card;
}
Card PlainCard(int width, int height, uint8_t level = 255) {
    return MakeCard(width, height, [level](int, int) { return level; });
}

constexpr int kLead = 200, kFrontEdge = 1175, kBackEdge = 2535;
/// A card lying still and straight under clean glass; the skew in 1/65536.
Scene SceneOf(const Card *card, int skew = 0) {
    static const WhiteResponse lamps = LampResponse();
    return {card, {kLead * 256, kFrontEdge * 256, kBackEdge * 256, skew}, &lamps, 1, 0};
}

Line Render(const Scene &scene, Pass pass, int line) {
    Line bytes(static_cast<size_t>(Info(pass).lineBytes));
    (pass == Pass::Rgb  ? RenderRgbLine
     : pass == Pass::Ir ? RenderIrLine
                        : RenderUvLine)(scene, line, bytes.data());
    return bytes;
}

TEST(OpticsGeometry, ASpotAppearsInTheLineAndPixelOfEachColour) {
    constexpr int kWidth = 90, kHeight = 60;
    constexpr int kX = 70, kY = 11, kSize = 4; // far from the middle of the card: mirrored, it is elsewhere
    Card card = MakeCard(kWidth, kHeight, [](int x, int y) {
        return static_cast<uint8_t>(std::abs(x - kX) <= kSize && std::abs(y - kY) <= kSize ? 255 : 0);
    });
    const struct {
        const char *what;
        Pass pass;
        int colours, colour;
        double first, perColumn; // line of the leading edge, lines a column
        int late;                // lines later than the others
    } kRows[] = {
        {"red", Pass::Rgb, 3, 0, 2099, 1, -4},
        {"green", Pass::Rgb, 3, 1, 2099, 1, 0},
        {"blue", Pass::Rgb, 3, 2, 2099, 1, 4},
        {"infrared", Pass::Ir, 1, 0, 2213, 2025 / 1856.0, 0},
        {"UV red", Pass::Uv, 3, 0, 1095, 1012 / 1856.0, 0},
        {"UV green", Pass::Uv, 3, 1, 1095, 1012 / 1856.0, 2},
        {"UV blue", Pass::Uv, 3, 2, 1095, 1012 / 1856.0, 4},
    };
    const struct { int dotsPerInch, skew; } kWays[] = {{550, 0}, {300, 171}, {1100, -171}, {550, 4000}};
    for (const auto &way : kWays) {
        card.dotsPerInch = way.dotsPerInch;
        const Scene scene = SceneOf(&card, way.skew);
        for (const auto &row : kRows) {
            for (const bool front : {true, false}) {
                // From the leading edge, which is the back's other end, and the upper edge, before the turn.
                const double scale = 550.0 / way.dotsPerInch, turn = way.skew / 65536.0,
                             one = 1 + turn * turn;
                const double across = ((front ? kX : kWidth - 1 - kX) + 0.5) * scale - 0.5;
                const double down = (kY + 0.5) * scale - 0.5;
                const double x = (across + turn * down) / one, y = (down - turn * across) / one;
                const double line = row.first + row.late - x * row.perColumn;
                double pixel = front ? kFrontEdge - 1 - y : 4027 - (kBackEdge - 1 - y);
                if (row.pass == Pass::Uv)
                    pixel = (pixel + (front ? -0.5 : 2.5)) / 2;

                double light = 0, lines = 0, pixels = 0; // the middle of what is bright round the place
                for (int n = static_cast<int>(line) - 12; n <= static_cast<int>(line) + 12; n++) {
                    const Line seen = Render(scene, row.pass, n);
                    for (int p = static_cast<int>(pixel) - 12; p <= static_cast<int>(pixel) + 12; p++) {
                        const int at = row.colours * p + row.colour;
                        const int level =
                            std::max(seen[static_cast<size_t>(at)] - (row.pass == Pass::Uv ? 5 : 12), 0);
                        light += level;
                        lines += level * n;
                        pixels += level * p;
                    }
                }
                ASSERT_GT(light, 30) << row.what << way.dotsPerInch;
                EXPECT_NEAR(lines / light, line, 0.3) << row.what << front << way.dotsPerInch;
                EXPECT_NEAR(pixels / light, pixel, 0.3) << row.what << front << way.dotsPerInch;
            }
        }
    }
}

TEST(OpticsScene, CardsLieWhereASearchFindsThem) {
    std::set<int> skews;
    for (uint32_t k = 0; k < 40000; k++) {
        const Placement p = PlaceCard(k / 20, k / 2 % 10);
        skews.insert(p.skew);
        const double end = k % 2, lead = p.leadColumn / 256.0 + end * p.skew / 65536.0 * 1169;
        const double lean = end * p.skew / 65536.0 * 1856; // of each edge's end
        const double front = p.frontEdgeRow / 256.0 + lean, back = p.backEdgeRow / 256.0 + lean;
        ASSERT_TRUE(lead >= 150 && lead <= 280) << lead;
        ASSERT_TRUE(front >= 1150 && front <= 1179 && back >= 2515 && back <= 2548) << front << ", " << back;
    }
    EXPECT_GT(skews.size(), 300u) << "0.3 degrees";
}

/// Mean of each byte over 50 lines from one on, and what it deviates from it, as squares.
std::pair<std::vector<double>, std::vector<double>> Measure(const Scene &scene, Pass pass, int first) {
    constexpr double kLines = 50;
    const auto size = static_cast<size_t>(Info(pass).lineBytes);
    std::vector<double> mean(size), squares(size);
    for (int k = 0; k < kLines; k++) {
        const Line line = Render(scene, pass, first + k);
        for (size_t i = 0; i < size; i++) {
            mean[i] += line[i] / kLines;
            squares[i] += line[i] * line[i] / kLines;
        }
    }
    for (size_t i = 0; i < size; i++)
        squares[i] -= mean[i] * mean[i];
    return {mean, squares};
}

TEST(OpticsScene, WhiteShowsTheLampsWithANoiseOfOneLevel) {
    const Card card = PlainCard(140, 1169);
    const WhiteResponse lamps = LampResponse();
    const auto white = [&lamps](int table, int position) {
        return lamps[static_cast<size_t>(table * kSensorRows + position)];
    };
    const struct {
        Pass pass;
        int colours, first, frontEnd, backFirst, backEnd;
        double dark;
    } kCases[] = {{Pass::Rgb, 3, 2010, 1170, 1497, 2655, 3},
                  {Pass::Ir, 1, 2080, 1170, 1497, 2655, 3},
                  {Pass::Uv, 3, 1040, 584, 752, 1330, 1.5}};
    for (const auto &c : kCases) {
        const auto [mean, squares] = Measure(SceneOf(&card), c.pass, c.first);
        for (int p = 12; p < c.backEnd; p = p + 1 == c.frontEnd ? c.backFirst : p + 1) {
            for (int k = 0; k < c.colours; k++) {
                const int row = p < 1350 ? p : 4027 - p;
                // Host libraries make 9/5 of what glows.
                const double level = c.pass == Pass::Rgb  ? white(2 - k, row)
                                     : c.pass == Pass::Ir ? white(3, row)
                                                          : white(4 + k, p) * 5 / 9.0;
                ASSERT_NEAR(mean[static_cast<size_t>(c.colours * p + k)], level + c.dark, 2)
                    << p << ", " << k;
            }
        }
        EXPECT_NEAR(std::accumulate(squares.begin(), squares.end(), 0.0) / double(squares.size()), 1.0, 0.2);
        // Round the card it is dark, and under ultraviolet light there is nothing that could glow.
        const auto none = Measure(SceneOf(nullptr), c.pass, c.first).first;
        const double beside = std::accumulate(none.begin(), none.end(), 0.0) / double(none.size());
        EXPECT_NEAR(beside, c.dark + (c.pass == Pass::Uv ? 0 : 2), 0.5);
    }
}

} // namespace
