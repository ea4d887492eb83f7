#include "src/state/notify.h"

#include "src/state/flags.h"
#include "src/state/locks.h"

#include <iterator>
#include <utility>

namespace k274 {

namespace {

// One poll or check raises a few at the most.
K274_State raised[8];
int raisedCount = 0;

} // namespace

void RaiseScanState(K274_State code) {
    if (raisedCount < static_cast<int>(std::size(raised)))
        raised[raisedCount++] = code;
}

void DeliverRaisedStates() {
    const int count = std::exchange(raisedCount, 0);
    for (int i = 0; i < count; ++i)
        SetScanState(raised[i]);
}

void SetScanStateUnlocked(K274_State code) {
    if (const K274_ScanStateCallback callback = state.callback)
        callback(code);
}

void SetScanState(K274_State code) {
    std::lock_guard guard(callbackLock);
    SetScanStateUnlocked(code);
}

} // namespace k274
