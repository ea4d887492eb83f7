// What the factory's tests of the library make of the virtual scanner's defects: targets at rest, the lens,
// the transport; and the pictures at twice the pitch.
#include "scanner/optics/optics.h"
#include "tests/support/compare.h"
#include "tests/support/data.h"
#include "tests/support/host.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {

class TargetTest : public HostTest {
protected:
    void SetUp() override {
        HostTest::SetUp();
        Start();
    }
    void TearDown() override {
        HostTest::TearDown();
        K274_LstScan(0, 0);
        VS_SetStillDefects(nullptr);
        VS_SetLensBlur(0);
        VS_SetTransportJitter(0);
    }
};

TEST_F(TargetTest, DefectsOfTheSensorLowerTheirScores) {
    std::vector<uint8_t> image(1224000);
    const auto capture = [&image](const VS_StillDefects &defects) {
        EXPECT_EQ(VS_SetStillDefects(&defects), VS_OK);
        EXPECT_EQ(K274_StillImage(image.data()), 0);
        std::vector<int32_t> result(74);
        K274_SiDat(result.data());
        return result;
    };
    constexpr size_t kNoise = 66, kScores = 68, kVerdict = 73;
    const auto sound = capture({0, 0, 0, 0, 1});
    EXPECT_GE(sound[kVerdict], 1);
    for (const auto &row : Table("system/defects.txt")) {
        VS_StillDefects defects{0, 0, 0, 0, 1};
        Take(row[1], defects.deadFirst, defects.deadCount, defects.stepPixel, defects.stepLevels);
        const auto result = capture(defects);
        const std::vector<int> falls = Ints(row[2]);
        for (size_t k = 0; k < falls.size(); k++) {
            const int fall = sound[kScores + k] - result[kScores + k];
            EXPECT_TRUE(falls[k] ? fall > 5 : std::abs(fall) <= 2) << row[0] << ", " << k << ": " << fall;
        }
        EXPECT_LT(result[kVerdict], sound[kVerdict]) << row[0];
    }
    const VS_StillDefects kRefused[] = {
        {2720, 1, 0, 0, 1}, {0, 2721, 0, 0, 1}, {0, 0, 2720, 1, 1}, {0, 0, 0, 256, 1}, {0, 0, 0, 0, 65}};
    for (const VS_StillDefects &defects : kRefused)
        EXPECT_EQ(VS_SetStillDefects(&defects), VS_BAD_ARGUMENT);
    EXPECT_EQ(capture({0, 0, 0, 0, 0})[kNoise], 0);
    const auto noise = capture({0, 0, 0, 0, 8});
    EXPECT_TRUE(noise[kNoise] > 20 && noise[kVerdict] == -1) << noise[kNoise];
}

TEST_F(TargetTest, LensIsJudgedByTheFocusImage) {
    std::vector<uint8_t> image(163200);
    long last = 0;
    for (const int blur : {16, 6, 2, 0}) { // ever sharper
        ASSERT_EQ(VS_SetLensBlur(blur), VS_OK);
        EXPECT_EQ(K274_GetFocImgAry(image.data()), 1);
        for (size_t line = 0; line < 10; line++) {
            long steps = 0;
            for (size_t i = 16320 * line; i < 16320 * (line + 1) - 3; i += 3)
                steps += std::abs(image[i] - image[i + 3]);
            EXPECT_GT(steps, last * 5 / 4) << blur << ", line " << line;
            if (line == 9)
                last = steps;
        }
    }
    EXPECT_TRUE(VS_SetLensBlur(-1) == VS_BAD_ARGUMENT && VS_SetLensBlur(33) == VS_BAD_ARGUMENT);
    EXPECT_EQ(K274_GetFocusImg(0, 1), 1);
    EXPECT_EQ(K274_GetFocusImg(1, 1), 1);
}

TEST_F(TargetTest, JitterValueGrowsWithThatOfTheTransport) {
    int last = 0;
    for (const double jitter : {0.0, 1.0, 1.5, 2.5}) {
        VS_SetSeed(1);
        ASSERT_EQ(VS_SetTransportJitter(jitter), VS_OK);
        Insert("jitter-test");
        ASSERT_EQ(WaitFor({38, 9, 11}), 38);
        const int value = K274_JitterTest() & 0xFFFF;
        if (jitter == 0)
            EXPECT_EQ(value, 0);
        else
            EXPECT_GT(value, last + 5) << jitter;
        last = value;
    }
    for (const double jitter : {-0.1, 16.1, std::nan("")})
        EXPECT_EQ(VS_SetTransportJitter(jitter), VS_BAD_ARGUMENT);
}

/// A part of rows of colour pixels.
std::vector<uint8_t> Crop(const uint8_t *from, int rowPixels, int left, int top, int width, int height) {
    std::vector<uint8_t> part;
    for (int row = top; row < top + height; row++)
        part.insert(part.end(), from + 3 * (rowPixels * row + left),
                    from + 3 * (rowPixels * row + left + width));
    return part;
}

TEST_F(TargetTest, PicturesAtTwiceThePitchShowTheCardUpright) {
    K274_LstScan(1, 1000);
    VS_SetSeed(4);
    const scanner::Card card = scanner::LoadCard(Sample("licence"));
    ASSERT_EQ(Scan(), 8);
    // What the leading edge is ahead of its usual place, in pixels of these pictures.
    const int lead = 2 * (scanner::PlaceCard(4, 0).leadColumn / 256 - 200);
    constexpr int kLeftOnFront = 78, kRightOnBack = 932, kWidth = 840, kHeight = 2200;
    constexpr int kFrontTop = 60, kBackTop = 16; // of the card, that the pictures do not show
    const auto expectPart = [](const uint8_t *image, int left, const Art &art, int top, bool leftEnd) {
        const auto seen = Crop(image, 1000, left, 0, kWidth, kHeight);
        const ScanImage picture{seen.data(), kWidth, kHeight, 3};
        const auto fidelity = [&](bool atLeft) {
            const Art part{
                kWidth, kHeight, 3,
                Crop(art.bytes.data(), art.width, atLeft ? 0 : art.width - kWidth, top, kWidth, kHeight)};
            return CompareWithArt(picture, part, FittedTransfer(picture, part));
        };
        const double decibels = fidelity(leftEnd);
        EXPECT_GT(decibels, 22);
        EXPECT_LT(fidelity(!leftEnd), decibels - 3);
    };
    expectPart(K274_GetImgSliFr(), kLeftOnFront + lead, ArtAt(1100, card.front), kFrontTop, true);
    expectPart(K274_GetImgSliBk(), kRightOnBack - lead - kWidth, ArtAt(1100, card.back), kBackTop, false);
}

} // namespace
