// Settings files by the system's own private profiles.
#include "platform/os/os.h"
#include "platform/os/profile_text.h"

#include <windows.h>

namespace os {

namespace {

/// The whole path of a settings file: the system looks for others in its own folder, not in the current one.
struct FullPath {
    explicit FullPath(const char *path) {
        const DWORD length = GetFullPathNameA(path, sizeof text, text, nullptr);
        if (length == 0 || length >= sizeof text)
            text[0] = '\0'; // names no file
    }
    char text[kMaxPath];
};

} // namespace

void ReadProfileText(const char *path, const char *section, const char *key, const char *absent, char *text,
                     size_t size) {
    GetPrivateProfileStringA(section, key, absent, text, static_cast<DWORD>(size), FullPath(path).text);
}

int32_t ReadProfileInt(const char *path, const char *section, const char *key, int32_t absent) {
    return static_cast<int32_t>(GetPrivateProfileIntA(section, key, absent, FullPath(path).text));
}

bool WriteProfileText(const char *path, const char *section, const char *key, const char *text) {
    const FullPath file(path);
    return file.text[0] != '\0' && profile::Writable(section, key, text) &&
           WritePrivateProfileStringA(section, key, text, file.text) != 0;
}

} // namespace os
