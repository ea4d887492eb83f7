// Whole scans by the built library over the mock bus: the same bytes as from the virtual scanner in process,
// and a scanner that fails and is cycled is followed.
#include "tests/support/host.h"
#include "tests/support/scan_results.h"
#include "tests/usb/mock_bus.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <thread>

namespace {

using std::chrono::milliseconds;

struct UsbScan : HostTest {
    mock::Port port{scanner::TheScanner()};

    void SetUp() override {
        setenv("K274_DEVICE", "usb", 1);
        HostTest::SetUp();
        VS_Unplug();
        VS_PlugIn();
        ASSERT_TRUE(port.Await(true));
    }
    void TearDown() override {
        HostTest::TearDown();
        K274_LstScan(0, 0);
    }
    /// The driver library's own virtual scanner, which takes no part in anything on the bus.
    template <typename Function>
    static Function *InProcess(Function *, const char *name) {
        static void *const library = dlopen("libwdapi1140.so", RTLD_NOW | RTLD_NOLOAD);
        void *symbol = library != nullptr ? dlsym(library, name) : nullptr;
        EXPECT_NE(symbol, nullptr) << name;
        return reinterpret_cast<Function *>(symbol);
    }
};

TEST_F(UsbScan, GivesTheSameBytesAsTheVirtualScannerInProcess) {
    const struct {
        const char *card;
        bool scatterGather;
        int lastScanMode;
    } cases[] = {{"licence", true, 0}, {"member", false, 1}};
    InProcess(VS_SetSpeed, "VS_SetSpeed")(0);
    K274_SetBcdOpt(0); // a decoder that runs by the clock
    for (const auto &c : cases) {
        SCOPED_TRACE(c.card);
        port.behaviour.scatterGather = c.scatterGather;
        ScanResults results[2];
        for (const bool usb : {true, false}) {
            setenv("K274_DEVICE", usb ? "usb" : "virtual", 1);
            Start();
            K274_LstScan(c.lastScanMode, 600);
            std::this_thread::sleep_for(milliseconds(250)); // the scanner has been told
            (usb ? VS_SetSeed : InProcess(VS_SetSeed, "VS_SetSeed"))(5);
            Mark();
            const std::string card = Sample(c.card);
            ASSERT_EQ((usb ? VS_InsertCard : InProcess(VS_InsertCard, "VS_InsertCard"))(card.c_str()), VS_OK);
            ASSERT_EQ(WaitFor({8, 9, 11}), 8) << usb;
            if (c.lastScanMode == 1)
                K274_1200S();
            results[usb] = TakeScanResults();
            EXPECT_EQ(K274_GefXfrErrs(), 0u);
            K274_Close();
        }
        EXPECT_EQ(port.behaviour.pieces.exchange(0) > 0, !c.scatterGather);
        for (const auto &[name, bytes] : results[0])
            EXPECT_TRUE(bytes == results[1][name]) << name;
        const auto &image = results[1]["NatFr"];
        EXPECT_NE(std::count(image.begin(), image.end(), image[0]), static_cast<ptrdiff_t>(image.size()));
    }
}

TEST_F(UsbScan, RecoversByResetsAndPortCycles) {
    K274_ScanMode(82);
    Start();
    const VS_Fault error{0x01, VS_IN, 20, 1, VS_FAULT_STATUS, 0xC0000011};
    ASSERT_EQ(VS_ArmFault(&error), VS_OK);
    EXPECT_EQ(Scan("club"), 8);
    EXPECT_EQ(K274_GefXfrErrs(), 1u);
    EXPECT_EQ(port.behaviour.resets, 1);
    VS_PressEject();
    constexpr int32_t kCyclePort = 0xFFFFF;
    K274_UsbTest(kCyclePort, 0);
    K274_UsbTest(0, 0);
    EXPECT_GE(port.behaviour.claims, 4) << "at first, after each reset, and when it is opened anew";
    EXPECT_THAT(Log(), testing::IsSupersetOf({"usb,     Cycle Port ONLINE", "usb,     Cycle Port OK"}));
    EXPECT_EQ(Scan("club"), 8);
}

} // namespace
