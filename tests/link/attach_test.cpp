// Opening the driver library, the scanner's coming and going, and the start of a session.
#include "src/link/attach.h"

#include "src/api/lifecycle.h"
#include "src/link/transport.h"
#include "src/maint/device_commands.h"
#include "tests/support/library_fixture.h"

#include <gmock/gmock.h>

#include <tuple>

namespace {

using k274::deviceLink;
using scripted::TheDriver;
using testing::ElementsAre;

struct AttachTest : LibraryTest {};

TEST_F(AttachTest, DriverOpensInOrderAndClosesAgain) {
    EXPECT_EQ(k274::DriverInit(), 0u);
    EXPECT_THAT(TheDriver().calls,
                ElementsAre("OsEventCreate", "OsMutexCreate", "OsEventCreate", "WDU_Init"));
    EXPECT_THAT(TakeLog(), ElementsAre("Could not open WinDriver kernel!", "Attach F274:0274 jungo 0", " "));
    EXPECT_TRUE(deviceLink.online);
    deviceLink.transferErrors = 9;
    scripted::Detach();
    EXPECT_FALSE(deviceLink.online);
    scripted::Attach();
    EXPECT_THAT(TakeLog(), ElementsAre("usb,     DeviceAttach 1"));
    EXPECT_EQ(deviceLink.transferErrors, 0) << "counted anew";
    EXPECT_TRUE(deviceLink.online);
    k274::ResetScanner();
    EXPECT_THAT(scripted::SentCodes(), ElementsAre(0x75));
    EXPECT_THAT(Log(), ElementsAre(" ", "Reset    K274..."));
    TheDriver().calls.clear();
    k274::DriverUninit();
    k274::DriverUninit(); // nothing left to close
    EXPECT_THAT(TheDriver().calls, ElementsAre("OsEventClose", "OsMutexClose", "OsEventClose", "WDU_Uninit"));
    EXPECT_EQ(deviceLink.device, nullptr);
}

TEST_F(AttachTest, FailuresReturnTheirStatus) {
    const std::tuple<uint32_t, uint32_t, uint32_t, uint32_t, Texts> cases[] = {
        {7, 0, 0, 7, {"usb,     Error in DriverInit()"}},
        {0, 8, 0, 8, {"usb,     Error in DriverInit()"}},
        {0, 0, 0x2000ABCD, 0x2000ABCD, {"WDU_Init-64 Error 2000ABCD", "usb,     Error in DriverInit()"}},
    };
    for (const auto &[eventStatus, mutexStatus, initStatus, result, lines] : cases) {
        TheDriver().eventStatus = eventStatus;
        TheDriver().mutexStatus = mutexStatus;
        TheDriver().initStatus = initStatus;
        EXPECT_EQ(k274::DriverInit(), result);
        EXPECT_EQ(TakeLog(), lines);
        k274::DriverUninit();
    }
    EXPECT_THAT(TheDriver().calls, testing::Contains("WDU_Uninit").Times(1));
}

TEST_F(AttachTest, SessionStartGreetsTheScanner) {
    // Status of the driver's start, whether a scanner is there, status of the greeting; result and commands.
    const std::tuple<uint32_t, bool, uint32_t, int32_t, std::vector<uint8_t>> cases[] = {
        {0, true, 0, 0, {0x14}},
        {0, true, 0x20000015, 0x20000015, {0x14}},
        {0, false, 0, -1, {}},
        {0x20000020, true, 0, 0x20000020, {}}};
    for (const auto &[initStatus, attached, sendStatus, result, sent] : cases) {
        scripted::ResetDriver();
        TheDriver().initStatus = initStatus;
        TheDriver().attachOnInit = attached;
        TheDriver().onSend = [status = sendStatus](const scripted::Sent &) {
            return scripted::Reply{status};
        };
        EXPECT_EQ(k274::OpenLink(), result);
        EXPECT_EQ(scripted::SentCodes(), sent);
        k274::DriverUninit();
    }
}

} // namespace
