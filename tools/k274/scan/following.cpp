// The states of one scan, in the order in which they come.
#include "tools/k274/scan/following.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "include/k274.h"
#include "tools/k274/base/errors.h"
#include "tools/k274/base/output.h"
#include "tools/k274/base/states.h"
#include "wire/status.h"

namespace host {

namespace {

using std::chrono::milliseconds;

constexpr double kDefaultTimeout = 60;
// States that qualify a finished scan (23, 31 to 38) come right behind state 8, and what explains a
// cancelled one (29) right behind state 9.
constexpr milliseconds kTrailing{200};
// A card that jams during the visible pass may end the scan without a state: the jam bit alone tells.
constexpr milliseconds kJamSilence{2000};
constexpr milliseconds kSlotPoll{20};
// Three decoders, one after the other, on a busy machine; and where the mode may leave a card undecoded.
constexpr milliseconds kBarcodes{10000}, kPerhapsBarcodes{3000};
constexpr int32_t kLastModeForAllCards = 2;
constexpr int32_t kNoState = 0;

bool BeginsScan(int32_t state) { return state == K274_STATE_CARD_IN || state == K274_STATE_SCAN_STARTED; }

} // namespace

bool ScanRecord::Saw(int32_t state) const {
    return std::any_of(states.begin(), states.end(),
                       [state](const Event &event) { return event.state == state; });
}

Follower::Follower(const Options &options, Output &output, CardFeeder &feeder, bool full, int count)
    : output_(output), feeder_(feeder), timeout_(options.timeout.value_or(kDefaultTimeout)), full_(full),
      count_(count) {}

void Follower::AskForCard(int number) {
    std::string text =
        count_ > 1 ? "card " + std::to_string(number) + " of " + std::to_string(count_) + ": " : "";
    text += feeder_.HasCards() ? feeder_.Name(static_cast<size_t>(number - 1)) : "waiting for a card";
    output_.Note(text);
    output_.Pending("waiting for the card");
}

// Adds a state to the scan and shows it. A scan begins with "card in", or with its first state when the
// scanner's event was lost: events of the first two seconds after the start are not reported. A scan sent
// again begins with the stripe.
void Follower::Note(ScanRecord &record, const Event &event, int number) {
    if (record.states.empty() && (BeginsScan(event.state) || event.state == K274_STATE_STRIPE_TAKEN)) {
        record.started = std::time(nullptr);
        output_.BeginScan(number, event.time);
        record.states.push_back(event);
    } else if (!record.states.empty()) {
        record.states.push_back(event);
    }
    if (event.state == K274_STATE_BARCODE_READY)
        record.barcode = event.barcode;
    output_.State(event.state, event.time);
    if (const char *stage = StageAfter(event.state, full_))
        output_.Pending(stage);
}

ScanRecord Follower::Card(Session &session, int number) {
    AskForCard(number);
    return UntilComplete(session, number, feeder_.HasCards(), false);
}

ScanRecord Follower::Resent(Session &session, int number) {
    output_.Note("asking the scanner for its last scan");
    output_.Pending("waiting for the scanner");
    K274_ReSend();
    ScanRecord record = UntilComplete(session, number, false, true);
    // Its barcodes are decoded in between, without a state of their own.
    if (record.capture)
        record.barcode = std::make_shared<K274_Barcode>(record.capture->barcode);
    return record;
}

ScanRecord Follower::UntilComplete(Session &session, int number, bool toInsert, bool resent) {
    ScanRecord record;
    Clock::time_point deadline = Deadline(timeout_);
    Clock::time_point last = Clock::now();
    for (;;) {
        // One at a time, when the last one has left: the numbers of the scans stay those of the cards.
        if (toInsert && feeder_.Insert(static_cast<size_t>(number - 1)))
            toInsert = false;
        const std::optional<Event> event = session.Next(std::min(deadline, Clock::now() + kSlotPoll));
        const Clock::time_point now = Clock::now();
        if (!event) {
            if (now >= deadline)
                FailTimeout(record, resent);
            const uint32_t status = K274_ScanState();
            if (record.Saw(K274_STATE_SCAN_STARTED) && now - last > kJamSilence && status <= 0xFFFF &&
                (status & wire::status::kJam) != 0)
                Fail(record);
            continue;
        }
        Note(record, *event, number);
        last = now;
        deadline = Deadline(timeout_);
        switch (event->state) {
        case K274_STATE_COMPLETE:
            record.capture = event->capture;
            return record;
        case K274_STATE_CANCELLED:
        case K274_STATE_CARD_JAMMED:
            TakeUntil(session, record, number, now + kTrailing, kNoState);
            Fail(record);
        case K274_STATE_DISCONNECTED:
            throw HostError(Exit::kDeviceLost,
                            "the scanner was disconnected: check its cable and scan the card again");
        default:
            break;
        }
    }
}

// Up to the moment, or to the state `last`; the next card's states stay for the next turn.
void Follower::TakeUntil(Session &session, ScanRecord &record, int number, Clock::time_point until,
                         int32_t last) {
    while (std::optional<Event> event = session.Next(until)) {
        if (BeginsScan(event->state)) {
            session.Return(std::move(*event));
            return;
        }
        Note(record, *event, number);
        if (event->state == last)
            return;
    }
}

void Follower::AwaitBarcodes(Session &session, ScanRecord &record, int number) {
    // A white card without a readable code of its own is not decoded.
    if (record.Saw(K274_STATE_BARCODE_READY) || record.Saw(K274_STATE_WHITE_CARD))
        return;
    output_.Pending("barcodes");
    const milliseconds patience = K274_GetBcDecMode() <= kLastModeForAllCards ? kBarcodes : kPerhapsBarcodes;
    TakeUntil(session, record, number, Clock::now() + patience, K274_STATE_BARCODE_READY);
}

void Follower::Trailing(Session &session, ScanRecord &record, int number) {
    const auto complete = std::find_if(record.states.begin(), record.states.end(),
                                       [](const Event &event) { return event.state == K274_STATE_COMPLETE; });
    TakeUntil(session, record, number, complete->time + kTrailing, kNoState);
}

bool NextCardCame(Session &session) {
    std::vector<Event> taken;
    while (std::optional<Event> event = session.Next(Clock::now()))
        taken.push_back(std::move(*event));
    const bool came =
        std::any_of(taken.begin(), taken.end(), [](const Event &event) { return BeginsScan(event.state); });
    for (auto event = taken.rbegin(); event != taken.rend(); ++event)
        session.Return(std::move(*event));
    return came;
}

void Follower::Fail(const ScanRecord &record) const {
    if (record.Saw(K274_STATE_CARD_JAMMED) || !record.Saw(K274_STATE_CANCELLED))
        throw HostError(Exit::kJammed,
                        "the card jammed: open the scanner, take the card out and scan it again");
    if (record.Saw(K274_STATE_CLEANING_CARD))
        throw HostError(Exit::kCancelled,
                        "the scan was cancelled: this is a cleaning card, insert the one to scan");
    throw HostError(Exit::kCancelled, "the scan was cancelled: insert the card again (--log DIR tells more)");
}

void Follower::FailTimeout(const ScanRecord &record, bool resent) const {
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%g s", timeout_);
    if (record.states.empty() && resent)
        throw HostError(Exit::kTimeout, std::string("the scanner did not send its last scan within ") +
                                            seconds + ": scan the card again");
    if (record.states.empty())
        throw HostError(Exit::kTimeout, std::string("no card came within ") + seconds +
                                            ": insert one, or give a longer --timeout");
    throw HostError(Exit::kTimeout, std::string("the scan stopped after \"") +
                                        DescribeState(record.states.back().state).text +
                                        "\", nothing came for " + seconds +
                                        ": take the card out and scan it again");
}

} // namespace host
