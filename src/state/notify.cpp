#include "src/state/notify.h"

#include "src/state/flags.h"
#include "src/state/locks.h"

#include <iterator>
#include <utility>

namespace k274 {

void RaiseScanState(K274_State code) {
    if (raisedStates.count < static_cast<int>(std::size(raisedStates.codes)))
        raisedStates.codes[raisedStates.count++] = code;
}

void DeliverRaisedStates() {
    const int count = std::exchange(raisedStates.count, 0);
    for (int i = 0; i < count; ++i)
        SetScanState(raisedStates.codes[i]);
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
