// What only POSIX systems need: paths with drive letter and backslashes; what becomes of settings files and
// whole files when the system fails.
#include "tests/os/files.h"
#include "tests/support/system.h"

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

TEST(Path, OnlyDriveAndSeparatorsChangeIntoWhatFits) {
    SetVariable("K274_DRIVE_C", "/d");
    for (const auto &row : Table("os/paths.txt"))
        EXPECT_EQ(Native(row[0], row.size() > 2 ? std::stoul(row[2]) : os::kMaxPath), row[1]) << row[0];
    EXPECT_FALSE(os::NativePath("abc", nullptr, 0));
    SetVariable("K274_DRIVE_C", std::string(os::kMaxPath, 'd').c_str());
    EXPECT_EQ(Native("C:\\x"), "-");
}

TEST(Path, DirectoryBehindTheDrive) {
    for (const auto &row : Table("os/drives.txt")) {
        const char *const names[] = {"K274_DRIVE_C", "XDG_DATA_HOME", "HOME"};
        for (size_t k = 0; k < 3; ++k)
            SetVariable(names[k], row[k] == "-" ? nullptr : row[k].c_str());
        EXPECT_EQ(Native("C:\\x"), row[3]);
    }
}

constexpr size_t kMaxFile = 1048576;

TEST_F(Profile, WhatIsNoSettingsFileReadsAsAbsent) {
    const std::string pipe = directory_.File("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string &path : {std::string(os::kMaxPath, 'x'), pipe, directory_.Path().string()})
        EXPECT_EQ(os::ReadProfileInt(path.c_str(), "Demo", "Num", -5), -5) << path;
    EXPECT_FALSE(os::WriteProfileText(pipe.c_str(), "Demo", "Num", "1"));
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
    EXPECT_EQ(Entries(directory_), 1);
}

// A scan reads while the host saves: every read finds a whole file, and no writer undoes another's key.
TEST_F(Profile, ReadersAndWritersAtOnce) {
    constexpr int kRounds = 30;
    WriteText(path_, "[Demo]\nNum=7\n");
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
    const TempFolder directory;
    // As long a name as there can be: the new file beside it needs one of its own.
    const std::string path = directory.File(std::string(255, 'n')), link = directory.File("link");
    WriteText(path, "old");
    ASSERT_EQ(chmod(path.c_str(), 0604), 0);
    std::filesystem::create_symlink(std::string(255, 'n'), link);
    EXPECT_EQ(WriteWhole(link, "new"), os::FileWrite::Done);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(ReadText(path), "new");
    struct stat status;
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0604U);
}

TEST(WholeFile, FullDiskLeavesTheOldOne) {
    const TempFolder directory;
    const std::string path = directory.File("a");
    WriteText(path, "old");
    {
        const SmallDisk disk(100);
        EXPECT_EQ(WriteWhole(path, std::string(101, 'x')), os::FileWrite::Incomplete);
        EXPECT_EQ(WriteWhole(directory.File("b"), std::string(101, 'x')), os::FileWrite::Incomplete);
    }
    EXPECT_EQ(ReadText(path), "old");
    EXPECT_EQ(Entries(directory), 1);
}

TEST(WholeFile, DevicesAreWrittenAsTheyAre) {
    EXPECT_EQ(WriteWhole("/dev/null", "text"), os::FileWrite::Done);
    EXPECT_EQ(WriteWhole("/dev/full", "text"), os::FileWrite::Incomplete);
}

} // namespace
