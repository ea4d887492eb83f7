// White-card test and response profiles.
#include "src/analysis/image_processor.h"

#include "tests/support/reference_rgb.h"
#include "tests/support/rgb_images.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace k274 {
namespace {

class ImageProcessorTest : public testing::Test {
protected:
    std::unique_ptr<ImageProcessor> owned_ = std::make_unique<ImageProcessor>();
    ImageProcessor &processor_ = *owned_;

    // Runs the test and holds it to the plain loops.
    int32_t WhiteTest(ColourImage &image) {
        const reference::WhiteCounts expected = reference::WhiteTest(image.View());
        const int32_t result = processor_.WhiteTest(image.View());
        EXPECT_EQ(result, expected.white ? 0 : -1);
        for (int side = 0; side < 2; side++) {
            EXPECT_EQ(processor_.whiteSamples[side], expected.samples[side]);
            EXPECT_EQ(processor_.whiteDark[side], expected.dark[side]);
            EXPECT_EQ(processor_.whiteMean[side], expected.mean[side]);
        }
        return result;
    }
};

// Darkens one channel of so many samples of a side.
void Darken(ColourImage &image, int side, int samples, int channel) {
    for (int i = 0; i < samples; i++)
        image.At((side == 0 ? 150 : 1500) + 8 * (i / 100), 650 + 10 * (i % 100))[channel] = 63;
}

TEST_F(ImageProcessorTest, WhiteCardByDarkSamplesAndMeans) {
    const struct {
        const char *name;
        uint8_t brightness;
        int frontDark, backDark;
        bool white;
    } cases[] = {
        {"white", 200, 0, 0, true},
        {"just bright enough", 80, 0, 0, true},
        {"too dark a mean", 79, 0, 0, false},
        {"25 and 50 dark samples", 200, 25, 50, true},
        {"50 and 25", 200, 50, 25, true},
        {"25 and 51", 200, 25, 51, false},
        {"26 on both sides", 200, 26, 26, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        ColourImage image(c.brightness);
        Darken(image, 0, c.frontDark, 0);
        Darken(image, 1, c.backDark, 1);
        processor_.cardClass = 7;
        processor_.cardCode = 'C';
        processor_.cardVariant = 'S';
        processor_.cardNumber = 123;
        EXPECT_EQ(WhiteTest(image), c.white ? 0 : -1);
        EXPECT_EQ(processor_.cardClass, c.white ? 0 : -1);
        EXPECT_EQ(processor_.cardCode, c.white ? 'C' : 0) << "only an ordinary card clears it";
        EXPECT_EQ(processor_.cardVariant, 0);
        EXPECT_EQ(processor_.cardNumber, 123);
    }
}

TEST_F(ImageProcessorTest, WhiteTestLooksAtBlueAndRedInFrontAndGreenAndRedBehind) {
    ColourImage image(200);
    Darken(image, 0, 100, 1);
    Darken(image, 1, 100, 0);
    EXPECT_EQ(WhiteTest(image), 0);
    Darken(image, 0, 60, 2);
    Darken(image, 1, 60, 2);
    EXPECT_EQ(WhiteTest(image), -1);
}

TEST_F(ImageProcessorTest, DarkCardsEndTheCountEarly) {
    ColourImage image(10);
    EXPECT_EQ(WhiteTest(image), -1);
    EXPECT_EQ(processor_.whiteDark[0], 300) << "three rows of 100";
    EXPECT_EQ(processor_.whiteSamples[1], 600);
    EXPECT_EQ(processor_.whiteMean[0], 10);
}

TEST_F(ImageProcessorTest, ProfilesEqualThePlainLoops) {
    auto tables = std::make_unique<ResponseTable[]>(2);
    ResponseTable &table = tables[0], &expected = tables[1];
    ColourImage image;
    FillRandom(image.bytes, 6);
    // The card's leading edge at several columns, and none at all.
    for (const int edge : {60, 61, 200, 319, 400}) {
        for (const int row : {100, 200})
            for (int column = 0; column < 400; column++)
                *image.At(row, column) = column >= edge || (row == 100 && column % 3 == 0) ? 25 : 24;
        std::memset(table, 99, sizeof table);
        std::memset(expected, 99, sizeof expected);
        processor_.RgbResp(image.View(), table);
        reference::RgbResp(image.View(), expected);
        EXPECT_EQ(std::memcmp(table, expected, sizeof table), 0) << edge;
        processor_.RgbCorResp(image.View(), table);
        reference::RgbCorResp(image.View(), expected);
        EXPECT_EQ(std::memcmp(table, expected, sizeof table), 0) << edge;
    }
}

TEST_F(ImageProcessorTest, ProfileRowsAndColours) {
    auto tables = std::make_unique<ResponseTable[]>(2);
    ResponseTable &raw = tables[0], &corrected = tables[1];
    ColourImage image(0);
    for (int row = 1000; row < kSensorRows; row++)
        for (int column = 0; column < kRgbColumns; column++)
            for (int channel = 0; channel < 3; channel++)
                image.At(row, column)[channel] = static_cast<uint8_t>(100 + 50 * channel);
    processor_.RgbResp(image.View(), raw);
    processor_.RgbCorResp(image.View(), corrected);
    for (int k = 0; k < 3; k++) {
        const int level = 100 + 50 * k;
        EXPECT_EQ(raw[k][998], 0);
        EXPECT_EQ(raw[k][999], level / 4) << "smoothed over three rows";
        EXPECT_EQ(raw[k][1000], level * 3 / 4);
        EXPECT_EQ(raw[k][1001], level);
        EXPECT_EQ(raw[k][2699], level);
        EXPECT_EQ(corrected[2 - k][999], 0);
        EXPECT_EQ(corrected[2 - k][1000], level);
    }
    EXPECT_EQ(raw[3][1500], 0);
    EXPECT_EQ(corrected[3][1500], 0);
}

} // namespace
} // namespace k274
