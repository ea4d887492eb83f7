// Entries of the stretch tables.
#include "src/capture/stretch.h"

#include <gtest/gtest.h>

namespace k274 {
namespace {

template <size_t Rows>
void ExpectTable(const StretchTable<Rows> &table, float span, float last, float first) {
    for (size_t i = 0; i < Rows; i++) {
        volatile float position = static_cast<float>(i) * span; // every step in single precision
        position = position / last;
        position = position + first;
        const int a = static_cast<int>(position), end = static_cast<int>(Rows) - 1;
        volatile float share = position - static_cast<float>(a);
        const int wB = a == end ? 0 : static_cast<int>(share * 255.0F);
        const StretchEntry &entry = table[i];
        EXPECT_TRUE(entry.a == a && entry.wA == 256 - wB && entry.b == std::min(a + 1, end) && entry.wB == wB)
            << i;
    }
}

TEST(StretchTest, TablesFollowTheSinglePrecisionSteps) {
    ExpectTable(kIrStretch, 1179, 1285, 106);
    ExpectTable(kUvStretch, 589, 642, 53);
    EXPECT_EQ(kIrStretch[0].a, 106);
    EXPECT_EQ(kIrStretch[1].wB, 233) << "position 106.91751";
    EXPECT_EQ(kUvStretch[642].b, 642);
}

} // namespace
} // namespace k274
