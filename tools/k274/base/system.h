// What k274 needs of the operating system beyond standard C++: the terminal, the environment, and the
// driver library's symbols.
#pragma once

#include <cstdio>
#include <filesystem>

namespace host {

bool IsTerminal(std::FILE *stream);

/// Makes the terminal obey escape sequences; false when it cannot.
bool EnableEscapes(std::FILE *stream);

void SetEnvironment(const char *name, const char *value);

/// What the library takes for "C:\\" and the path behind it.
std::filesystem::path DriveC(const char *path);

/// A function of the driver library that the process has loaded; null when it has none of that name.
void *DriverSymbol(const char *name);

} // namespace host
