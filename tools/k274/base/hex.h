// Bytes as hexadecimal digits, for people and from them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace host {

std::string HexText(const uint8_t *bytes, size_t size);
/// Pairs of digits, blanks between pairs allowed. Throws HostError(kUsage).
std::vector<uint8_t> ParseHex(const std::string &text);

} // namespace host
