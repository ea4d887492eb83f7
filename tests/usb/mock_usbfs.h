// The device node of a mock USB device: answers the system calls that libusb makes of it, as Linux does, with
// the scanner on the bus behind it.
#pragma once

#include "tests/usb/bus_device.h"

#include <umockdev.h>

#include <atomic>
#include <memory>

namespace mock {

/// How the system behaves, and what it was asked for. Shared with the tests.
struct Behaviour {
    std::atomic<bool> scatterGather{true}; // else libusb splits transfers into pieces of 16 KB
    std::atomic<int> claimError{0};        // claiming fails with this,
    std::atomic<int> claimFailures{0};     // so often; negative: always
    std::atomic<int> resetError{0};
    std::atomic<int> claims{0}, refusedClaims{0}, resets{0}, pieces{0};
};

struct Usbfs;
/// @param slave  the terminal that stands for the node: it takes output while there is something to reap
std::shared_ptr<Usbfs> MakeUsbfs(Behaviour &behaviour, int slave);
/// The device behind the node; null when it has left the bus.
void SetDevice(Usbfs &usbfs, bus::BusDevice *device);
UMockdevIoctlBase *HandlerOf(const Usbfs &usbfs);

} // namespace mock
