// Whole files on POSIX systems: read into a buffer, and written so that nothing is ever half there.
#include "platform/os/whole_file_posix.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace os {

namespace {

constexpr int kNameTries = 100;

bool WriteAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(file, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}

bool WritePieces(int file, const std::string_view *pieces, size_t count) {
    for (size_t i = 0; i < count; ++i)
        if (!WriteAll(file, pieces[i]))
            return false;
    return true;
}

/// Creates a new file in the folder of `target`; `beside` has PATH_MAX bytes. Its name is short: it must
/// fit wherever the target's does.
int CreateBeside(const char *target, mode_t mode, char *beside) {
    static std::atomic<unsigned> number;
    const char *slash = std::strrchr(target, '/');
    const int folder = slash == nullptr ? 0 : static_cast<int>(slash + 1 - target);
    for (int i = 0; i < kNameTries; ++i) {
        const int length = std::snprintf(beside, PATH_MAX, "%.*s.k274-%ld-%u~", folder, target,
                                         static_cast<long>(getpid()), ++number);
        if (length < 0 || length >= PATH_MAX)
            return -1;
        const int file = open(beside, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (file >= 0 || errno != EEXIST)
            return file;
    }
    return -1;
}

/// Gives the new file what the old one had, and waits until it is on the disk: the old one goes now.
bool TakeOver(int file, const struct stat &old) {
    const bool owned = fchown(file, old.st_uid, old.st_gid) == 0;
    // Without the owner a set-id bit would mean somebody else.
    return fchmod(file, old.st_mode & (owned ? 07777 : 0777)) == 0 && fsync(file) == 0;
}

} // namespace

FileWrite ReplaceFile(const char *native, const std::string_view *pieces, size_t count) {
    char target[PATH_MAX];
    struct stat old {};
    // A file that may not be written is not replaced either.
    const int present = open(native, O_WRONLY | O_CLOEXEC | O_NOCTTY);
    const bool exists = present >= 0;
    if (exists) {
        if (fstat(present, &old) == 0 && !S_ISREG(old.st_mode)) {
            const bool written = WritePieces(present, pieces, count);
            return close(present) == 0 && written ? FileWrite::Done : FileWrite::Incomplete;
        }
        close(present);
        if (realpath(native, target) == nullptr)
            return FileWrite::NotCreated;
    } else if (errno != ENOENT || std::snprintf(target, sizeof target, "%s", native) >= PATH_MAX) {
        return FileWrite::NotCreated;
    }

    char beside[PATH_MAX];
    const int file = CreateBeside(target, exists ? 0600 : 0666, beside);
    if (file < 0)
        return FileWrite::NotCreated;
    bool written = WritePieces(file, pieces, count) && (!exists || TakeOver(file, old));
    written = close(file) == 0 && written;
    if (written && rename(beside, target) == 0)
        return FileWrite::Done;
    unlink(beside);
    return written ? FileWrite::NotCreated : FileWrite::Incomplete;
}

FileWrite WriteWholeFile(const char *path, const uint8_t *bytes, size_t size) {
    char native[kMaxPath];
    if (!NativePath(path, native, sizeof native))
        return FileWrite::NotCreated;
    const std::string_view piece(reinterpret_cast<const char *>(bytes), size);
    return ReplaceFile(native, &piece, 1);
}

bool ReadFileInto(const char *path, uint8_t *buffer, size_t size, size_t *count) {
    *count = 0;
    char native[kMaxPath];
    struct stat status;
    if (!NativePath(path, native, sizeof native))
        return false;
    const int file = open(native, O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (file < 0)
        return false;
    const bool opened = fstat(file, &status) == 0 && !S_ISDIR(status.st_mode);
    while (opened && *count < size) {
        const ssize_t got = read(file, buffer + *count, size - *count);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        *count += static_cast<size_t>(got);
    }
    close(file);
    return opened;
}

} // namespace os
