// Shared parts of the commands for maintenance.
#include "tools/k274/commands/maint.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>

#include "tools/k274/base/errors.h"
#include "tools/k274/base/output.h"
#include "tools/k274/base/system.h"
#include "tools/k274/files/files.h"
#include "wire/status.h"

namespace host {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

namespace {

constexpr double kDefaultTimeout = 10;
constexpr uint32_t kNoStatus = 0xFFFF;

} // namespace

void AddYes(CLI::App &command, bool &yes) { command.add_flag("--yes", yes, "do it without asking"); }

void Confirm(bool yes, Output &output, const std::string &action) {
    if (yes)
        return;
    if (output.Json() || !IsTerminal(stdin))
        throw HostError(Exit::kUsage, "this would " + action + ": give --yes to do it without a question");
    output.Question("This will " + action + ". Go on? [y/N] ");
    std::string answer;
    std::getline(std::cin, answer);
    if (answer != "y" && answer != "Y" && answer != "yes")
        throw HostError(Exit::kCancelled, "nothing was changed");
}

double ScannerTimeout(const Options &options) { return options.timeout.value_or(kDefaultTimeout); }

void Connect(Session &session, const Options &options) {
    session.WaitOnline(Deadline(ScannerTimeout(options)));
    ReadVersions(session);
}

// The scanner's versions are read before state 10; the library writes its own a moment later, while it
// checks the scanner.
K274_Version ReadVersions(Session &session) {
    K274_Version version = {};
    const Clock::time_point limit = Clock::now() + milliseconds(2000);
    do {
        session.ShowUntil(Clock::now() + milliseconds(20));
        K274_GetVersion(&version);
    } while (version.library[0] == 0 && Clock::now() < limit);
    session.ShowUntil(Clock::now() + milliseconds(100)); // faults that the checks find
    return version;
}

void RequireNoCard() {
    const uint32_t word = K274_ScanState();
    if (word < kNoStatus && (word & ~uint32_t{wire::status::kEnd}) != 0)
        throw HostError(Exit::kCancelled, "a card is in the scanner: take it out and retry");
}

void NoAnswer(const std::string &what) {
    throw HostError(Exit::kTimeout,
                    "the scanner did not answer (" + what + "): unplug it, connect it again and retry");
}

Assignment ParseAssignment(const std::string &text, const std::vector<std::string> &names, uint32_t most) {
    const size_t sign = text.find('=');
    const std::string left = text.substr(0, sign);
    const auto name = std::find(names.begin(), names.end(), left);
    uint64_t position = static_cast<uint64_t>(name - names.begin()), value = 0;
    const bool known = name != names.end() || CLI::detail::lexical_cast(left, position);
    if (sign == std::string::npos || !known || position >= names.size() ||
        !CLI::detail::lexical_cast(text.substr(sign + 1), value) || value > most)
        throw HostError(Exit::kUsage,
                        "--set: \"" + text + "\" is not NAME=VALUE or NUMBER=VALUE, numbers to " +
                            std::to_string(names.size() - 1) + ", values to " + std::to_string(most));
    return {static_cast<size_t>(position), static_cast<uint32_t>(value)};
}

void WriteOut(const std::string &file, const void *bytes, size_t size, Output &output) {
    const fs::path path = file;
    if (path.filename().empty())
        throw HostError(Exit::kUsage, "--out: \"" + file + "\" names no file");
    FileSet files(path.has_parent_path() ? path.parent_path() : fs::path("."));
    files.Add(path.filename().string(), bytes, size);
    files.Commit();
    output.Note("written to " + file);
}

void WriteResult(const std::string &folder, const std::string &name,
                 const nlohmann::ordered_json &description,
                 const std::map<std::string, std::vector<uint8_t>> &files, Output &output) {
    if (folder.empty())
        return;
    FileSet set(folder);
    for (const auto &[file, bytes] : files)
        set.Add(file, bytes.data(), bytes.size());
    const std::string text = description.dump(2) + "\n";
    set.Add(name, text.data(), text.size());
    set.Commit();
    output.Note("written to " + folder);
}

} // namespace host
