// The pictures of a scan against the card art that went in.
#include "tests/support/compare.h"
#include "tests/support/host.h"

#include <algorithm>
#include <cmath>

namespace {

struct PictureTest : HostTest {
    static ScanImage NatFr() { return {K274_GetImgNatFr(), K274_NAT_WIDTH, K274_NAT_HEIGHT, 3}; }
    static ScanImage NatBk() { return {K274_GetImgNatBk(), K274_NAT_WIDTH, K274_NAT_HEIGHT, 3}; }
};

// The sensor's dark level, about which the virtual scanner adds to every pixel.
constexpr double kDark = 3;

// What becomes of an art value at a sensor row: the lamp's response, and the gain that levels it.
Transfer ThroughTheScanner(int edgeRow, bool corrected) {
    Transfer transfer;
    for (int row = 0; row < K274_NAT_HEIGHT; ++row) {
        for (int channel = 0; channel < 3; ++channel) {
            const int position = std::max(0, edgeRow - 1 - row);
            const double response = K274_GetCcdWccResp()[channel * K274_RESP_POSITIONS + position];
            const double gain = corrected ? std::min(2.55, std::pow(224 / response, 0.97)) : 1;
            transfer.scale.push_back(static_cast<float>(response / 255 * gain));
            transfer.offset.push_back(static_cast<float>(kDark * gain));
        }
    }
    return transfer;
}

// Rows just past the card's upper edge as the virtual scanner lays cards; a few rows off changes nothing
// here.
constexpr int kFrontEdgeRow = 1170;
constexpr int kBackEdgeRow = 2535;

TEST_F(PictureTest, EqualTheArtOfEveryCard) {
    Start();
    K274_ScanMode(82);
    // Lines of the chart that are finer than the sensor's pitch cost most of its fidelity, the many edges of
    // a barcode much.
    const struct {
        const char *name;
        double front, back; // dB
    } cards[] = {{"licence", 23, 19}, {"club", 23, 23}, {"chart", 17, 17}};
    for (const auto &[name, frontDecibels, backDecibels] : cards) {
        const scanner::Card card = scanner::LoadCard(Sample(name));
        for (const bool corrected : {true, false}) {
            SCOPED_TRACE(std::string(name) + (corrected ? ", corrected" : ", as delivered"));
            K274_SetIllumOpt(corrected ? 7 : 6);
            ASSERT_EQ(Scan(name), 8);
            const Transfer front = ThroughTheScanner(kFrontEdgeRow, corrected);
            const Transfer back = ThroughTheScanner(kBackEdgeRow, corrected);
            const Art frontArt = ArtAt(550, card.front), backArt = ArtAt(550, card.back);
            const double fidelity = CompareWithArt(NatFr(), frontArt, front);
            EXPECT_GT(fidelity, frontDecibels);
            EXPECT_GT(CompareWithArt(NatBk(), backArt, back), backDecibels);
            // Another gain and the other side are told apart from what came out.
            const Transfer otherGain = ThroughTheScanner(kFrontEdgeRow, !corrected);
            EXPECT_LT(CompareWithArt(NatFr(), frontArt, otherGain), fidelity - 1);
            EXPECT_LT(CompareWithArt(NatFr(), backArt, front), fidelity - 3);
        }
    }
}

TEST_F(PictureTest, HiddenLightEqualsTheArt) {
    Start();
    for (const char *name : {"licence", "bank"}) {
        const scanner::Card card = scanner::LoadCard(Sample(name));
        ASSERT_EQ(Scan(name), 8);
        const auto compare = [&](const ScanImage &image, const Art &art, const Art &other, double decibels) {
            const double fidelity = CompareWithArt(image, art, FittedTransfer(image, art));
            EXPECT_GT(fidelity, decibels) << name;
            EXPECT_LT(CompareWithArt(image, other, FittedTransfer(image, other)), fidelity - 3) << name;
        };
        const Art irFr = ArtAt(600, card.frontIr), irBk = ArtAt(600, card.backIr);
        compare({K274_GetImgIrFr(), K274_IR_WIDTH, K274_IR_HEIGHT, 1}, irFr, irBk, 22);
        compare({K274_GetImgIrBk(), K274_IR_WIDTH, K274_IR_HEIGHT, 1}, irBk, irFr, 22);
        const Art uvFr = ArtAt(300, card.frontUv), uvBk = ArtAt(300, card.backUv);
        compare({K274_GetImgUvFr(), K274_UV_WIDTH, K274_UV_HEIGHT, 3}, uvFr, uvBk, 25);
        compare({K274_GetImgUvBk(), K274_UV_WIDTH, K274_UV_HEIGHT, 3}, uvBk, uvFr, 25);
    }
}

TEST_F(PictureTest, SameSeedSameBytes) {
    K274_ScanMode(82);
    std::vector<std::string> sides;
    for (const uint32_t seed : {7u, 7u, 8u}) {
        VS_SetSeed(seed);
        Start();
        ASSERT_EQ(Scan("night"), 8);
        for (const uint8_t *image : {K274_GetImgNatFr(), K274_GetImgNatBk()})
            sides.emplace_back(image, image + 6655200);
        K274_Close();
    }
    EXPECT_TRUE(sides[0] == sides[2] && sides[1] == sides[3]);
    EXPECT_FALSE(sides[0] == sides[4] && sides[1] == sides[5]);
}

} // namespace
