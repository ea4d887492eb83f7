// Digits from bytes, bytes from digits.
#include "tools/k274/base/hex.h"

#include <cctype>
#include <cstdlib>

#include "tools/k274/base/errors.h"

namespace host {

std::string HexText(const uint8_t *bytes, size_t size) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (size_t i = 0; i < size; ++i) {
        if (i != 0)
            text += ' ';
        text += kDigits[bytes[i] >> 4];
        text += kDigits[bytes[i] & 15];
    }
    return text;
}

std::vector<uint8_t> ParseHex(const std::string &text) {
    const auto isDigit = [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; };
    std::vector<uint8_t> bytes;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == ' ')
            continue;
        if (i + 1 == text.size() || !isDigit(text[i]) || !isDigit(text[i + 1]))
            throw HostError(Exit::kUsage,
                            "\"" + text + "\" is no text of hexadecimal digits, two a byte, such as 4b 32");
        bytes.push_back(static_cast<uint8_t>(std::strtoul(text.substr(i, 2).c_str(), nullptr, 16)));
        ++i;
    }
    return bytes;
}

} // namespace host
