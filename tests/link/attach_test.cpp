#include "src/link/attach.h"

#include "src/link/session.h"
#include "src/link/transport.h"
#include "tests/support/library_fixture.h"

#include <gmock/gmock.h>

namespace {

using k274::deviceLink;
using scripted::TheDriver;
using testing::ElementsAre;

struct AttachTest : LibraryTest {};

TEST_F(AttachTest, DriverOpensInOrderAndClosesAgain) {
    EXPECT_EQ(k274::DriverInit(), 0u);
    EXPECT_THAT(TheDriver().calls,
                ElementsAre("OsEventCreate", "OsMutexCreate", "OsEventCreate", "WDU_Init"));
    EXPECT_THAT(Log(), ElementsAre("Could not open WinDriver kernel!", "Attach F274:0274 jungo 0", " "));
    EXPECT_TRUE(deviceLink.online);
    TheDriver().calls.clear();
    k274::DriverUninit();
    EXPECT_THAT(TheDriver().calls, ElementsAre("OsEventClose", "OsMutexClose", "OsEventClose", "WDU_Uninit"));
    EXPECT_FALSE(deviceLink.online);
    EXPECT_EQ(deviceLink.device, nullptr);
    k274::DriverUninit(); // nothing left to close
    EXPECT_THAT(TheDriver().calls, testing::SizeIs(4));
}

TEST_F(AttachTest, FailuresReturnTheirStatus) {
    const struct {
        uint32_t eventStatus, mutexStatus, initStatus, result;
        Texts lines;
    } cases[] = {
        {7, 0, 0, 7, {"usb,     Error in DriverInit()"}},
        {0, 8, 0, 8, {"usb,     Error in DriverInit()"}},
        {0, 0, 0x2000ABCD, 0x2000ABCD, {"WDU_Init-64 Error 2000ABCD", "usb,     Error in DriverInit()"}},
    };
    for (const auto &c : cases) {
        TheDriver().eventStatus = c.eventStatus;
        TheDriver().mutexStatus = c.mutexStatus;
        TheDriver().initStatus = c.initStatus;
        EXPECT_EQ(k274::DriverInit(), c.result);
        EXPECT_EQ(TakeLog(), c.lines);
        k274::DriverUninit();
    }
    EXPECT_THAT(TheDriver().calls, testing::Contains("WDU_Uninit").Times(1));
}

TEST_F(AttachTest, LaterAttachesAreLoggedAndCountErrorsAnew) {
    OpenDriver();
    TakeLog();
    deviceLink.transferErrors = 9;
    scripted::Detach();
    EXPECT_EQ(deviceLink.device, nullptr);
    EXPECT_FALSE(deviceLink.online);
    scripted::Attach();
    EXPECT_THAT(Log(), ElementsAre("usb,     DeviceAttach 1"));
    EXPECT_EQ(deviceLink.transferErrors, 0);
    EXPECT_TRUE(deviceLink.online);
}

TEST_F(AttachTest, SessionStartGreetsTheScanner) {
    const struct {
        uint32_t initStatus;
        bool attached;
        uint32_t sendStatus;
        int32_t result;
        std::vector<uint8_t> sent;
    } cases[] = {
        {0, true, 0, 0, {0x14}},
        {0, true, 0x20000015, 0x20000015, {0x14}},
        {0, false, 0, -1, {}},
        {0x20000020, true, 0, 0x20000020, {}},
    };
    for (const auto &c : cases) {
        scripted::ResetDriver();
        TheDriver().initStatus = c.initStatus;
        TheDriver().attachOnInit = c.attached;
        TheDriver().onSend = [&](const scripted::Sent &) { return scripted::Reply{c.sendStatus}; };
        EXPECT_EQ(k274::session.Start(), c.result);
        EXPECT_EQ(scripted::SentCodes(), c.sent);
        k274::session.Close();
    }
}

TEST_F(AttachTest, ResetSendsItsCommandAndLogs) {
    OpenDriver();
    TakeLog();
    k274::session.Reset();
    EXPECT_THAT(scripted::SentCodes(), ElementsAre(0x75));
    EXPECT_THAT(Log(), ElementsAre(" ", "Reset    K274..."));
}

} // namespace
