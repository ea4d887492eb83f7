// Settings files where the system has no private profiles. A file is taken whole into one buffer that is
// there for good, so that reading at the start of a scan allocates nothing, and written whole beside itself.
#include "platform/os/profile_text.h"
#include "platform/os/whole_file_posix.h"

#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

namespace os {

namespace {

constexpr size_t kMaxFile = 1048576; // anything longer is no settings file

// Held while a file is read or written: the buffer is shared, and of two threads that change the same file
// neither loses the other's change.
std::mutex fileLock;
char fileBuffer[kMaxFile];

/// Reads up to the end, at most kMaxFile bytes. @return false when the file is longer or fails
bool ReadToEnd(int file, size_t *size) {
    *size = 0;
    for (;;) {
        char beyond;
        const bool full = *size == kMaxFile;
        const ssize_t count =
            full ? read(file, &beyond, 1) : read(file, fileBuffer + *size, kMaxFile - *size);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0 || full)
            return count == 0;
        *size += static_cast<size_t>(count);
    }
}

enum class Outcome { kRead, kMissing, kRefused };

/// Reads a regular file whole; the text is empty unless it was read. O_NONBLOCK: a pipe in its place must
/// not hold up a scan.
Outcome ReadWhole(const char *native, std::string_view *text) {
    *text = {};
    struct stat status;
    const int file = open(native, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (file < 0)
        return errno == ENOENT ? Outcome::kMissing : Outcome::kRefused;
    size_t size = 0;
    const bool done = fstat(file, &status) == 0 && S_ISREG(status.st_mode) && ReadToEnd(file, &size);
    close(file);
    if (!done)
        return Outcome::kRefused;
    *text = {fileBuffer, size};
    return Outcome::kRead;
}

/// Finds a key's value, quotes stripped, with the lock held. Valid until the buffer is used again.
bool FindValue(const char *path, const char *section, const char *key, std::string_view *value) {
    char native[kMaxPath];
    std::string_view text;
    if (!NativePath(path, native, sizeof native) || ReadWhole(native, &text) != Outcome::kRead)
        return false;
    const profile::Place place = profile::Find(text, section, key);
    *value = profile::Unquote(place.value);
    return place.keyFound;
}

/// The new file in pieces, in order.
struct Pieces {
    std::string_view text[12];
    size_t count = 0;
    size_t size = 0;

    void Add(std::string_view piece) {
        text[count++] = piece;
        size += piece.size();
    }
};

Pieces Change(std::string_view file, std::string_view section, std::string_view key, std::string_view value) {
    const profile::Place place = profile::Find(file, section, key);
    Pieces pieces;
    if (place.keyFound) {
        const auto start = static_cast<size_t>(place.value.data() - file.data());
        pieces.Add(file.substr(0, start));
        pieces.Add(value);
        pieces.Add(file.substr(start + place.value.size()));
        return pieces;
    }
    const std::string_view lineEnd = profile::LineEnding(file);
    const size_t insert = place.sectionFound ? place.sectionEnd : file.size();
    pieces.Add(file.substr(0, insert));
    if (insert > 0 && file[insert - 1] != '\n')
        pieces.Add(lineEnd); // the last line had no end
    if (!place.sectionFound)
        for (const std::string_view piece : {std::string_view("["), section, std::string_view("]"), lineEnd})
            pieces.Add(piece);
    for (const std::string_view piece : {key, std::string_view("="), value, lineEnd, file.substr(insert)})
        pieces.Add(piece);
    return pieces;
}

} // namespace

void ReadProfileText(const char *path, const char *section, const char *key, const char *absent, char *text,
                     size_t size) {
    if (size == 0)
        return;
    const std::lock_guard<std::mutex> hold(fileLock);
    std::string_view value;
    if (!FindValue(path, section, key, &value))
        value = absent == nullptr ? "" : absent;
    const size_t count = value.copy(text, size - 1);
    text[count] = '\0';
}

int32_t ReadProfileInt(const char *path, const char *section, const char *key, int32_t absent) {
    const std::lock_guard<std::mutex> hold(fileLock);
    std::string_view value;
    return FindValue(path, section, key, &value) ? profile::ParseInt(value) : absent;
}

bool WriteProfileText(const char *path, const char *section, const char *key, const char *text) {
    char native[kMaxPath];
    if (!profile::Writable(section, key, text) || !NativePath(path, native, sizeof native))
        return false;
    const std::lock_guard<std::mutex> hold(fileLock);
    std::string_view file;
    const Outcome outcome = ReadWhole(native, &file);
    const Pieces pieces = Change(file, section, key, text);
    if (outcome == Outcome::kRefused || pieces.size > kMaxFile)
        return false;
    return ReplaceFile(native, pieces.text, pieces.count) == FileWrite::Done;
}

} // namespace os
