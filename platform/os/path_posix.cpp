// Paths as the library writes them, with drive letter and backslashes, turned into POSIX ones.
#include "platform/os/os.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace os {

namespace {

constexpr char kDrive[] = "C:\\";
constexpr size_t kDriveLength = sizeof kDrive - 1;

/// Writes the directory that stands behind the drive. Unset and empty variables are the same, and a
/// relative data directory counts for nothing, as everywhere on such systems.
bool DriveDirectory(char *text, size_t size) {
    const char *directory = std::getenv("K274_DRIVE_C");
    const char *below = "";
    if (directory == nullptr || directory[0] == '\0') {
        directory = std::getenv("XDG_DATA_HOME");
        below = "/k274/drive_c";
        if (directory == nullptr || directory[0] != '/') {
            directory = std::getenv("HOME");
            below = "/.local/share/k274/drive_c";
        }
    }
    if (directory == nullptr || directory[0] == '\0')
        return false;
    const int length = std::snprintf(text, size, "%s%s/", directory, below);
    return length >= 0 && static_cast<size_t>(length) < size;
}

} // namespace

bool NativePath(const char *path, char *native, size_t size) {
    if (size == 0)
        return false;
    native[0] = '\0';
    if (path == nullptr)
        return false;
    if (std::strncmp(path, kDrive, kDriveLength) == 0) {
        if (!DriveDirectory(native, size)) {
            native[0] = '\0';
            return false;
        }
        path += kDriveLength;
    }
    const size_t start = std::strlen(native);
    const size_t length = std::strlen(path);
    if (length >= size - start) {
        native[0] = '\0';
        return false;
    }
    for (size_t i = 0; i <= length; ++i) // the terminator included
        native[start + i] = path[i] == '\\' ? '/' : path[i];
    return true;
}

} // namespace os
