// Misbehaving scanners, hosts that come and go: nothing crashes or hangs, and the next card scans well.
#include "tests/support/data.h"
#include "tests/support/host.h"

#include <atomic>
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
};

struct Faults : FaultTest, testing::WithParamInterface<std::vector<std::string>> {};

TEST_P(Faults, CostARetryOrTheScanAndTheNextOneIsGood) {
    const auto &row = GetParam();
    Start();
    K274_ClrXfrErrs();
    K274_ScanMode(row[0] == "R" ? 'R' : 0);
    if (row[0] == "all")
        VS_RestartFirmware();
    for (size_t k = 3; k < row.size(); ++k) {
        VS_Fault fault{};
        Take(row[k], fault.command, fault.direction, fault.first, fault.count, fault.action, fault.value);
        Arm(fault);
    }
    Insert();
    if (row[1].empty())
        WaitFor({8, 9, 11}, milliseconds(1500));
    else
        EXPECT_EQ(std::to_string(WaitFor(Ints(row[1]))), row[1]);
    if (!row[2].empty())
        EXPECT_EQ(std::to_string(K274_GefXfrErrs()), row[2]);
    if (row[1] == "11") {
        EXPECT_EQ(K274_UsbIsOnline(), 0);
        Mark();
        VS_PlugIn();
        EXPECT_EQ(WaitFor({10}), 10);
    }
    VS_PressEject();
    ExpectGoodScan();
}
INSTANTIATE_TEST_SUITE_P(Rows, Faults, testing::ValuesIn(Table("system/faults.txt")));

TEST_F(FaultTest, HostThatClosesInMidScanMayStartAgain) {
    K274_ScanMode('R');
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
    K274_ScanMode('R');
    std::atomic<bool> done{false};
    const auto call = [&] {
        for (int i = 0; !done; ++i) {
            uint8_t record[4096]; // more than any
            for (const auto copy :
                 {K274_UpdateStatus, K274_GetVersion, K274_GetBC, K274_GetMag, K274_GetInfo})
                copy(record);
            K274_SetIllumOpt(i % 16);
            K274_IrEnhance(static_cast<uint8_t>(i % 2));
            K274_Verbose(static_cast<uint32_t>(i % 3));
            K274_SetBcDecMode(i % 4);
            K274_ScanState();
            K274_UsbIsOnline();
            K274_GefXfrErrs();
            K274_GetBcDec1Cnt();
            K274_Log("from a host thread");
            K274_SetUvOpt(i);
            K274_LogIn(static_cast<uint8_t>(i));
            if (i % 50 == 0)
                K274_Clear(static_cast<uint8_t>(i));
        }
    };
    std::thread first(call), second(call), third(call);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(Scan("club"), 8);
    done = true;
    for (std::thread *thread : {&first, &second, &third})
        thread->join();
}

} // namespace
