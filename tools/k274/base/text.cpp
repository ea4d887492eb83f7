// Conversions of texts that cards carry; they may hold any byte.
#include "tools/k274/base/text.h"

#include <algorithm>

namespace host {

namespace {

/// Length of the UTF-8 sequence at the front, 0 when there is none (overlong forms and surrogates are none).
size_t SequenceLength(const uint8_t *bytes, size_t size) {
    const uint8_t first = bytes[0];
    if (first < 0x80)
        return 1;
    const size_t length = first >= 0xC2 && first <= 0xDF   ? 2
                          : first >= 0xE0 && first <= 0xEF ? 3
                          : first >= 0xF0 && first <= 0xF4 ? 4
                                                           : 0;
    if (length == 0 || size < length ||
        !std::all_of(bytes + 1, bytes + length, [](uint8_t byte) { return (byte & 0xC0) == 0x80; }))
        return 0;
    const uint8_t second = bytes[1];
    const bool bad = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
                     (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
    return bad ? 0 : length;
}

} // namespace

std::string Utf8Text(const uint8_t *bytes, size_t size) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (size_t i = 0; i < size;) {
        const size_t length = SequenceLength(bytes + i, size - i);
        if (length == 0) {
            text += "\\x";
            text += kDigits[bytes[i] >> 4];
            text += kDigits[bytes[i] & 15];
        }
        text.append(bytes + i, bytes + i + length);
        i += std::max<size_t>(length, 1);
    }
    return text;
}

std::string VisibleText(const std::string &utf8) {
    std::string text;
    for (const char c : utf8) {
        const auto byte = static_cast<uint8_t>(c);
        if (byte < 0x20 || byte == 0x7F) { // U+2400 to U+241F, U+2421
            text += "\xE2\x90";
            text += static_cast<char>(0x80 + (byte == 0x7F ? 0x21 : byte));
        } else {
            text += c;
        }
    }
    return text;
}

std::string Base64(const uint8_t *bytes, size_t size) {
    constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((size + 2) / 3 * 4);
    for (size_t i = 0; i < size; i += 3) {
        const size_t held = std::min<size_t>(size - i, 3);
        uint32_t group = uint32_t{bytes[i]} << 16;
        if (held > 1)
            group |= uint32_t{bytes[i + 1]} << 8;
        if (held > 2)
            group |= bytes[i + 2];
        text += kDigits[group >> 18];
        text += kDigits[group >> 12 & 63];
        text += held > 1 ? kDigits[group >> 6 & 63] : '=';
        text += held > 2 ? kDigits[group & 63] : '=';
    }
    return text;
}

std::string EscapeHtml(const std::string &text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        case '\'':
            escaped += "&#39;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

} // namespace host
