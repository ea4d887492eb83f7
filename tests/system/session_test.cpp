// A whole session as its log and states tell it.
#include "tests/support/data.h"
#include "tests/support/host.h"

#include <gmock/gmock.h>

#include <regex>
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
    const std::regex varying(" [0-9]{5},|[0-9]{3}, [0-9]{3}$"); // the scan's number and its levels
    std::string log;
    for (const std::string &line : Log())
        if (line.compare(0, 2, "SD") != 0) // a decoder of the test before may have left its line
            log += std::regex_replace(line, varying, "#") + '\n';
    ExpectKept("system/session.txt", log);
    EXPECT_THAT(StatesSinceMark(), ElementsAre(20, 1, 2, 3, 5, 8, 21));
    K274_Reset();
    EXPECT_EQ(WaitFor({12}), 12);
    EXPECT_THAT(Log(), testing::Contains("Reset    K274..."));
}

} // namespace
