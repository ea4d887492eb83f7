// What runs in the guest: the built library in front of a scanner that a real USB stack has found. The same
// program in front of the virtual scanner in process gives the digests that the guest's must equal.
#include "tests/support/host.h"
#include "tests/support/scan_results.h"

#include <gmock/gmock.h>

#include <cinttypes>
#include <cstdio>
#include <iostream>
#include <thread>

namespace {

const std::vector<int> kEnds = {8, 9, 11};

struct GuestTest : HostTest {
    static void SetUpTestSuite() { VS_SetSpeed(0); } // whoever starts the program sets K274_DEVICE
    void SetUp() override {
        HostTest::SetUp();
        K274_SetBcdOpt(0); // a decoder that runs by the clock
        VS_ClearFaults();
        VS_PlugIn();
    }
    void TearDown() override {
        if (HasFailure())
            for (const std::string &line : Log())
                std::cout << "log: " << line << '\n';
        HostTest::TearDown();
        K274_LstScan(0, 0);
    }
    /// Returns the first of these states that the scan comes to.
    int Scan(const std::string &card, const std::vector<int> &states = kEnds) {
        Insert(card);
        return WaitFor(states, std::chrono::minutes(1)); // the guest's processor is emulated
    }
    static uint32_t HardResets() {
        VS_Observed observed{};
        VS_GetObserved(&observed);
        return observed.hardResets;
    }
};

/// Of everything that the last scan left for the host.
void PrintDigests(const char *card) {
    ScanResults results = TakeScanResults();
    results["version"].resize(sizeof(K274_Version));
    K274_GetVersion(reinterpret_cast<K274_Version *>(results["version"].data()));
    for (const auto &[name, bytes] : results) {
        uint64_t digest = 0xCBF29CE484222325;
        for (const uint8_t byte : bytes)
            digest = (digest ^ byte) * 0x100000001B3;
        std::printf("digest %s %s %016" PRIx64 "\n", card, name.c_str(), digest);
    }
}

TEST_F(GuestTest, ScansForDigests) {
    Start();
    for (const char *card : {"licence", "member"}) {
        const bool hires = card[0] == 'm';
        K274_LstScan(hires, 600);
        std::this_thread::sleep_for(std::chrono::milliseconds(300)); // the scanner has been told
        VS_SetSeed(5);
        ASSERT_EQ(Scan(card), 8);
        if (hires)
            K274_1200S();
        EXPECT_EQ(K274_GefXfrErrs(), 0U);
        PrintDigests(card);
    }
}

// Unplugged with the stripe, a command or a block of lines on its way; a stall, a packet too short, nothing
// in time. An error on the wire the system repeats by itself.
TEST_F(GuestTest, ScansAgainAfterAPortCycleAndFaults) {
    constexpr uint32_t kStall = 0xC0000004, kWireError = 0xC0000011;
    const struct {
        VS_Fault fault;
        int end, errors;
    } cases[] = {{{0x20, VS_IN, 1, 1, VS_FAULT_UNPLUG, 0}, 11, 0},
                 {{0x01, VS_OUT, 1, 1, VS_FAULT_UNPLUG, 0}, 11, 0},
                 {{0x01, VS_IN, 170, 1, VS_FAULT_UNPLUG, 0}, 11, 0},
                 {{0x01, VS_OUT, 20, 1, VS_FAULT_STATUS, kStall}, 8, 1},
                 {{0x01, VS_IN, 20, 1, VS_FAULT_STATUS, kStall}, 8, 1},
                 {{0x01, VS_IN, 20, 1, VS_FAULT_SHORT, 16384}, 8, 1},
                 {{0x01, VS_IN, 20, 1, VS_FAULT_STALL, 5120}, 8, 1},
                 {{0x01, VS_OUT, 20, 1, VS_FAULT_STALL, 0}, 8, 1},
                 {{0x01, VS_IN, 20, 1, VS_FAULT_STATUS, kWireError}, 8, 0},
                 {{0x01, VS_IN, 20, 2, VS_FAULT_STATUS, kStall}, 9, 1}};
    K274_ScanMode(82);
    Start();
    constexpr int32_t kCyclePort = 0xFFFFF;
    K274_UsbTest(kCyclePort, 0);
    K274_UsbTest(0, 0);
    EXPECT_EQ(Scan("club"), 8);
    EXPECT_THAT(Log(), testing::Contains("usb,     Cycle Port ONLINE"));
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.fault.command << ' ' << c.fault.direction << ' '
                                        << c.fault.action << ' ' << c.fault.value);
        const uint32_t resets = HardResets();
        K274_ClrXfrErrs();
        ASSERT_EQ(VS_ArmFault(&c.fault), VS_OK);
        EXPECT_EQ(Scan("club", c.end == 11 ? std::vector{11} : kEnds), c.end);
        VS_ClearFaults();
        if (c.end == 11) {
            EXPECT_EQ(K274_UsbIsOnline(), 0);
            Mark();
            VS_PlugIn();
            ASSERT_EQ(WaitFor({10}), 10);
        } else {
            EXPECT_EQ(K274_GefXfrErrs(), static_cast<uint32_t>(c.errors));
            EXPECT_EQ(HardResets() > resets, c.errors > 0);
        }
        VS_PressEject();
    }
}

} // namespace
