// Log lines: their form, where they go, and those of threads.
#include "src/common/running.h"
#include "src/log/log.h"

#include "include/k274.h"
#include "src/common/text.h"
#include "tests/support/library_fixture.h"
#include "tests/support/regex.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <thread>

namespace {

using k274::Format;
using testing::AllOf;
using testing::Each;
using testing::SizeIs;

struct LogTest : LibraryTest {};

TEST_F(LogTest, LinesCarryNumberTimeAndCategory) {
    k274::log.Write("plain");
    k274::log.Usb("Reset Pipe OK");
    k274::log.Image("x");
    k274::log.Fw("Card in");
    k274::log.Write("");
    k274::log.Blank();
    k274::log.Usb(std::string(300, 'a').c_str()); // category lines are cut to 127 characters
    k274::running = false;
    k274::log.Write("dropped");
    k274::log.Write("WDU_Init-64 Error 5"); // only this is written while nothing runs
    EXPECT_THAT(ReadText(LogFile()),
                WholeMatches("00001,[0-6]:[0-9][0-9]:[0-9][0-9]:[0-9][0-9].[0-9][0-9], plain\r\n"
                             "00002,.{13}, usb,     Reset Pipe OK\r\n"
                             "00003,.{13}, image,   x\r\n"
                             "00004,.{13}, fw,      Card in\r\n"
                             "\r\n"
                             "00005,.{13},  \r\n"
                             "00006,.{13}, usb,     a{118}\r\n"
                             "00007,.{13}, WDU_Init-64 Error 5\r\n"));
}

TEST_F(LogTest, PathDecidesWhetherAndWhereLinesGo) {
    std::filesystem::remove(LogFile());
    k274::log.Write("the file is not created again");
    EXPECT_FALSE(std::filesystem::exists(LogFile()));
    const std::string absent = folder + "absent/", longest = absent + std::string(244 - absent.size(), 'd');
    const std::string tooLong = longest + "d", far(4000, 'd');
    const std::pair<const char *, std::string> cases[] = {{absent.c_str(), absent},
                                                          {longest.c_str(), longest},
                                                          {tooLong.c_str(), ""},
                                                          {far.c_str(), ""},
                                                          {nullptr, ""}};
    for (const auto &[path, working] : cases) {
        char directory[k274::Log::kPathSize];
        K274_SetLogPath(path);
        k274::log.Open();
        k274::log.Write("no such folder");
        k274::log.CopyWorkingDirectory(directory, sizeof directory);
        EXPECT_EQ(directory, working);
    }
    EXPECT_FALSE(std::filesystem::exists(absent));
}

TEST_F(LogTest, ThreadsWriteWholeLines) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t] {
            for (int i = 0; i < 50; ++i)
                k274::log.Usb(Format("thread %d line %d", t, i));
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_THAT(Log(), AllOf(SizeIs(200), Each(WholeMatches("usb,     thread [0-3] line [0-9]+"))));
}

} // namespace
