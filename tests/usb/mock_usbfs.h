// The device node of a mock USB device: answers the system calls that libusb makes of it, as Linux does, and
// serves their requests from the device model.
#pragma once

#include "scanner/firmware/scanner.h"

#include <umockdev.h>

#include <atomic>
#include <memory>

namespace mock {

using Bytes = std::vector<uint8_t>;
using Lock = std::unique_lock<std::mutex>;

constexpr uint8_t kOutEndpoint = 0x02, kInEndpoint = 0x81;

/// How the system behaves, and what it was asked for. Shared with the tests.
struct Behaviour {
    std::atomic<bool> scatterGather{true}; // else libusb splits transfers into pieces of 16 KB
    std::atomic<int> claimError{0};        // claiming fails with this,
    std::atomic<int> claimFailures{0};     // so often; negative: always
    std::atomic<int> resetError{0};
    std::atomic<int> claims{0}, refusedClaims{0}, resets{0};
    std::atomic<int> pieces{0}; // that continued a transfer
};

/// Everything happens under the scanner's mutex.
///
/// Faults armed by VS_ArmFault happen to requests: VS_FAULT_STATUS is a stall, babble or wire error, by its
/// value; of one hung by VS_FAULT_STALL `value` bytes have come when it is cancelled; VS_FAULT_LENGTH has no
/// counterpart on a wire and is ignored.
struct Usbfs;
/// @param descriptors  that the device itself gives
/// @param slave        the terminal that stands for the node: it takes output while there is something to
///                     reap
std::shared_ptr<Usbfs> MakeUsbfs(scanner::Scanner &scanner, Behaviour &behaviour, Bytes descriptors,
                                 int slave);
UMockdevIoctlBase *HandlerOf(const Usbfs &usbfs);
/// Brings one request on. False when all wait for something.
bool Step(Usbfs &usbfs, Lock &lock);
/// The cable was pulled. Takes the lock itself.
void Leave(Usbfs &usbfs);

} // namespace mock
