// Blocks of infrared lines into the raw image, byte for byte what the plain loops leave.
#include "src/capture/ir_lines.h"
#include "tests/support/grey_images.h"
#include "tests/support/reference_ir_uv.h"

#include <gtest/gtest.h>

#include <climits>

namespace k274 {
namespace {

TEST(IrStoreTest, EveryBlockNumberLeavesWhatThePlainLoopsLeave) {
    GreyImage image, expected;
    FillRandom(image.bytes, 1);
    expected.bytes = image.bytes;
    std::vector<uint8_t> block(kIrBlockBytes); // exactly: the address sanitizer sees any byte beyond
    for (const int firstLine :
         {INT_MIN, -6, -5, -4, 5, 6, 7, 100, 1200, 2289, 2382, 2383, 2384, 2394, 2395, INT_MAX}) {
        FillRandom(block, static_cast<uint32_t>(firstLine));
        IrLineStore(block.data(), firstLine, image.View());
        reference::IrLineStore(block.data(), firstLine, expected.View());
        ASSERT_TRUE(image.bytes == expected.bytes) << firstLine;
    }
}

TEST(IrStoreTest, Line100LandsInFrontColumn2293AndBackColumn106) {
    GreyImage image;
    std::vector<uint8_t> block(kIrBlockBytes);
    block[5] = 50;
    block[1328] = 60; // the back's first pixel
    IrLineStore(block.data(), 100, image.View());
    EXPECT_EQ(image.At(5, 2293), 50);
    EXPECT_EQ(image.At(2699, 106), 60);
}

} // namespace
} // namespace k274
