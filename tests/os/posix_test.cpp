// What only POSIX systems need: paths with drive letter and backslashes; settings files in the manner of
// private profiles; whole files replaced so that a failure leaves the old one.
#include "tests/os/temp_dir.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

namespace {

// While it lives, no file of this process can grow past a limit: writes then fail as on a full disk.
class SmallDisk {
public:
    explicit SmallDisk(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit small{bytes, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~SmallDisk() {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;

private:
    void (*handler_)(int);
    rlimit before_{};
};

void Set(const char *name, const char *value) { value ? setenv(name, value, 1) : unsetenv(name); }

/// The path as the system's; "-" when it is refused.
std::string Native(const std::string &path, size_t size = os::kMaxPath) {
    std::string buffer(size + 1, '#');
    const bool done = os::NativePath(path.c_str(), buffer.data(), size);
    EXPECT_EQ(buffer[size], '#') << path;
    const std::string text(buffer.data()); // up to the terminator
    EXPECT_TRUE(done || text.empty()) << path << " left " << text;
    return done ? text : "-";
}

TEST(Path, OnlyDriveAndSeparatorsChangeIntoWhatFits) {
    constexpr size_t kAmple = os::kMaxPath;
    const struct {
        const char *path, *native;
        size_t size = kAmple;
    } cases[] = {
        {"C:\\K274\\Tif\\A001.tif", "/d/K274/Tif/A001.tif"},
        {"C:\\K274/mixed\\C:\\x", "/d/K274/mixed/C:/x"},
        {"c:\\K274\\x", "c:/K274/x"},
        {"C:/K274/x", "C:/K274/x"},
        {"D:\\x", "D:/x"},
        {"/var/log/\\K274.ini", "/var/log//K274.ini"},
        {"", "", 1},
        {"C:\\abc", "/d/abc", 7},
        {"C:\\abc", "-", 6},
        {"C:\\abc", "-", 3},
        {"C:\\", "/d/", 4},
        {"C:\\", "-", 3},
        {"abc", "abc", 4},
        {"abc", "-", 3},
    };
    Set("K274_DRIVE_C", "/d");
    for (const auto &c : cases)
        EXPECT_EQ(Native(c.path, c.size), c.native) << c.path << ' ' << c.size;
    EXPECT_FALSE(os::NativePath("abc", nullptr, 0));
    Set("K274_DRIVE_C", std::string(os::kMaxPath, 'd').c_str());
    EXPECT_EQ(Native("C:\\x"), "-");
}

TEST(Path, DirectoryBehindTheDrive) {
    const char *const cases[][4] = {
        // drive, data, home; native
        {"relative", "/data", "/home/u", "relative/x"},
        {nullptr, "/data", "/home/u", "/data/k274/drive_c/x"},
        {"", "/data", "/home/u", "/data/k274/drive_c/x"},
        {nullptr, nullptr, "/home/u", "/home/u/.local/share/k274/drive_c/x"},
        {nullptr, "data", "/home/u", "/home/u/.local/share/k274/drive_c/x"},
        {nullptr, nullptr, nullptr, "-"},
        {nullptr, "", "", "-"},
    };
    for (const auto &[drive, data, home, native] : cases) {
        Set("K274_DRIVE_C", drive);
        Set("XDG_DATA_HOME", data);
        Set("HOME", home);
        EXPECT_EQ(Native("C:\\x"), native);
    }
}

constexpr size_t kMaxFile = 1048576;

class Profile : public testing::Test {
protected:
    std::string Text(const std::string &file, size_t size = 64) {
        PutFile(path_, file);
        std::string buffer(size + 1, '#');
        os::ReadProfileText(path_.c_str(), "Demo", "Name", "absent", buffer.data(), size);
        EXPECT_EQ(buffer[size], '#');
        return std::string(buffer.data());
    }

    int32_t Int(const std::string &file) {
        PutFile(path_, file);
        return os::ReadProfileInt(path_.c_str(), "Demo", "Num", -77);
    }

    /// The file after the entry was written to it; "refused" when it was not, and was left alone.
    std::string Written(const std::string &file, const char *section, const char *key, const char *text) {
        PutFile(path_, file);
        const bool done = os::WriteProfileText(path_.c_str(), section, key, text);
        EXPECT_TRUE(done || TakeFile(path_) == file);
        EXPECT_EQ(directory_.Entries(), 1);
        return done ? TakeFile(path_) : "refused";
    }

    TempDir directory_;
    std::string path_ = directory_.File("K274.ini");
};

TEST_F(Profile, Reads) {
    using namespace std::string_literals;
    const std::pair<std::string, std::string> texts[] = {
        {"[Demo]\r\nName=Scan\r\n", "Scan"},
        {"[Demo]\nName=Scan", "Scan"},
        {" [ dEMO ] ; note\n\t nAME \t=\t two words \r\n", "two words"},
        {"[Demo]\nName=\"  kept  \"\n", "  kept  "},
        {"[Demo]\nName='a\"'\n", "a\""},
        {"[Demo]\nName=\"\n", "\""},
        {"[Demo]\nName=\nName=second\n", ""},
        {"[Demo]\n;Name=old\nNames=x\nNam=y\nName=first\nName=second\n", "first"},
        {"Name=outside\n[Other]\nName=other\n[Demo]\nName=own\n", "own"},
        {"[Demo]\nX=1\n[Other]\nName=other\n[Demo]\nName=late\n", "absent"},
        {"[Demo\nName=x\n[Demos]\nName=x\n[]\nName=y\n", "absent"},
        {"\xEF\xBB\xBF[Demo]\n\xFF\xFE=\x01\nName=\xE4\xF6\n", "\xE4\xF6"},
        {"\0[Demo]\nName=x\n"s, "absent"},
        {"[Demo]\nNa\0me=x\nName=ab\0cd\n"s, "ab"},
        {"", "absent"}};
    for (const auto &[file, text] : texts)
        EXPECT_EQ(Text(file), text) << file;
    EXPECT_EQ(Text("[Demo]\nName=ABCDEFGHIJ\n", 8), "ABCDEFG");
    EXPECT_EQ(Text("[Demo]\nName=x\n", 1), "");
    const std::pair<const char *, int32_t> numbers[] = {{"-3", -3},
                                                        {"+12", 12},
                                                        {"007abc", 7},
                                                        {"\"41\"", 41},
                                                        {"", 0},
                                                        {"--1", 0},
                                                        {"- 1", 0},
                                                        {"2147483647", INT32_MAX},
                                                        {"2147483648", INT32_MAX},
                                                        {"-99999999999999999999999999", INT32_MIN}};
    for (const auto &[text, number] : numbers)
        EXPECT_EQ(Int(std::string("[Demo]\r\nNum = ") + text + "\r\n"), number) << text;
    EXPECT_EQ(Int("[Demo]\nNum\n"), -77);
}

TEST_F(Profile, WhatIsNoSettingsFileReadsAsAbsent) {
    const std::string pipe = directory_.File("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string &path :
         {directory_.File("missing"), std::string(os::kMaxPath, 'x'), pipe, directory_.Path().string()})
        EXPECT_EQ(os::ReadProfileInt(path.c_str(), "Demo", "Num", -5), -5) << path;
    EXPECT_FALSE(os::WriteProfileText(pipe.c_str(), "Demo", "Num", "1"));
    EXPECT_FALSE(os::WriteProfileText(directory_.File("missing/x").c_str(), "Demo", "Num", "1"));
}

TEST_F(Profile, WritesOneEntryAndKeepsEveryOtherByte) {
    using namespace std::string_literals;
    const std::pair<std::string, std::string> cases[] = {
        {"[Demo]\r\nNum=7\r\nName=x\r\n", "[Demo]\r\nNum=8\r\nName=x\r\n"},
        {"; top\n\n[demo]\n  num =  99999  \n\n[Z]\nNum=1", "; top\n\n[demo]\n  num =  8  \n\n[Z]\nNum=1"},
        {"[Demo]\nNum=\"7\"\nNum=6\n", "[Demo]\nNum=8\nNum=6\n"},
        {"[Demo]\nNum=7", "[Demo]\nNum=8"},
        {"[A]\nNum=1\n[Demo]\nX=1\n; note\n\n\n[B]\n", "[A]\nNum=1\n[Demo]\nX=1\n; note\nNum=8\n\n\n[B]\n"},
        {"[Demo]\r\n[B]\r\n", "[Demo]\r\nNum=8\r\n[B]\r\n"},
        {"[A]\n[Demo]", "[A]\n[Demo]\nNum=8\n"},
        {"[A]\r\nx=1", "[A]\r\nx=1\r\n[Demo]\r\nNum=8\r\n"},
        {"", "[Demo]\r\nNum=8\r\n"},
        {"[Demo]\nX=1\n[A]\n[Demo]\nNum=7\n", "[Demo]\nX=1\nNum=8\n[A]\n[Demo]\nNum=7\n"},
        {"\0\xFF\n[\n=\n]\0[Demo]\n\r\r\n"s, "\0\xFF\n[\n=\n]\0[Demo]\n\r\r\n[Demo]\nNum=8\n"s}};
    for (const auto &[before, after] : cases)
        EXPECT_EQ(Written(before, "Demo", "Num", "8"), after) << before;
    // Nothing that could not be read back.
    const char *const refused[][3] = {{"", "Num", "1"},       {"De]mo", "Num", "1"},   {" Demo", "Num", "1"},
                                      {"Demo", "", "1"},      {"Demo", "N=m", "1"},    {"Demo", "N\rm", "1"},
                                      {"Demo", "[Num", "1"},  {"Demo", "Num", "1\r"},  {nullptr, "Num", "1"},
                                      {"Demo", nullptr, "1"}, {"Demo", "Num", nullptr}};
    for (const auto &[section, key, text] : refused)
        EXPECT_EQ(Written("[Demo]\nNum=7\n", section, key, text), "refused");
}

TEST_F(Profile, FilesOfMoreThanTheLimitAreLeftAlone) {
    std::string file = "[Demo]\nNum=7\n";
    file.resize(kMaxFile, ';');
    EXPECT_EQ(Int(file), 7);
    EXPECT_EQ(Written(file, "Demo", "Num", "10"), "refused"); // one byte too many
    EXPECT_EQ(Written(file, "Demo", "Num", "9").substr(0, 13), "[Demo]\nNum=9\n");
    EXPECT_EQ(Int(file + ';'), -77);
}

TEST_F(Profile, FullDiskLosesNothing) {
    const SmallDisk disk(20);
    EXPECT_EQ(Written("[Demo]\nNum=7\n", "Demo", "Num", "1234567890"), "refused");
    EXPECT_FALSE(os::WriteProfileText(directory_.File("new.ini").c_str(), "Demo", "Num", "1234567890"));
    EXPECT_EQ(directory_.Entries(), 1);
}

// A scan reads while the host saves: every read finds a whole file, and no writer undoes another's key.
TEST_F(Profile, ReadersAndWritersAtOnce) {
    constexpr int kRounds = 30;
    PutFile(path_, "[Demo]\nNum=7\n");
    const auto write = [&](const char *key) {
        for (int i = 1; i <= kRounds; ++i)
            EXPECT_TRUE(os::WriteProfileText(path_.c_str(), "Demo", key, std::to_string(i).c_str()));
    };
    std::thread first(write, "A"), second(write, "B");
    for (int i = 0; i < kRounds; ++i)
        EXPECT_EQ(os::ReadProfileInt(path_.c_str(), "Demo", "Num", 0), 7);
    first.join();
    second.join();
    EXPECT_EQ(os::ReadProfileInt(path_.c_str(), "Demo", "A", 0), kRounds);
    EXPECT_EQ(os::ReadProfileInt(path_.c_str(), "Demo", "B", 0), kRounds);
}

TEST(WholeFile, KeepsModeAndLinkOfTheOldOne) {
    const TempDir directory;
    // As long a name as there can be: the new file beside it needs one of its own.
    const std::string path = directory.File(std::string(255, 'n')), link = directory.File("link");
    PutFile(path, "old");
    ASSERT_EQ(chmod(path.c_str(), 0604), 0);
    std::filesystem::create_symlink(std::string(255, 'n'), link);
    EXPECT_EQ(WriteText(link, "new"), os::FileWrite::Done);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(TakeFile(path), "new");
    struct stat status;
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0604U);
}

TEST(WholeFile, FullDiskLeavesTheOldOne) {
    const TempDir directory;
    const std::string path = directory.File("a");
    PutFile(path, "old");
    {
        const SmallDisk disk(100);
        EXPECT_EQ(WriteText(path, std::string(101, 'x')), os::FileWrite::Incomplete);
        EXPECT_EQ(WriteText(directory.File("b"), std::string(101, 'x')), os::FileWrite::Incomplete);
    }
    EXPECT_EQ(TakeFile(path), "old");
    EXPECT_EQ(directory.Entries(), 1);
}

TEST(WholeFile, DevicesAreWrittenAsTheyAre) {
    EXPECT_EQ(WriteText("/dev/null", "text"), os::FileWrite::Done);
    EXPECT_EQ(WriteText("/dev/full", "text"), os::FileWrite::Incomplete);
}

} // namespace
