// What the commands for maintenance share: the question before a change, the way to a scanner that
// is ready, results in files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "include/k274.h"
#include "tools/k274/base/options.h"
#include "tools/k274/scan/session.h"

namespace CLI {
class App;
}

namespace host {

class Output;

void AddYes(CLI::App &command, bool &yes);

/// Asks before something is erased or programmed. Throws HostError when the answer is not yes, or when nobody
/// can be asked.
/// @param action "program the firmware"
void Confirm(bool yes, Output &output, const std::string &action);

/// How long a command that needs no card waits for the scanner, in seconds.
double ScannerTimeout(const Options &options);

/// Waits until the scanner is online and the library has checked it. Throws HostError.
void Connect(Session &session, const Options &options);

/// Shows what comes while the library gets ready, then takes the versions.
K274_Version ReadVersions(Session &session);

/// Throws HostError(kCancelled) while a card is in the scanner.
void RequireNoCard();

/// Repeats what the library refuses while it is talking to the scanner itself.
/// @param attempt returns whether it was done
template <typename Attempt>
bool Persist(Session &session, Attempt attempt) {
    for (int tries = 0; tries < 20; ++tries) {
        if (attempt())
            return true;
        session.ShowUntil(Clock::now() + std::chrono::milliseconds(20));
    }
    return false;
}

/// The scanner took a command but did not answer it.
[[noreturn]] void NoAnswer(const std::string &what);

/// "3=0x10" with a number or name before the sign: position and value. Throws HostError(kUsage).
struct Assignment {
    size_t position;
    uint32_t value;
};
Assignment ParseAssignment(const std::string &text, const std::vector<std::string> &names, uint32_t most);

/// Replaces the file only when all of it has been written. Throws HostError(kCannotWrite).
void WriteOut(const std::string &file, const void *bytes, size_t size, Output &output);
/// A description with its pictures and other files into a folder, the description last.
void WriteResult(const std::string &folder, const std::string &name,
                 const nlohmann::ordered_json &description,
                 const std::map<std::string, std::vector<uint8_t>> &files, Output &output);

} // namespace host
