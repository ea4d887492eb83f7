// Armed faults: every action in each direction, counting, and scans that go on after one.
#include "host.h"

#include <gmock/gmock.h>

namespace {

using namespace wire;

struct FaultCase {
    const char *name;
    uint32_t direction, action, value;
    uint32_t sendStatus, sent; // of the command
    uint32_t readStatus, read; // of its reply
    bool sameBytes;            // what was read is the start of the true reply
};
void PrintTo(const FaultCase &c, std::ostream *out) { *out << c.name; }
class Faults : public ScannerTest, public testing::WithParamInterface<FaultCase> {};

// A handshake, whose time-outs are cut to a few milliseconds, before, under and after the fault.
TEST_P(Faults, DoWhatTheySay) {
    const FaultCase &c = GetParam();
    Host host;
    Bytes command = Packet({0x7F}, 9), reply(256, 0xEE);
    const auto exchange = [&](uint32_t *sendStatus, uint32_t *sent, uint32_t *readStatus, uint32_t *read) {
        reply.assign(256, 0xEE);
        *sendStatus = WDU_TransferBulk(host.lastDevice, kOut, 0, 0, command.data(), 256, sent, 3);
        *readStatus = WDU_TransferBulk(host.lastDevice, kIn, 1, 0, reply.data(), 256, read, 3);
    };
    uint32_t sendStatus = 0, sent = 0, readStatus = 0, read = 0;
    exchange(&sendStatus, &sent, &readStatus, &read);
    ASSERT_EQ(read, 256u);
    const Bytes truth = reply;

    Arm(0x7F, c.direction, c.action, c.value);
    Arm(0x14, c.direction, VS_FAULT_STATUS, 1); // another command's
    exchange(&sendStatus, &sent, &readStatus, &read);
    EXPECT_EQ(sendStatus, c.sendStatus);
    EXPECT_EQ(sent, c.sent);
    EXPECT_EQ(readStatus, c.readStatus);
    EXPECT_EQ(read, c.read);
    const size_t came = std::min(read, 256u);
    EXPECT_EQ(std::equal(truth.begin(), truth.begin() + static_cast<ptrdiff_t>(came), reply.begin()),
              c.sameBytes);
    if (c.action == VS_FAULT_SHORT) {
        EXPECT_THAT(Bytes(reply.begin() + static_cast<ptrdiff_t>(came), reply.end()), testing::Each(0xEE));
    }

    if (c.action == VS_FAULT_UNPLUG) {
        ASSERT_TRUE(host.WaitForNews(1, 1));
        VS_PlugIn();
        ASSERT_TRUE(host.WaitForNews(2, 1));
    }
    exchange(&sendStatus, &sent, &readStatus, &read);
    EXPECT_EQ(sendStatus, 0u);
    EXPECT_EQ(readStatus, 0u);
    EXPECT_EQ(reply, truth);
}
INSTANTIATE_TEST_SUITE_P(
    Scanner, Faults,
    testing::Values(FaultCase{"status out", VS_OUT, VS_FAULT_STATUS, 0xC0000011, 0xC0000011, 0, kTimeout, 0,
                              true},
                    FaultCase{"short out", VS_OUT, VS_FAULT_SHORT, 100, 0, 100, kStalled, 0, true},
                    FaultCase{"not short out", VS_OUT, VS_FAULT_SHORT, 300, 0, 256, 0, 256, true},
                    FaultCase{"stall out", VS_OUT, VS_FAULT_STALL, 0, kTimeout, 0, kTimeout, 0, true},
                    FaultCase{"length out", VS_OUT, VS_FAULT_LENGTH, 1000, 0, 1000, 0, 256, true},
                    FaultCase{"garbage out", VS_OUT, VS_FAULT_GARBAGE, 3, kStalled, 0, kStalled, 0, true},
                    FaultCase{"unplug out", VS_OUT, VS_FAULT_UNPLUG, 0, kGone, 0, kGone, 0, true},
                    FaultCase{"status in", VS_IN, VS_FAULT_STATUS, 0xC0000012, 0, 256, 0xC0000012, 0, true},
                    FaultCase{"short in", VS_IN, VS_FAULT_SHORT, 20, 0, 256, 0, 20, true},
                    FaultCase{"not short in", VS_IN, VS_FAULT_SHORT, 257, 0, 256, 0, 256, true},
                    FaultCase{"stall in", VS_IN, VS_FAULT_STALL, 0, 0, 256, kTimeout, 0, true},
                    FaultCase{"length in", VS_IN, VS_FAULT_LENGTH, 0xFFFFFFFF, 0, 256, 0, 0xFFFFFFFF, true},
                    FaultCase{"garbage in", VS_IN, VS_FAULT_GARBAGE, 3, 0, 256, 0, 256, false},
                    FaultCase{"unplug in", VS_IN, VS_FAULT_UNPLUG, 0, 0, 256, kGone, 0, true}));

class FaultCounting : public ScannerTest {};

TEST_F(FaultCounting, FirstCountAndOrderAreKept) {
    Host host;
    Arm(0x14, VS_IN, VS_FAULT_STATUS, 1, 2, 2);
    Arm(VS_ANY_COMMAND, VS_IN, VS_FAULT_STATUS, 2, 3, 0);
    std::vector<uint32_t> statuses;
    Bytes reply;
    for (const int code : {0x14, 0x14, 0x14, 0x7F, 0x14}) {
        ASSERT_EQ(host.Send({static_cast<uint8_t>(code)}), 0u);
        statuses.push_back(host.Read(&reply));
    }
    // The third is due for both, and the one armed first has it.
    EXPECT_THAT(statuses, testing::ElementsAre(0, 1, 1, 2, 2));
    VS_ClearFaults();
    EXPECT_EQ(host.Exchange({0x14}).size(), 256u);
}

TEST_F(FaultCounting, NothingIsLostByAReplyThatFails) {
    Host host;
    Arm(VS_ANY_COMMAND, VS_IN, VS_FAULT_STATUS, 1, 1, 2);
    EXPECT_EQ(host.Poll(), 0xFFFF);
    EXPECT_EQ(host.Event(), "");
    host.Poll();
    EXPECT_EQ(host.Kind(), 1);
    EXPECT_EQ(host.Event(), "Reset - Power on");
}

TEST_F(FaultCounting, ValuesOutsideTheirListsAreRefused) {
    const VS_Fault good{0x14, VS_IN, 1, 1, VS_FAULT_STATUS, 0};
    VS_Fault bad[6] = {good, good, good, good, good, good};
    bad[0].command = 0x100;
    bad[1].command = 0x200;
    bad[2].direction = 2;
    bad[3].first = 0;
    bad[4].action = 0;
    bad[5].action = 7;
    for (const VS_Fault &fault : bad)
        EXPECT_EQ(VS_ArmFault(&fault), VS_BAD_ARGUMENT);
    EXPECT_EQ(VS_ArmFault(nullptr), VS_BAD_ARGUMENT);
    EXPECT_STRNE(VS_LastError(), "");
    VS_ClearFaults();
    EXPECT_STREQ(VS_LastError(), "");
    EXPECT_EQ(Host().Exchange({0x14}).size(), 256u);
}

} // namespace
