// Whether the library runs. The log writes only then, and every wait and transfer loop ends at its next check
// when it does not.
#pragma once

#include <atomic>

namespace k274 {

/// Set by the monitor thread when it begins, cleared by K274_Close.
extern std::atomic<bool> running;

/// False from K274_Close on.
inline bool Running() { return running; }

} // namespace k274
