// The image composed of the last four.
#include "src/capture/merge.h"

#include "tests/reference/formulas.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

#include <memory>

namespace k274 {
namespace {

TEST(MergeTest, ShowsTheLastFourCalls) {
    constexpr uint8_t kMark[] = {176, 80, 16, 0, 0, 16, 80, 176};
    const ColourImage black(kMergeBytes / kMergeStride, kMergeStride / 3, 0);
    const auto history = std::make_unique<MergeHistory>();
    std::vector<ColourImage> images(4, black); // the last one foremost
    for (uint32_t call = 1; call <= 5; call++) {
        SCOPED_TRACE(call);
        images.insert(images.begin(), ColourImage(black).Randomize(call));
        ColourImage merged = images[0], expected = black;
        MergeImage(*history, merged.bytes.data());
        reference::Fill(expected.View(), [&](int row, int pixel, int channel) {
            const auto of = [&](int calls) {
                return images[static_cast<size_t>(calls)].At(row, pixel)[channel];
            };
            int value = of(row >= 150 && row <= 374 ? (row - 75) / 75 : 0);
            if (row >= 450 && row <= 699)
                value = (of(0) >> 2) + (of(1) >> 2) + (of(2) >> 2) + (of(3) >> 2);
            if (row >= 450 && row <= 489) {
                value = 222;
                for (int k = 0; k < 48; k++)
                    if (const int inMark = pixel - 58 - 3974 * k / 100; inMark >= 0 && inMark < 8)
                        value = kMark[inMark];
            }
            const bool separator = row == 150 || row == 225 || row == 300 || row == 375 || row == 700;
            return separator ? value * 4 / 5 : value;
        });
        EXPECT_TRUE(merged == expected);
    }
}

} // namespace
} // namespace k274
