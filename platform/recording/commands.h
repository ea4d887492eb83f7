// What the numbers of a recording mean: commands, the replies that belong to them, statuses of the driver.
#pragma once

#include "platform/recording/recording.h"

#include <map>
#include <optional>

namespace recording {

/// For people, such as "eject (0x41)".
std::string CommandText(uint8_t code);

/// A status of the driver for people, such as "device gone (0xC0007000)".
std::string StatusText(uint32_t status);

/// Whose transfers are whose: a thread reads what belongs to the command that it has sent last.
class Exchanges {
public:
    /// The command that the transfer carries or belongs to. To be asked for each entry in its order.
    std::optional<uint8_t> CommandOf(const Entry &entry);

private:
    std::map<uint32_t, uint8_t> sent_; // by thread
};

} // namespace recording
