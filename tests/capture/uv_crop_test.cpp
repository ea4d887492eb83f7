// Crops and lamp check of the ultraviolet image.
#include "src/capture/uv_lines.h"
#include "tests/support/grey_images.h"
#include "tests/support/reference_ir_uv.h"

#include <gtest/gtest.h>

namespace k274 {
namespace {

TEST(UvCropTest, EveryEdgeRowEqualsThePlainLoops) {
    ColourImage corrected = UvImage();
    FillRandom(corrected.bytes, 9);
    const auto crop = [] { return ColourImage(K274_UV_HEIGHT, K274_UV_WIDTH, 77); };
    ColourImage image = crop(), plain = crop();
    for (const int frontEdgeRow : {1134, 1168, 1234, 0, -1, -900, 2599, 4000}) {
        UvCropFront(corrected.View(), frontEdgeRow, image.View());
        reference::UvCropFront(corrected.View(), frontEdgeRow, plain.View());
        EXPECT_TRUE(image.bytes == plain.bytes) << frontEdgeRow;
    }
    UvCropBack(corrected.View(), image.View());
    reference::UvCropBack(corrected.View(), plain.View());
    EXPECT_TRUE(image.bytes == plain.bytes);
}

TEST(UvLedTest, ShareOfLitPixels) {
    ColourImage image(K274_UV_HEIGHT, K274_UV_WIDTH, 4);
    EXPECT_EQ(UvLedCheck(image.View()), 0.0F);
    for (int i = 0; i < 118; i++)
        image.At(80, 40 + 8 * i)[0] = 5;
    image.At(560, 976)[0] = 255;
    image.At(561, 976)[0] = 255;
    EXPECT_EQ(UvLedCheck(image.View()), 119 * 100.0F / (61 * 118));
}

} // namespace
} // namespace k274
