// The image composed of the last four.
#include "src/capture/merge.h"

#include "tests/support/images.h"

#include <gtest/gtest.h>

#include <memory>

namespace k274 {
namespace {

using Images = std::vector<std::vector<uint8_t>>;

// What the last call makes of the images; those before the first are black.
uint8_t Expected(const Images &images, int row, size_t at) {
    const auto of = [&](size_t callsBack) -> int {
        return callsBack < images.size() ? images[images.size() - 1 - callsBack][at] : 0;
    };
    int value = of(0);
    if (row >= 150 && row <= 374)
        value = of(static_cast<size_t>(row - 75) / 75);
    if (row >= 450 && row <= 699)
        value = (of(0) >> 2) + (of(1) >> 2) + (of(2) >> 2) + (of(3) >> 2);
    if (row >= 450 && row <= 489) {
        constexpr int kMark[] = {176, 80, 16, 0, 0, 16, 80, 176};
        const int pixel = static_cast<int>(at % 6144 / 3);
        value = 222;
        for (int k = 0; k < 48; k++) {
            const int inMark = pixel - 58 - 3974 * k / 100;
            if (inMark >= 0 && inMark < 8)
                value = kMark[inMark];
        }
    }
    const bool separator = row == 150 || row == 225 || row == 300 || row == 375 || row == 700;
    return static_cast<uint8_t>(separator ? value * 4 / 5 : value);
}

TEST(MergeTest, ShowsTheLastFourCalls) {
    const auto history = std::make_unique<MergeHistory>();
    Images images;
    for (uint32_t call = 1; call <= 5; call++) {
        SCOPED_TRACE(call);
        std::vector<uint8_t> image(kMergeBytes);
        FillRandom(image, call);
        images.push_back(image);
        MergeImage(*history, image.data());
        size_t wrong = 0;
        for (size_t at = 0; at < kMergeBytes; at++)
            wrong += image[at] != Expected(images, static_cast<int>(at / 6144), at);
        EXPECT_EQ(wrong, 0U);
    }
}

} // namespace
} // namespace k274
