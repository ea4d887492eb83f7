// k274 params and afe: the scanner's parameters and the registers of its analogue front end.
#include <CLI/CLI.hpp>
#include <array>
#include <cstring>
#include <memory>
#include <nlohmann/json.hpp>

#include "include/k274.h"
#include "tools/k274/base/errors.h"
#include "tools/k274/base/output.h"
#include "tools/k274/commands/commands.h"
#include "tools/k274/commands/maint.h"

namespace host {

namespace {

using nlohmann::ordered_json;

constexpr uint8_t kRead = 0, kWriteParameters = 1, kUntilRestart = 1, kForGood = 2;
constexpr size_t kAfeWords = sizeof(K274_Afe) / 2;
constexpr size_t kKey = 10;
constexpr uint32_t kKeyValue = 500; // what a block to be written holds in its last field

struct RegisterOptions {
    std::vector<std::string> set;
    bool store = false, yes = false;
};

std::vector<std::string> ParameterNames() {
    std::vector<std::string> names;
    for (size_t i = 0; i <= kKey; ++i)
        names.push_back("field" + std::to_string(i));
    return names;
}

std::vector<std::string> AfeNames() {
    std::vector<std::string> names = {
        "redGain",         "greenGain",       "blueGain",       "irGain",          "word4",
        "word5",           "uvGain2",         "uvGain3",        "uvGain",          "rgbExposureFront",
        "rgbExposureBack", "irExposureFront", "irExposureBack", "uvExposureFront", "uvExposureBack"};
    while (names.size() < kAfeWords)
        names.push_back("word" + std::to_string(names.size()));
    return names;
}

template <typename Values>
void Show(const char *event, const std::vector<std::string> &names, const Values &values, Output &output) {
    ordered_json object = {{"event", event}, {"values", ordered_json::object()}};
    for (size_t i = 0; i < names.size(); ++i) {
        object["values"][names[i]] = values[i];
        char number[24];
        std::snprintf(number, sizeof number, "%2u  ", static_cast<unsigned>(i));
        std::string name = names[i];
        name.resize(18, ' ');
        output.Note(number + name + std::to_string(values[i]));
    }
    output.Object(object);
}

void Params(const Options &options, const RegisterOptions &chosen, Output &output) {
    const std::vector<std::string> names = ParameterNames();
    std::vector<Assignment> changes;
    for (const std::string &text : chosen.set)
        changes.push_back(ParseAssignment(text, names, 0xFFFFFFFF));
    if (!changes.empty())
        Confirm(chosen.yes, output, "change the scanner's stored parameters");
    Session session(options, output);
    Connect(session, options);
    K274_Parameters block = {};
    if (!Persist(session, [&] { return K274_Params(&block, kRead) == 0; }))
        NoAnswer("parameters");
    if (!changes.empty()) {
        block.fields[kKey] = kKeyValue;
        for (const Assignment &change : changes)
            block.fields[change.position] = change.value;
        if (block.fields[kKey] != kKeyValue)
            throw HostError(Exit::kUsage, "--set: field10 must be 500, or the scanner takes nothing");
        const K274_Parameters wanted = block;
        if (!Persist(session, [&] {
                block = wanted;
                return K274_Params(&block, kWriteParameters) == 0;
            }))
            NoAnswer("parameters");
    }
    Show("params", names, block.fields, output);
}

void Afe(const Options &options, const RegisterOptions &chosen, Output &output) {
    const std::vector<std::string> names = AfeNames();
    std::vector<Assignment> changes;
    for (const std::string &text : chosen.set)
        changes.push_back(ParseAssignment(text, names, 999)); // the library takes what is above for damage
    if (chosen.store && changes.empty())
        throw HostError(Exit::kUsage, "--store goes with --set");
    if (chosen.store)
        Confirm(chosen.yes, output, "change the stored AFE registers; calibrate afterwards");
    Session session(options, output);
    Connect(session, options);
    std::array<uint16_t, kAfeWords> words = {};
    if (K274_AfeRegs(words.data(), kRead) != 0)
        NoAnswer("AFE registers");
    if (!changes.empty()) {
        for (const Assignment &change : changes)
            words[change.position] = static_cast<uint16_t>(change.value);
        if (K274_AfeRegs(words.data(), chosen.store ? kForGood : kUntilRestart) != 0)
            NoAnswer("AFE registers");
    }
    Show("afe", names, words, output);
}

} // namespace

void AddRegisters(CLI::App &app, const Options &options, Command &chosen) {
    CLI::App *params = app.add_subcommand("params", "show or change the scanner's parameters");
    const auto fields = std::make_shared<RegisterOptions>();
    params->add_option("--set", fields->set, "change a field, by number or name; may be repeated")
        ->type_name("FIELD=VALUE")
        ->expected(1)
        ->take_all();
    AddYes(*params, fields->yes);
    params->callback([fields, &options, &chosen] {
        chosen = [fields, &options](Output &output) { Params(options, *fields, output); };
    });

    CLI::App *afe = app.add_subcommand("afe", "show or change the registers of the analogue front end");
    const auto words = std::make_shared<RegisterOptions>();
    afe->add_option("--set", words->set, "change a word, by number or name; may be repeated")
        ->type_name("WORD=VALUE")
        ->expected(1)
        ->take_all();
    afe->add_flag("--store", words->store, "for good, and not only until the next restart");
    AddYes(*afe, words->yes);
    afe->callback([words, &options, &chosen] {
        chosen = [words, &options](Output &output) { Afe(options, *words, output); };
    });
}

} // namespace host
