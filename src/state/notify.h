// The one way up from the scan to the host: scan-state codes through the registered callback.
#pragma once

#include "include/k274.h"

#include <cstdint>

namespace k274 {

/// States that arose under the device lock; monitor thread. One poll or check raises a few at the most.
struct RaisedStates {
    K274_State codes[8] = {};
    int count = 0;
};
extern RaisedStates raisedStates;

/// Calls the host's callback, if there is one, under the callback lock. The device lock must be free: the
/// callback may wait for it.
void SetScanState(K274_State code);

/// Notes a state that arises while the monitor thread holds the device lock, in a poll or a check ...
void RaiseScanState(K274_State code);
/// ... and delivers those noted, in their order, once the lock is free. Both on the monitor thread alone.
void DeliverRaisedStates();

/// The same without the lock: for the reset notice, which is raised inside a poll.
void SetScanStateUnlocked(K274_State code);

} // namespace k274
