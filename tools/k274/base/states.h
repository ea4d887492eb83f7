// Names and texts of the scan states, for lines, JSON and error messages.
#pragma once

#include <cstdint>

namespace host {

enum class Tone : int32_t { kPlain, kGood, kNotice, kBad };

struct StateInfo {
    int32_t code;
    Tone tone;
    const char *name; // stable, for machines
    const char *text; // for people
};

/// The entry of a code; a code that the table does not know gets one named "unknown".
StateInfo DescribeState(int32_t code);

/// What goes on after a state of a scan; null for states that change nothing about it.
const char *StageAfter(int32_t code, bool fullMode);

} // namespace host
