// The scan as the host follows it: the status word and the stages of a card on its way through.
//
// The host gives no start command. It polls, and each poll moves the scan on by one stage at most, as soon
// as the stage has lasted long enough and, where the stage has lines, the host has got them. So every stage
// is seen by at least one poll, however fast the clock runs.
#pragma once

#include "scanner/firmware/clock.h"
#include "scanner/firmware/device_log.h"
#include "scanner/firmware/event_queue.h"

#include <cstdint>

namespace scanner {

enum class Stage { Idle, CardIn, First, Rgb, Ir, Last, End };

class StatusMachine {
public:
    StatusMachine(const Clock &clock, EventQueue &events, DeviceLog &log);

    // ---- the host's side ----

    /// Any command: the host is alive. Notices that it was silent for too long.
    void HostSpoke();
    /// A status poll. @return the status word
    uint16_t Poll(uint8_t scanMode);
    /// A request for RGB lines from `lowestLine` upwards.
    void RgbLinesAsked(int lowestLine);

    // ---- the card's side ----

    /// The transport is free and the host has seen that: the next card may be drawn in.
    bool ReadyForCard() const;
    /// Draws a card in; ReadyForCard holds.
    void DrawCard();
    /// Ends a scan that is not finished; the host is still shown the end. Nothing happens without one.
    void Cancel(const char *why);
    /// As Cancel, without a host to show anything to: the card is out at once.
    void Abandon(const char *why);
    /// Notices the passing of time when no host speaks.
    void CheckHost();

    bool Scanning() const { return stage_ != Stage::Idle; }
    uint16_t Word() const;
    /// RGB lines that the head has read in the last scan, 0 to kScanLines, counted from the far end of the
    /// card.
    int RgbProgress() const;
    /// False while the head has still to come to `line`.
    bool RgbLineReady(int line) const;
    /// Real moment at which the head will have read `line`; the farthest one when it does not move.
    Clock::TimePoint RgbLineMoment(int line) const;
    unsigned Finished() const { return finished_; }
    unsigned Cancelled() const { return cancelled_; }

private:
    struct Lines { // what the host has done about the lines of this stage
        bool asked, complete;
        unsigned pollsSince; // polls since the stage began or lines were last asked for
        double lastAsked;    // scanner's time, or the stage's begin
        double lastAskedReal;
    };
    void Enter(Stage stage);
    void Step(uint8_t scanMode);
    bool StageOver() const;
    bool Lasted(double seconds) const;
    void EndScan(bool finished, const char *why);
    void CardOut();

    const Clock &clock_;
    EventQueue &events_;
    DeviceLog &log_;
    Stage stage_ = Stage::Idle;
    double since_ = 0;   // scanner's time of the stage's begin
    unsigned shown_ = 0; // polls that this stage has answered
    int rgbDone_ = 0;    // progress of the pass that is over
    bool firstCard_ = true;
    Lines lines_{};
    double lastSpoke_ = 0, lastPoll_ = 0; // real seconds
    unsigned finished_ = 0, cancelled_ = 0;
};

const char *StageName(Stage stage);

} // namespace scanner
