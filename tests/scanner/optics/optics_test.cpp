// How cards lie, how bright white is in the lines, and how even.
#include "scanner/cards/hidden_light.h"
#include "scanner/firmware/line_pass.h"
#include "scanner/optics/travel.h"

#include <gtest/gtest.h>

#include <numeric>
#include <set>

namespace {

using namespace scanner;
using Line = std::vector<uint8_t>;

/// White in every colour and under every light.
Card WhiteCard(int width, int height) {
    Card card;
    card.front = {width, height, std::vector<uint8_t>(static_cast<size_t>(3 * width * height), 255)};
    card.back = card.frontUv = card.backUv = card.front;
    card.frontIr = card.backIr = Luminance(card.front);
    return card;
}

constexpr int kLead = 200, kFrontEdge = 1175, kBackEdge = 2535;
/// A card lying still and straight under clean glass.
Scene SceneOf(const Card *card) {
    static const WhiteResponse lamps = LampResponse();
    return {card, {kLead * 256, kFrontEdge * 256, kBackEdge * 256, 0}, &lamps, 1, 0};
}

Line Render(const Scene &scene, Pass pass, int line) {
    Line bytes(static_cast<size_t>(Info(pass).lineBytes));
    (pass == Pass::Rgb  ? RenderRgbLine
     : pass == Pass::Ir ? RenderIrLine
                        : RenderUvLine)(scene, line, bytes.data());
    return bytes;
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
    const Card card = WhiteCard(140, 1169);
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

TEST(OpticsScene, TransportWobblesAsMuchAsItIsToldTo) {
    const WhiteResponse lamps = LampResponse();
    Scene scene{nullptr, {}, &lamps, 77};
    std::vector<int64_t> seen[3];
    for (const int jitter : {0, 1, 2}) {
        scene.jitter = jitter * 65536;
        for (int line = 0; line < 2300; line++)
            seen[jitter].push_back(Wobble(scene, line));
    }
    int64_t most = 0, least = 0;
    for (size_t line = 0; line < seen[0].size(); line++) {
        EXPECT_EQ(seen[0][line], 0);
        EXPECT_NEAR(double(seen[2][line]), 2.0 * double(seen[1][line]), 2);
        if (line > 0) // by turns, without jumps
            EXPECT_LE(std::abs(seen[1][line] - seen[1][line - 1]), 65536 / 6 + 1);
        most = std::max(most, seen[1][line]);
        least = std::min(least, seen[1][line]);
    }
    EXPECT_TRUE(most > 60000 && most <= 65536 && least < -60000 && least >= -65536) << most << ", " << least;
    scene.noiseSeed++;
    EXPECT_NE(Wobble(scene, 100), seen[2][100]);
}

} // namespace
