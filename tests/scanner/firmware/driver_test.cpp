// The driver library around the virtual scanner: opening and closing, coming and going, handles and
// arguments, transfers that end before their time, and those that armed faults make go wrong.
#include "host.h"

#include <gmock/gmock.h>

#include <future>

namespace {

using namespace wire;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;

using Driver = ScannerTest;

TEST_F(Driver, IsOpenedForTheDeviceThatIsNamedAndOneHostAtATime) {
    for (const char *value : {"", "usb", "Virtual"}) {
        SetVariable("K274_DEVICE", value);
        testing::internal::CaptureStderr();
        const Host host;
        const std::string said = testing::internal::GetCapturedStderr();
        EXPECT_EQ(host.attaches, 0) << "no virtual scanner is taken for a real one";
#ifdef K274_USB
        if (value != std::string("Virtual")) {
            EXPECT_EQ(host.status, 0u) << "USB, with no scanner there";
            EXPECT_EQ(said, "");
            continue;
        }
#endif
        EXPECT_THAT(said, AllOf(EndsWith("K274_DEVICE=virtual\n"), HasSubstr(value)));
        EXPECT_EQ(host.status, kFailed);
        EXPECT_EQ(host.driver, nullptr);
    }
    SetVariable("K274_DEVICE", "virtual");
    Host first;
    EXPECT_EQ(first.status, 0u);
    testing::internal::CaptureStderr();
    Host second;
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("WDU_Uninit"));
    EXPECT_EQ(second.status, kFailed);
    second.Close();
    EXPECT_EQ(first.Exchange({0x14}).size(), 256u);
    first.Close();
    EXPECT_EQ(Host({0xF274, 0x0275, 0, 0, 0xFF, 0xFF, 0xFF}).attaches, 0) << "it looks for something else";
    EXPECT_EQ(Host(ScannerMatch(), false).Send({0x14}), kBadHandle) << "it declined";
}

TEST_F(Driver, RefusesBadArguments) {
    WDU_MATCH_TABLE match = ScannerMatch();
    WDU_EVENT_TABLE events{};
    void *driver = &match;
    EXPECT_EQ(WDU_Init(&driver, nullptr, 1, &events, 1), kBadArgument);
    ASSERT_EQ(WDU_Init(&driver, &match, 1, &events, 1), 0u) << "callbacks may be missing";
    WDU_Uninit(driver);

    Host host;
    WDU_Uninit(&match); // nobody's
    uint8_t packet[256] = {0x14};
    uint32_t transferred = 77;
    void *const device = host.device;
    const auto transfer = [&](void *to, uint32_t pipe, int32_t read, void *buffer, uint32_t size = 256) {
        return WDU_TransferBulk(to, pipe, read, 0, buffer, size, &transferred, 2);
    };
    EXPECT_EQ(transfer(nullptr, kOut, 0, packet), kBadHandle);
    EXPECT_EQ(transfer(&host, kOut, 0, packet), kBadHandle);
    EXPECT_EQ(transfer(device, kOut, 1, packet), kBadPipe);
    EXPECT_EQ(transfer(device, kIn, 1, nullptr), kBadArgument);
    EXPECT_EQ(transferred, 0u);
    EXPECT_EQ(transfer(device, kIn, 1, nullptr, 0), 0u) << "room for nothing";
    ASSERT_EQ(host.Send({0xE7}), kStalled);
    EXPECT_EQ(WDU_ResetPipe(device, kIn), 0u);
    EXPECT_EQ(transfer(device, kIn, 1, packet), kTimeout) << "no longer halted";
    EXPECT_EQ(WDU_ResetDevice(device, 3), kBadArgument);
    host.Close();
    EXPECT_EQ(transfer(device, kOut, 0, packet), kBadHandle);
    EXPECT_EQ(WDU_ResetPipe(device, kIn), kBadHandle);
}

TEST_F(Driver, FollowsTheCableAndPortCycles) {
    Host host;
    void *const first = host.device;
    VS_Unplug();
    EXPECT_EQ(host.Send({0x14}), kGone);
    ASSERT_TRUE(host.WaitForNews(1, 1));
    VS_PlugIn();
    ASSERT_TRUE(host.WaitForNews(2, 1));
    EXPECT_EQ(WDU_ResetPipe(first, kIn), kGone) << "an old handle is not the new scanner";
    host.Poll();
    ASSERT_EQ(WDU_ResetDevice(host.device, 2), 0u);
    ASSERT_TRUE(host.WaitForNews(3, 2));
    host.Poll();
    EXPECT_NE(host.Kind(), 1) << "its power was not interrupted";
    ASSERT_EQ(WDU_ResetDevice(host.device, 1), 0u);
    host.Poll();
    EXPECT_EQ(host.Kind(), 1);
    // Unplugged while nobody has the driver open, and plugged in while somebody has.
    host.Close();
    EXPECT_EQ(host.detaches, 2) << "closing is no detach";
    VS_Unplug();
    Host late;
    VS_PlugIn();
    EXPECT_TRUE(late.WaitForNews(1, 0));
}

// A read of which nothing comes ends long before its time. On a busy machine the reading thread may be late
// and find the driver closed already; that shows nothing, so it is tried once more.
TEST_F(Driver, InterruptedTransferEndsAtOnce) {
    const struct {
        void (*interrupt)(Host &);
        uint32_t status;
    } kCases[] = {
        {[](Host &) { VS_Unplug(); }, kGone},
        {[](Host &h) { WDU_ResetDevice(h.lastDevice, 2); }, kGone},
        {[](Host &h) { h.Close(); }, kCanceled},
        {[](Host &h) { h.Send({0x14}); }, 0},
        {[](Host &h) { h.Send({0xE7}); }, kStalled},
    };
    for (const auto &c : kCases) {
        uint32_t status = kBadHandle;
        for (int attempt = 0; attempt < 50 && status == kBadHandle; attempt++) {
            VS_PlugIn();
            Host host;
            void *const device = host.device;
            auto transfer = std::async(std::launch::async, [device] {
                Bytes buffer(256);
                return WDU_TransferBulk(device, kIn, 1, 0, buffer.data(), 256, nullptr, 30000);
            });
            EXPECT_EQ(transfer.wait_for(std::chrono::milliseconds(5)), std::future_status::timeout);
            c.interrupt(host);
            status = transfer.get();
        }
        EXPECT_EQ(status, c.status);
    }
}

void Arm(uint32_t command, uint32_t direction, uint32_t action, uint32_t value, uint32_t first = 1,
         uint32_t count = 1) {
    const VS_Fault fault{command, direction, first, count, action, value};
    ASSERT_EQ(VS_ArmFault(&fault), VS_OK);
}

TEST_F(Driver, FaultsCountTransfersAndLoseNothingTheyDelay) {
    Host host;
    Arm(0x14, VS_IN, VS_FAULT_STATUS, 1, 2, 2);
    Arm(VS_ANY_COMMAND, VS_IN, VS_FAULT_STATUS, 2, 3, 3);
    for (const VS_Fault &bad : {VS_Fault{0x200, VS_IN, 1, 1, 1, 0},
                                {0x14, 2, 1, 1, 1, 0},
                                {0x14, VS_IN, 0, 1, 1, 0},
                                {0x14, VS_IN, 1, 1, 7, 0}})
        EXPECT_EQ(VS_ArmFault(&bad), VS_BAD_ARGUMENT);
    std::vector<uint32_t> statuses;
    Bytes reply;
    for (const uint8_t code : Bytes{0x14, 0x14, 0x14, 0x7F, 0x15, 0x15}) {
        ASSERT_EQ(host.Send({code}), 0u);
        statuses.push_back(host.Read(&reply));
    }
    // The third is due for both, and the one armed first has it.
    EXPECT_THAT(statuses, testing::ElementsAre(0, 1, 1, 2, 2, 0));
    EXPECT_EQ(Text(reply), "Reset - Power on");
    // What they do to a transfer: its status and what the driver claims.
    const Bytes truth = host.Exchange({0x17});
    for (const auto &[action, value, status, count] : {std::array<uint32_t, 4>{VS_FAULT_SHORT, 20, 0, 20},
                                                       {VS_FAULT_STALL, 0, kTimeout, 0},
                                                       {VS_FAULT_LENGTH, 70000, 0, 70000},
                                                       {VS_FAULT_GARBAGE, 3, 0, 256},
                                                       {VS_FAULT_UNPLUG, 0, kGone, 0}}) {
        VS_ClearFaults();
        Arm(0x17, VS_IN, action, value);
        host.Send({0x17});
        EXPECT_EQ(host.Read(&reply, 3), status);
        EXPECT_EQ(host.transferred, count);
        EXPECT_EQ(reply.empty() || std::equal(reply.begin() + 16, reply.begin() + 20, truth.begin() + 16),
                  action != VS_FAULT_GARBAGE);
    }
}

} // namespace
