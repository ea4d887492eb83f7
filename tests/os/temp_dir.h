// A directory of a test's own, gone with it, and whole files in it.
#pragma once

#include "platform/os/os.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

class TempDir {
public:
    TempDir() {
        for (int i = 0; path_.empty() || !std::filesystem::create_directory(path_); ++i)
            path_ = std::filesystem::temp_directory_path() / ("k274-os-" + std::to_string(i));
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;

    std::string File(const std::string &name) const { return (path_ / name).string(); }
    const std::filesystem::path &Path() const { return path_; }
    std::ptrdiff_t Entries() const { return std::distance(std::filesystem::directory_iterator(path_), {}); }

private:
    std::filesystem::path path_;
};

inline void PutFile(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

inline os::FileWrite WriteText(const std::string &path, const std::string &text) {
    return os::WriteWholeFile(path.c_str(), reinterpret_cast<const uint8_t *>(text.data()), text.size());
}

inline std::string TakeFile(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
