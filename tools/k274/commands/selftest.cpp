// k274 selftest: looks at one thing after the other that makes up a sound scanner.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <memory>
#include <nlohmann/json.hpp>

#include "include/k274.h"
#include "tools/k274/base/errors.h"
#include "tools/k274/base/output.h"
#include "tools/k274/commands/commands.h"
#include "tools/k274/commands/loopback.h"
#include "tools/k274/commands/maint.h"
#include "tools/k274/commands/still.h"
#include "tools/k274/facts/measures.h"
#include "tools/k274/facts/records.h"
#include "tools/k274/scan/following.h"

namespace host {

namespace {

using nlohmann::ordered_json;

constexpr int kExchanges = 50, kExchangeBytes = 65536;
constexpr uint16_t kMostRegister = 999; // the library takes what is above for damage

class Verdicts {
public:
    explicit Verdicts(Output &output) : output_(output) {}

    void Add(const std::string &name, bool passed, const std::string &detail) {
        Tell(name, passed ? "ok" : "failed", detail);
        failed_ += passed ? 0 : 1;
    }
    void Skip(const std::string &name, const std::string &detail) { Tell(name, "skipped", detail); }
    int Failed() const { return failed_; }

private:
    void Tell(const std::string &name, const char *verdict, const std::string &detail) {
        std::string head = name;
        head.resize(18, ' ');
        output_.Note(head + verdict + ", " + detail);
        output_.Object({{"event", "verdict"}, {"name", name}, {"verdict", verdict}, {"detail", detail}});
    }

    Output &output_;
    int failed_ = 0;
};

// The number of dusty positions is found while a card is scanned.
void Dust(Session &session, Follower &follower, Output &output, Verdicts &verdicts) {
    ScanRecord record = follower.Card(session, 1);
    follower.Trailing(session, record, 1);
    output.Pending(nullptr);
    output.EndScan();
    if (record.capture) {
        for (const ordered_json &measure : MeasuresJson(*record.capture)) {
            if (measure.at("key") == "dust") {
                verdicts.Add("dust", measure.at("grade") == "good",
                             measure.at("value").dump() + " dusty positions");
                return;
            }
        }
    }
    verdicts.Skip("dust", "the scan was not analysed");
}

void Check(const Options &options, bool withCard, Output &output) {
    CardFeeder feeder(options);
    Follower follower(options, output, feeder, true, 1);
    SessionSettings settings;
    settings.capture = true;
    settings.barcodes = false;
    Session session(options, output, settings);
    session.WaitOnline(Deadline(ScannerTimeout(options)));
    const K274_Version version = ReadVersions(session);
    RequireNoCard();
    Verdicts verdicts(output);
    verdicts.Add("link", K274_UsbIsOnline() != 0,
                 std::to_string(K274_GefXfrErrs()) + " transfers failed so far");
    const std::string firmware = Dotted(version.firmware, 3), library = Dotted(version.library, 3);
    verdicts.Add("versions", firmware == library && version.fpga[0] + version.fpga[1] != 0,
                 "firmware " + firmware + ", library " + library + ", FPGA " + Dotted(version.fpga, 2));
    std::array<uint16_t, sizeof(K274_Afe) / 2> words = {};
    const bool read = K274_AfeRegs(words.data(), 0) == 0;
    const uint16_t largest = *std::max_element(words.begin(), words.end());
    verdicts.Add("AFE", read && largest <= kMostRegister,
                 read ? "largest register " + std::to_string(largest) : "the registers cannot be read");
    const Loopback loopback = RunLoopback(session, output, kExchanges, kExchangeBytes);
    verdicts.Add("loopback", loopback.failed == 0,
                 std::to_string(loopback.failed) + " of " + std::to_string(kExchanges) + " exchanges failed");
    try {
        const StillImage still = TakeStill();
        verdicts.Add("still image", still.result.verdict >= 0, still.description.at("verdictName"));
    } catch (const HostError &error) {
        verdicts.Add("still image", false, error.what());
    }
    if (withCard || feeder.HasCards())
        Dust(session, follower, output, verdicts);
    else
        verdicts.Skip("dust", "give --with-card and put one in");
    output.Object({{"event", "selftest"}, {"failed", verdicts.Failed()}});
    if (verdicts.Failed() != 0)
        throw HostError(Exit::kFailedTest, std::to_string(verdicts.Failed()) + " of the checks failed");
}

} // namespace

void AddSelftest(CLI::App &app, const Options &options, Command &chosen) {
    CLI::App *command = app.add_subcommand("selftest", "check link, versions, registers, sensor and dust");
    const auto withCard = std::make_shared<bool>(false);
    command->add_flag("--with-card", *withCard, "scan a card for the count of dust, too");
    command->callback([withCard, &options, &chosen] {
        chosen = [withCard, &options](Output &output) { Check(options, *withCard, output); };
    });
}

} // namespace host
