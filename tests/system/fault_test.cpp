// Misbehaving scanners, hosts that come and go: nothing crashes or hangs, and the next card scans well.
#include "tests/support/host.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <random>
#include <thread>

namespace {

using std::chrono::milliseconds;

struct FaultTest : HostTest {
    static void Arm(const VS_Fault &fault) { ASSERT_EQ(VS_ArmFault(&fault), VS_OK); }
    // The scanner is itself again: the next card must scan well.
    void ExpectGoodScan() {
        VS_ClearFaults();
        VS_PlugIn();
        for (int i = 0; i < 500 && !K274_UsbIsOnline(); ++i)
            std::this_thread::sleep_for(milliseconds(20));
        ASSERT_EQ(K274_UsbIsOnline(), 1);
        EXPECT_EQ(Scan("club"), 8);
    }
    // A scan with armed faults, however it ends, and a good one.
    void ExpectToSurvive() {
        Insert();
        WaitFor({8, 9, 11}, milliseconds(1500));
        VS_PressEject();
        ExpectGoodScan();
    }
};

TEST_F(FaultTest, LineFaultsCostARetryOrTheScan) {
    const struct {
        VS_Fault fault;
        int end;
        uint32_t errors;
    } cases[] = {
        {{0x01, VS_OUT, 20, 1, VS_FAULT_STATUS, 0xC0000011}, 8, 1},
        {{0x01, VS_OUT, 20, 2, VS_FAULT_STATUS, 0xC0000011}, 9, 1},
        {{0x01, VS_IN, 20, 1, VS_FAULT_SHORT, 97919}, 8, 1},
        {{0x01, VS_IN, 20, 2, VS_FAULT_SHORT, 0}, 9, 1},
        {{0x01, VS_IN, 20, 1, VS_FAULT_STALL, 0}, 8, 1},
        {{0x01, VS_IN, 20, 1, VS_FAULT_LENGTH, 0xFFFFFFFF}, 8, 1},
        {{0x01, VS_IN, 1, 0, VS_FAULT_GARBAGE, 5}, 8, 0},
    };
    Start();
    K274_ScanMode(82);
    for (const auto &c : cases) {
        K274_ClrXfrErrs();
        Arm(c.fault);
        EXPECT_EQ(Scan(), c.end) << c.fault.direction << ' ' << c.fault.action;
        EXPECT_EQ(K274_GefXfrErrs(), c.errors);
        VS_ClearFaults();
    }
    ExpectGoodScan();
}

TEST_F(FaultTest, GarbageInEveryReplyIsSurvived) {
    Start();
    for (const uint32_t command :
         {0x00u, 0x01u, 0x02u, 0x03u, 0x07u, 0x13u, 0x15u, 0x20u, 0x60u, 0x66u, 0x72u, 0x7Fu}) {
        VS_RestartFirmware(); // so that versions and tables are read, too
        Arm({command, VS_IN, 1, 5, VS_FAULT_GARBAGE, command});
        ExpectToSurvive();
    }
}

TEST_F(FaultTest, RandomFaultsAreSurvived) {
    std::mt19937 engine(42);
    auto random = [&] { return static_cast<uint32_t>(engine()); };
    auto pick = [&](std::initializer_list<uint32_t> values) {
        return *(values.begin() + random() % values.size());
    };
    Start();
    K274_ScanMode(82);
    for (int round = 0; round < 6; ++round) {
        for (int i = 0; i < 3; ++i)
            Arm({pick({0x00, 0x01, 0x02, 0x03, 0x07, 0x20, 0x13, 0x15, 0x66, VS_ANY_COMMAND}),
                 pick({VS_OUT, VS_IN}), 1 + random() % 40, 1 + random() % 3,
                 pick({VS_FAULT_STATUS, VS_FAULT_SHORT, VS_FAULT_LENGTH, VS_FAULT_GARBAGE}),
                 pick({0, 1, 20, 80, 255, 256, 97920, 0x7FFFFFFF, 0xC0000011})});
        ExpectToSurvive();
    }
}

TEST_F(FaultTest, UnplugAtAnyMomentAndPlugInAgain) {
    const VS_Fault moments[] = {{0x13, VS_IN, 1, 1, VS_FAULT_UNPLUG, 0},
                                {0x00, VS_IN, 2, 1, VS_FAULT_UNPLUG, 0},
                                {0x66, VS_OUT, 1, 1, VS_FAULT_UNPLUG, 0},
                                {0x01, VS_IN, 1, 1, VS_FAULT_UNPLUG, 0},
                                {0x01, VS_OUT, 100, 1, VS_FAULT_UNPLUG, 0}};
    Start();
    K274_ScanMode(82);
    for (const VS_Fault &moment : moments) {
        Arm(moment);
        Insert();
        EXPECT_EQ(WaitFor({11}), 11) << moment.command;
        EXPECT_EQ(K274_UsbIsOnline(), 0);
        Mark();
        VS_PlugIn();
        EXPECT_EQ(WaitFor({10}), 10);
        VS_PressEject();
        ExpectGoodScan();
    }
}

TEST_F(FaultTest, HostThatClosesInMidScanMayStartAgain) {
    K274_ScanMode(82);
    for (const uint32_t blocks : {1u, 60u, 170u}) {
        Start();
        Arm({0x01, VS_IN, blocks, 1, VS_FAULT_STALL, 0}); // holds the transfer up while the host closes
        Insert();
        EXPECT_EQ(WaitFor({1}), 1);
        std::this_thread::sleep_for(milliseconds(blocks));
        K274_Close();
        VS_ClearFaults();
        VS_PressEject();
    }
    Start();
    ExpectGoodScan();
}

TEST_F(FaultTest, HostThreadsMayCallWhatTheyLikeDuringScans) {
    Start();
    K274_ScanMode(82);
    std::atomic<bool> done{false};
    const std::function<void(int)> callers[] = {
        [](int) { K274_Log("from a host thread"); },
        [](int i) { K274_SetUvOpt(i); },
        [](int i) { K274_LogIn(static_cast<uint8_t>(i)); },
        [](int i) { i % 50 == 0 ? K274_Clear(static_cast<uint8_t>(i)) : K274_SetBcDecMode(i % 4); },
    };
    std::vector<std::thread> threads;
    for (const auto &caller : callers)
        threads.emplace_back([&] {
            for (int i = 0; !done; ++i) {
                uint8_t record[4096]; // more than any
                for (const auto copy :
                     {K274_UpdateStatus, K274_GetVersion, K274_GetBC, K274_GetMag, K274_GetInfo})
                    copy(record);
                K274_SetIllumOpt(i % 16);
                K274_IrEnhance(static_cast<uint8_t>(i % 2));
                K274_Verbose(static_cast<uint32_t>(i % 3));
                K274_ScanState();
                K274_UsbIsOnline();
                K274_GefXfrErrs();
                K274_GetBcDec1Cnt();
                caller(i);
            }
        });
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(Scan("club"), 8);
    done = true;
    for (std::thread &thread : threads)
        thread.join();
}

} // namespace
