// The library's locks. Order where two are held: callbackLock, then deviceLock (a callback may talk to the
// scanner), then one of the small ones, which are held for copies only and never while calling out.
#pragma once

#include "platform/os/os.h"

#include <mutex>

namespace k274 {

/// Serialises exchanges with the scanner: held from a command's send to the read of its reply, or for one
/// pass of line transfers; never for a whole scan.
extern os::RecursiveLock deviceLock;

/// Held while the host's callback runs.
extern os::RecursiveLock callbackLock;

/// Guards the status record and the version block, which the host copies at any time.
extern std::mutex recordLock;

/// Guards writing of the image set, which the scan fills and K274_Clear fills from the host's threads.
extern std::mutex imageLock;

using DeviceGuard = std::lock_guard<os::RecursiveLock>;

} // namespace k274
