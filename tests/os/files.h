// Files and settings files of a test's own folder, and paths, by way of the system's layer.
#pragma once

#include "platform/os/os.h"
#include "tests/support/data.h"

#include <algorithm>
#include <gtest/gtest.h>

inline os::FileWrite WriteWhole(const std::string &path, const std::string &text) {
    return os::WriteWholeFile(path.c_str(), reinterpret_cast<const uint8_t *>(text.data()), text.size());
}

inline std::ptrdiff_t Entries(const TempFolder &folder) {
    return std::distance(std::filesystem::directory_iterator(folder.Path()), {});
}

/// The path as the system's; "-" when it is refused.
inline std::string Native(const std::string &path, size_t size = os::kMaxPath) {
    std::string buffer(size + 1, '#');
    const bool done = os::NativePath(path.c_str(), buffer.data(), size);
    EXPECT_EQ(buffer[size], '#') << path;
    const std::string text(buffer.data()); // up to the terminator
    EXPECT_TRUE(done || text.empty()) << path << " left " << text;
    return done ? text : "-";
}

/// The rows of a table without those for our own settings files alone, where the system has its own.
inline std::vector<std::vector<std::string>> SettingsTable(const std::string &name) {
    auto rows = Table(name);
#ifdef _WIN32
    const auto ours = [](const auto &row) { return row.back() == "ours"; };
    rows.erase(std::remove_if(rows.begin(), rows.end(), ours), rows.end());
#endif
    return rows;
}

/// A settings file.
class Profile : public testing::Test {
protected:
    std::string Text(const std::string &file, size_t size = 64) {
        WriteText(path_, file);
        std::string buffer(size + 1, '#');
        os::ReadProfileText(path_.c_str(), "Demo", "Name", "absent", buffer.data(), size);
        EXPECT_EQ(buffer[size], '#');
        return std::string(buffer.data());
    }

    int32_t Int(const std::string &file) {
        WriteText(path_, file);
        return os::ReadProfileInt(path_.c_str(), "Demo", "Num", -77);
    }

    /// The file after the entry was written to it; "refused" when it was not, and was left alone.
    std::string Written(const std::string &file, const char *section, const char *key, const char *text) {
        WriteText(path_, file);
        const bool done = os::WriteProfileText(path_.c_str(), section, key, text);
        EXPECT_TRUE(done || ReadText(path_) == file);
        EXPECT_EQ(Entries(directory_), 1);
        return done ? ReadText(path_) : "refused";
    }

    TempFolder directory_;
    std::string path_ = directory_.File("K274.ini");
};
