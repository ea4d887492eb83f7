// The two systems behind system.h.
#include "tools/k274/system.h"

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

void *DriverSymbol(const char *name) { return dlsym(RTLD_DEFAULT, name); }

#endif

} // namespace host
