// Moves a card through its stages.
#include "scanner/firmware/status_machine.h"

#include "scanner/optics/optics.h"

#include <algorithm>

namespace scanner {
namespace {

constexpr double kHeadLinesPerSecond = kScanLines / 2.5;
constexpr double kBetweenCards = 0.5; // seconds that a user needs to put in the next card

// A host that has got this line has the card: it may stop there or read on to the end.
constexpr int kCompleteLine = 224;

// A host that polls on without asking for a line has no interest in the lines of this stage. At speed 0 only
// the polls count.
constexpr unsigned kUninterestedPolls = 20, kUninterestedPollsInstant = 5;
constexpr double kUninterestedSeconds = 1.0;

// A host that breaks off a transfer goes back to polling about ten times a second. It would take the RGB
// word for a new card, so a poll after such a pause (in real seconds) ends the scan.
constexpr double kGivenUpSeconds = 0.08;

// A host that does not speak for so long (in real seconds, whatever the speed) has vanished. It may be busy
// with an image or with its user, therefore not less.
constexpr double kHostTimeout = 15;

struct StageInfo {
    const char *name;
    uint16_t word;
    double seconds; // how long it lasts at least
};

// The stages of light that this scanner has no lines for last long enough to be seen and no longer.
constexpr StageInfo kStages[] = {
    {"idle", 0x0000, kBetweenCards},
    {"card in", 0x0001, 0.2},
    {"first", 0x0003, 0.5},
    {"RGB", 0x0007, 2.5},
    {"IR", 0x001F, 1.0},
    {"last", 0x005F, 1.0},
    {"end", 0x8000, 0.3},
};

const StageInfo &Info(Stage stage) { return kStages[static_cast<size_t>(stage)]; }

constexpr uint8_t kVisibleLightOnly = 'R';

Stage After(Stage stage, uint8_t scanMode) {
    switch (stage) {
    case Stage::CardIn:
        return Stage::First;
    case Stage::First:
        return Stage::Rgb;
    case Stage::Rgb:
        return scanMode == kVisibleLightOnly ? Stage::End : Stage::Ir;
    case Stage::Ir:
        return Stage::Last;
    case Stage::Last:
        return Stage::End;
    case Stage::End:
    case Stage::Idle:
        break;
    }
    return Stage::Idle;
}

} // namespace

const char *StageName(Stage stage) { return Info(stage).name; }

StatusMachine::StatusMachine(const Clock &clock, EventQueue &events, DeviceLog &log)
    : clock_(clock), events_(events), log_(log) {}

void StatusMachine::HostSpoke() {
    CheckHost();
    lastSpoke_ = clock_.RealNow();
}

uint16_t StatusMachine::Poll(uint8_t scanMode) {
    const double now = clock_.RealNow();
    const bool brokenOff = stage_ == Stage::Rgb && lines_.asked && !lines_.complete;
    if (brokenOff && now - std::max(lastPoll_, lines_.lastAskedReal) >= kGivenUpSeconds)
        Cancel("the host broke off the RGB lines");
    else
        Step(scanMode);
    lastPoll_ = now;
    shown_++;
    lines_.pollsSince++;
    return Word();
}

void StatusMachine::RgbLinesAsked(int lowestLine) {
    lines_.asked = true;
    lines_.complete |= lowestLine <= kCompleteLine;
    lines_.pollsSince = 0;
    lines_.lastAsked = clock_.Now();
    lines_.lastAskedReal = clock_.RealNow();
}

bool StatusMachine::ReadyForCard() const {
    return stage_ == Stage::Idle && shown_ > 0 && (firstCard_ || Lasted(kBetweenCards));
}

void StatusMachine::DrawCard() {
    firstCard_ = false;
    rgbDone_ = 0;
    events_.Post("Card in");
    Enter(Stage::CardIn);
}

void StatusMachine::Cancel(const char *why) {
    if (Scanning() && stage_ != Stage::End)
        EndScan(false, why);
}

void StatusMachine::Abandon(const char *why) {
    Cancel(why);
    if (stage_ == Stage::End)
        CardOut();
}

void StatusMachine::CheckHost() {
    if (!Scanning() || clock_.RealNow() - lastSpoke_ < kHostTimeout)
        return;
    if (stage_ != Stage::End)
        events_.Post("Scan timeout");
    Abandon("the host is silent");
}

uint16_t StatusMachine::Word() const { return Info(stage_).word; }

int StatusMachine::RgbProgress() const {
    if (stage_ != Stage::Rgb)
        return rgbDone_;
    if (clock_.Instant())
        return kScanLines;
    const double lines = (clock_.Now() - since_) * kHeadLinesPerSecond;
    return static_cast<int>(std::clamp(lines, 0.0, double{kScanLines}));
}

bool StatusMachine::RgbLineReady(int line) const {
    if (stage_ == Stage::CardIn || stage_ == Stage::First)
        return false;
    return stage_ != Stage::Rgb || line >= kScanLines - RgbProgress();
}

Clock::TimePoint StatusMachine::RgbLineMoment(int line) const {
    if (stage_ != Stage::Rgb)
        return Clock::TimePoint::max();
    const int lines = kScanLines - std::clamp(line, 0, kScanLines - 1);
    constexpr auto kRoundingMargin = std::chrono::microseconds(100);
    return clock_.Moment(since_ + lines / kHeadLinesPerSecond) + kRoundingMargin;
}

void StatusMachine::Enter(Stage stage) {
    log_.Line("stage %s", StageName(stage));
    stage_ = stage;
    since_ = clock_.Now();
    shown_ = 0;
    lines_ = {false, false, 0, since_, 0};
}

void StatusMachine::Step(uint8_t scanMode) {
    if (!Scanning() || !StageOver())
        return;
    if (stage_ == Stage::Rgb)
        rgbDone_ = kScanLines;
    const Stage next = After(stage_, scanMode);
    if (next == Stage::End)
        EndScan(true, "");
    else if (next == Stage::Idle)
        CardOut();
    else
        Enter(next);
}

bool StatusMachine::Lasted(double seconds) const {
    return shown_ > 0 && (clock_.Instant() || clock_.Now() - since_ >= seconds);
}

bool StatusMachine::StageOver() const {
    if (!Lasted(Info(stage_).seconds))
        return false;
    if (stage_ != Stage::Rgb || lines_.complete)
        return true;
    if (clock_.Instant())
        return lines_.pollsSince >= kUninterestedPollsInstant;
    return lines_.pollsSince >= kUninterestedPolls && clock_.Now() - lines_.lastAsked >= kUninterestedSeconds;
}

void StatusMachine::EndScan(bool finished, const char *why) {
    rgbDone_ = RgbProgress();
    if (finished) {
        finished_++;
        events_.Post("Scan Done");
    } else {
        cancelled_++;
        log_.Line("scan cancelled in stage %s: %s", StageName(stage_), why);
    }
    Enter(Stage::End);
}

void StatusMachine::CardOut() {
    events_.Post("Card ejected");
    events_.Post("Card out");
    Enter(Stage::Idle);
}

} // namespace scanner
