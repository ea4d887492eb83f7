// The library while a command runs: start and stop, the queue that the callback fills, Ctrl-C, time-outs.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

#include "tools/k274/base/clock.h"
#include "tools/k274/base/options.h"
#include "tools/k274/facts/capture.h"

namespace host {

class Output;

struct Event {
    int32_t state;
    Clock::time_point time;
    std::shared_ptr<const Capture> capture;      // with state 8, when captures were asked for
    std::shared_ptr<const K274_Barcode> barcode; // with state 4, likewise
};

struct SessionSettings {
    uint8_t scanMode = 0;
    bool capture = false; // copy the images at state 8, the barcodes at state 4
    bool barcodes = true;
    int32_t decodeMode = 0;
};

/// The library passes a reset notice on only when more than two whole seconds have gone since its start.
constexpr std::chrono::milliseconds kUntilNotices{3500};

class Session {
public:
    /// Chooses the device and starts the library. Throws HostError.
    Session(const Options &options, Output &output, const SessionSettings &settings = {});
    /// Stops the library.
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    /// The next state; none when the deadline passes first. Throws HostError after Ctrl-C or SIGTERM.
    std::optional<Event> Next(Clock::time_point deadline);
    /// Puts an event back in front of the others.
    void Return(Event event);

    /// Waits for state 10 and shows what else comes. Throws HostError(kNoDevice) after the deadline.
    void WaitOnline(Clock::time_point deadline);
    /// Shows all states that come until the deadline.
    void ShowUntil(Clock::time_point deadline);

    Clock::time_point Start() const { return start_; }

private:
    Output &output_;
    Clock::time_point start_;
    bool attached_ = false; // K274_Init found a scanner
};

} // namespace host
