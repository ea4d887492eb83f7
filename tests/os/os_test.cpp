// Files, settings files, locks, threads, resources and modules, as every system gives them.
#include "platform/os/os.h"
#include "tests/os/files.h"

#include <chrono>
#include <ctime>
#include <future>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {

TEST(File, LogsAreAppendedToAndSharedWithReadersAndWriters) {
    const TempFolder directory;
    const std::string path = directory.File("a.log");
    EXPECT_FALSE(os::AppendToFile(path.c_str(), "x", 1)) << "only truncating creates";
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_TRUE(os::TruncateFile(path.c_str()));
    std::ofstream other(path, std::ios::binary | std::ios::app);
    EXPECT_TRUE(os::AppendToFile(path.c_str(), "one\r\n", 5));
    other << "other" << std::flush;
    EXPECT_TRUE(os::AppendToFile(path.c_str(), "two\n\0", 5));
    EXPECT_EQ(ReadText(path), std::string("one\r\nothertwo\n\0", 15));
    EXPECT_TRUE(os::TruncateFile(path.c_str()));
    EXPECT_EQ(ReadText(path), "");
    for (const std::string &wrong :
         {directory.File("none/a.log"), directory.Path().string(), std::string(os::kMaxPath, 'x')}) {
        EXPECT_FALSE(os::TruncateFile(wrong.c_str())) << wrong;
        EXPECT_FALSE(os::AppendToFile(wrong.c_str(), "x", 1)) << wrong;
    }
}

TEST(File, IsReadAndWrittenWhole) {
    const TempFolder directory;
    const std::string path = directory.File("a.tif"), text("one\0two\r\n", 9);
    size_t count = 99;
    uint8_t buffer[12] = {};
    EXPECT_FALSE(os::ReadFileInto(path.c_str(), buffer, sizeof buffer, &count));
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(WriteWhole(path, "a longer text that goes"), os::FileWrite::Done);
    EXPECT_EQ(WriteWhole(path, text), os::FileWrite::Done);
    ASSERT_TRUE(os::ReadFileInto(path.c_str(), buffer, sizeof buffer, &count));
    EXPECT_EQ(std::string(reinterpret_cast<char *>(buffer), count), text);
    buffer[4] = '#';
    ASSERT_TRUE(os::ReadFileInto(path.c_str(), buffer, 4, &count));
    EXPECT_EQ(count, 4U);
    EXPECT_EQ(buffer[4], '#');
    for (const std::string &wrong :
         {directory.File("none/a.tif"), directory.Path().string(), std::string()}) {
        EXPECT_EQ(WriteWhole(wrong, text), os::FileWrite::NotCreated) << wrong;
        EXPECT_FALSE(os::ReadFileInto(wrong.c_str(), buffer, sizeof buffer, &count)) << wrong;
    }
    EXPECT_EQ(Entries(directory), 1);
}

TEST_F(Profile, Reads) {
    for (const auto &row : SettingsTable("os/texts.txt"))
        EXPECT_EQ(Text(row[0]), row[1]) << row[0];
    EXPECT_EQ(Text("[Demo]\nName=ABCDEFGHIJ\n", 8), "ABCDEFG");
    EXPECT_EQ(Text("[Demo]\nName=x\n", 1), "");
    for (const auto &row : SettingsTable("os/numbers.txt"))
        EXPECT_EQ(Int("[Demo]\r\nNum = " + row[0] + "\r\n"), std::stoi(row[1])) << row[0];
    EXPECT_EQ(Int("[Demo]\nNum\n"), -77);
    EXPECT_EQ(os::ReadProfileInt(directory_.File("missing/x").c_str(), "Demo", "Num", -5), -5);
    EXPECT_FALSE(os::WriteProfileText(directory_.File("missing/x").c_str(), "Demo", "Num", "1"));
}

TEST_F(Profile, WritesOneEntryAndKeepsEveryOtherByte) {
    for (const auto &row : SettingsTable("os/written.txt"))
        EXPECT_EQ(Written(row[0], "Demo", "Num", "8"), row[1]) << row[0];
    // Nothing that could not be read back.
    for (const auto &row : Table("os/refused.txt")) {
        const auto text = [&row](size_t cell) { return row[cell] == "-" ? nullptr : row[cell].c_str(); };
        EXPECT_EQ(Written("[Demo]\nNum=7\n", text(0), text(1), text(2)), "refused");
    }
}

TEST(CurrentDirectory, IsWholeOrEmpty) {
    const std::string expected = std::filesystem::current_path().string();
    std::string text(expected.size() + 2, '#');
    os::CurrentDirectory(text.data(), expected.size() + 1);
    EXPECT_EQ(text, expected + '\0' + '#');
    os::CurrentDirectory(text.data(), expected.size());
    EXPECT_STREQ(text.c_str(), "");
}

TEST(Now, IsTheLocalTime) {
    const auto calendar = [](std::time_t seconds) {
        char text[40];
        std::strftime(text, sizeof text, "%Y %m %d %H %M %S %w", std::localtime(&seconds));
        return std::string(text);
    };
    const std::string before = calendar(std::time(nullptr));
    const os::LocalTime now = os::Now();
    char text[40];
    std::snprintf(text, sizeof text, "%04d %02d %02d %02d %02d %02d %d", now.year, now.month, now.day,
                  now.hour, now.minute, now.second, now.dayOfWeek);
    EXPECT_TRUE(before <= text && text <= calendar(std::time(nullptr))) << text;
    EXPECT_LT(now.millisecond, 1000);
}

TEST(Lock, OneThreadTakesItAgainAnotherDoesNot) {
    os::RecursiveLock lock;
    const auto free = [&] {
        return std::async(std::launch::async, [&] { return lock.try_lock() && (lock.unlock(), true); }).get();
    };
    EXPECT_TRUE(free());
    lock.lock();
    EXPECT_TRUE(lock.try_lock());
    EXPECT_FALSE(free());
    lock.unlock();
    EXPECT_FALSE(free()); // the outermost holding counts
    lock.unlock();
    EXPECT_TRUE(free());
}

TEST(Thread, RunsItsBodyOnAnotherThreadAndIsCountedUntilItsEnd) {
    // They outlive the thread, as nothing on the test's stack surely does.
    static std::promise<std::thread::id> report;
    static std::promise<void> gate;
    const int before = os::RunningThreads();
    const auto body = [](void *) {
        report.set_value(std::this_thread::get_id());
        gate.get_future().wait();
    };
    ASSERT_TRUE(os::StartThread(body, nullptr));
    auto id = report.get_future();
    ASSERT_EQ(id.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_NE(id.get(), std::this_thread::get_id());
    EXPECT_EQ(os::RunningThreads(), before + 1);
    gate.set_value();
    for (int i = 0; i < 3000 && os::RunningThreads() != before; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(os::RunningThreads(), before);
}

TEST(Resource, FirmwareImageIsCarriedWhole) {
    const os::Resource image = os::FindResource("FW_IMG", 101);
    ASSERT_NE(image.data, nullptr);
    EXPECT_EQ(image.size, 49588U);
    EXPECT_EQ(os::FindResource("FW_IMG", 102).data, nullptr);
    EXPECT_EQ(os::FindResource("FW", 101).size, 0U);
}

TEST(Module, AbsentOnesAndTheKernelDriverAreNotOpened) {
    EXPECT_EQ(os::LoadModule("k274-no-such-driver"), nullptr);
    EXPECT_EQ(os::LoadModule(std::string(os::kMaxPath, 'x').c_str()), nullptr);
    EXPECT_EQ(os::ModuleSymbol(nullptr, "eDO"), nullptr);
    uint8_t record[132] = {};
    uint32_t output = 0x20000000;
    EXPECT_FALSE(os::KernelDeviceRequest("\\\\.\\windrvr6", 0x95383443, record, sizeof record, &output));
    EXPECT_EQ(output, 0x20000000U);
}

} // namespace
