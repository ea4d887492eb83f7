// Bytes from cards as texts: for JSON, for terminals and pages, and exactly.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace host {

/// Valid UTF-8: bytes that are none become "\xNN".
std::string Utf8Text(const uint8_t *bytes, size_t size);

/// The text with the control characters replaced by their pictures (U+2400 on), for people and terminals.
std::string VisibleText(const std::string &utf8);

std::string Base64(const uint8_t *bytes, size_t size);

/// The text for an HTML page, in an attribute or outside.
std::string EscapeHtml(const std::string &text);

} // namespace host
