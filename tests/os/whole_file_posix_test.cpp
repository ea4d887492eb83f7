// What replacing a whole file keeps on POSIX systems, and that a failure leaves the old one.
#include "platform/os/os.h"
#include "tests/os/small_disk.h"
#include "tests/os/temp_dir.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

os::FileWrite WriteText(const std::string &path, const std::string &text) {
    return os::WriteWholeFile(path.c_str(), reinterpret_cast<const uint8_t *>(text.data()), text.size());
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
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory.Path()), {}), 1);
}

TEST(WholeFile, DevicesAreWrittenAsTheyAre) {
    EXPECT_EQ(WriteText("/dev/null", "text"), os::FileWrite::Done);
    EXPECT_EQ(WriteText("/dev/full", "text"), os::FileWrite::Incomplete);
}

} // namespace
