// Code 128 and Code 39 in the bars and spaces of one line, and from line to line.
#pragma once

#include "platform/sd2/engine.h"

namespace sd2::own {

struct LineCode {
    std::string bytes;
    size_t first = 0, end = 0; // its bars and spaces
};

/// The first code that reads towards growing indices, if there is one.
/// @param widths  of bars and spaces in turn, beginning and ending with a bar; what lies beyond them is paper
bool ReadCode128(const std::vector<int> &widths, LineCode *code);
bool ReadCode39(const std::vector<int> &widths, LineCode *code);

/// The first code that kMinLinearAgreement lines agree on.
bool ReadLines(const Edges &edges, const std::vector<Stretch> &stretches, bool code128, bool code39,
               const Stopwatch &watch, LinearRead *read);

} // namespace sd2::own
