// Folders of a test's own and whole files in them.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

/// A folder that no other process uses, nor this one again; gone with this object.
class TempFolder {
public:
    TempFolder() {
        const auto base = std::filesystem::temp_directory_path();
        static std::atomic<int> next{0};
        while (path_.empty() || !std::filesystem::create_directory(path_))
            path_ = base / ("k274-test-" + std::to_string(next++));
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempFolder(const TempFolder &) = delete;
    TempFolder &operator=(const TempFolder &) = delete;

    const std::filesystem::path &Path() const { return path_; }
    std::string File(const std::string &name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

/// Empty for a file that is not there.
inline std::string ReadText(const std::filesystem::path &file) {
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

inline std::vector<uint8_t> ReadBytes(const std::filesystem::path &file) {
    const std::string text = ReadText(file);
    return {text.begin(), text.end()};
}

inline void WriteText(const std::filesystem::path &file, const std::string &text) {
    std::ofstream(file, std::ios::binary) << text;
}

/// The lines of a log without their number and time.
inline std::vector<std::string> LogLines(const std::string &log) {
    std::vector<std::string> lines;
    for (size_t from = 0, end; (end = log.find("\r\n", from)) != std::string::npos; from = end + 2) {
        const std::string line = log.substr(from, end - from);
        const size_t comma = line.find(", ");
        lines.push_back(comma == std::string::npos ? line : line.substr(comma + 2));
    }
    return lines;
}
