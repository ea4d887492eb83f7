// k274 scan: waits for cards, follows each scan and writes its images and scan.json.
#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "include/k274.h"
#include "tools/k274/commands/commands.h"
#include "tools/k274/errors.h"
#include "tools/k274/files.h"
#include "tools/k274/output.h"
#include "tools/k274/png.h"
#include "tools/k274/records.h"
#include "tools/k274/session.h"
#include "tools/k274/states.h"
#include "tools/k274/virtual_device.h"

namespace host {

namespace {

namespace fs = std::filesystem;
using nlohmann::ordered_json;
using std::chrono::milliseconds;

constexpr uint8_t kScanModeRgb = 82;
constexpr double kDefaultTimeout = 60;
// States that qualify a finished scan (23, 31 to 38) come right behind state 8, and what explains a
// cancelled one (29) right behind state 9.
constexpr milliseconds kTrailing{200};
// A card that jams during the visible pass may end the scan without a state: the jam bit alone tells.
constexpr milliseconds kJamSilence{2000};
constexpr uint32_t kJamBit = 0x1000;
constexpr milliseconds kSlotPoll{20};

struct ScanOptions {
    std::string out = "scan";
    int count = 0; // 0: one, or as many as there are cards
    std::string mode = "rgb";
};

struct ScanRecord {
    std::vector<Event> states; // the first one is time zero
    std::shared_ptr<const Capture> capture;
    std::time_t started = 0;

    bool Saw(int32_t state) const {
        for (const Event &event : states) {
            if (event.state == state)
                return true;
        }
        return false;
    }
};

// One run of the command.
class Scanning {
public:
    Scanning(const Options &options, const ScanOptions &scan, Output &output)
        : options_(options), scan_(scan), output_(output), feeder_(options),
          timeout_(options.timeout.value_or(kDefaultTimeout)), full_(scan.mode == "full"),
          count_(scan.count != 0 ? scan.count : std::max(1, static_cast<int>(feeder_.Size()))) {}

    void Run() {
        PrepareFolder(scan_.out); // a card must not be scanned for nothing
        Session session(options_, output_, {full_ ? uint8_t{0} : kScanModeRgb, true});
        session.WaitOnline(Deadline(timeout_));
        for (int number = 1; number <= count_; ++number) {
            ScanRecord record = FollowCard(session, number);
            Save(session, record, number);
        }
    }

private:
    ScanRecord FollowCard(Session &session, int number);
    void AskForCard(int number);
    void Note(ScanRecord &record, const Event &event, int number);
    void Trailing(Session &session, ScanRecord &record, int number, Clock::time_point until);
    [[noreturn]] void Fail(const ScanRecord &record) const;
    [[noreturn]] void FailTimeout(const ScanRecord &record) const;
    void Save(Session &session, ScanRecord &record, int number);
    ordered_json Describe(const ScanRecord &record, int number) const;

    const Options &options_;
    const ScanOptions &scan_;
    Output &output_;
    CardFeeder feeder_;
    double timeout_;
    bool full_;
    int count_;
};

void Scanning::AskForCard(int number) {
    std::string text =
        count_ > 1 ? "card " + std::to_string(number) + " of " + std::to_string(count_) + ": " : "";
    text += feeder_.HasCards() ? feeder_.Name(static_cast<size_t>(number - 1)) : "waiting for a card";
    output_.Note(text);
    output_.Pending("waiting for the card");
}

// Adds a state to the scan and shows it. A scan begins with "card in", or with its first state when the
// scanner's event was lost: events of the first two seconds after the start are not reported.
void Scanning::Note(ScanRecord &record, const Event &event, int number) {
    if (record.states.empty() &&
        (event.state == K274_STATE_CARD_IN || event.state == K274_STATE_SCAN_STARTED)) {
        record.started = std::time(nullptr);
        output_.BeginScan(number, event.time);
        record.states.push_back(event);
    } else if (!record.states.empty()) {
        record.states.push_back(event);
    }
    output_.State(event);
    if (const char *stage = StageAfter(event.state, full_))
        output_.Pending(stage);
}

ScanRecord Scanning::FollowCard(Session &session, int number) {
    ScanRecord record;
    bool toInsert = feeder_.HasCards();
    AskForCard(number);
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
                FailTimeout(record);
            const uint32_t status = K274_ScanState();
            if (record.Saw(K274_STATE_SCAN_STARTED) && now - last > kJamSilence && status <= 0xFFFF &&
                (status & kJamBit) != 0)
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
            Trailing(session, record, number, now + kTrailing);
            Fail(record);
        case K274_STATE_DISCONNECTED:
            throw HostError(Exit::kDeviceLost,
                            "the scanner was disconnected: check its cable and scan the card again");
        default:
            break;
        }
    }
}

// Takes what still belongs to the scan; the next card's states stay for the next turn.
void Scanning::Trailing(Session &session, ScanRecord &record, int number, Clock::time_point until) {
    while (std::optional<Event> event = session.Next(until)) {
        if (event->state == K274_STATE_CARD_IN || event->state == K274_STATE_SCAN_STARTED) {
            session.Return(std::move(*event));
            return;
        }
        Note(record, *event, number);
    }
}

void Scanning::Fail(const ScanRecord &record) const {
    if (record.Saw(K274_STATE_CARD_JAMMED) || !record.Saw(K274_STATE_CANCELLED))
        throw HostError(Exit::kJammed,
                        "the card jammed: open the scanner, take the card out and scan it again");
    if (record.Saw(K274_STATE_CLEANING_CARD))
        throw HostError(Exit::kCancelled,
                        "the scan was cancelled: this is a cleaning card, insert the one to scan");
    throw HostError(Exit::kCancelled, "the scan was cancelled: insert the card again (--log DIR tells more)");
}

void Scanning::FailTimeout(const ScanRecord &record) const {
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%g s", timeout_);
    if (record.states.empty())
        throw HostError(Exit::kTimeout, std::string("no card came within ") + seconds +
                                            ": insert one, or give a longer --timeout");
    throw HostError(Exit::kTimeout, std::string("the scan stopped after \"") +
                                        DescribeState(record.states.back().state).text +
                                        "\", nothing came for " + seconds +
                                        ": take the card out and scan it again");
}

std::string IsoTime(std::time_t time) {
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", std::gmtime(&time));
    return text;
}

ordered_json Describe(const Event &event, Clock::time_point zero) {
    const std::chrono::duration<double, std::milli> since = event.time - zero;
    return {{"state", event.state},
            {"name", DescribeState(event.state).name},
            {"ms", static_cast<int64_t>(since.count())}};
}

ordered_json Scanning::Describe(const ScanRecord &record, int number) const {
    ordered_json json = {{"format", "k274-scan"},
                         {"formatVersion", 1},
                         {"host", K274_HOST_VERSION},
                         {"scan", number},
                         {"started", IsoTime(record.started)},
                         {"device", DeviceName()},
                         {"versions", VersionJson(record.capture->version)},
                         {"options", {{"mode", scan_.mode}, {"count", count_}, {"timeout", timeout_}}}};
    if (DeviceName() == "virtual") {
        ordered_json &device = json["virtual"] = ordered_json::object();
        if (feeder_.HasCards())
            device["card"] = feeder_.Name(static_cast<size_t>(number - 1));
        if (options_.seed)
            device["seed"] = *options_.seed;
        if (options_.speed)
            device["speed"] = *options_.speed;
    }
    ordered_json &states = json["states"] = ordered_json::array();
    for (const Event &event : record.states)
        states.push_back(host::Describe(event, record.states.front().time));
    json["card"] = CardJson(record.capture->status);
    json["status"] = StatusJson(record.capture->status);
    json["transferErrors"] = record.capture->transferErrors;
    return json;
}

void Scanning::Save(Session &session, ScanRecord &record, int number) {
    const Clock::time_point complete = record.states.back().time;
    if (!record.capture)
        throw HostError(Exit::kInternal, "there is not enough memory for the images of a scan");
    fs::path folder = scan_.out;
    if (count_ > 1) {
        char name[16];
        std::snprintf(name, sizeof name, "%03d", number);
        folder /= name;
        PrepareFolder(folder);
    }
    FileSet files(folder);
    ordered_json images = ordered_json::array();
    for (const CapturedImage &image : record.capture->images) {
        const ImageSource &source = *image.source;
        const std::string file = std::string(source.name) + ".png";
        const std::vector<uint8_t> png =
            EncodePng(image.pixels.data(), source.width, source.height, source.channels);
        files.Add(file, png.data(), png.size());
        images.push_back({{"name", source.name},
                          {"file", file},
                          {"width", source.width},
                          {"height", source.height},
                          {"channels", source.channels},
                          {"bytes", png.size()}});
    }
    Trailing(session, record, number, complete + kTrailing);
    output_.Pending(nullptr);
    output_.EndScan();

    ordered_json description = Describe(record, number);
    description["images"] = std::move(images);
    const std::string text = description.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
    files.Add("scan.json", text.data(), text.size()); // last: it vouches for the images that it names
    files.Commit();
    output_.Note("written to " + folder.string());
    output_.Object(
        {{"event", "scan"}, {"scan", number}, {"folder", folder.string()}, {"result", description}});
}

} // namespace

void AddScan(CLI::App &app, const Options &options, Command &chosen) {
    CLI::App *command = app.add_subcommand("scan", "wait for a card and write its images and scan.json");
    const auto scan = std::make_shared<ScanOptions>();
    command->add_option("--out", scan->out, "folder for the files; made if it is missing")
        ->type_name("DIR")
        ->capture_default_str();
    command->add_option("--count", scan->count, "number of cards; several go into folders 001, 002, ...")
        ->type_name("N")
        ->check(CLI::Range(1, 1000000));
    command->add_option("--mode", scan->mode, "rgb: visible light only; full: all passes")
        ->check(CLI::IsMember({"rgb", "full"}))
        ->capture_default_str();
    command->callback([scan, &options, &chosen] {
        chosen = [scan, &options](Output &output) { Scanning(options, *scan, output).Run(); };
    });
}

} // namespace host
