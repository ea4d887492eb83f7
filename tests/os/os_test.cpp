// Files, locks, threads, resources and modules, as every system gives them.
#include "platform/os/os.h"
#include "tests/os/temp_dir.h"

#include <chrono>
#include <condition_variable>
#include <future>
#include <gtest/gtest.h>
#include <mutex>
#include <thread>
#include <vector>

namespace {

TEST(File, TruncateCreatesAndAppendDoesNot) {
    const TempDir directory;
    const std::string path = directory.File("a.log");
    EXPECT_FALSE(os::AppendToFile(path.c_str(), "x", 1));
    EXPECT_FALSE(std::filesystem::exists(path));

    EXPECT_TRUE(os::TruncateFile(path.c_str()));
    EXPECT_TRUE(os::AppendToFile(path.c_str(), "one\r\n", 5));
    EXPECT_TRUE(os::AppendToFile(path.c_str(), "two\n\0", 5));
    EXPECT_TRUE(os::AppendToFile(path.c_str(), "", 0));
    EXPECT_EQ(TakeFile(path), std::string("one\r\ntwo\n\0", 10));
    EXPECT_TRUE(os::TruncateFile(path.c_str()));
    EXPECT_EQ(TakeFile(path), "");

    const std::string missing = directory.File("none/a.log");
    EXPECT_FALSE(os::TruncateFile(missing.c_str()));
    EXPECT_FALSE(os::TruncateFile(directory.Path().string().c_str()));
    EXPECT_FALSE(os::AppendToFile(directory.Path().string().c_str(), "x", 1));
    EXPECT_FALSE(os::TruncateFile(std::string(os::kMaxPath, 'x').c_str()));
}

TEST(File, IsSharedWithReadersAndWriters) {
    const TempDir directory;
    const std::string path = directory.File("a.log");
    ASSERT_TRUE(os::TruncateFile(path.c_str()));
    std::ofstream other(path, std::ios::binary | std::ios::app);
    std::ifstream reader(path, std::ios::binary);
    EXPECT_TRUE(os::AppendToFile(path.c_str(), "mine,", 5));
    other << "other," << std::flush;
    EXPECT_TRUE(os::AppendToFile(path.c_str(), "mine", 4));
    std::string text;
    reader >> text;
    EXPECT_EQ(text, "mine,other,mine");
}

os::FileWrite WriteText(const std::string &path, const std::string &text) {
    return os::WriteWholeFile(path.c_str(), reinterpret_cast<const uint8_t *>(text.data()), text.size());
}

TEST(File, IsReadAndWrittenWhole) {
    const TempDir directory;
    const std::string path = directory.File("a.tif");
    const std::string text("one\0two\r\n", 9);
    size_t count = 99;
    uint8_t buffer[12] = {};
    EXPECT_FALSE(os::ReadFileInto(path.c_str(), buffer, sizeof buffer, &count));
    EXPECT_EQ(count, 0U);

    EXPECT_EQ(WriteText(path, "a longer text that goes"), os::FileWrite::Done);
    EXPECT_EQ(WriteText(path, text), os::FileWrite::Done);
    EXPECT_EQ(TakeFile(path), text);
    ASSERT_TRUE(os::ReadFileInto(path.c_str(), buffer, sizeof buffer, &count));
    EXPECT_EQ(std::string(reinterpret_cast<char *>(buffer), count), text);
    buffer[4] = '#';
    ASSERT_TRUE(os::ReadFileInto(path.c_str(), buffer, 4, &count));
    EXPECT_EQ(count, 4U);
    EXPECT_EQ(buffer[4], '#');

    EXPECT_EQ(WriteText(directory.File("none/a.tif"), text), os::FileWrite::NotCreated);
    EXPECT_EQ(WriteText(directory.Path().string(), text), os::FileWrite::NotCreated);
    EXPECT_EQ(WriteText("", text), os::FileWrite::NotCreated);
    EXPECT_FALSE(os::ReadFileInto(directory.Path().string().c_str(), buffer, sizeof buffer, &count));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory.Path()), {}), 1);
}

TEST(SettingsFile, OneKeyIsReadAndWritten) {
    const TempDir directory;
    const std::string path = directory.File("K274.ini");
    char name[8];
    os::ReadProfileText(path.c_str(), "Demo", "AutoSaveName", "", name, sizeof name);
    EXPECT_STREQ(name, "");
    EXPECT_EQ(os::ReadProfileInt(path.c_str(), "Demo", "AutoSaveNum", 4), 4);

    PutFile(path, "; mine\r\n[Demo]\r\nAutoSaveName=ABCDEFGHIJ\r\nautosavenum = -3\r\n[Other]\r\nX=1\r\n");
    os::ReadProfileText(path.c_str(), "demo", "AutoSaveName", "", name, sizeof name);
    EXPECT_STREQ(name, "ABCDEFG");
    EXPECT_EQ(os::ReadProfileInt(path.c_str(), "Demo", "AutoSaveNum", 4), -3);

    EXPECT_TRUE(os::WriteProfileText(path.c_str(), "Demo", "AutoSaveNum", "1000"));
    EXPECT_FALSE(os::WriteProfileText(path.c_str(), "Demo", "AutoSaveNum", "1\r\n[Other]"));
    EXPECT_EQ(os::ReadProfileInt(path.c_str(), "Demo", "AutoSaveNum", 4), 1000);
    EXPECT_EQ(os::ReadProfileInt(path.c_str(), "Other", "X", 4), 1);
    EXPECT_EQ(TakeFile(path).substr(0, 8), "; mine\r\n");
}

TEST(CurrentDirectory, IsWholeOrEmpty) {
    const std::string expected = std::filesystem::current_path().string();
    std::string text(expected.size() + 2, '#');
    os::CurrentDirectory(text.data(), expected.size() + 1);
    EXPECT_EQ(text.c_str(), expected);
    EXPECT_EQ(text.back(), '#');
    os::CurrentDirectory(text.data(), expected.size());
    EXPECT_STREQ(text.c_str(), "");
}

TEST(Now, IsACalendarTime) {
    const os::LocalTime now = os::Now();
    EXPECT_GT(now.year, 2020);
    EXPECT_TRUE(now.month >= 1 && now.month <= 12 && now.day >= 1 && now.day <= 31);
    // The weekday belongs to the date (Sakamoto's rule).
    constexpr int kShift[] = {0, 3, 2, 5, 0, 3, 5, 1, 4, 6, 2, 4};
    const int y = now.year - (now.month < 3 ? 1 : 0);
    EXPECT_EQ(now.dayOfWeek, (y + y / 4 - y / 100 + y / 400 + kShift[now.month - 1] + now.day) % 7);
    EXPECT_TRUE(now.hour >= 0 && now.hour < 24 && now.minute >= 0 && now.minute < 60);
    EXPECT_TRUE(now.second >= 0 && now.second <= 60 && now.millisecond >= 0 && now.millisecond < 1000);
}

TEST(Lock, OneThreadTakesItAgainAnotherDoesNot) {
    os::RecursiveLock lock;
    const auto free = [&] {
        return std::async(std::launch::async,
                          [&] {
                              const bool taken = lock.try_lock();
                              if (taken)
                                  lock.unlock();
                              return taken;
                          })
            .get();
    };
    EXPECT_TRUE(free());
    {
        const std::lock_guard<os::RecursiveLock> outer(lock);
        EXPECT_TRUE(lock.try_lock());
        lock.lock();
        EXPECT_FALSE(free());
        lock.unlock();
        lock.unlock();
        EXPECT_FALSE(free()); // the outermost holding counts
    }
    EXPECT_TRUE(free());
}

TEST(Lock, KeepsThreadsApart) {
    constexpr int kThreads = 4, kRounds = 2000;
    os::RecursiveLock lock;
    int count = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; ++round) {
                const std::lock_guard<os::RecursiveLock> hold(lock);
                ++count;
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(count, kThreads * kRounds);
}

// Outlives the thread, as nothing on the test's stack surely does.
struct Report {
    std::mutex lock;
    std::condition_variable changed;
    std::thread::id thread;
} report;

TEST(Thread, RunsItsBodyOnAnotherThread) {
    ASSERT_TRUE(os::StartThread(
        [](void *argument) {
            auto *own = static_cast<Report *>(argument);
            const std::lock_guard<std::mutex> hold(own->lock);
            own->thread = std::this_thread::get_id();
            own->changed.notify_one();
        },
        &report));
    std::unique_lock<std::mutex> hold(report.lock);
    ASSERT_TRUE(report.changed.wait_for(hold, std::chrono::seconds(30),
                                        [] { return report.thread != std::thread::id(); }));
    EXPECT_NE(report.thread, std::this_thread::get_id());
}

/// CRC-32 as in zip files.
uint32_t Crc(const uint8_t *data, size_t size) {
    uint32_t crc = ~0U;
    for (size_t i = 0; i < size; ++i) {
        crc ^= data[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (crc & 1 ? 0xEDB88320U : 0U);
    }
    return ~crc;
}

TEST(Resource, FirmwareImageIsCarriedWhole) {
    const os::Resource image = os::FindResource("FW_IMG", 101);
    ASSERT_NE(image.data, nullptr);
    ASSERT_EQ(image.size, 49588U);
    EXPECT_EQ(Crc(image.data, image.size), 0x405B7F76U); // the stand-in's bytes never change
    EXPECT_EQ(os::FindResource("FW_IMG", 102).data, nullptr);
    EXPECT_EQ(os::FindResource("FW", 101).size, 0U);
}

TEST(Module, AbsentOnesAreNull) {
    EXPECT_EQ(os::LoadModule("k274-no-such-driver"), nullptr);
    EXPECT_EQ(os::LoadModule(std::string(os::kMaxPath, 'x').c_str()), nullptr);
    EXPECT_EQ(os::ModuleSymbol(nullptr, "eDO"), nullptr);
}

TEST(KernelDevice, AbsentOneCannotBeOpened) {
    uint8_t record[132] = {};
    uint32_t output = 0x20000000;
    EXPECT_FALSE(os::KernelDeviceRequest("\\\\.\\windrvr6", 0x95383443, record, sizeof record, &output));
    EXPECT_EQ(output, 0x20000000U);
}

} // namespace
