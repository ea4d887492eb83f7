// Follows scans from the card to the last state that belongs to them.
#pragma once

#include <ctime>
#include <memory>
#include <vector>

#include "tools/k274/base/options.h"
#include "tools/k274/scan/session.h"
#include "tools/k274/scan/virtual_device.h"

namespace host {

class Output;

struct ScanRecord {
    std::vector<Event> states;                   // the first one is time zero
    std::shared_ptr<const Capture> capture;      // of state 8
    std::shared_ptr<const K274_Barcode> barcode; // of state 4, null when nothing was decoded
    std::time_t started = 0;

    bool Saw(int32_t state) const;
};

class Follower {
public:
    /// @param count cards to come, for what is shown
    Follower(const Options &options, Output &output, CardFeeder &feeder, bool full, int count);

    /// The next card, up to state 8. Throws HostError when it is cancelled, jams or does not come.
    ScanRecord Card(Session &session, int number);
    /// The last scan once more, as the scanner still holds it, up to state 8.
    ScanRecord Resent(Session &session, int number);
    /// Waits for state 4 when it is still to come; decoding may end after the scan. Bounded: where the
    /// library chose not to decode, none comes.
    void AwaitBarcodes(Session &session, ScanRecord &record, int number);
    /// Takes what still belongs to the scan.
    void Trailing(Session &session, ScanRecord &record, int number);

    double Timeout() const { return timeout_; }

private:
    void AskForCard(int number);
    void Note(ScanRecord &record, const Event &event, int number);
    ScanRecord UntilComplete(Session &session, int number, bool toInsert, bool resent);
    void TakeUntil(Session &session, ScanRecord &record, int number, Clock::time_point until, int32_t last);
    [[noreturn]] void Fail(const ScanRecord &record) const;
    [[noreturn]] void FailTimeout(const ScanRecord &record, bool resent) const;

    Output &output_;
    CardFeeder &feeder_;
    double timeout_;
    bool full_;
    int count_;
};

/// The next card has already begun to overwrite the scan before it.
bool NextCardCame(Session &session);

} // namespace host
