// Settings files in the manner of private profiles: what is read from well-kept and from damaged files, and
// that writing changes one entry and loses nothing.
#include "platform/os/os.h"
#include "tests/os/small_disk.h"
#include "tests/os/temp_dir.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>

namespace {

constexpr size_t kMaxFile = 1048576;

class Profile : public testing::Test {
protected:
    std::string Text(const std::string &file, const char *key = "Name", size_t size = 64) {
        PutFile(path_, file);
        std::string buffer(size + 1, '#');
        os::ReadProfileText(path_.c_str(), "Demo", key, "absent", buffer.data(), size);
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
        EXPECT_EQ(FilesBeside(), 1);
        if (done)
            return TakeFile(path_);
        EXPECT_EQ(TakeFile(path_), file);
        return "refused";
    }

    std::ptrdiff_t FilesBeside() const {
        return std::distance(std::filesystem::directory_iterator(directory_.Path()), {});
    }

    TempDir directory_;
    std::string path_ = directory_.File("K274.ini");
};

TEST_F(Profile, ReadsText) {
    using namespace std::string_literals;
    const struct {
        std::string file, text;
    } cases[] = {
        {"[Demo]\r\nName=Scan\r\n", "Scan"},
        {"[Demo]\nName=Scan", "Scan"},
        {" [ dEMO ] ; note\n\t nAME \t=\t two words \r\n", "two words"},
        {"[Demo]\nName=\"  kept  \"\n", "  kept  "},
        {"[Demo]\nName='a\"'\n", "a\""},
        {"[Demo]\nName=\"\"twice\"\"\n", "\"twice\""},
        {"[Demo]\nName=\"half\n", "\"half"},
        {"[Demo]\nName=\"\n", "\""},
        {"[Demo]\nName=a=b\n", "a=b"},
        {"[Demo]\nName=\nName=second\n", ""},
        {"[Demo]\nName\nName=after\n", "after"},
        {"[Demo]\n;Name=old\nNames=x\nNam=y\nName=first\nName=second\n", "first"},
        {"Name=outside\n[Other]\nName=other\n[Demo]\nName=own\n", "own"},
        {"[Demo]\nX=1\n[Other]\nName=other\n", "absent"},
        {"[Demo]\nX=1\n[Other]\n[Demo]\nName=late\n", "absent"},
        {"[Demo\nName=x\n", "absent"},
        {"[Demos]\nName=x\n[]\nName=y\n", "absent"},
        {"\xEF\xBB\xBF[Demo]\nName=mark\n", "mark"},
        {"[Demo]\n\xFF\xFE=\x01\nName=\xE4\xF6\n", "\xE4\xF6"},
        {"\0[Demo]\nName=x\n"s, "absent"},
        {"[Demo]\nNa\0me=x\nName=ab\0cd\n"s, "ab"},
        {"", "absent"},
        {"[Demo]", "absent"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(Text(c.file), c.text) << c.file;
    EXPECT_EQ(Text("[Demo]\nName=ABCDEFGHIJ\n", "Name", 8), "ABCDEFG");
    EXPECT_EQ(Text("[Demo]\nName=x\n", "Other", 4), "abs");
    EXPECT_EQ(Text("[Demo]\nName=x\n", "Name", 1), "");
}

TEST_F(Profile, ReadsIntegers) {
    const struct {
        const char *text;
        int32_t value;
    } cases[] = {
        {"7", 7},
        {"-3", -3},
        {"+12", 12},
        {"007abc", 7},
        {"\"41\"", 41},
        {"12 34", 12},
        {"", 0},
        {"abc", 0},
        {"--1", 0},
        {"- 1", 0},
        {"2147483647", INT32_MAX},
        {"2147483648", INT32_MAX},
        {"-2147483648", INT32_MIN},
        {"-99999999999999999999999999", INT32_MIN},
        {"99999999999999999999999999", INT32_MAX},
    };
    for (const auto &c : cases)
        EXPECT_EQ(Int(std::string("[Demo]\r\nNum = ") + c.text + "\r\n"), c.value) << c.text;
    EXPECT_EQ(Int("[Demo]\nNum\n"), -77);
}

TEST_F(Profile, WhatIsNoSettingsFileReadsAsAbsent) {
    char text[8];
    const auto read = [&](const std::string &path) {
        os::ReadProfileText(path.c_str(), "Demo", "Name", nullptr, text, sizeof text);
        EXPECT_STREQ(text, "") << path;
        EXPECT_EQ(os::ReadProfileInt(path.c_str(), "Demo", "Num", -5), -5) << path;
        EXPECT_FALSE(os::WriteProfileText((path + "/x").c_str(), "Demo", "Num", "1"));
    };
    read(directory_.File("missing"));
    read(std::string(os::kMaxPath, 'x'));
    const std::string pipe = directory_.File("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    read(pipe);
    EXPECT_FALSE(os::WriteProfileText(pipe.c_str(), "Demo", "Num", "1"));
    os::ReadProfileText(directory_.Path().c_str(), "Demo", "Name", "here", text, sizeof text);
    EXPECT_STREQ(text, "here");
}

TEST_F(Profile, WritesOneEntryAndKeepsEveryOtherByte) {
    const struct {
        const char *before, *after;
    } cases[] = {
        {"[Demo]\r\nNum=7\r\nName=x\r\n", "[Demo]\r\nNum=8\r\nName=x\r\n"},
        {"; top\n\n[demo]\n  num =  99999  \n\n[Z]\nNum=1", "; top\n\n[demo]\n  num =  8  \n\n[Z]\nNum=1"},
        {"[Demo]\nNum=\"7\"\nNum=6\n", "[Demo]\nNum=8\nNum=6\n"},
        {"[Demo]\nNum=\nX=1", "[Demo]\nNum=8\nX=1"},
        {"[Demo]\nNum=7", "[Demo]\nNum=8"},
        {"[A]\nNum=1\n[Demo]\nX=1\n; note\n\n\n[B]\n", "[A]\nNum=1\n[Demo]\nX=1\n; note\nNum=8\n\n\n[B]\n"},
        {"[Demo]\r\n[B]\r\n", "[Demo]\r\nNum=8\r\n[B]\r\n"},
        {"[A]\n[Demo]", "[A]\n[Demo]\nNum=8\n"},
        {"[Demo]\nX=1\n\n\n", "[Demo]\nX=1\nNum=8\n\n\n"},
        {"[A]\nx=1\n", "[A]\nx=1\n[Demo]\nNum=8\n"},
        {"[A]\r\nx=1", "[A]\r\nx=1\r\n[Demo]\r\nNum=8\r\n"},
        {"", "[Demo]\r\nNum=8\r\n"},
        {"[Demo]\nX=1\n[A]\n[Demo]\nNum=7\n", "[Demo]\nX=1\nNum=8\n[A]\n[Demo]\nNum=7\n"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(Written(c.before, "Demo", "Num", "8"), c.after) << c.before;
        EXPECT_EQ(os::ReadProfileInt(path_.c_str(), "Demo", "Num", 0), 8);
    }
    const std::string garbage("\0\xFF\n[\n=\n]\0[Demo]\n\r\r\n", 19);
    EXPECT_EQ(Written(garbage, "Demo", "Num", "8"), garbage + "[Demo]\nNum=8\n");
}

TEST_F(Profile, RefusesWhatCouldNotBeReadBack) {
    const struct {
        const char *section, *key, *text;
    } cases[] = {
        {"", "Num", "1"},       {"De]mo", "Num", "1"},    {"Demo\n", "Num", "1"}, {" Demo", "Num", "1"},
        {"Demo", "", "1"},      {"Demo", "N=m", "1"},     {"Demo", "N\rm", "1"},  {"Demo", "Num ", "1"},
        {"Demo", "[Num", "1"},  {"Demo", "Num", "1\n2"},  {"Demo", "Num", "1\r"}, {nullptr, "Num", "1"},
        {"Demo", nullptr, "1"}, {"Demo", "Num", nullptr},
    };
    for (const auto &c : cases)
        EXPECT_EQ(Written("[Demo]\nNum=7\n", c.section, c.key, c.text), "refused");
    EXPECT_EQ(Written("[Demo]\nNum=7\n", "Demo", "Num", ""), "[Demo]\nNum=\n");
}

TEST_F(Profile, FilesOfMoreThanTheLimitAreLeftAlone) {
    const std::string head = "[Demo]\nNum=7\nName=x\n";
    std::string file = head + std::string(kMaxFile - head.size(), ';');
    EXPECT_EQ(Int(file), 7);
    EXPECT_EQ(Written(file, "Demo", "Num", "10"), "refused"); // one byte too many
    EXPECT_EQ(Written(file, "Demo", "Num", "9").substr(0, 13), "[Demo]\nNum=9\n");
    file += ';';
    EXPECT_EQ(Int(file), -77);
    EXPECT_EQ(Written(file, "Demo", "Num", "9"), "refused");
}

TEST_F(Profile, CreatesMissingFiles) {
    ASSERT_TRUE(os::WriteProfileText(path_.c_str(), "Demo", "Num", "1"));
    EXPECT_EQ(TakeFile(path_), "[Demo]\r\nNum=1\r\n");
}

TEST_F(Profile, FullDiskLosesNothing) {
    PutFile(path_, "[Demo]\nNum=7\n");
    const SmallDisk disk(20);
    EXPECT_FALSE(os::WriteProfileText(path_.c_str(), "Demo", "Num", "1234567890"));
    EXPECT_FALSE(os::WriteProfileText(directory_.File("new.ini").c_str(), "Demo", "Num", "1234567890"));
    EXPECT_EQ(TakeFile(path_), "[Demo]\nNum=7\n");
    EXPECT_EQ(FilesBeside(), 1);
}

// A scan reads while the host saves: every read finds a whole file, and no writer undoes another's key.
TEST_F(Profile, ReadersAndWritersAtOnce) {
    constexpr int kRounds = 30;
    PutFile(path_, "[Demo]\nName=Scan\n");
    const auto write = [&](const char *key) {
        for (int i = 1; i <= kRounds; ++i)
            EXPECT_TRUE(os::WriteProfileText(path_.c_str(), "Demo", key, std::to_string(i).c_str()));
    };
    std::thread first(write, "A"), second(write, "B");
    for (int i = 0; i < kRounds; ++i) {
        char text[16];
        os::ReadProfileText(path_.c_str(), "Demo", "Name", "lost", text, sizeof text);
        EXPECT_STREQ(text, "Scan");
    }
    first.join();
    second.join();
    EXPECT_EQ(os::ReadProfileInt(path_.c_str(), "Demo", "A", 0), kRounds);
    EXPECT_EQ(os::ReadProfileInt(path_.c_str(), "Demo", "B", 0), kRounds);
}

} // namespace
