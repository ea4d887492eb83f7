// k274 calibrate: guides through the scans of a factory or calibration card until the scanner is content.
#include <CLI/CLI.hpp>
#include <array>
#include <memory>
#include <nlohmann/json.hpp>

#include "include/k274.h"
#include "tools/k274/base/errors.h"
#include "tools/k274/base/output.h"
#include "tools/k274/base/states.h"
#include "tools/k274/commands/commands.h"
#include "tools/k274/commands/maint.h"
#include "tools/k274/facts/measures.h"
#include "tools/k274/files/files.h"
#include "tools/k274/scan/following.h"

namespace host {

namespace {

using nlohmann::ordered_json;
using Words = std::array<uint16_t, sizeof(K274_Afe) / 2>;

// Writing the white response takes the library most of a second, and the state comes behind it.
constexpr std::chrono::milliseconds kOutcome{4000};

struct CalibrateOptions {
    std::string out;
    int count = 10;
    bool yes = false;
};

Words ReadAfe() {
    Words words = {};
    if (K274_AfeRegs(words.data(), 0) != 0)
        NoAnswer("AFE registers");
    return words;
}

bool IsOutcome(int32_t state) {
    switch (state) {
    case K274_STATE_CALIBRATION_FWD:
    case K274_STATE_FACTORY_REV:
    case K274_STATE_CALIBRATION_REV:
    case K274_STATE_AFE_WRITTEN:
    case K274_STATE_WHITE_WRITTEN:
    case K274_STATE_FACTORY_DONE:
        return true;
    default:
        return false;
    }
}

// What the library made of the card; 0 when it took it for no card of this kind.
int32_t Outcome(Session &session, Output &output, const ScanRecord &record) {
    if (!record.Saw(K274_STATE_WHITE_CARD))
        return 0;
    const Clock::time_point deadline = Clock::now() + kOutcome;
    while (const std::optional<Event> event = session.Next(deadline)) {
        output.State(event->state, event->time);
        if (IsOutcome(event->state))
            return event->state;
    }
    return 0;
}

const char *Advice(int32_t state) {
    switch (state) {
    case K274_STATE_AFE_WRITTEN:
        return "gains and exposures were set: put the factory card in again";
    case K274_STATE_WHITE_WRITTEN:
        return "the white response was stored: put the factory card in again";
    case K274_STATE_FACTORY_DONE:
        return "the factory calibration is finished";
    case K274_STATE_CALIBRATION_FWD:
        return "the white response was stored: the calibration is finished";
    case K274_STATE_FACTORY_REV:
    case K274_STATE_CALIBRATION_REV:
        return "the card was read backward: turn it round and put it in again";
    default:
        return "this is no factory or calibration card that can be read: use one";
    }
}

bool IsDone(int32_t state) { return state == K274_STATE_FACTORY_DONE || state == K274_STATE_CALIBRATION_FWD; }

ordered_json Round(int number, int32_t state) {
    return {{"scan", number}, {"state", state}, {"name", state == 0 ? "none" : DescribeState(state).name}};
}

void Calibrate(const Options &options, const CalibrateOptions &chosen, Output &output) {
    Confirm(chosen.yes, output, "replace the scanner's calibration");
    if (!chosen.out.empty())
        PrepareFolder(chosen.out);
    CardFeeder feeder(options);
    Follower follower(options, output, feeder, true, chosen.count);
    SessionSettings settings;
    settings.capture = true;
    settings.barcodes = false;
    Session session(options, output, settings);
    Connect(session, options);
    const Words before = ReadAfe();
    ordered_json rounds = ordered_json::array();
    for (int number = 1; number <= chosen.count; ++number) {
        ScanRecord record = follower.Card(session, number);
        const int32_t state = Outcome(session, output, record);
        output.Pending(nullptr);
        output.EndScan();
        output.Note(Advice(state));
        rounds.push_back(Round(number, state));
        output.Object({{"event", "round"}, {"result", rounds.back()}});
        if (!IsDone(state))
            continue;
        const Words after = ReadAfe();
        ordered_json description = {
            {"done", true}, {"rounds", rounds}, {"afeBefore", before}, {"afeAfter", after}};
        description["measures"] = record.capture ? MeasuresJson(*record.capture) : ordered_json::array();
        WriteResult(chosen.out, "calibration.json", description, {}, output);
        output.Object({{"event", "calibrate"}, {"folder", chosen.out}, {"result", description}});
        return;
    }
    throw HostError(Exit::kFailedTest, "the calibration is not finished after " +
                                           std::to_string(chosen.count) +
                                           " cards: clean glass and card, or give a larger --count");
}

} // namespace

void AddCalibrate(CLI::App &app, const Options &options, Command &chosen) {
    CLI::App *command = app.add_subcommand("calibrate", "calibrate with a factory or calibration card");
    const auto calibrate = std::make_shared<CalibrateOptions>();
    command->add_option("--count", calibrate->count, "most cards")
        ->type_name("N")
        ->check(CLI::Range(1, 100))
        ->capture_default_str();
    command->add_option("--out", calibrate->out, "folder for calibration.json")->type_name("DIR");
    AddYes(*command, calibrate->yes);
    command->callback([calibrate, &options, &chosen] {
        chosen = [calibrate, &options](Output &output) { Calibrate(options, *calibrate, output); };
    });
}

} // namespace host
