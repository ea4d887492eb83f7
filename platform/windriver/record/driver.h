// Another device's driver, and a file that records what passes between it and the host.
#pragma once

#include "platform/recording/recording.h"
#include "platform/windriver/base/backend.h"

#include <atomic>
#include <chrono>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>

namespace wdapi {

class RecordingDriver : public Backend, public std::enable_shared_from_this<RecordingDriver> {
public:
    /// Throws std::runtime_error when the file cannot be made.
    RecordingDriver(const std::string &file, const WDU_MATCH_TABLE &match, const WDU_EVENT_TABLE &host);

    /// What the recorded device calls in the host's place.
    WDU_EVENT_TABLE Events();
    /// @param name  of the device, for the recording
    void Record(std::shared_ptr<Backend> device, const std::string &name);

    void Start() override;
    void AwaitFirstNews() override;
    void Stop() override;
    uint32_t Run(const void *device, const Transfer &transfer) override;
    uint32_t ResetPipe(const void *device, uint32_t pipe) override;
    uint32_t ResetDevice(const void *device, uint32_t options) override;

private:
    using Entry = recording::Entry;

    static int32_t OnAttach(void *device, WDU_DEVICE *info, void *self);
    static void OnDetach(void *device, void *self);
    static int32_t OnPowerChange(void *device, uint32_t state, void *self);
    int32_t TellAttached(void *device, WDU_DEVICE *info);
    void TellDetached(void *device);

    Entry Begin(recording::Kind kind, const void *device);
    void End(Entry &entry, uint32_t status);
    uint64_t Now() const;
    uint16_t NumberOf(const void *device);

    recording::Writer writer_;
    recording::SessionStart start_;
    const WDU_EVENT_TABLE host_;
    std::shared_ptr<Backend> device_;
    std::chrono::steady_clock::time_point began_;
    std::atomic<uint32_t> calls_{0}; // begun so far

    std::mutex mutex_;                                      // guards the rest
    std::deque<std::pair<const void *, uint16_t>> handles_; // of the last attaches, and their numbers
    uint16_t attaches_ = 0;
};

} // namespace wdapi
