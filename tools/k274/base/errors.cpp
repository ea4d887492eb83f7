// Names of the exit statuses.
#include "tools/k274/base/errors.h"

namespace host {

const char *ExitName(Exit status) {
    switch (status) {
    case Exit::kOk:
        return "ok";
    case Exit::kInternal:
        return "internal";
    case Exit::kUsage:
        return "usage";
    case Exit::kNoDevice:
        return "no_device";
    case Exit::kDriverRefused:
        return "driver_refused";
    case Exit::kTimeout:
        return "timeout";
    case Exit::kCancelled:
        return "cancelled";
    case Exit::kJammed:
        return "jammed";
    case Exit::kDeviceLost:
        return "device_lost";
    case Exit::kCannotWrite:
        return "cannot_write";
    case Exit::kBadCard:
        return "bad_card";
    case Exit::kNoVirtualScanner:
        return "no_virtual_scanner";
    case Exit::kBadFile:
        return "bad_file";
    case Exit::kNothingFound:
        return "nothing_found";
    case Exit::kFailedTest:
        return "failed_test";
    case Exit::kInterrupted:
        return "interrupted";
    case Exit::kTerminated:
        return "terminated";
    }
    return "internal";
}

} // namespace host
