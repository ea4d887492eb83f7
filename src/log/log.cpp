#include "src/log/log.h"

#include "platform/os/os.h"
#include "src/common/running.h"
#include "src/common/text.h"

#include <cstdio>
#include <cstring>

namespace k274 {

namespace {

constexpr char kFileName[] = "K274dll.log";

} // namespace

Log::Log() {
    os::CurrentDirectory(workingDirectory_, sizeof workingDirectory_);
    if (std::strstr(workingDirectory_, "Program Files"))
        workingDirectory_[0] = 0;
}

void Log::SetPath(const char *directory) {
    std::lock_guard guard(lineLock_);
    workingDirectory_[0] = 0;
    filePath_[0] = 0;
    if (!directory || strnlen(directory, kPathSize) + sizeof kFileName > kPathSize)
        return;
    CopyText(workingDirectory_, sizeof workingDirectory_, directory);
    const size_t length = std::strlen(directory);
    std::memcpy(filePath_, directory, length);
    std::memcpy(filePath_ + length, kFileName, sizeof kFileName);
}

void Log::Open() {
    std::lock_guard guard(lineLock_);
    if (filePath_[0])
        os::TruncateFile(filePath_);
}

void Log::Write(const char *text) {
    if (!Running() && !std::strstr(text, "WDU_Init"))
        return;
    std::lock_guard guard(lineLock_);
    if (!filePath_[0])
        return;
    if (!text[0]) {
        os::AppendToFile(filePath_, "\r\n", 2);
        return;
    }
    const os::LocalTime now = os::Now();
    char line[64 + kSlotSize];
    const int length =
        std::snprintf(line, sizeof line, "%05d,%01d:%02d:%02d:%02d.%02d, %s\r\n", lineCounter_ + 1,
                      now.dayOfWeek, now.hour, now.minute, now.second, now.millisecond / 10, text);
    // Texts are bounded by their buffers, so that the line always fits.
    if (length > 0 && static_cast<size_t>(length) < sizeof line &&
        os::AppendToFile(filePath_, line, static_cast<size_t>(length)))
        ++lineCounter_;
}

void Log::Category(const char *category, const char *text) { Write(Format("%-8s %s", category, text)); }

void Log::Usb(const char *text) { Category("usb,", text); }
void Log::Image(const char *text) { Category("image,", text); }
void Log::Fw(const char *text) { Category("fw,", text); }
void Log::Blank() { Write(" "); }

void Log::Defer(const char *text) {
    std::lock_guard guard(slotLock_);
    int slot = kFirstHostSlot;
    while (slot < kSlots - 1 && slots_[slot][0])
        ++slot;
    CopyText(slots_[slot], kSlotSize, text);
}

void Log::Post(const char *text) {
    Defer(text);
    os::SleepMs(strnlen(text, 4) <= 3 ? 10 : 20);
}

void Log::DeferDecoder(DecoderSlot slot, const char *text) {
    std::lock_guard guard(slotLock_);
    CopyText(slots_[static_cast<int>(slot)], kSlotSize, text);
}

void Log::FlushDeferred() {
    for (auto &slot : slots_) {
        char text[kSlotSize];
        {
            std::lock_guard guard(slotLock_);
            if (!slot[0])
                continue;
            CopyText(text, sizeof text, slot);
            slot[0] = 0;
        }
        Write(text);
    }
}

void Log::CopyWorkingDirectory(char *directory, size_t size) {
    std::lock_guard guard(lineLock_);
    CopyText(directory, size, workingDirectory_);
}

} // namespace k274
