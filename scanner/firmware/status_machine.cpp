// Moves a card through its stages.
#include "scanner/firmware/status_machine.h"

#include "wire/events.h"
#include "wire/status.h"

#include <algorithm>
#include <string>

namespace scanner {
namespace {

constexpr double kBetweenCards = 0.5; // seconds that a user needs to put in the next card

// A host that polls on without asking for a line has no interest in the lines of this stage. At speed 0 only
// the polls count.
constexpr unsigned kUninterestedPolls = 20, kUninterestedPollsInstant = 5;
constexpr double kUninterestedSeconds = 1.0;

// A host that breaks off a transfer goes back to polling about ten times a second. It would take the word of
// a stage with lines for a new card, so a poll after such a pause (in real seconds) ends the scan.
constexpr double kGivenUpSeconds = 0.08;

// A cleaning card shows no end while a host waits for the first stage: as long as it polls without pauses,
// which it does not more often than so.
constexpr unsigned kCleaningPolls = 250, kCleaningPauses = 3;

// Where a card that jams comes to a stop, in lines of visible light, and how the event names that light.
constexpr int kJamLine = 1200;
constexpr char kJamLight[] = " illum = 1";

// A host that does not speak for so long (in real seconds, whatever the speed) has vanished. It may be busy
// with an image or with its user, therefore not less.
constexpr double kHostTimeout = 15;

// The word of a card under way tells all that it has come to.
namespace status = wire::status;
constexpr uint16_t kCardWord = status::kCard, kFirstWord = kCardWord | status::kFirst,
                   kRgbWord = kFirstWord | status::kRgb, kIrWord = kRgbWord | status::kRgbOver | status::kIr,
                   kLastWord = kIrWord | status::kLast;

struct StageInfo {
    const char *name;
    uint16_t word;
    double seconds; // how long it lasts at least
};

constexpr StageInfo kStages[] = {
    {"idle", 0, kBetweenCards},    {"card in", kCardWord, 0.2},
    {"first", kFirstWord, 0.5},    {"RGB", kRgbWord, 2.5},
    {"IR", kIrWord, 1.5},          {"last", kLastWord, 1.5},
    {"end", status::kEnd, 0.3},    {"cleaning", status::kCleaning, 2.5},
    {"jammed", status::kJam, 1.0},
};

const StageInfo &Info(Stage stage) { return kStages[static_cast<size_t>(stage)]; }

constexpr Stage kPassStages[kPasses] = {Stage::Rgb, Stage::Ir, Stage::Last, Stage::Last, Stage::Last};

// The full pass at twice the pitch takes so long while a host reads it; the others take as long as their
// stages.
constexpr double kFullSeconds = 6.0;

Stage StageOf(Pass pass) { return kPassStages[static_cast<size_t>(pass)]; }

double PassSeconds(Pass pass) { return pass == Pass::Full ? kFullSeconds : Info(StageOf(pass)).seconds; }

} // namespace

const char *StageName(Stage stage) { return Info(stage).name; }

StatusMachine::StatusMachine(const Clock &clock, EventQueue &events, DeviceLog &log)
    : clock_(clock), events_(events), log_(log) {}

void StatusMachine::HostSpoke() {
    CheckHost();
    lastSpoke_ = clock_.RealNow();
}

uint16_t StatusMachine::Poll(uint8_t scanMode, std::optional<Pass> lastPass) {
    const double now = clock_.RealNow();
    const bool brokenOff = Running() && fetched_.asked && !fetched_.complete;
    pauses_ = now - lastPoll_ >= kGivenUpSeconds ? pauses_ + 1 : 0;
    if (stage_ != Stage::Last)
        lastPass_ = lastPass;
    if (brokenOff && now - std::max(lastPoll_, fetched_.lastAskedReal) >= kGivenUpSeconds)
        Cancel("the host broke off its transfer");
    else if (AtJam() && shown_ > 0 && !brokenOff)
        Jam();
    else
        Step(scanMode);
    lastPoll_ = now;
    shown_++;
    fetched_.pollsSince++;
    return Word();
}

void StatusMachine::LinesAsked(Pass pass, int needed) {
    if (Running() != pass)
        return;
    fetched_.asked = true;
    fetched_.complete |= needed >= scanner::Info(pass).enough;
    fetched_.pollsSince = 0;
    fetched_.lastAsked = clock_.Now();
    fetched_.lastAskedReal = clock_.RealNow();
}

bool StatusMachine::ReadyForCard() const {
    return stage_ == Stage::Idle && shown_ > 0 && (firstCard_ || Lasted(kBetweenCards));
}

void StatusMachine::DrawCard(Behaviour behaviour) {
    firstCard_ = false;
    behaviour_ = behaviour;
    done_ = {};
    events_.Post(wire::event::kCardIn);
    Enter(Stage::CardIn);
}

void StatusMachine::Cancel(const char *why) {
    // A jammed card is being taken out already.
    if (Scanning() && stage_ != Stage::End && stage_ != Stage::Jammed)
        EndScan(false, why);
}

void StatusMachine::Abandon(const char *why) {
    Cancel(why);
    if (Scanning())
        CardOut();
}

void StatusMachine::CheckHost() {
    if (!Scanning() || clock_.RealNow() - lastSpoke_ < kHostTimeout)
        return;
    if (stage_ != Stage::End)
        events_.Post(wire::event::kScanTimeout);
    Abandon("the host is silent");
}

uint16_t StatusMachine::Word() const { return Info(stage_).word; }

std::optional<Pass> StatusMachine::Running() const {
    switch (stage_) {
    case Stage::Rgb:
        return Pass::Rgb;
    case Stage::Ir:
        return Pass::Ir;
    case Stage::Last:
        return lastPass_;
    default:
        return std::nullopt;
    }
}

double StatusMachine::LinesPerSecond(Pass pass) const { return scanner::Info(pass).read / PassSeconds(pass); }

int StatusMachine::LinesRead(Pass pass) const {
    if (Running() != pass)
        return done_[static_cast<size_t>(pass)];
    const int all = behaviour_ == Behaviour::kJamming ? kJamLine : scanner::Info(pass).read;
    if (clock_.Instant())
        return all;
    const double lines = (clock_.Now() - since_) * LinesPerSecond(pass);
    return static_cast<int>(std::clamp(lines, 0.0, static_cast<double>(all)));
}

StatusMachine::Lines StatusMachine::LinesThere(Pass pass, int needed) {
    if (needed <= LinesRead(pass))
        return Lines::Ready;
    if (AtJam() && pass == Pass::Rgb)
        Jam();
    if (stage_ == Stage::Jammed)
        return Lines::Never;
    const bool toCome = stage_ == Stage::CardIn || stage_ == Stage::First ||
                        (Running() && (*Running() == pass || StageOf(*Running()) < StageOf(pass)));
    return toCome ? Lines::Coming : Lines::Ready;
}

Clock::TimePoint StatusMachine::LinesMoment(Pass pass, int needed) const {
    if (Running() != pass)
        return Clock::TimePoint::max();
    const int lines = behaviour_ == Behaviour::kJamming ? std::min(needed, kJamLine) : needed;
    constexpr auto kRoundingMargin = std::chrono::microseconds(100);
    return clock_.Moment(since_ + lines / LinesPerSecond(pass)) + kRoundingMargin;
}

Stage StatusMachine::After(uint8_t scanMode) const {
    switch (stage_) {
    case Stage::CardIn:
        return behaviour_ == Behaviour::kCleaning ? Stage::Cleaning : Stage::First;
    case Stage::First:
        return Stage::Rgb;
    case Stage::Rgb:
        return scanMode == wire::kVisibleLightOnly ? Stage::End : Stage::Ir;
    case Stage::Ir:
        return Stage::Last;
    case Stage::Last:
    case Stage::Cleaning:
        return Stage::End;
    case Stage::End:
    case Stage::Jammed:
    case Stage::Idle:
        break;
    }
    return Stage::Idle;
}

void StatusMachine::Enter(Stage stage) {
    log_.Line("stage %s", StageName(stage));
    stage_ = stage;
    since_ = clock_.Now();
    shown_ = 0;
    fetched_ = {false, false, 0, since_, 0};
}

void StatusMachine::Step(uint8_t scanMode) {
    if (!Scanning() || !StageOver())
        return;
    if (const auto pass = Running())
        Done(*pass) = scanner::Info(*pass).read;
    const Stage next = After(scanMode);
    if (stage_ == Stage::Cleaning)
        EndScan(false, "cleaning card");
    else if (next == Stage::End)
        EndScan(true, "");
    else if (next == Stage::Idle)
        CardOut();
    else
        Enter(next);
    if (next == Stage::Cleaning)
        events_.Post(wire::event::kCleaningCard);
}

bool StatusMachine::Lasted(double seconds) const {
    return shown_ > 0 && (clock_.Instant() || clock_.Now() - since_ >= seconds);
}

bool StatusMachine::StageOver() const {
    if (!Lasted(Info(stage_).seconds))
        return false;
    if (stage_ == Stage::Cleaning)
        return std::min(pauses_, shown_) >= kCleaningPauses || shown_ >= kCleaningPolls;
    if (!Running() || fetched_.complete)
        return true;
    if (clock_.Instant())
        return fetched_.pollsSince >= kUninterestedPollsInstant;
    return fetched_.pollsSince >= kUninterestedPolls &&
           clock_.Now() - fetched_.lastAsked >= kUninterestedSeconds;
}

bool StatusMachine::AtJam() const {
    return behaviour_ == Behaviour::kJamming && stage_ == Stage::Rgb && LinesRead(Pass::Rgb) >= kJamLine;
}

void StatusMachine::Jam() {
    StopHead();
    cancelled_++;
    events_.Post(std::string(wire::event::kCardJammed) + kJamLight);
    Enter(Stage::Jammed);
}

void StatusMachine::StopHead() {
    if (const auto pass = Running())
        Done(*pass) = LinesRead(*pass);
}

void StatusMachine::EndScan(bool finished, const char *why) {
    if (finished) {
        finished_++;
        events_.Post(wire::event::kScanDone);
    } else {
        StopHead();
        cancelled_++;
        log_.Line("scan cancelled in stage %s: %s", StageName(stage_), why);
    }
    Enter(Stage::End);
}

void StatusMachine::CardOut() {
    events_.Post(wire::event::kCardEjected);
    events_.Post(wire::event::kCardOut);
    Enter(Stage::Idle);
}

} // namespace scanner
