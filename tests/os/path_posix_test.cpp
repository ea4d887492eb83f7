// Paths with drive letter and backslashes on systems without either.
#include "platform/os/os.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace {

class Path : public testing::Test {
protected:
    static constexpr const char *kNames[] = {"K274_DRIVE_C", "XDG_DATA_HOME", "HOME"};

    Path() {
        for (size_t i = 0; i < 3; ++i)
            if (const char *value = std::getenv(kNames[i]))
                saved_[i] = value;
    }
    ~Path() override {
        for (size_t i = 0; i < 3; ++i)
            Set(kNames[i], saved_[i] ? saved_[i]->c_str() : nullptr);
    }

    static void Set(const char *name, const char *value) {
        if (value == nullptr)
            unsetenv(name);
        else
            setenv(name, value, 1);
    }

    /// The path as the system's; "-" when it is refused.
    static std::string Native(const std::string &path, size_t size = os::kMaxPath) {
        std::string buffer(size + 1, '#');
        const bool done = os::NativePath(path.c_str(), buffer.data(), size);
        EXPECT_EQ(buffer[size], '#') << path;
        const std::string text(buffer.data()); // up to the terminator
        EXPECT_TRUE(done || text.empty()) << path << " left " << text;
        return done ? text : "-";
    }

private:
    std::optional<std::string> saved_[3];
};

TEST_F(Path, OnlyDriveAndSeparatorsChange) {
    Set("K274_DRIVE_C", "/srv/c drive");
    const struct {
        const char *path, *native;
    } cases[] = {
        {"C:\\K274\\Tif\\A001.tif", "/srv/c drive/K274/Tif/A001.tif"},
        {"C:\\", "/srv/c drive/"},
        {"C:\\K274/mixed\\x", "/srv/c drive/K274/mixed/x"},
        {"C:\\C:\\x", "/srv/c drive/C:/x"},
        {"c:\\K274\\x", "c:/K274/x"},
        {"C:/K274/x", "C:/K274/x"},
        {"C:x", "C:x"},
        {"D:\\x", "D:/x"},
        {"\\K274.ini", "/K274.ini"},
        {"/var/log/\\K274.ini", "/var/log//K274.ini"},
        {"/tmp/C:\\x", "/tmp/C:/x"},
        {"plain.bmp", "plain.bmp"},
        {"", ""},
    };
    for (const auto &c : cases)
        EXPECT_EQ(Native(c.path), c.native) << c.path;
    Set("K274_DRIVE_C", "/elsewhere");
    EXPECT_EQ(Native("C:\\x"), "/elsewhere/x");
}

TEST_F(Path, DirectoryBehindTheDrive) {
    const struct {
        const char *drive, *data, *home, *native;
    } cases[] = {
        {"relative", "/data", "/home/u", "relative/x"},
        {nullptr, "/data", "/home/u", "/data/k274/drive_c/x"},
        {"", "/data", "/home/u", "/data/k274/drive_c/x"},
        {nullptr, nullptr, "/home/u", "/home/u/.local/share/k274/drive_c/x"},
        {nullptr, "", "/home/u", "/home/u/.local/share/k274/drive_c/x"},
        {nullptr, "data", "/home/u", "/home/u/.local/share/k274/drive_c/x"},
        {nullptr, nullptr, nullptr, "-"},
        {nullptr, nullptr, "", "-"},
    };
    for (const auto &c : cases) {
        Set("K274_DRIVE_C", c.drive);
        Set("XDG_DATA_HOME", c.data);
        Set("HOME", c.home);
        EXPECT_EQ(Native("C:\\x"), c.native);
        EXPECT_EQ(Native("\\x"), "/x");
    }
}

TEST_F(Path, WhatDoesNotFitIsRefused) {
    Set("K274_DRIVE_C", "/d");
    EXPECT_EQ(Native("C:\\abc", 7), "/d/abc");
    EXPECT_EQ(Native("C:\\abc", 6), "-");
    EXPECT_EQ(Native("C:\\abc", 3), "-");
    EXPECT_EQ(Native("C:\\", 4), "/d/");
    EXPECT_EQ(Native("C:\\", 3), "-");
    EXPECT_EQ(Native("abc", 4), "abc");
    EXPECT_EQ(Native("abc", 3), "-");
    EXPECT_EQ(Native("", 1), "");
    EXPECT_FALSE(os::NativePath("abc", nullptr, 0));
    Set("K274_DRIVE_C", std::string(os::kMaxPath, 'd').c_str());
    EXPECT_EQ(Native("C:\\x"), "-");
    char native[8] = "before";
    EXPECT_FALSE(os::NativePath(nullptr, native, sizeof native));
    EXPECT_STREQ(native, "");
}

} // namespace
