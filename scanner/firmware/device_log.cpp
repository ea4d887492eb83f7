// Writes the device log. Every line goes out at once: a log that is read after a crash ends where it crashed.
#include "scanner/firmware/device_log.h"

#include <cstdarg>

namespace scanner {

DeviceLog::DeviceLog(const Clock &clock, const std::string &path) : clock_(clock) {
    if (path.empty())
        return;
    file_ = std::fopen(path.c_str(), "a");
    if (file_ == nullptr)
        std::fprintf(stderr,
                     "virtual scanner: cannot write the device log %s; "
                     "K274_SCANNER_LOG wants a file in a folder that exists\n",
                     path.c_str());
}

DeviceLog::~DeviceLog() {
    if (file_ != nullptr)
        std::fclose(file_);
}

void DeviceLog::Line(const char *format, ...) {
    if (!On())
        return;
    std::fprintf(file_, "%10.3f  ", clock_.Now());
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(file_, format, arguments);
    va_end(arguments);
    std::fputc('\n', file_);
    std::fflush(file_);
}

} // namespace scanner
