// The thread that tells the host of a scanner's coming and going. What there is to tell, its driver knows.
#pragma once

#include "platform/windriver/wdapi.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace wdapi {

class News {
public:
    using Lock = std::unique_lock<std::mutex>;
    using TimePoint = std::chrono::steady_clock::time_point;

    /// What came of looking for news.
    struct Look {
        bool told;                          // something, perhaps without the lock: look again at once
        bool caughtUp = false;              // the host knows of what was there when it opened the driver
        TimePoint until = TimePoint::max(); // look again then, or when something changes
    };

    /// @param mutex, changed  of the driver, whose every change is notified
    News(std::mutex &mutex, std::condition_variable &changed, const WDU_EVENT_TABLE &host)
        : mutex_(mutex), changed_(changed), host_(host) {}

    /// Starts the thread. It looks for news under the lock until the end, and keeps what `look` holds until
    /// then: the driver, which a host may close from within a callback.
    void Start(std::function<Look(Lock &)> look);
    /// Waits until the host has been told of a scanner that is there already, but not for ever.
    void AwaitFirst(std::chrono::milliseconds patience);

    /// Under the lock: nothing is looked for from here on.
    void Close();
    bool Closing() const { return closing_; }
    /// Without the lock, behind Close: no callback runs after it has returned.
    void Join();

    // Calls of the host, on the thread. The lock is let go of meanwhile.

    /// Whether the host accepts the scanner; one without a callback does.
    bool TellAttached(Lock &lock, void *device, WDU_DEVICE *info) const;
    void TellDetached(Lock &lock, void *device) const;

private:
    void Run(const std::function<Look(Lock &)> &look);

    std::mutex &mutex_;
    std::condition_variable &changed_;
    const WDU_EVENT_TABLE host_;
    std::thread thread_;

    // Under the mutex.
    bool closing_ = false, firstTold_ = false;
};

} // namespace wdapi
