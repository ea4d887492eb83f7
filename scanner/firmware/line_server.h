// Serves the lines of the last scan: a request waits until the head has read its lines, and a scan's lines
// stay until the next card or a clear.
#pragma once

#include "scanner/firmware/handler.h"
#include "scanner/firmware/status_machine.h"
#include "scanner/optics/optics.h"

#include <memory>

namespace scanner {

class LineServer {
public:
    LineServer();

    /// Seeds the scans to come and begins their count anew.
    void SetSeed(uint32_t seed);
    void StartScan(std::shared_ptr<const Card> card, const SensorGains &gains);
    /// How unevenly the transport runs from the next scan on, in 1/65536 columns.
    void SetJitter(int32_t jitter) { jitter_ = jitter; }
    /// Forgets the lines.
    void Clear() { card_.reset(); }
    uint32_t Seed() const { return seed_; }
    const WhiteResponse &Lamps() const { return lamps_; }
    /// What the last scan saw; null when nothing was scanned.
    const Scene *LastScene() const { return card_ ? &scene_ : nullptr; }

    /// Notes a request for lines; false when one packet cannot carry them.
    bool Ask(Pass pass, const Command &command, StatusMachine &status);
    bool Asked() const { return asked_; }
    void Withdraw() { asked_ = false; }
    /// Real moment at which the lines asked for will be there.
    Clock::TimePoint Moment(const StatusMachine &status) const { return status.LinesMoment(pass_, Needed()); }
    /// Answers the request when its lines are there. False when they will never be.
    bool Serve(StatusMachine &status, Reply &reply);

private:
    int Needed() const { return LinesNeeded(pass_, request_.word0, request_.word1); }

    WhiteResponse lamps_;
    uint32_t seed_ = 1, scans_ = 0;
    int32_t jitter_ = 0;
    std::shared_ptr<const Card> card_; // null: nothing scanned, all lines are black
    Scene scene_{};
    Pass pass_ = Pass::Rgb;
    Command request_;
    bool asked_ = false;
};

Handler RgbLines, IrLines, UvLines, HiresLines;

} // namespace scanner
