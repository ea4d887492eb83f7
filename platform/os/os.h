// What the library asks of the operating system, once for each system behind it. Texts that name files
// are mapped here: on systems without drive letters a path that begins with C:\ lies below the directory
// named by K274_DRIVE_C, and every other backslash is a separator. Failures are results, never exceptions.
#pragma once

#include <cstddef>
#include <cstdint>

namespace os {

// ---- time (os_clock_*.cpp hold these two alone: tests that link the library's objects replace them) ----

void SleepMs(uint32_t milliseconds);
/// Seconds of the calendar clock, which may be set back while the library runs.
int64_t CalendarSeconds();

struct LocalTime {
    int year, month, day; // month 1 to 12
    int dayOfWeek;        // 0 is Sunday
    int hour, minute, second, millisecond;
};
LocalTime Now();

// ---- locks and threads ----

/// Re-entrant lock that is never destroyed, so that threads which outlive the library's static objects
/// may still hold it. Works with std::lock_guard and std::unique_lock.
class RecursiveLock {
public:
    RecursiveLock();
    void lock();
    bool try_lock();
    void unlock();
    RecursiveLock(const RecursiveLock &) = delete;
    RecursiveLock &operator=(const RecursiveLock &) = delete;

private:
    alignas(16) unsigned char storage_[64];
};

/// Starts a detached thread. The thread keeps the library loaded until it has returned from `body`
/// (elsewhere than on Windows the library is linked to stay loaded once it is).
/// @return false when the system could not start one
bool StartThread(void (*body)(void *), void *argument);

/// How many of these threads have not returned from their body yet. 0 orders all that they did before it.
int RunningThreads();

/// Notes the module handle, null when the library is unloaded; called by the library's entry point where
/// the system has one. Resources are looked up in this module, or in the program itself without it.
void SetModule(void *module);

// ---- files ----

constexpr size_t kMaxPath = 1024;

/// Writes the system's form of `path` into `native`. The directory behind C:\ is read at each use:
/// K274_DRIVE_C, else $XDG_DATA_HOME/k274/drive_c, else $HOME/.local/share/k274/drive_c.
/// @return false, with an empty text, when the result does not fit or no directory stands behind C:\.
bool NativePath(const char *path, char *native, size_t size);

/// Creates the file or cuts it to zero length, shared with other readers and writers.
bool TruncateFile(const char *path);

/// Appends the bytes in one write to a file that exists; false when it cannot be opened or written.
bool AppendToFile(const char *path, const char *bytes, size_t count);

/// Reads a file from its start, at most `size` bytes; a read that fails ends it like the file's end.
/// @return false when it cannot be opened
bool ReadFileInto(const char *path, uint8_t *buffer, size_t size, size_t *count);

enum class FileWrite { Done, NotCreated, Incomplete };
/// Writes a file as a whole. A file of that name stays as it was unless all went well: the new one is
/// written beside it, in the same folder, and takes its place when it is complete.
FileWrite WriteWholeFile(const char *path, const uint8_t *bytes, size_t size);

/// The process's current directory; empty when it is unknown or does not fit.
void CurrentDirectory(char *text, size_t size);

// ---- settings files, in the manner of private profiles ----
//
// Lines "key=text" below lines "[section]"; section and key are compared without regard to case, blanks
// around them and around the text do not count, and the first section and the first key of a name win.
// Where the system has private profiles its own functions are used. Elsewhere a file of more than
// 1,048,576 bytes or one that is no regular file is no settings file: it reads as absent and is not
// written. Reading allocates nothing.

/// The text without one pair of quotes around it, cut to `size` - 1 characters, or `absent` (null is the
/// empty text).
void ReadProfileText(const char *path, const char *section, const char *key, const char *absent, char *text,
                     size_t size);

/// An optional sign and the digits up to the first other character, 0 when there are none; values that do
/// not fit are held at the limit (on Windows its own function has the say there). `absent` when there is
/// no such key.
int32_t ReadProfileInt(const char *path, const char *section, const char *key, int32_t absent);

/// Replaces one key's text, or adds the key at the end of its section, the section at the end of the
/// file, the file where there is none; every other byte stays. The file is replaced as a whole, so that
/// it is never lost half written.
/// @return false, with the file as it was, when it cannot be read or written, or when section, key or
///         text could not be read back (line feeds, an empty key, a key with an equals sign, ...)
bool WriteProfileText(const char *path, const char *section, const char *key, const char *text);

// ---- modules ----

/// A driver library by its base name ("labjackud": labjackud.dll or liblabjackud.so); null when absent.
/// It stays loaded.
void *LoadModule(const char *baseName);
void *ModuleSymbol(void *module, const char *name);

struct Resource {
    const uint8_t *data; // null when there is none
    size_t size;
};
/// A resource carried inside the library's binary.
Resource FindResource(const char *type, int id);

/// Sends one request to a kernel device, such as "\\\\.\\windrvr6", and waits for its end, at most a
/// second. The device may write into `input` as well. Systems without such devices have none to open.
/// @return false when the device could not be opened; the request's own failure is not told
bool KernelDeviceRequest(const char *device, uint32_t controlCode, void *input, uint32_t inputSize,
                         uint32_t *output);

} // namespace os
