// Files and paths on Windows, which takes paths as they stand.
#include "platform/os/os.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <windows.h>

namespace os {

namespace {

constexpr DWORD kShare = FILE_SHARE_READ | FILE_SHARE_WRITE;
constexpr size_t kMaxTransfer = 1 << 30;
constexpr int kNameTries = 100;

bool WriteAll(HANDLE file, const uint8_t *bytes, size_t size) {
    while (size > 0) {
        DWORD count = 0;
        const auto part = static_cast<DWORD>(std::min(size, kMaxTransfer));
        if (!WriteFile(file, bytes, part, &count, nullptr) || count == 0)
            return false;
        bytes += count;
        size -= count;
    }
    return true;
}

/// Creates a new file in the folder of `path`; `beside` has MAX_PATH bytes.
HANDLE CreateBeside(const char *path, char *beside) {
    static std::atomic<unsigned> number;
    const char *name = path;
    for (const char *c = path; *c != '\0'; ++c)
        if (*c == '\\' || *c == '/' || *c == ':')
            name = c + 1;
    for (int i = 0; i < kNameTries; ++i) {
        const int length =
            std::snprintf(beside, MAX_PATH, "%.*sk274-%lu-%u.tmp", static_cast<int>(name - path), path,
                          GetCurrentProcessId(), ++number);
        if (length < 0 || length >= MAX_PATH)
            return INVALID_HANDLE_VALUE;
        HANDLE file =
            CreateFileA(beside, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file != INVALID_HANDLE_VALUE || GetLastError() != ERROR_FILE_EXISTS)
            return file;
    }
    return INVALID_HANDLE_VALUE;
}

} // namespace

bool NativePath(const char *path, char *native, size_t size) {
    const size_t length = path == nullptr ? size : std::strlen(path);
    if (length >= size) {
        if (size > 0)
            native[0] = '\0';
        return false;
    }
    std::memcpy(native, path, length + 1);
    return true;
}

bool TruncateFile(const char *path) {
    HANDLE file = CreateFileA(path, GENERIC_READ | GENERIC_WRITE, kShare, nullptr, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    return file != INVALID_HANDLE_VALUE && CloseHandle(file) != 0;
}

bool AppendToFile(const char *path, const char *bytes, size_t count) {
    // Append access without write access: every write goes to the end, whoever else writes.
    HANDLE file = CreateFileA(path, GENERIC_READ | FILE_APPEND_DATA, kShare, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    DWORD written = 0;
    const bool done = WriteFile(file, bytes, static_cast<DWORD>(count), &written, nullptr) != 0;
    return CloseHandle(file) != 0 && done && written == count;
}

bool ReadFileInto(const char *path, uint8_t *buffer, size_t size, size_t *count) {
    *count = 0;
    HANDLE file = CreateFileA(path, GENERIC_READ, kShare | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    while (*count < size) {
        DWORD got = 0;
        const auto part = static_cast<DWORD>(std::min(size - *count, kMaxTransfer));
        if (!ReadFile(file, buffer + *count, part, &got, nullptr) || got == 0)
            break;
        *count += got;
    }
    CloseHandle(file);
    return true;
}

FileWrite WriteWholeFile(const char *path, const uint8_t *bytes, size_t size) {
    // A file that may not be written is not replaced either; devices are written to as they are.
    HANDLE present =
        CreateFileA(path, GENERIC_WRITE, kShare, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (present != INVALID_HANDLE_VALUE) {
        const bool disk = GetFileType(present) == FILE_TYPE_DISK;
        const bool written = disk || WriteAll(present, bytes, size);
        CloseHandle(present);
        if (!disk)
            return written ? FileWrite::Done : FileWrite::Incomplete;
    } else if (GetLastError() != ERROR_FILE_NOT_FOUND) {
        return FileWrite::NotCreated;
    }

    char beside[MAX_PATH];
    HANDLE file = CreateBeside(path, beside);
    if (file == INVALID_HANDLE_VALUE)
        return FileWrite::NotCreated;
    bool written = WriteAll(file, bytes, size);
    written = CloseHandle(file) != 0 && written;
    if (written && MoveFileExA(beside, path, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH))
        return FileWrite::Done;
    DeleteFileA(beside);
    return written ? FileWrite::NotCreated : FileWrite::Incomplete;
}

void CurrentDirectory(char *text, size_t size) {
    const DWORD length = GetCurrentDirectoryA(static_cast<DWORD>(size), text);
    if (size > 0 && (length == 0 || length >= size))
        text[0] = '\0';
}

} // namespace os
