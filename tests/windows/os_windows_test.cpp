// What only Windows has: paths as they stand, settings files in the current folder, files that others hold
// open.
#include "tests/os/files.h"

#include <windows.h>

namespace {

TEST(Path, IsTakenAsItStands) {
    for (const char *path : {"C:\\K274\\Tif\\A001.tif", "\\\\server\\share\\x", "D:/x", ""})
        EXPECT_EQ(Native(path), path);
    EXPECT_EQ(Native("abcd", 4), "-");
    char native[os::kMaxPath];
    EXPECT_FALSE(os::NativePath(nullptr, native, sizeof native));
}

TEST_F(Profile, RelativePathsBeginInTheCurrentFolder) {
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(directory_.Path());
    std::filesystem::create_directory("log");
    for (const char *path : {"K274.ini", "log\\K274.ini"}) {
        path_ = path;
        EXPECT_EQ(Int("[Demo]\r\nNum=5\r\n"), 5) << path;
        EXPECT_EQ(Text("[Demo]\r\nName=5\r\n"), "5") << path;
        EXPECT_TRUE(os::WriteProfileText(path, "Demo", "Num", "6"));
        EXPECT_EQ(ReadText(path), "[Demo]\r\nName=5\r\nNum=6\r\n") << path;
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

TEST(Module, DriversAreFoundByTheirBaseName) {
    void *module = os::LoadModule("kernel32");
    ASSERT_NE(module, nullptr);
    EXPECT_NE(os::ModuleSymbol(module, "GetTickCount"), nullptr);
    EXPECT_EQ(os::ModuleSymbol(module, "K274_Init"), nullptr);
}

} // namespace
