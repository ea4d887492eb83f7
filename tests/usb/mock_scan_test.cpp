// Whole scans by the built library over the mock bus: the same bytes as from the virtual scanner in process,
// and a scanner that leaves in mid-scan is followed.
#include "tests/support/host.h"
#include "tests/usb/mock_bus.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <thread>

namespace {

using std::chrono::milliseconds;
using Bytes = std::vector<uint8_t>;

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
    /// Everything that the last scan left for the host.
    static std::map<std::string, Bytes> Results() {
        std::map<std::string, Bytes> results;
        const auto add = [&results](const char *name, const uint8_t *from, size_t size) {
            results[name].assign(from, from + size);
        };
        constexpr size_t kNat = size_t{3} * K274_NAT_WIDTH * K274_NAT_HEIGHT;
        constexpr size_t kIr = size_t{K274_IR_WIDTH} * K274_IR_HEIGHT;
        constexpr size_t kUv = size_t{3} * K274_UV_WIDTH * K274_UV_HEIGHT;
        constexpr size_t kSli = size_t{3} * K274_SLI_WIDTH * K274_SLI_HEIGHT;
        add("NatFr", K274_GetImgNatFr(), kNat);
        add("NatBk", K274_GetImgNatBk(), kNat);
        add("IrFr", K274_GetImgIrFr(), kIr);
        add("IrBk", K274_GetImgIrBk(), kIr);
        add("UvFr", K274_GetImgUvFr(), kUv);
        add("UvBk", K274_GetImgUvBk(), kUv);
        add("SliFr", K274_GetImgSliFr(), kSli);
        add("SliBk", K274_GetImgSliBk(), kSli);
        add("Edge", K274_GetImgEdge(), size_t{3} * K274_EDGE_WIDTH * K274_EDGE_HEIGHT);
        add("MsIr", K274_GetImgMsIr(), size_t{K274_MSIR_WIDTH} * K274_MSIR_HEIGHT);
        add("MsBl", K274_GetImgMsBl(), size_t{K274_MSBL_WIDTH} * K274_MSBL_HEIGHT);
        add("raw response", K274_GetCcdRawResp(), 18900);
        add("corrected response", K274_GetCcdCorResp(), 18900);
        Bytes record(sizeof(K274_Magnetic));
        K274_GetMag(record.data());
        results["stripe"] = record;
        return results;
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
        std::map<std::string, Bytes> results[2];
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
            results[usb] = Results();
            EXPECT_EQ(K274_GefXfrErrs(), 0u);
            K274_Close();
        }
        for (const auto &[name, bytes] : results[0])
            EXPECT_TRUE(bytes == results[1][name]) << name;
        const Bytes &image = results[1]["NatFr"];
        EXPECT_NE(std::count(image.begin(), image.end(), image[0]), static_cast<ptrdiff_t>(image.size()));
    }
}

TEST_F(UsbScan, UnpluggedAtAnyMomentItIsScannedWithAgain) {
    const struct {
        uint32_t command, direction, first;
    } moments[] = {{0x13, VS_IN, 1}, {0x20, VS_IN, 1}, {0x01, VS_OUT, 1}, {0x01, VS_IN, 170}};
    K274_ScanMode(82);
    Start();
    for (const auto &moment : moments) {
        SCOPED_TRACE(testing::Message() << moment.command << ' ' << moment.direction << ' ' << moment.first);
        const VS_Fault fault{moment.command, moment.direction, moment.first, 1, VS_FAULT_UNPLUG, 0};
        ASSERT_EQ(VS_ArmFault(&fault), VS_OK);
        port.behaviour.scatterGather = moment.first % 2 == 0;
        Insert("club");
        EXPECT_EQ(WaitFor({11}), 11);
        EXPECT_EQ(K274_UsbIsOnline(), 0);
        VS_ClearFaults();
        Mark();
        VS_PlugIn();
        EXPECT_EQ(WaitFor({10}), 10);
        VS_PressEject();
    }
    EXPECT_EQ(Scan("club"), 8);
}

TEST_F(UsbScan, RecoversByResetsAndPortCycles) {
    const struct {
        VS_Fault fault;
        int end, errors;
    } cases[] = {{{0x01, VS_OUT, 20, 1, VS_FAULT_STATUS, 0xC0000011}, 8, 1},
                 {{0x01, VS_IN, 20, 1, VS_FAULT_SHORT, 16384}, 8, 1},
                 {{0x01, VS_IN, 20, 1, VS_FAULT_STALL, 5120}, 8, 1},
                 {{0x01, VS_IN, 20, 2, VS_FAULT_STATUS, 0xC0000011}, 9, 1}};
    K274_ScanMode(82);
    Start();
    for (const auto &c : cases) {
        SCOPED_TRACE(testing::Message() << c.fault.action << ' ' << c.fault.value);
        port.behaviour.scatterGather = c.fault.value % 2 == 1;
        const int resets = port.behaviour.resets;
        K274_ClrXfrErrs();
        ASSERT_EQ(VS_ArmFault(&c.fault), VS_OK);
        EXPECT_EQ(Scan("club"), c.end);
        EXPECT_EQ(K274_GefXfrErrs(), static_cast<uint32_t>(c.errors));
        EXPECT_GT(port.behaviour.resets, resets);
        VS_ClearFaults();
        VS_PressEject();
    }
    constexpr int32_t kCyclePort = 0xFFFFF;
    const int claims = port.behaviour.claims;
    K274_UsbTest(kCyclePort, 0);
    K274_UsbTest(0, 0);
    EXPECT_GE(port.behaviour.claims, claims + 2) << "once after the reset, once when it is opened anew";
    const std::vector<std::string> log = Log();
    EXPECT_NE(std::find(log.begin(), log.end(), "usb,     Cycle Port ONLINE"), log.end());
    EXPECT_NE(std::find(log.begin(), log.end(), "usb,     Cycle Port OK"), log.end());
    EXPECT_EQ(Scan("club"), 8);
}

} // namespace
