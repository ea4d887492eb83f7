// A whole session as its log and states tell it.
#include "tests/support/host.h"
#include "tests/support/regex.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <thread>

namespace {

using testing::ElementsAre;

struct SessionTest : HostTest {};

TEST_F(SessionTest, ModeRIsLoggedLineForLineAndAResetIsNoticed) {
    Start();
    K274_ScanMode(82);
    K274_SetBcdOpt(0);
    // Events of the first two seconds are not told.
    std::this_thread::sleep_for(std::chrono::milliseconds(3100));
    EXPECT_EQ(Scan("licence"), 8);
    EXPECT_EQ(WaitFor({21}), 21);
    std::vector<std::string> log = Log();
    // A decoder of the test before may have left its line.
    log.erase(
        std::remove_if(log.begin(), log.end(), [](auto &line) { return line.compare(0, 3, "SD2") == 0; }),
        log.end());
    EXPECT_THAT(
        log, ElementsAre("init,    SD2      ver 1.5", "init,    DLL      ver 2.3.7",
                         "init,    Firmware ver 2.3.7", WholeMatches("init,    FPGA     ver [0-9]+.[0-9]+"),
                         WholeMatches("init,    Hardware ver [0-9]+"),
                         WholeMatches("init,    Norvex,  SN  [0-9]+, SSN [0-9]+"), " ", " ",
                         "fw,      Card in", WholeMatches("image,   [0-9]{5}, MS   [0-9]+:[0-9]+:[0-9]+"),
                         WholeMatches("image,   [0-9]{5}, RGB  Xfr.97920.\\.\\.\\."),
                         WholeMatches("image,   [0-9]{5}, RGB  xfr 2100 lines, [0-9]{3}, [0-9]{3}")));
    EXPECT_THAT(StatesSinceMark(), ElementsAre(20, 1, 2, 3, 5, 8, 21));
    K274_Reset();
    EXPECT_EQ(WaitFor({12}), 12);
    EXPECT_THAT(Log(), testing::Contains("Reset    K274..."));
}

TEST_F(SessionTest, RequestsReachTheScanner) {
    Start();
    VS_Observed before;
    VS_GetObserved(&before);
    K274_UserLED(3);
    K274_UserBeep(4);
    K274_GuiScan();
    K274_DebugLEDs(2, 1);
    K274_SetUvOpt(6);
    K274_2ndScan(9);
    K274_LstScan(1, 500);
    EXPECT_EQ(K274_LogIn(5), 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(400));
    VS_Observed after;
    VS_GetObserved(&after);
    EXPECT_THAT((std::vector<uint32_t>{after.userLed, after.beeps - before.beeps, after.lastBeep,
                                       after.guiScans - before.guiScans, after.leds[2], after.uvOption,
                                       after.secondScan, after.lastScanMode, after.lastScanLines,
                                       after.loggedIn, after.pollLogin}),
                ElementsAre(3, 1, 4, 1, 1, 0, 9, 1, 500, 5, 5));
    K274_LogIn(1);
    K274_LstScan(0, 0);
    K274_SetUvOpt(7);
}

} // namespace
