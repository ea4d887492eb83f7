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
    const struct {
        const char *name;
        double infrared, ultraviolet; // dB
    } cards[] = {{"licence", 22, 25}, {"bank", 22, 25}};
    for (const auto &c : cards) {
        SCOPED_TRACE(c.name);
        const scanner::Card card = scanner::LoadCard(Sample(c.name));
        ASSERT_EQ(Scan(c.name), 8);
        const struct {
            const char *name;
            ScanImage image;
            Art art, other;
            double decibels;
        } images[] = {
            {"IrFr",
             {K274_GetImgIrFr(), K274_IR_WIDTH, K274_IR_HEIGHT, 1},
             ArtAt(600, card.frontIr),
             ArtAt(600, card.backIr),
             c.infrared},
            {"IrBk",
             {K274_GetImgIrBk(), K274_IR_WIDTH, K274_IR_HEIGHT, 1},
             ArtAt(600, card.backIr),
             ArtAt(600, card.frontIr),
             c.infrared},
            {"UvFr",
             {K274_GetImgUvFr(), K274_UV_WIDTH, K274_UV_HEIGHT, 3},
             ArtAt(300, card.frontUv),
             ArtAt(300, card.backUv),
             c.ultraviolet},
            {"UvBk",
             {K274_GetImgUvBk(), K274_UV_WIDTH, K274_UV_HEIGHT, 3},
             ArtAt(300, card.backUv),
             ArtAt(300, card.frontUv),
             c.ultraviolet},
        };
        for (const auto &i : images) {
            const double fidelity = CompareWithArt(i.image, i.art, FittedTransfer(i.image, i.art));
            EXPECT_GT(fidelity, i.decibels) << i.name;
            const double other = CompareWithArt(i.image, i.other, FittedTransfer(i.image, i.other));
            EXPECT_LT(other, fidelity - 3) << i.name;
        }
    }
}

TEST_F(PictureTest, SameSeedSameBytes) {
    auto digest = [] {
        uint64_t hash = 1469598103934665603u;
        for (const uint8_t *image : {K274_GetImgNatFr(), K274_GetImgNatBk()})
            for (size_t i = 0; i < 6655200; ++i)
                hash = (hash ^ image[i]) * 1099511628211u;
        return hash;
    };
    K274_ScanMode(82);
    uint64_t digests[3];
    for (int i = 0; i < 3; ++i) {
        VS_SetSeed(i == 2 ? 8 : 7);
        Start();
        ASSERT_EQ(Scan("night"), 8);
        digests[i] = digest();
        K274_Close();
    }
    EXPECT_EQ(digests[0], digests[1]);
    EXPECT_NE(digests[0], digests[2]);
}

TEST_F(PictureTest, CardsAreMeasuredAndWhiteOnesKnown) {
    Start();
    K274_ScanMode(82);
    const struct {
        const char *name;
        bool white;
    } cards[] = {{"licence", false}, {"white", true}, {"night", false}};
    for (const auto &card : cards) {
        ASSERT_EQ(Scan(card.name), 8);
        const std::vector<int> states = StatesSinceMark();
        EXPECT_EQ(std::count(states.begin(), states.end(), 30), card.white) << card.name;
        K274_Status status;
        K274_UpdateStatus(&status);
        EXPECT_NEAR(status.cardWidth, 1856, 6) << card.name;
        if (card.white) {
            EXPECT_NEAR(status.frontHeight, 1169, 12);
            EXPECT_NEAR(status.backHeight, 1169, 12);
        }
    }
}

} // namespace
