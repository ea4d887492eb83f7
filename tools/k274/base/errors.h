// How k274 ends: the exit statuses, and the exception that carries one with its line for the user.
// The statuses are part of the command's contract (docs/k274-command.md).
#pragma once

#include <stdexcept>
#include <string>

namespace host {

enum class Exit {
    kOk = 0,
    kInternal = 1,
    kUsage = 2,
    kNoDevice = 3,
    kDriverRefused = 4,
    kTimeout = 5,
    kCancelled = 6,
    kJammed = 7,
    kDeviceLost = 8,
    kCannotWrite = 9,
    kBadCard = 10,
    kNoVirtualScanner = 11,
    kBadFile = 12,
    kNothingFound = 13,
    kFailedTest = 14,
    kInterrupted = 130,
    kTerminated = 143
};

/// The text says in one line what failed and what to do.
class HostError : public std::runtime_error {
public:
    HostError(Exit status, const std::string &text) : std::runtime_error(text), status_(status) {}
    Exit Status() const { return status_; }

private:
    Exit status_;
};

/// Name of a status in machine-readable output.
const char *ExitName(Exit status);

} // namespace host
