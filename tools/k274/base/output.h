// What k274 says on standard output (progress and results, for people or as JSON lines) and standard error.
#pragma once

#include <cstdint>
#include <cstdio>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "tools/k274/base/clock.h"
#include "tools/k274/base/errors.h"

namespace host {

class Output {
public:
    /// @param out progress and results
    /// @param err warnings, questions and failures
    Output(bool json, std::FILE *out, std::FILE *err);

    bool Json() const { return json_; }

    /// Times of states are counted from here.
    void SetStart(Clock::time_point start) { start_ = start; }
    /// Names the scan that the next states belong to; they also carry the time since `zero`.
    void BeginScan(int number, Clock::time_point zero);
    void EndScan() { scan_ = 0; }

    /// A state; faults of the start-up checks are warnings and go to standard error.
    void State(int32_t code, Clock::time_point time);
    /// Text for people, a line on its own.
    void Note(const std::string &text);
    /// What the scanner is doing, kept up to date in place on a terminal; null ends it.
    void Pending(const char *stage);
    /// Redraws the pending line.
    void Tick();
    /// Asks for an answer on standard input.
    void Question(const std::string &text);
    /// A step of long work, on standard error; for people.
    void Progress(const std::string &text);
    /// An object for machines, one line.
    void Object(const nlohmann::ordered_json &object);
    /// The last line of a command that failed. Never throws.
    void Fail(const HostError &error);

private:
    void Line(const std::string &text);
    void Flush();
    void ClearLive();
    std::string Coloured(const std::string &text, const char *colour) const;

    bool json_;
    std::FILE *out_, *err_;
    bool live_ = false, colours_ = false;
    Clock::time_point start_, scanZero_, pendingSince_, drawn_;
    int scan_ = 0; // 0 between scans
    std::string pending_;
    bool liveShown_ = false;
};

} // namespace host
