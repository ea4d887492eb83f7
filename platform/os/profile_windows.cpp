// Settings files by the system's own private profiles.
#include "platform/os/os.h"
#include "platform/os/profile_text.h"

#include <windows.h>

namespace os {

void ReadProfileText(const char *path, const char *section, const char *key, const char *absent, char *text,
                     size_t size) {
    GetPrivateProfileStringA(section, key, absent, text, static_cast<DWORD>(size), path);
}

int32_t ReadProfileInt(const char *path, const char *section, const char *key, int32_t absent) {
    return static_cast<int32_t>(GetPrivateProfileIntA(section, key, absent, path));
}

bool WriteProfileText(const char *path, const char *section, const char *key, const char *text) {
    return profile::Writable(section, key, text) && WritePrivateProfileStringA(section, key, text, path) != 0;
}

} // namespace os
