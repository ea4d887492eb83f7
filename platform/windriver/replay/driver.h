// A scanner out of a recording: arrivals and departures are told and calls answered as they were recorded.
#pragma once

#include "platform/windriver/base/backend.h"
#include "platform/windriver/base/news.h"
#include "platform/windriver/replay/script.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace wdapi {

class ReplayDriver : public Backend, public std::enable_shared_from_this<ReplayDriver> {
public:
    /// The recording's first session, or the one behind that which this process has replayed last.
    /// Throws std::runtime_error with a text for people.
    ReplayDriver(const std::string &file, const WDU_EVENT_TABLE &events);

    void Start() override;
    void AwaitFirstNews() override;
    void Stop() override;
    uint32_t Run(const void *device, const Transfer &transfer) override;
    uint32_t ResetPipe(const void *device, uint32_t pipe) override;
    uint32_t ResetDevice(const void *device, uint32_t options) override;

private:
    using Lock = News::Lock;
    using TimePoint = News::TimePoint;

    News::Look LookForNews(Lock &lock);
    void TellAttached(Lock &lock, const Step &step);
    void TellDetached(Lock &lock);
    TimePoint Due(const Step &step) const;
    uint32_t Perform(const Call &call, const Transfer *transfer);
    std::optional<Step> Find(const Call &call);
    uint32_t Answer(Lock &lock, Step step, const Transfer *transfer);
    void TellRestart(Lock &lock, Step &step);
    uint32_t Unmatched(const Call &call, const Transfer *transfer);
    uint32_t RepeatPoll(const Transfer *transfer);
    void NoteWaiting();
    void Say(const std::string &text) const;

    const std::string file_;
    const double speed_; // 0: without waiting

    // What the host is told of; the driver's thread alone.
    WDU_DEVICE info_{};
    WDU_INTERFACE interfaces_[32] = {};
    WDU_ALTERNATE_SETTING settings_[32] = {};

    std::mutex mutex_; // guards the rest
    std::condition_variable changed_;
    News news_;
    ReplayScript script_;
    bool departed_ = false;        // the host, from the recording
    uintptr_t attached_ = 0;       // number of the attach that the host knows of, 0: none
    uintptr_t lastAttached_ = 0;   // the highest so far
    TimePoint start_, lastStep_;   // when the driver was opened; when a step was used up
    bool called_ = false;          // by the host
    std::optional<Step> lastPoll_; // reply of it
    bool repeating_ = false;       // the next read belongs to a poll that was not recorded
    int repeats_ = 0;              // in a row
};

} // namespace wdapi
