// Output folders, and sets of files that replace older ones only when every one of them has been written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace host {

/// Makes the folder (not its parents) if it is missing and proves that files can be written in it.
/// Throws HostError(kCannotWrite).
void PrepareFolder(const std::filesystem::path &folder);

/// The whole file. Throws HostError(kBadFile).
std::vector<uint8_t> ReadFile(const std::filesystem::path &path);

class FileSet {
public:
    explicit FileSet(std::filesystem::path folder) : folder_(std::move(folder)) {}
    /// Removes what was added and not committed.
    ~FileSet();
    FileSet(const FileSet &) = delete;
    FileSet &operator=(const FileSet &) = delete;

    /// Writes the bytes beside the final place. Throws HostError(kCannotWrite).
    void Add(const std::string &name, const void *bytes, size_t size);
    /// Where someone else is to write a file of the set.
    std::filesystem::path Reserve(const std::string &name);
    /// Takes a file back out of the set.
    void Drop(const std::string &name);
    /// Moves all files to their final places, in the order in which they were added.
    void Commit();

private:
    std::filesystem::path folder_;
    std::vector<std::string> names_;
};

} // namespace host
