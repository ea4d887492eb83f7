// Serves the lines of the last scan: a request waits until the head has read its lines, and a scan's lines
// stay until the next card or a clear.
#pragma once

#include "scanner/firmware/packet.h"
#include "scanner/firmware/status_machine.h"
#include "scanner/optics/optics.h"

#include <memory>

namespace scanner {

class LineServer {
public:
    LineServer();

    /// Seeds the scans to come and begins their count anew.
    void SetSeed(uint32_t seed);
    void StartScan(std::shared_ptr<const Card> card);
    /// Forgets the lines.
    void Clear() { card_.reset(); }
    const WhiteResponse &Lamps() const { return lamps_; }

    /// Notes a request for RGB lines; false when one packet cannot carry them.
    bool Ask(const Command &command, StatusMachine &status);
    bool Asked() const { return asked_; }
    void Withdraw() { asked_ = false; }
    /// Real moment at which the lines asked for will be there.
    Clock::TimePoint Moment(const StatusMachine &status) const { return status.RgbLineMoment(Lowest()); }
    /// Answers the request when its lines are there.
    void Serve(const StatusMachine &status, Reply &reply);

private:
    int Lowest() const { return request_.word0; }

    WhiteResponse lamps_;
    uint32_t seed_ = 1, scans_ = 0;
    std::shared_ptr<const Card> card_; // null: nothing scanned, all lines are black
    Scene scene_{};
    Command request_;
    bool asked_ = false;
};

} // namespace scanner
