// Entries of the stretch tables.
#include "src/capture/stretch.h"

#include <gtest/gtest.h>

namespace k274 {
namespace {

template <size_t Rows>
void ExpectTable(const StretchTable<Rows> &table, float span, float last, float first) {
    for (size_t i = 0; i + 1 < Rows; i++) {
        volatile float position = static_cast<float>(i) * span; // every step rounded to single precision
        position = position / last;
        position = position + first;
        const int a = static_cast<int>(position);
        volatile float share = position - static_cast<float>(a);
        share = share * 255.0F;
        const StretchEntry &entry = table[i];
        EXPECT_EQ(entry.a, a) << i;
        EXPECT_EQ(entry.b, a + 1) << i;
        EXPECT_EQ(entry.wB, static_cast<int>(share)) << i;
        EXPECT_EQ(entry.wA + entry.wB, 256) << i;
    }
    EXPECT_EQ(table[0].a, static_cast<int>(first));
    EXPECT_EQ(table[0].wA, 256);
    EXPECT_EQ(table[Rows - 1].a, Rows - 1);
    EXPECT_EQ(table[Rows - 1].b, Rows - 1);
    EXPECT_EQ(table[Rows - 1].wB, 0);
}

TEST(StretchTest, TablesFollowTheSinglePrecisionSteps) {
    ExpectTable(kIrStretch, 1179, 1285, 106);
    ExpectTable(kUvStretch, 589, 642, 53);
    const StretchEntry &entry = kIrStretch[1]; // position 106.91751
    EXPECT_EQ(entry.a, 106);
    EXPECT_EQ(entry.wB, 233);
}

} // namespace
} // namespace k274
