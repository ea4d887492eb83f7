// Lines at twice the pitch, still lines and focus lines on the wire.
#include "device_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace wire {

struct FineLinesTest : DeviceTest {
    Bytes Block(int first, int lines = 5) {
        return Exchange({0x08, 1, static_cast<uint16_t>(first), static_cast<uint16_t>(lines)});
    }
    static bool Dark(const Bytes &block) { return *std::max_element(block.begin() + 256, block.end()) == 0; }
};

TEST_F(FineLinesTest, LastStageReadsThemByTheLastScanMode) {
    const struct {
        uint8_t mode;
        int first, last, lines; // line numbers of the blocks, lines read
    } kCases[] = {{1, 4395, 3350, 1050}, {2, 4005, 10, 4000}};
    for (const auto &c : kCases) {
        Wait(1);
        Exchange({0x62, c.mode});
        BringTo(0x005F);
        for (int first = c.first; first > c.last; first -= 395) {
            const Bytes block = Block(first);
            ASSERT_EQ(block.size(), 256u + 5 * kHiresLineBytes);
            EXPECT_EQ(Word(block, 8), first);
            EXPECT_TRUE(Word(block, 20) >= c.first - first + 5 && Word(block, 20) <= c.lines) << first;
            EXPECT_FALSE(Dark(block));
        }
        const Bytes block = Block(c.last);
        EXPECT_EQ(Word(block, 20), c.lines);
        PollTo(0x8000);
        const Bytes again = Block(c.last);
        EXPECT_TRUE(std::equal(again.begin() + 20, again.end(), block.begin() + 20, block.end()))
            << "kept until the next card";
        EXPECT_TRUE(Dark(Block(0))) << "never read";
        PollTo(0);
    }
    EXPECT_GT(device.Observed().hiresBlocks, 10u);
    // A scan with ultraviolet light reads none of them.
    Wait(1);
    Exchange({0x62, 0});
    BringTo(0x8000);
    EXPECT_TRUE(Dark(Block(2000)));
}

TEST_F(FineLinesTest, WhatCannotBeDeliveredIsRefused) {
    const auto refused = [this](const Fields &fields) {
        const bool stalls = Send(fields) == OutResult::Stall;
        device.ClearHalt(Endpoint::In);
        return stalls;
    };
    EXPECT_TRUE(refused({0x04, 0, 0, 5})) << "before the test mode";
    EXPECT_EQ(Exchange({0x09}).size(), 256u);
    EXPECT_EQ(Exchange({0x04, 0, 195, 5}).size(), 256u + 5 * kStillLineBytes);
    EXPECT_EQ(Exchange({0x06, 0, 0, 4}).size(), 256u);
    EXPECT_EQ(Exchange({0x06, 1, 0, 4}).size(), 256u);
    EXPECT_EQ(Exchange({0x06, 2, 8, 2, 1}).size(), 256u + 2 * kFocusLineBytes);
    const Fields kRefused[] = {{0x04, 0, 196, 5},   {0x04, 0, 0, 0},         {0x04, 0, 0, 25},
                               {0x04, 0, 65535, 1}, {0x06, 2, 8, 3},         {0x06, 2, 0, 0},
                               {0x06, 3, 0, 1},     {0x06, 2, 65535, 65535}, {0x08, 1, 4000, 0},
                               {0x08, 1, 4000, 14}, {0x08, 0, 4000, 5},      {0x09, 1}};
    for (const Fields &fields : kRefused)
        EXPECT_TRUE(refused(fields)) << int(fields.code) << ", " << fields.word0 << ", " << fields.word1;
    // A card in the transport hides the targets, and the test mode ends.
    BringTo(0x0007);
    EXPECT_TRUE(refused({0x04, 0, 0, 5}) && refused({0x09}) && refused({0x06, 2, 0, 1}));
}

TEST_F(FineLinesTest, EveryStillCaptureHasItsOwnNoiseAndTheSameSeedTheSame) {
    const auto capture = [this] {
        Exchange({0x09});
        return Exchange({0x04, 0, 0, 5});
    };
    const auto bytes = [](const Bytes &block) { return Bytes(block.begin() + 256, block.end()); };
    const Bytes first = bytes(capture()), second = bytes(capture());
    EXPECT_NE(first, second);
    device.SetSeed(1);
    EXPECT_EQ(bytes(capture()), first);
    device.SetSeed(2);
    EXPECT_NE(bytes(capture()), first);
}

} // namespace wire
