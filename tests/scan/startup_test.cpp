#include "src/maint/version.h"
#include "src/scan/startup.h"

#include "include/k274.h"
#include "src/decoders/barcode.h"
#include "src/state/notify.h"
#include "tests/support/library_fixture.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;

struct StartupTest : ScannerTest {
    void SetUp() override {
        ScannerTest::SetUp();
        k274::SdVersion();
    }
    static void Check() {
        k274::StartupChecks();
        k274::DeliverRaisedStates();
    }
};

Texts VersionLines(const char *firmware) {
    return {"init,    SD2      ver 1.5",
            "init,    DLL      ver 2.3.7",
            std::string("init,    Firmware ver ") + firmware,
            "init,    FPGA     ver 1.12",
            "init,    Hardware ver 3",
            "init,    Norvex,  SN  4711, SSN 77"};
}

TEST_F(StartupTest, FirmwareIsComparedWithTheExpectedOne) {
    const struct {
        uint8_t firmware[3];
        const char *shown;
        const char *error; // null: none
    } cases[] = {
        {{2, 3, 7}, "2.3.7", nullptr},
        {{2, 3, 8}, "2.3.8", "fwver,   Firmware ver error, is: 2.3.8 SB: 2.3.7"},
        {{2, 3, 6}, "2.3.6", "fwver,   Firmware ver error, is: 2.3.6 SB: 2.3.7"},
        {{2, 4, 0}, "2.4", "fwver,   Firmware ver error, is: 2.4.0 SB: 2.3.7"},
    };
    K274_AutoFwUpgrade(0);
    for (const auto &c : cases) {
        std::copy(c.firmware, c.firmware + 3, scanner.firmware);
        const size_t before = States().size();
        Check();
        Texts expected = VersionLines(c.shown);
        if (c.error)
            expected.push_back(c.error);
        expected.push_back(" ");
        EXPECT_EQ(TakeLog(), expected);
        EXPECT_EQ(States().size() - before, c.error ? 1u : 0u);
        if (c.error)
            EXPECT_EQ(States().back(), -1);
    }
}

TEST_F(StartupTest, VersionBlockIsFilled) {
    Check();
    K274_Version version;
    K274_GetVersion(&version);
    EXPECT_EQ(version.serialNumber, 4711u);
    EXPECT_EQ(version.serialNumber2Low, 77u);
    EXPECT_EQ(version.serialNumber2High, 5u);
    EXPECT_THAT(version.library, ElementsAre(2, 3, 7));
    EXPECT_THAT(version.barcodeLibrary, ElementsAre(1, 5));
    EXPECT_THAT(version.firmware, ElementsAre(2, 3, 7));
    EXPECT_THAT(version.fpga, ElementsAre(1, 12));
    EXPECT_EQ(version.hardware, 3);
    EXPECT_EQ(version.device38, 9);
    const auto *bytes = reinterpret_cast<const uint8_t *>(&version);
    EXPECT_EQ(bytes[27], 2);
    EXPECT_EQ(bytes[37], 3);
}

TEST_F(StartupTest, AfeRegistersAboveTheLimitAreReported) {
    for (size_t word = 0; word < 26; ++word) {
        scripted::TheDriver().onRead = [&](const scripted::Sent &last, uint32_t size) {
            scripted::Reply reply = scanner.Answer(last, size);
            if (last.code == 0x60) {
                reply.bytes[24 + 2 * word] = 0xE8; // 1000
                reply.bytes[25 + 2 * word] = 0x03;
            }
            return reply;
        };
        const size_t before = States().size();
        Check();
        const bool checked = word <= 14 && word != 4 && word != 5;
        EXPECT_EQ(States().size() - before, checked) << word;
        const Texts lines = TakeLog();
        if (checked) {
            EXPECT_EQ(States().back(), -4);
            EXPECT_EQ(lines[0], word == 9   ? "AFE register error exposure=1000, gain=500"
                                : word == 1 ? "AFE register error exposure=500, gain=1000"
                                            : "AFE register error exposure=500, gain=500");
        }
    }
}

TEST_F(StartupTest, OtherBarcodeLibraryIsReported) {
    scripted::TheDecoder().minor = 4;
    k274::SdVersion();
    Check();
    EXPECT_THAT(States(), ElementsAre(-2));
    EXPECT_EQ(Log()[0], "Barcode ver error, is: 1.4 SB: 1.5");
    const auto leds = scripted::SentPackets(0x73);
    ASSERT_EQ(leds.size(), 1u);
    EXPECT_EQ(leds[0].bytes[16], 7);
    EXPECT_EQ(leds[0].bytes[17], 3);
}

TEST_F(StartupTest, SilentScannerLeavesSerialNumberZero) {
    Check();
    TakeLog();
    scripted::TheDriver().onRead = [](const scripted::Sent &, uint32_t) {
        return scripted::Reply{0x20000015};
    };
    EXPECT_FALSE(k274::ReadVersion());
    K274_Version version;
    K274_GetVersion(&version);
    EXPECT_EQ(version.serialNumber, 0u);
    EXPECT_THAT(version.firmware, ElementsAre(2, 3, 7));
}

} // namespace
