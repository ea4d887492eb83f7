// What a packet of recorded traffic says: the fields of commands and replies by name.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>

#include "platform/recording/recording.h"

namespace host {

/// Fields of a command's header, without those that are zero.
nlohmann::ordered_json CommandFields(const recording::Entry &sent);

/// Fields of a reply to this command.
nlohmann::ordered_json ReplyFields(uint8_t code, const recording::Entry &read);

/// Vendor, product, release and interface classes of a device that was told as arrived.
nlohmann::ordered_json DescriptorFields(const recording::Entry &attach);

} // namespace host
