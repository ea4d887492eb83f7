// The scan as the host follows it: the status word and the stages of a card on its way through.
//
// The host gives no start command. It polls, and each poll moves the scan on by one stage at most, as soon
// as the stage has lasted long enough and, where the stage has lines, the host has got them. So every stage
// is seen by at least one poll, however fast the clock runs.
#pragma once

#include "scanner/firmware/clock.h"
#include "scanner/firmware/device_log.h"
#include "scanner/firmware/event_queue.h"
#include "scanner/firmware/line_pass.h"

#include <array>
#include <cstdint>
#include <optional>

namespace scanner {

enum class Stage { Idle, CardIn, First, Rgb, Ir, Last, End, Cleaning, Jammed };

class StatusMachine {
public:
    StatusMachine(const Clock &clock, EventQueue &events, DeviceLog &log);

    // ---- the host's side ----

    /// Any command: the host is alive. Notices that it was silent for too long.
    void HostSpoke();
    /// A status poll. @return the status word
    /// @param lastPass  what the last stage reads, if anything
    uint16_t Poll(uint8_t scanMode, std::optional<Pass> lastPass);
    /// A request for lines that are there when the head has read `needed` lines of the pass.
    void LinesAsked(Pass pass, int needed);

    // ---- the card's side ----

    /// The transport is free and the host has seen that: the next card may be drawn in.
    bool ReadyForCard() const;
    /// Draws a card in; ReadyForCard holds.
    void DrawCard(Behaviour behaviour);
    /// Ends a scan that is not finished; the host is still shown the end. Nothing happens without one.
    void Cancel(const char *why);
    /// As Cancel, without a host to show anything to: the card is out at once.
    void Abandon(const char *why);
    /// Notices the passing of time when no host speaks.
    void CheckHost();

    bool Scanning() const { return stage_ != Stage::Idle; }
    uint16_t Word() const;
    /// Lines that the head has read in this pass of the last scan.
    int LinesRead(Pass pass) const;
    /// What the last stage reads, or read in the last scan.
    std::optional<Pass> LastPass() const { return lastPass_; }
    enum class Lines { Ready, Coming, Never };
    /// Whether so many lines of the pass are read. A request for lines behind a jam is what stops a card
    /// that jams.
    Lines LinesThere(Pass pass, int needed);
    /// Real moment at which the head will have read so many lines; the farthest one when it does not move.
    Clock::TimePoint LinesMoment(Pass pass, int needed) const;
    unsigned Finished() const { return finished_; }
    unsigned Cancelled() const { return cancelled_; }

private:
    struct Fetched { // what the host has done about the lines of this stage
        bool asked, complete;
        unsigned pollsSince; // polls since the stage began or lines were last asked for
        double lastAsked;    // scanner's time, or the stage's begin
        double lastAskedReal;
    };
    /// The pass whose lines the head reads in this stage.
    std::optional<Pass> Running() const;
    int &Done(Pass pass) { return done_[static_cast<size_t>(pass)]; }
    double LinesPerSecond(Pass pass) const;
    Stage After(uint8_t scanMode) const;
    void Enter(Stage stage);
    void Step(uint8_t scanMode);
    bool StageOver() const;
    bool Lasted(double seconds) const;
    bool AtJam() const;
    void Jam();
    /// What the running pass has read is all that it will.
    void StopHead();
    void EndScan(bool finished, const char *why);
    void CardOut();

    const Clock &clock_;
    EventQueue &events_;
    DeviceLog &log_;
    Stage stage_ = Stage::Idle;
    double since_ = 0;                // scanner's time of the stage's begin
    unsigned shown_ = 0;              // polls that this stage has answered
    std::array<int, kPasses> done_{}; // lines of the passes that are over
    bool firstCard_ = true;
    std::optional<Pass> lastPass_;
    Behaviour behaviour_ = Behaviour::kNormal;
    Fetched fetched_{};
    double lastSpoke_ = 0, lastPoll_ = 0; // real seconds
    unsigned pauses_ = 0;                 // polls in a row as a host makes that waits for nothing
    unsigned finished_ = 0, cancelled_ = 0;
};

const char *StageName(Stage stage);

} // namespace scanner
