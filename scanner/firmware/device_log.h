// The device log: what the scanner was told and what it did, one line each, for people who debug a host.
#pragma once

#include "platform/os/printf_format.h"
#include "scanner/firmware/clock.h"

#include <cstdio>
#include <string>

namespace scanner {

class DeviceLog {
public:
    /// @param path  file that the lines are added to; empty: no log
    DeviceLog(const Clock &clock, const std::string &path);
    ~DeviceLog();
    DeviceLog(const DeviceLog &) = delete;
    DeviceLog &operator=(const DeviceLog &) = delete;

    bool On() const { return file_ != nullptr; }
    PRINTF_FORMAT(2, 3)
    void Line(const char *format, ...);

private:
    const Clock &clock_;
    std::FILE *file_ = nullptr;
};

} // namespace scanner
