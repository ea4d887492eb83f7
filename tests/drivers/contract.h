// What the suite needs to know of a driver. A program that runs it names its own.
#pragma once

#include <memory>
#include <vector>

namespace drivers {

struct Backend {
    const char *device; // K274_DEVICE
    bool splits;        // long transfers are made of several
    /// Faults happen on a bus, which knows no claims and passes what came before a hang. Of the others what a
    /// course gives is recorded, and asked of the recording again.
    bool wire;
    /// Connects the scanner; what it returns lives as long as a test.
    std::shared_ptr<void> (*connect)(bool splits);
};
extern const std::vector<Backend> kBackends;

} // namespace drivers
