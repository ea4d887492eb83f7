// Writing beside and renaming: a failed write leaves no half of a file and destroys no good one.
#include "tools/k274/files/files.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

#include "tools/k274/base/errors.h"

namespace host {

namespace fs = std::filesystem;

namespace {

constexpr const char *kBeside = ".part";

[[noreturn]] void CannotWrite(const fs::path &path, const std::string &reason) {
    throw HostError(Exit::kCannotWrite, "cannot write " + path.string() + ": " + reason);
}

void WriteFile(const fs::path &path, const void *bytes, size_t size) {
    errno = 0;
    std::FILE *file = std::fopen(path.string().c_str(), "wb");
    if (file == nullptr)
        CannotWrite(path, std::strerror(errno));
    const bool written = std::fwrite(bytes, 1, size, file) == size && std::fflush(file) == 0;
    const int reason = errno;
    const bool closed = std::fclose(file) == 0; // a full disk may show only here
    if (written && closed)
        return;
    const int shown = written ? errno : reason;
    std::error_code ignored;
    fs::remove(path, ignored);
    CannotWrite(path, std::strerror(shown));
}

} // namespace

void PrepareFolder(const fs::path &folder) {
    std::error_code error;
    const fs::file_status status = fs::status(folder, error);
    if (fs::exists(status)) {
        if (!fs::is_directory(status))
            CannotWrite(folder, "it is a file and not a folder, name another one");
    } else if (!fs::create_directory(folder, error)) {
        CannotWrite(folder, "the folder cannot be made: " + error.message());
    }
    const fs::path probe = folder / ".k274.part";
    WriteFile(probe, "k274", 4);
    fs::remove(probe, error);
}

std::vector<uint8_t> ReadFile(const fs::path &path) {
    std::error_code ignored;
    std::ifstream stream(path, std::ios::binary);
    if (!stream || fs::is_directory(path, ignored))
        throw HostError(Exit::kBadFile, "cannot read " + path.string() + ": there is no such file");
    std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (stream.bad())
        throw HostError(Exit::kBadFile, "cannot read " + path.string() + ": check the disk it is on");
    return bytes;
}

FileSet::~FileSet() {
    std::error_code ignored;
    for (const std::string &name : names_)
        fs::remove(folder_ / (name + kBeside), ignored);
}

void FileSet::Add(const std::string &name, const void *bytes, size_t size) {
    WriteFile(Reserve(name), bytes, size);
}

fs::path FileSet::Reserve(const std::string &name) {
    std::error_code ignored;
    if (fs::is_directory(folder_ / name, ignored))
        CannotWrite(folder_ / name, "a folder of that name is in the way");
    names_.push_back(name);
    return folder_ / (name + kBeside);
}

void FileSet::Drop(const std::string &name) {
    std::error_code ignored;
    fs::remove(folder_ / (name + kBeside), ignored);
    names_.erase(std::remove(names_.begin(), names_.end(), name), names_.end());
}

void FileSet::Commit() {
    while (!names_.empty()) {
        const std::string &name = names_.front();
        std::error_code error;
        fs::rename(folder_ / (name + kBeside), folder_ / name, error);
        if (error)
            CannotWrite(folder_ / name, error.message());
        names_.erase(names_.begin());
    }
}

} // namespace host
