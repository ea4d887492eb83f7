// Every command that the scanner knows: how long its reply is, what the reply holds, and what the scanner
// remembers of it. And the magnetic stripe: its tracks, read back by the rules that they are recorded by, and
// its picture.
#include "device_fixture.h"

#include <algorithm>
#include <numeric>

namespace {

using namespace wire;
constexpr int kRefused = -1;
const struct {
    Fields fields;
    int replyBytes; // 0: no reply
    uint32_t VS_Observed::*counter = nullptr;
} kCommands[] = {
    {{0x00, 0, 0, 80, 1, 82, 0, 80}, 80, &VS_Observed::polls},
    {LineFields(1, 2188, 12), 97920, &VS_Observed::rgbBlocks},
    {LineFields(2, 100, 11), 29920, &VS_Observed::irBlocks},
    {LineFields(3, 1194, 6), 24624, &VS_Observed::uvBlocks},
    {{0x07, 0, 32, 32}, 256 + 28800, &VS_Observed::stripeReads},
    {{0x07, 0, 0, 219}, kRefused}, // more than a packet holds
    {{0x07, 0, 0, 0}, kRefused},
    {{0x10, 2}, kRefused}, // nothing is loaded
    {{0x10, 3}, 0, &VS_Observed::formats},
    {{0x10, 4}, kRefused},
    {{0x11, 0, 0, 0, 0, 0, 1, 256, 100}, 356, &VS_Observed::loopbacks},
    {{0x11, 0, 0, 0, 0, 0, 1, 256, 196352}, 196608},
    {{0x12, 0}, kRefused}, // no image
    {{0x12, 1, 0, 0, 0, 0, 5, 256, 0, 256, {1, 2, 3, 4}}, kRefused},
    {{0x12, 3, 0, 0, 0, 0, 1, 256, 0, 256, {1}}, kRefused},
    {{0x13, 0, 0, 18908}, 19164},
    {{0x13, 1, 0, 18900}, kRefused},
    {{0x13, 2, 0, 18900, 0, 0, 0, 256, 0, 256, Bytes(20000)}, 0, &VS_Observed::calibrationWrites},
    {{0x13, 1, 0, 18908, 0, 0, 0, 256, 0, 256, Bytes(20000)}, kRefused},
    {{0x13, 1, 0, 18900, 0, 0, 0, 256, 0, 256, Bytes(18899)}, kRefused},
    {{0x14}, 256, &VS_Observed::handshakes},
    {{0x15}, 256},
    {{0x16, 123}, 0},
    {{0x17}, 256, &VS_Observed::closes},
    {{0x18, 'r'}, 256},
    {{0x18, 'x'}, kRefused},
    {{0x19, 'w'}, 256, &VS_Observed::recordWrites},
    {{0x1A}, 0, &VS_Observed::clears},
    {{0x20}, 4352, &VS_Observed::trackReads},
    {{0x60}, 256},
    {{0x61}, 256},
    {{0x61, 2}, kRefused},
    {{0x65, 0, 7, 0, 0, 0, 0, 24}, 4352},
    {{0x62, 1, 0, 0, 0, 0, 1370}, 256},
    {{0x70}, 256},
    {{0x72, 1}, 256},
    {{0x72, 3, 0, 0, 0, 0, 5}, 256, &VS_Observed::mechTests},
    {{0x73, 0, 0, 0, 8, 3}, 0}, // no such LED
    {{0x75}, 0, &VS_Observed::resets},
    {{0x79, 2}, 0},
    {{0x78}, 256, &VS_Observed::guiScans},
    {{0xE7}, kRefused, &VS_Observed::unknownCommands},
};

TEST_F(DeviceTest, CommandsAreAnsweredAsTheWireSays) {
    clock.SetSpeed(0);
    for (const auto &c : kCommands) {
        SCOPED_TRACE(c.fields.code);
        const VS_Observed before = device.Observed();
        Bytes reply;
        const OutResult sent = Send(c.fields);
        const InResult read = Read(&reply);
        if (c.counter != nullptr)
            EXPECT_EQ(device.Observed().*c.counter, before.*c.counter + 1);
        if (c.replyBytes == kRefused) {
            EXPECT_TRUE(sent == OutResult::Stall && read == InResult::Stall);
            continue;
        }
        EXPECT_EQ(sent, OutResult::Ack);
        EXPECT_EQ(read, c.replyBytes == 0 ? InResult::Nak : InResult::Data);
        ASSERT_EQ(reply.size(), static_cast<size_t>(c.replyBytes));
        EXPECT_TRUE(reply.empty() || (reply[2] == 0 && Dword(reply, 12) == sequence));
        EXPECT_EQ(device.Observed().lastSequence, sequence);
        // Cut short it is refused, and its fields are not guessed.
        Fields cut = c.fields;
        cut.data.clear();
        for (const size_t size : {size_t{0}, size_t{23}, c.fields.size - 1}) {
            cut.size = size;
            EXPECT_EQ(Send(cut), OutResult::Stall) << size;
        }
    }
    EXPECT_EQ(device.Observed().whiteCardNumber, 123u);
}

TEST_F(DeviceTest, InformationAndCalibrationAreTheScanners) {
    device.State().identity = {0x11223344, 0x5566778899AABBCC, {1, 2, 3}, {4, 5}, 6, 7, 0};
    const Bytes reply = Exchange({0x7F});
    EXPECT_EQ(Bytes(reply.begin() + 16, reply.begin() + 36),
              (Bytes{1, 2, 3, 0, 0, 0, 0, 0, 0, 0, 5, 4, 6, 0, 112, 0, 0, 0, 7, 0}));
    EXPECT_TRUE(Dword(reply, 44) == 0x99AABBCC && Dword(reply, 52) == 0x55667788 &&
                Dword(reply, 56) == 0x11223344);
    const Bytes record = Exchange({0x13, 0, 0, 18908});
    const WhiteResponse lamps = LampResponse();
    EXPECT_EQ(Dword(record, 256), 18900u);
    EXPECT_EQ(Dword(record, 260), std::accumulate(lamps.begin(), lamps.end(), 0u));
    EXPECT_TRUE(std::equal(record.begin() + 264, record.end(), lamps.begin(), lamps.end()));
}

TEST_F(DeviceTest, TracksAreDeliveredAsTheHeadReadsThem) {
    clock.SetSpeed(0);
    const struct {
        size_t index;
        Track track;
        std::string bits; // from the start sentinel to the LRC
    } kCases[] = {
        {0, {"A", 7, TrackFault::kNone}, "1010001100001111111001101110"},
        {2, {"A", 7, TrackFault::kParity}, "1010001100001011111001101110"},
        {1, {"12", 5, TrackFault::kNone}, "1101010000010001111111100"},
        {1, {"12", 5, TrackFault::kParity}, "1101010000010011111111100"},
        {2, {"12", 5, TrackFault::kLrc}, "1101010000010001111101101"},
    };
    for (const auto &c : kCases) {
        for (const bool backward : {false, true}) {
            Traits traits;
            traits.swipedBackward = backward;
            traits.tracks[c.index] = c.track;
            BringTo(0x0003, traits);
            const Bytes data = Exchange({0x20});
            for (const size_t i : {0u, 1u, 2u}) {
                const uint8_t *block = &data.at(256 + 1024 * i);
                const uint32_t count = wire::Load32(block + 1020);
                EXPECT_EQ(count, i != c.index ? 0u : i == 1 ? 253u : 708u);
                std::string read;
                for (uint32_t k = 0; k < count; k++)
                    read += block[k] == 0 ? '1' : '0';
                if (!backward) // the last bit comes first
                    std::reverse(read.begin(), read.end());
                // Zeros before and behind, enough for a head to find its pace; nothing behind the bits.
                const size_t zeros = i == 1 ? 22 : 62;
                EXPECT_TRUE(count == 0 || read == std::string(zeros, '0') + c.bits +
                                                      std::string(count - zeros - c.bits.size(), '0'))
                    << read;
                EXPECT_EQ(std::count(block + count, block + 1020, 1), 1020 - count);
            }
            PollTo(0);
        }
    }
    Send({0x1A});
    EXPECT_EQ(Dword(Exchange({0x20}), 256 + 2048 + 1020), 0u) << "cleared";
}

TEST_F(DeviceTest, StripePictureShowsADarkStripeBesideBrightPaper) {
    clock.SetSpeed(0);
    for (const bool stripe : {true, false}) {
        BringTo(0x0003, {{}, false, stripe});
        const Bytes image = Exchange({0x07, 0, 600, 41}); // one line more than there are
        const auto mean = [&image](ptrdiff_t pixel, ptrdiff_t count) {
            const auto from = image.begin() + 256 + pixel;
            return std::accumulate(from, from + count, 0.0) / static_cast<double>(count);
        };
        EXPECT_NEAR(mean(50, 300), 150, 10);
        EXPECT_NEAR(mean(550, 300), stripe ? 26 : 150, 10);
        EXPECT_NEAR(mean(384, 2), 150, 20) << "the edge lies behind";
        EXPECT_NEAR(mean(400, 2), stripe ? 26 : 150, 20) << "the edge lies before";
        EXPECT_TRUE(mean(39 * 900, 900) > 0.5 && mean(39 * 900, 900) < 6) << "behind the card";
        EXPECT_EQ(mean(40 * 900, 900), 0);
        PollTo(0);
    }
}

} // namespace
