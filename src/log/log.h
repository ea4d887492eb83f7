// The log: one text file of time-stamped lines, opened, appended to and closed again for every line, so
// that other programs can read it at any time. It also owns the working directory, where the settings file
// lives. Lines are written only while the library runs, except those that tell of WDU_Init.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>

namespace k274 {

class Log {
public:
    static constexpr size_t kPathSize = 256;
    static constexpr size_t kSlotSize = 256;

    /// The working directory is the current one, unless that lies among the installed programs.
    Log();

    /// Directory with its trailing separator. Null, or a directory that leaves no room for the file's name,
    /// turns logging off and empties the working directory: a name cut short would name a wrong file.
    void SetPath(const char *directory);
    /// Creates the file or cuts it to zero length. Nothing is written.
    void Open();

    void Write(const char *text); ///< plain line; an empty text writes CR LF alone
    void Usb(const char *text);
    void Image(const char *text);
    void Fw(const char *text);
    void Blank(); ///< a time-stamped line of one blank

    /// Leaves a text of another thread for the monitor thread to write: slots 3, 4, then 5, which is
    /// replaced when all are full.
    void Defer(const char *text);
    /// Defers the text and waits a little, so that a run of texts finds the slots emptied.
    void Post(const char *text);
    /// A barcode decoder's result, which replaces the one before.
    enum class DecoderSlot { First = 0, Second = 1 };
    void DeferDecoder(DecoderSlot slot, const char *text);
    /// Writes and empties the deferred slots.
    void FlushDeferred();

    void CopyWorkingDirectory(char *directory, size_t size);

private:
    void Category(const char *category, const char *text);

    std::mutex lineLock_; // one line at a time
    char workingDirectory_[kPathSize];
    char filePath_[kPathSize] = "";
    int32_t lineCounter_ = 0;

    static constexpr int kSlots = 5;
    static constexpr int kFirstHostSlot = 2; // behind the decoders' two
    std::mutex slotLock_;
    char slots_[kSlots][kSlotSize] = {};
};
extern Log log;

} // namespace k274
