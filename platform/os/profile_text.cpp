// The rules of settings files, on their text alone. Whatever bytes a damaged file holds: what is no section
// and no key is passed over.
#include "platform/os/profile_text.h"

#include <algorithm>
#include <limits>

namespace os::profile {

namespace {

constexpr std::string_view kBlanks = " \t\r\v\f";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// Without the blanks at both ends; of blanks alone, the empty text at their beginning.
std::string_view Trim(std::string_view text) {
    const size_t last = text.find_last_not_of(kBlanks);
    if (last == text.npos)
        return text.substr(0, 0);
    const size_t first = text.find_first_not_of(kBlanks);
    return text.substr(first, last + 1 - first);
}

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool SameName(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return Lower(x) == Lower(y); });
}

bool IsSection(std::string_view line) {
    return !line.empty() && line[0] == '[' && line.find(']') != line.npos;
}

bool IsName(std::string_view name, std::string_view forbidden) {
    return !name.empty() && Trim(name).size() == name.size() && name.find_first_of(forbidden) == name.npos;
}

} // namespace

Place Find(std::string_view file, std::string_view section, std::string_view key) {
    Place place{};
    size_t start = file.substr(0, kByteOrderMark.size()) == kByteOrderMark ? kByteOrderMark.size() : 0;
    while (start < file.size()) {
        const size_t end = std::min(file.find('\n', start), file.size());
        const std::string_view line = Trim(file.substr(start, end - start));
        start = std::min(end + 1, file.size());
        if (IsSection(line)) {
            if (place.sectionFound)
                break;
            place.sectionFound = SameName(Trim(line.substr(1, line.find(']') - 1)), section);
        } else if (const size_t equals = line.find('=');
                   place.sectionFound && equals != line.npos && SameName(Trim(line.substr(0, equals)), key)) {
            place.keyFound = true;
            place.value = Trim(line.substr(equals + 1));
            break;
        }
        if (place.sectionFound && !line.empty())
            place.sectionEnd = start;
    }
    return place;
}

std::string_view Unquote(std::string_view value) {
    const bool quoted =
        value.size() >= 2 && (value[0] == '"' || value[0] == '\'') && value.back() == value.front();
    return quoted ? value.substr(1, value.size() - 2) : value;
}

int32_t ParseInt(std::string_view value) {
    const bool negative = !value.empty() && value[0] == '-';
    if (negative || (!value.empty() && value[0] == '+'))
        value.remove_prefix(1);
    constexpr int64_t kLimit = std::numeric_limits<int32_t>::max();
    int64_t magnitude = 0;
    for (const char c : value) {
        if (c < '0' || c > '9')
            break;
        magnitude = std::min(magnitude * 10 + (c - '0'), kLimit + 1);
    }
    return static_cast<int32_t>(negative ? -magnitude : std::min(magnitude, kLimit));
}

std::string_view LineEnding(std::string_view file) {
    const size_t end = file.find('\n');
    return end == file.npos || (end > 0 && file[end - 1] == '\r') ? "\r\n" : "\n";
}

bool Writable(const char *section, const char *key, const char *text) {
    return section != nullptr && key != nullptr && text != nullptr && IsName(section, "]\r\n") &&
           IsName(key, "=\r\n") && key[0] != '[' &&
           std::string_view(text).find_first_of("\r\n") == std::string_view::npos;
}

} // namespace os::profile
