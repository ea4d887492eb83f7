// The rules of settings files, on their text alone: finding a key, reading its value, where a new one goes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace os::profile {

/// Where a key stands in a file, or where it would go.
struct Place {
    bool sectionFound;
    bool keyFound;
    std::string_view value; // as it stands in the file, quotes included, when the key was found
    size_t sectionEnd;      // end of the section's last line that is not blank, when the section was found
};
Place Find(std::string_view file, std::string_view section, std::string_view key);

/// Takes one pair of equal quotes off.
std::string_view Unquote(std::string_view value);

int32_t ParseInt(std::string_view value);

/// Line ending of the file's first line; CR LF while there is none.
std::string_view LineEnding(std::string_view file);

/// Whether an entry can stand in a settings file and be found again; null texts cannot.
bool Writable(const char *section, const char *key, const char *text);

} // namespace os::profile
