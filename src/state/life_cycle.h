// Where the library stands between K274_Init and K274_Close.
#pragma once

#include <mutex>

namespace k274 {

enum class Life { Closed, Opening, Open, Closing };

struct LifeCycle {
    std::mutex lock; // guards the two values below, for a moment each time
    Life life = Life::Closed;
    bool closeRequested = false; // K274_Close came while the library was opening
};
extern LifeCycle lifeCycle;

} // namespace k274
