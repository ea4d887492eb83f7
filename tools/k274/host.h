// k274 without its process: tests call it as the program does.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

namespace host {

/// Runs the command that the arguments name, which stand behind the program's name; returns the exit status.
/// One at a time: the library, its driver and K274_DEVICE are the process's own.
/// @param out progress and results
/// @param err questions, warnings and the reason of a failure
int Run(const std::vector<std::string> &arguments, std::FILE *out, std::FILE *err);

} // namespace host
