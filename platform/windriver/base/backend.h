// What stands behind the driver's functions while the driver is open: a device on some bus.
#pragma once

#include "platform/windriver/wdapi.h"
#include "wire/driver.h"

#include <cstdint>

namespace wdapi {

using namespace wire::driver;
using wire::kInPipe, wire::kOutPipe;

struct Transfer {
    uint32_t pipe;
    bool read;
    uint8_t *buffer;
    uint32_t size;
    uint32_t *transferred;
    uint32_t timeoutMs; // 0: no limit
};

class Backend {
public:
    virtual ~Backend() = default;

    /// Starts the driver's thread. Throws std::exception with a text for people when the bus cannot be used.
    virtual void Start() = 0;
    /// Waits until the host has been told of a scanner that is there already, so that a host which sends
    /// something at once finds it. Not for ever: the host's callback may want what the caller holds.
    virtual void AwaitFirstNews() = 0;
    /// Ends transfers under way and the driver's thread. No callback runs after it has returned, and the
    /// host, which is taking everything down, is not told of a detach.
    virtual void Stop() = 0;

    // These return a Status, or what a test has asked for.
    virtual uint32_t Run(const void *device, const Transfer &transfer) = 0;
    virtual uint32_t ResetPipe(const void *device, uint32_t pipe) = 0;
    virtual uint32_t ResetDevice(const void *device, uint32_t options) = 0;
};

} // namespace wdapi
