// The exports that send or set one thing, as the scanner sees them.
#include "include/k274.h"

#include "src/state/flags.h"
#include "src/state/image_set.h"
#include "src/state/locks.h"
#include "src/state/settings.h"
#include "tests/support/library_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace {

using scripted::TheDriver;
using testing::ElementsAre;

struct ExportsTest : LibraryTest {
    void SetUp() override {
        LibraryTest::SetUp();
        OpenDriver();
        scanner.Serve();
    }
    HealthyScanner scanner;
};

TEST_F(ExportsTest, CommandsCarryTheirArguments) {
    using Fields = std::vector<std::pair<size_t, uint8_t>>; // packet offset, byte
    const struct {
        std::function<void()> call;
        std::vector<uint8_t> codes;
        Fields last; // of the last command
    } cases[] = {
        {[] { K274_SetUvOpt(6); }, {0x0A}, {{1, 0}}},
        {[] { K274_SetUvOpt(-1); }, {0x0A}, {{1, 1}}},
        {[] { K274_UvEnhance(9); }, {0x0A}, {{1, 1}}},
        {[] { K274_UseCertaxis(299); }, {}, {}},
        {[] { K274_UseCertaxis(300); }, {0x66, 0x0A}, {{1, 1}}},
        {[] { K274_2ndScan(0x1234); }, {0x66}, {{1, 0x34}}},
        {[] { K274_LstScan(0x102, 0); }, {0x62}, {{1, 2}, {44, 0}, {45, 0}}},
        {[] { K274_LstScan(1, 1); }, {0x62}, {{1, 1}, {44, 0x5A}, {45, 5}}},
        {[] { K274_LstScan(1, -5); }, {0x62}, {{44, 0x5A}, {45, 5}}},
        {[] { K274_LstScan(1, 2001); }, {0x62}, {{44, 0x5A}, {45, 5}}},
        {[] { K274_LstScan(1, 2); }, {0x62}, {{44, 2}, {45, 0}, {46, 0}, {47, 0}}},
        {[] { K274_LstScan(0, 2000); }, {0x62}, {{44, 0xD0}, {45, 7}}},
        {[] { K274_DebugLEDs(9, 5); }, {0x73}, {{16, 9}, {17, 5}}},
        {[] { EXPECT_EQ(K274_LogIn(3), 1); }, {0x40}, {{1, 2}, {16, 3}}},
        {[] { K274_Reset(); }, {0x75}, {}},
        {[] { K274_Clear(1); }, {0x1A}, {}},
    };
    for (const auto &c : cases) {
        TheDriver().sent.clear();
        c.call();
        EXPECT_EQ(scripted::SentCodes(), c.codes);
        for (const auto &[offset, value] : c.last)
            EXPECT_EQ(TheDriver().sent.back().bytes.at(offset), value) << int(c.codes[0]) << " at " << offset;
    }
    EXPECT_EQ(k274::state.lastScanMode, 0);
    scripted::Detach();
    EXPECT_EQ(K274_LogIn(0), 0);
    EXPECT_EQ(k274::state.loginFlag, 0);
}

TEST_F(ExportsTest, OptionsKeepTheirBits) {
    const auto values = [](const auto &options) {
        return std::vector<int>(std::begin(options), std::end(options));
    };
    EXPECT_THAT(values(k274::settings.illumination), ElementsAre(1, 1, 1, 0));
    K274_SetIllumOpt(0x1A);
    EXPECT_THAT(values(k274::settings.illumination), ElementsAre(0, 1, 0, 1));
    K274_SetUvOpt(2);
    EXPECT_THAT(values(k274::settings.uvOption), ElementsAre(0, 1, 0));
    K274_IrEnhance(200);
    EXPECT_EQ(k274::settings.irEnhance, 1);
}

TEST_F(ExportsTest, ClearFillsTheScanAndLeavesTheRest) {
    const struct {
        uint8_t *(*get)();
        size_t size;
        bool filled;
    } images[] = {
        {K274_GetImgNatFr, 6655200, true},  {K274_GetImgNatBk, 6655200, true},
        {K274_GetImgIrFr, 2633728, true},   {K274_GetImgIrBk, 2633728, true},
        {K274_GetImgIrbFr, 2633728, true},  {K274_GetImgIrbBk, 2633728, true},
        {K274_GetImgUvFr, 1975296, true},   {K274_GetImgUvBk, 1975296, true},
        {K274_GetImgSliFr, 6900000, false}, {K274_GetImgSliBk, 6900000, false},
        {K274_GetImgEdge, 90000, false},    {K274_GetImgMsIr, 576000, false},
        {K274_GetImgMsBl, 256000, true},
    };
    K274_Clear(0);
    for (const auto &image : images)
        std::fill_n(image.get(), image.size, uint8_t{7});
    K274_Clear(0xFF);
    for (const auto &image : images)
        EXPECT_EQ(std::count(image.get(), image.get() + image.size, image.filled ? 0xFF : 7),
                  static_cast<ptrdiff_t>(image.size));
    EXPECT_EQ(k274::state.cleared, 1);
}

} // namespace
