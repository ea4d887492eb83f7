// Commands and statuses in words, and which reply belongs to which command.
#include "platform/recording/commands.h"

#include "wire/commands.h"
#include "wire/driver.h"

#include <cstdio>

namespace recording {
namespace {

constexpr size_t kMaxThreads = 256; // that are told apart at a time

} // namespace

std::string CommandText(uint8_t code) {
    const char *name = wire::CommandName(code);
    char text[48];
    std::snprintf(text, sizeof text, "%s (0x%02X)", name == nullptr ? "unknown command" : name,
                  unsigned{code});
    return text;
}

std::string StatusText(uint32_t status) {
    const char *name = wire::driver::NamesOf(status).text;
    char text[48];
    std::snprintf(text, sizeof text, "%s (0x%08X)", name == nullptr ? "status" : name,
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
