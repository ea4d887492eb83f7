#include "src/scan/wait.h"

#include "platform/os/os.h"
#include "src/common/running.h"
#include "src/scan/status.h"
#include "src/state/flags.h"
#include "wire/status.h"

namespace k274 {

namespace {

constexpr int kMostPolls = 200;
constexpr int kTimelyPolls = 180;
constexpr uint32_t kPollIntervalMs = 10;

} // namespace

int32_t WaitForStatus(uint32_t mask, bool acceptIdle) {
    // A scan that begins while the host's request for the last one is posted runs without waiting.
    if (state.resendRequest)
        return 0;
    int counter = 0;
    for (;;) {
        const int polls = counter++;
        if (polls >= kMostPolls || !Running())
            break;
        const auto word = static_cast<uint32_t>(PollStatus());
        if (word & wire::status::kEnd || (word & mask) == mask || (acceptIdle && word == 0))
            break;
        os::SleepMs(kPollIntervalMs);
    }
    return counter > kTimelyPolls ? kWaitFailed : static_cast<int32_t>(state.statusWord.load());
}

} // namespace k274
