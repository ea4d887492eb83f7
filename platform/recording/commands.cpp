// Names of commands and statuses, in the words of the scanner and the driver.
#include "platform/recording/commands.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace recording {
namespace {

constexpr size_t kMaxThreads = 256; // that are told apart at a time

constexpr struct {
    uint8_t code;
    const char *name;
} kCommands[] = {
    {0x00, "status poll"},
    {0x01, "RGB line block"},
    {0x02, "IR line block"},
    {0x03, "UV line block"},
    {0x04, "still lines"},
    {0x06, "focus lines"},
    {0x07, "stripe IR image"},
    {0x08, "1200-dpi line block"},
    {0x09, "still-image test mode"},
    {0x0A, "UV option"},
    {0x10, "firmware image"},
    {0x11, "loopback"},
    {0x12, "FPGA image"},
    {0x13, "calibration record"},
    {0x14, "open handshake"},
    {0x15, "event read"},
    {0x16, "white-card number"},
    {0x17, "close"},
    {0x18, "factory data"},
    {0x19, "user data"},
    {0x1A, "clear"},
    {0x20, "stripe data"},
    {0x40, "login"},
    {0x41, "eject"},
    {0x42, "user LED"},
    {0x60, "AFE registers"},
    {0x61, "parameters"},
    {0x62, "last-scan mode"},
    {0x65, "flash block"},
    {0x66, "second-scan value"},
    {0x70, "LEDs"},
    {0x72, "mechanism"},
    {0x73, "debug LED"},
    {0x74, "beep"},
    {0x75, "reset"},
    {0x78, "GUI scan"},
    {0x79, "LED aging"},
    {0x7F, "device information"},
};

constexpr struct {
    uint32_t status;
    const char *name;
} kStatuses[] = {
    {0, "done"},
    {0x20000001, "invalid handle"},
    {0x20000002, "invalid pipe"},
    {0x20000015, "timed out"},
    {0x20000020, "failed"},
    {0x80000300, "invalid parameter"},
    {0xC0000004, "stalled"},
    {0xC0000011, "transaction error"},
    {0xC0000012, "overflow"},
    {0xC0007000, "device gone"},
    {0xC0010000, "cancelled"},
};

} // namespace

const char *CommandName(uint8_t code) {
    const auto *found = std::find_if(std::begin(kCommands), std::end(kCommands),
                                     [code](const auto &command) { return command.code == code; });
    return found == std::end(kCommands) ? nullptr : found->name;
}

std::string CommandText(uint8_t code) {
    const char *name = CommandName(code);
    char text[48];
    std::snprintf(text, sizeof text, "%s (0x%02X)", name == nullptr ? "unknown command" : name,
                  unsigned{code});
    return text;
}

std::string StatusText(uint32_t status) {
    const auto *found = std::find_if(std::begin(kStatuses), std::end(kStatuses),
                                     [status](const auto &known) { return known.status == status; });
    char text[48];
    std::snprintf(text, sizeof text, "%s (0x%08X)", found == std::end(kStatuses) ? "status" : found->name,
                  static_cast<unsigned>(status));
    return text;
}

std::optional<uint8_t> Exchanges::CommandOf(const Entry &entry) {
    if (entry.kind == Kind::Init)
        sent_.clear();
    if (entry.kind != Kind::Transfer)
        return std::nullopt;
    if (!entry.read && entry.dataBytes > 0) {
        if (sent_.size() >= kMaxThreads && sent_.count(entry.thread) == 0)
            sent_.clear();
        sent_[entry.thread] = entry.data[0];
    }
    const auto found = sent_.find(entry.thread);
    return found == sent_.end() ? std::nullopt : std::optional<uint8_t>(found->second);
}

} // namespace recording
