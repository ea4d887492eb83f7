// What only Windows has: settings files by the system's own private profiles, paths as they stand, files that
// others hold open.
#include "tests/os/files.h"

#include <gtest/gtest.h>
#include <thread>
#include <windows.h>

namespace {

TEST(Path, IsTakenAsItStands) {
    for (const char *path : {"C:\\K274\\Tif\\A001.tif", "\\\\server\\share\\x", "D:/x", ""}) {
        char native[os::kMaxPath];
        EXPECT_TRUE(os::NativePath(path, native, sizeof native));
        EXPECT_STREQ(native, path);
    }
    char small[4] = "###";
    EXPECT_FALSE(os::NativePath("abcd", small, sizeof small));
    EXPECT_STREQ(small, "");
    EXPECT_FALSE(os::NativePath(nullptr, small, sizeof small));
}

class Profile : public testing::Test {
protected:
    std::string Text(const char *key, size_t size = 64) {
        std::string buffer(size + 1, '#');
        os::ReadProfileText(path_.c_str(), "Demo", key, "absent", buffer.data(), size);
        EXPECT_EQ(buffer[size], '#');
        return std::string(buffer.data());
    }
    int32_t Int(const char *key) { return os::ReadProfileInt(path_.c_str(), "Demo", key, -77); }

    TempFolder directory_;
    std::string path_ = directory_.File("K274.ini");
};

TEST_F(Profile, Reads) {
    WriteText(path_,
              "; top\r\n[Other]\r\nName=other\r\n[dEMO]\r\n nAME = two words \r\nQuoted=\"  kept  \"\r\n"
              "Name=second\r\nNum=-3\r\nPlus=12abc\r\nNone=\r\nLong=ABCDEFGHIJ\r\n");
    EXPECT_EQ(Text("Name"), "two words");
    EXPECT_EQ(Text("Quoted"), "  kept  ");
    EXPECT_EQ(Text("None"), "");
    EXPECT_EQ(Text("Absent"), "absent");
    EXPECT_EQ(Text("Long", 8), "ABCDEFG");
    EXPECT_EQ(Text("Long", 1), "");
    EXPECT_EQ(Int("Num"), -3);
    EXPECT_EQ(Int("Plus"), 12);
    EXPECT_EQ(Int("Name"), 0);
    EXPECT_EQ(Int("Absent"), -77);
    path_ = directory_.File("none\\K274.ini");
    EXPECT_EQ(Text("Name"), "absent");
    EXPECT_EQ(Int("Num"), -77);
}

TEST_F(Profile, WritesOneEntryAndKeepsTheOthers) {
    EXPECT_TRUE(os::WriteProfileText(path_.c_str(), "Demo", "Num", "7")); // makes the file
    EXPECT_EQ(Int("Num"), 7);
    WriteText(path_, "; top\r\n[Other]\r\nNum=1\r\n[Demo]\r\nNum=7\r\nName=x\r\n");
    EXPECT_TRUE(os::WriteProfileText(path_.c_str(), "Demo", "Num", "8"));
    EXPECT_TRUE(os::WriteProfileText(path_.c_str(), "Demo", "New", "y"));
    EXPECT_EQ(Int("Num"), 8);
    EXPECT_EQ(Text("Name"), "x");
    EXPECT_EQ(Text("New"), "y");
    EXPECT_EQ(os::ReadProfileInt(path_.c_str(), "Other", "Num", 0), 1);
    EXPECT_EQ(ReadText(path_).substr(0, 5), "; top");
    const std::string before = ReadText(path_);
    // To the system a null text removes the key, a null key the section.
    EXPECT_FALSE(os::WriteProfileText(path_.c_str(), "Demo", "Num", nullptr));
    EXPECT_FALSE(os::WriteProfileText(path_.c_str(), "Demo", nullptr, "1"));
    EXPECT_FALSE(os::WriteProfileText(path_.c_str(), "Demo", "Num", "1\r\n[Other]"));
    EXPECT_FALSE(os::WriteProfileText(directory_.File("none\\K274.ini").c_str(), "Demo", "Num", "1"));
    EXPECT_EQ(ReadText(path_), before);
}

TEST_F(Profile, RelativePathsBeginInTheCurrentFolder) {
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(directory_.Path());
    std::filesystem::create_directory("log");
    for (const char *path : {"K274.ini", "log\\K274.ini"}) {
        WriteText(path, "[Demo]\r\nNum=5\r\n");
        path_ = path;
        EXPECT_EQ(Int("Num"), 5) << path;
        EXPECT_EQ(Text("Num"), "5") << path;
        EXPECT_TRUE(os::WriteProfileText(path, "Demo", "Num", "6"));
        EXPECT_EQ(ReadText(path), "[Demo]\r\nNum=6\r\n") << path;
    }
    std::filesystem::current_path(before);
}

TEST(WholeFile, OneThatOthersHoldStaysAsItWas) {
    const TempFolder directory;
    const std::string path = directory.File("a.tif");
    WriteText(path, "old");
    const HANDLE held =
        CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    EXPECT_EQ(WriteWhole(path, "new"), os::FileWrite::NotCreated);
    CloseHandle(held);
    EXPECT_EQ(ReadText(path), "old");
    EXPECT_EQ(Entries(directory), 1);
    EXPECT_EQ(WriteWhole(path, "new"), os::FileWrite::Done);
    EXPECT_EQ(ReadText(path), "new");
}

TEST(WholeFile, DevicesAreWrittenAsTheyAre) { EXPECT_EQ(WriteWhole("NUL", "text"), os::FileWrite::Done); }

TEST(Thread, ItsEndIsCounted) {
    static HANDLE gate = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    const int before = os::RunningThreads();
    ASSERT_TRUE(os::StartThread([](void *) { WaitForSingleObject(gate, INFINITE); }, nullptr));
    EXPECT_EQ(os::RunningThreads(), before + 1);
    SetEvent(gate);
    for (int i = 0; i < 3000 && os::RunningThreads() != before; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    EXPECT_EQ(os::RunningThreads(), before);
}

TEST(Module, DriversAreFoundByTheirBaseName) {
    void *module = os::LoadModule("kernel32");
    ASSERT_NE(module, nullptr);
    EXPECT_NE(os::ModuleSymbol(module, "GetTickCount"), nullptr);
    EXPECT_EQ(os::ModuleSymbol(module, "K274_Init"), nullptr);
}

} // namespace
