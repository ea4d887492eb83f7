// Images for the barcode decoders.
#include "src/carddata/barcode_images.h"
#include "tests/support/grey_images.h"
#include "tests/support/reference_ir_uv.h"

#include <gtest/gtest.h>

namespace k274 {
namespace {

TEST(BarcodeImagesTest, RedAndInfraredEqualThePlainLoops) {
    ColourImage colours;
    GreyImage infrared, image(kSensorRows, kRgbColumns, 9), plain(kSensorRows, kRgbColumns, 8);
    FillRandom(colours.bytes, 17);
    FillRandom(infrared.bytes, 18);
    BuildRedImage(colours.View(), image.View());
    reference::BuildRedImage(colours.View(), plain.View());
    EXPECT_TRUE(image.bytes == plain.bytes);
    BuildIrBarcodeImage(infrared.View(), image.View());
    reference::BuildIrBarcodeImage(infrared.View(), plain.View());
    EXPECT_TRUE(image.bytes == plain.bytes);
}

TEST(BarcodeImagesTest, WhiteCardRegions) {
    ColourImage raw(0);
    const auto red = [&](int row, int column, uint8_t value) { raw.At(row, column)[2] = value; };
    red(6, 2070, 23); // corners of the forward region
    red(637, 2070, 34);
    red(6, 1791, 118);
    red(637, 1791, 119);
    red(1150, 230, 25); // and of the backward one
    red(519, 230, 44);
    red(1150, 509, 24);
    red(519, 509, 255);
    GreyImage region(kWhiteCardLines, kWhiteCardPixels, 9);
    BuildForwardRegion(raw.View(), region.View());
    EXPECT_EQ(region.At(0, 0), 0);
    EXPECT_EQ(region.At(0, 631), 27);
    EXPECT_EQ(region.At(279, 0), 253);
    EXPECT_EQ(region.At(279, 631), 255);
    BuildBackwardRegion(raw.View(), region.View());
    EXPECT_EQ(region.At(0, 0), 2);
    EXPECT_EQ(region.At(0, 631), 54);
    EXPECT_EQ(region.At(279, 0), 0);
    EXPECT_EQ(region.At(279, 631), 255);
}

} // namespace
} // namespace k274
