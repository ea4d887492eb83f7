// Every step that computes pixels leaves, byte for byte, what the plain loops leave.
#include "src/capture/gain_rows.h"
#include "src/capture/ir_destripe.h"
#include "src/capture/ir_gain.h"
#include "src/capture/ir_store.h"
#include "src/capture/rgb_store.h"
#include "src/capture/stretch.h"
#include "src/capture/uv_crop.h"
#include "src/carddata/barcode_images.h"
#include "tests/reference/expect_same.h"
#include "tests/reference/formulas.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

#include <climits>
#include <tuple>

namespace k274 {
namespace {

// Mostly such as responses lead to, and others up to the largest.
template <typename Gains>
void FillGains(Gains &gains) {
    std::mt19937 random(7);
    for (auto *gain = reinterpret_cast<uint16_t *>(&gains); gain != reinterpret_cast<uint16_t *>(&gains + 1);
         gain++)
        *gain = static_cast<uint16_t>(random() % 4 ? random() % 400 : random() % 65536);
}

TEST(Steps, StoreBlocksOfEveryNumber) {
    const ColourImage rgb = ColourImage().Randomize(1);
    const GreyImage ir = GreyImage().Randomize(1);
    std::vector<uint8_t> rgbBlock(kRgbBlockBytes),
        irBlock(kIrBlockBytes); // exactly: a byte beyond is noticed
    FillRandom(rgbBlock, 2);
    FillRandom(irBlock, 3);
    for (const int number : {INT_MIN, -12,  -8,   -7,   0,    3,    4,    5,    15,   16,   100,
                             1147,    1148, 2188, 2283, 2284, 2285, 2286, 2288, 2296, 2297, INT_MAX}) {
        SCOPED_TRACE(number);
        ExpectSame(std::tuple(rgb), RgbLineStore, reference::RgbLineStore, rgbBlock.data(), number);
    }
    for (const int number :
         {INT_MIN, -6, -5, -4, 5, 6, 7, 100, 1200, 2289, 2382, 2383, 2384, 2394, 2395, INT_MAX}) {
        SCOPED_TRACE(number);
        ExpectSame(std::tuple(ir), IrLineStore, reference::IrLineStore, irBlock.data(), number);
    }
}

TEST(Steps, GainRowsOfEveryByteAndGain) {
    // 256 pixels, and one more so that a part of a pattern is left over.
    std::vector<uint8_t> from(3 * 257), expected(from.size(), 255), fast = expected, portable = expected;
    for (size_t i = 0; i < from.size(); i++)
        from[i] = static_cast<uint8_t>(i / 3);
    const auto expectRows = [&](const uint16_t(&gains)[3], size_t bytes) {
        for (size_t i = 0; i < bytes; i++)
            expected[i] =
                static_cast<uint8_t>(std::min<uint32_t>(255, (uint32_t{from[i]} * gains[i % 3]) >> 7));
        GainRow(from.data(), fast.data(), static_cast<int>(bytes), GainPattern(gains));
        GainRowPortable(from.data(), portable.data(), static_cast<int>(bytes), GainPattern(gains));
        ASSERT_EQ(fast, expected);
        ASSERT_EQ(portable, expected);
    };
    for (size_t bytes = 0; bytes <= 150; bytes++) // nothing is written behind the row
        expectRows({1, 2, 3}, bytes);
    for (uint32_t gain = 0; gain <= 65535; gain += 3)
        expectRows(
            {static_cast<uint16_t>(gain), static_cast<uint16_t>(gain + 1), static_cast<uint16_t>(gain + 2)},
            from.size());
}

TEST(Steps, GainsOfImages) {
    static RgbGains gains;
    static uint16_t irGains[kSensorRows];
    FillGains(gains);
    FillGains(irGains);
    ColourImage raw = ColourImage().Randomize(2), inPlace = raw, expected = raw;
    GreyImage infrared = GreyImage().Randomize(3);
    ExpectSame(std::tuple(ColourImage()), CopyImage, reference::Copy<3>, raw.View());
    ExpectSame(std::tuple(ColourImage()), RgbIllumGain, reference::RgbIllumGain, raw.View(), gains);
    ExpectSame(std::tuple(GreyImage()), IrIllumGain, reference::IrIllumGain, infrared.View(), irGains);
    for (const char kind : {'V', 'f'})
        ExpectSame(std::tuple(raw), RgbWccGain, reference::RgbWccGain, kind, gains);
    RgbIllumGain(inPlace.View(), gains, inPlace.View());
    reference::RgbIllumGain(raw.View(), gains, expected.View());
    EXPECT_TRUE(inPlace == expected);
}

TEST(Steps, BarcodeImagesAndRedContrast) {
    ColourImage colours = ColourImage().Randomize(17);
    GreyImage infrared = GreyImage().Randomize(18), red0(kSensorRows, kRgbColumns, 0);
    const GreyImage image(kSensorRows, kRgbColumns, 9);
    ExpectSame(std::tuple(image), BuildRedImage, reference::BuildRedImage, colours.View());
    ExpectSame(std::tuple(image), BuildIrBarcodeImage, reference::BuildIrBarcodeImage, infrared.View());
    for (uint8_t &byte : red0.Randomize(4).bytes)
        byte = static_cast<uint8_t>(byte >> 1); // most within the table's slope
    ExpectSame(std::tuple(image), RedContrast, reference::RedContrast, BuildContrastTable(), red0.View());
}

// Rows behind the sensor's, before it and before the back's half; leading edges at both ends, the last of
// which has no columns for the image's end.
TEST(Steps, InfraredCropsAtAnyPosition) {
    GreyImage raw, corrected = GreyImage().Randomize(4);
    const GreyImage cut(K274_IR_HEIGHT, K274_IR_WIDTH, 9);
    const std::tuple<int, int, int> cases[] = {
        {1168, 2533, 140}, {1134, 2499, 40}, {1234, 2599, 360}, {3000, 2595, 259}, {-5000, 9000, 41}};
    for (const auto &[frontEdgeRow, backEdgeRow, leadColumn] : cases) {
        SCOPED_TRACE(frontEdgeRow);
        raw.Randomize(5);
        raw.Fill(0, kSensorRows - 1, 40, leadColumn - 1,
                 0); // dark before the card, but for the reference columns
        raw.Fill(0, kSensorRows - 1, 50, 51, 13);
        raw.Fill(0, kSensorRows - 1, leadColumn, 399, 200);
        const CardPosition card{150, frontEdgeRow, 140, backEdgeRow, false};
        for (const bool enhance : {false, true})
            ExpectSame(std::tuple(cut, cut), IrCrop, reference::IrCrop, raw.View(), corrected.View(), card,
                       enhance);
    }
}

TEST(Steps, StretchTablesFollowTheSinglePrecisionSteps) {
    EXPECT_EQ(kIrStretch[0].a, 106);
    EXPECT_EQ(kIrStretch[1].wB, 233) << "position 106.91751";
    EXPECT_EQ(kUvStretch[0].a, 53);
    EXPECT_TRUE(kUvStretch[642].a == 642 && kUvStretch[642].b == 642 && kUvStretch[642].wB == 0);
}

TEST(Steps, UltravioletWithEveryCombinationOfOptions) {
    static uint16_t gains[kSensorRows];
    FillGains(gains);
    ColourImage source = UvImage().Randomize(6), before = UvImage().Randomize(7);
    ExpectSame(std::tuple(source), UvBrighten, reference::UvBrighten);
    UvBrighten(source.View());
    // So dark between the halves that black is no more than 40, and in one channel so bright that it is 255.
    for (int row = 0; row < kUvLines; row++)
        for (int i = 0; i < 3 * 10; i++) {
            uint8_t &byte = source.At(row, 640)[i];
            byte = static_cast<uint8_t>(i % 3 == 2 ? 254 : byte % (20 + i % 3 * 20));
        }
    for (int bits = 0; bits < 16; bits++) {
        SCOPED_TRACE(bits);
        const UvOptions options{(bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0, (bits & 8) != 0};
        ExpectSame(std::tuple(source, before), UvCorrect, reference::UvCorrect, options, gains);
    }
}

TEST(Steps, UltravioletCropsAtEveryEdgeRow) {
    ColourImage corrected = UvImage().Randomize(9);
    const ColourImage image(K274_UV_HEIGHT, K274_UV_WIDTH, 77);
    for (const int row : {1134, 1168, 1234, 0, -1, -900, 2599, 4000})
        ExpectSame(std::tuple(image), UvCropFront, reference::UvCropFront, corrected.View(), row);
    ExpectSame(std::tuple(image), UvCropBack, reference::UvCropBack, corrected.View());
}

// The images of the 1200-dpi passes are large: a long piece of noise over and over.
TEST(Steps, HighResolutionPasses) {
    static RgbGains gains;
    FillGains(gains);
    std::vector<uint8_t> noise(999'983);
    FillRandom(noise, 1);
    ColourImage lines(kHrLines, kHrPixels, 0), turned(kHrPixels, kHrLines, 0);
    for (ColourImage *image : {&lines, &turned})
        for (size_t at = 0; at < image->bytes.size(); at += noise.size())
            std::copy_n(noise.begin(), std::min(noise.size(), image->bytes.size() - at), &image->bytes[at]);
    for (const HrMode mode : {HrMode::Short, HrMode::Full}) {
        SCOPED_TRACE(mode == HrMode::Full);
        ExpectSame(std::tuple(lines), HrRealign, reference::HrRealign, mode);
        ExpectSame(std::tuple(lines), HrGain, reference::HrGain, mode, gains);
        ExpectSame(std::tuple(turned), HrTurn, reference::HrTurn, mode, lines.View());
    }
    const ColourImage cut(2300, 1000, 9);
    ExpectSame(std::tuple(cut, cut), HrSplit, reference::HrSplit, turned.View());
}

} // namespace
} // namespace k274
