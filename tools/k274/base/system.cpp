// The two systems behind system.h.
#include "tools/k274/base/system.h"

#include <cstdlib>
#include <cstring>

#ifdef _WIN32
#include <io.h>
#include <windows.h>
#else
#include <dlfcn.h>
#include <unistd.h>
#endif

namespace host {

#ifdef _WIN32

bool IsTerminal(std::FILE *stream) { return _isatty(_fileno(stream)) != 0; }

bool EnableEscapes(std::FILE *stream) {
    const HANDLE console = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
    DWORD mode = 0;
    constexpr DWORD kEscapes = 0x0004; // ENABLE_VIRTUAL_TERMINAL_PROCESSING
    return GetConsoleMode(console, &mode) != 0 && SetConsoleMode(console, mode | kEscapes) != 0;
}

void SetEnvironment(const char *name, const char *value) { _putenv_s(name, value); }

std::filesystem::path DriveC(const char *path) { return std::filesystem::path("C:/") / path; }

void *DriverSymbol(const char *name) {
    const HMODULE driver = GetModuleHandleA("wdapi1140.dll");
    return driver == nullptr ? nullptr : reinterpret_cast<void *>(GetProcAddress(driver, name));
}

#else

bool IsTerminal(std::FILE *stream) { return isatty(fileno(stream)) != 0; }

bool EnableEscapes(std::FILE *) {
    const char *terminal = std::getenv("TERM");
    return terminal != nullptr && std::strcmp(terminal, "dumb") != 0;
}

void SetEnvironment(const char *name, const char *value) { setenv(name, value, 1); }

std::filesystem::path DriveC(const char *path) {
    const auto variable = [](const char *name) {
        const char *value = std::getenv(name);
        return std::filesystem::path(value == nullptr ? "" : value);
    };
    if (const auto folder = variable("K274_DRIVE_C"); !folder.empty())
        return folder / path;
    const auto data = variable("XDG_DATA_HOME");
    return (!data.is_absolute() ? variable("HOME") / ".local/share" : data) / "k274/drive_c" / path;
}

void *DriverSymbol(const char *name) { return dlsym(RTLD_DEFAULT, name); }

#endif

} // namespace host
