// The steps of the 1200-dpi passes.
#include "tests/reference/formulas.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace k274 {
namespace {

// Line store and turned image of 120 MB, filled with a long piece of noise over and over.
class Store {
public:
    explicit Store(uint32_t seed) {
        std::vector<uint8_t> noise(999'983);
        FillRandom(noise, seed);
        for (size_t at = 0; at < kBytes; at += noise.size())
            std::memcpy(&bytes_[at], noise.data(), std::min(noise.size(), kBytes - at));
    }
    ColourView Lines() { return {bytes_.get(), kHrLines, kHrPixels}; }
    ColourView Turned() { return {bytes_.get() + kHrImageBytes, kHrPixels, kHrLines}; }
    bool operator==(const Store &other) const {
        return std::memcmp(bytes_.get(), other.bytes_.get(), kBytes) == 0;
    }

private:
    static constexpr size_t kBytes = 2 * kHrImageBytes;
    std::unique_ptr<uint8_t[]> bytes_{new uint8_t[kBytes]};
};

TEST(HiresTest, EveryStepEqualsThePlainLoops) {
    static RgbGains gains;
    std::mt19937 random(3);
    for (auto &gain : gains)
        for (uint16_t &channel : gain)
            channel = static_cast<uint16_t>(random() % 4 ? random() % 400 : random() % 65536);
    ColourImage front(2300, 1000, 9), back = front;
    Store store(1), plain(1);
    ColourImage plainFront = front, plainBack = back;
    for (const HrMode mode : {HrMode::Short, HrMode::Full}) {
        SCOPED_TRACE(mode == HrMode::Full);
        HrRealign(mode, store.Lines());
        reference::HrRealign(mode, plain.Lines());
        ASSERT_TRUE(store == plain);
        HrGain(mode, gains, store.Lines());
        reference::HrGain(mode, gains, plain.Lines());
        ASSERT_TRUE(store == plain);
        HrTurn(mode, store.Lines(), store.Turned());
        reference::HrTurn(mode, plain.Lines(), plain.Turned());
        ASSERT_TRUE(store == plain);
    }
    HrSplit(store.Turned(), front.View(), back.View());
    reference::HrSplit(plain.Turned(), plainFront.View(), plainBack.View());
    EXPECT_TRUE(front.bytes == plainFront.bytes);
    EXPECT_TRUE(back.bytes == plainBack.bytes);
}

} // namespace
} // namespace k274
