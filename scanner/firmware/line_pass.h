// The passes of the head over a card, and how many lines each has to read before a request can be answered.
#pragma once

#include "scanner/optics/optics.h"

#include <algorithm>

namespace scanner {

enum class Pass { Rgb, Ir, Uv, Strip, Full }; // the last two at twice the pitch
constexpr int kPasses = 5;

struct PassInfo {
    int lines, lineBytes; // lines are numbered below this
    bool rising;          // lines come in the order of their numbers; else the highest comes first
    int read;             // so many lines are read in the pass
    int enough; // a host that asked for so many lines has the card: it may stop there or read on to the end
};
constexpr PassInfo kPassInfo[kPasses] = {
    {kScanLines, kRgbLineBytes, false, kScanLines, 2076}, {kIrLines, kLinePixels, true, kIrLines, 2278},
    {kUvLines, kUvLineBytes, false, kUvLines, 1088},      {kStripLines, kHiresLineBytes, false, 1050, 1005},
    {kFullLines, kHiresLineBytes, false, 4000, 4000},
};
constexpr const PassInfo &Info(Pass pass) { return kPassInfo[static_cast<int>(pass)]; }

/// Lines that the head has to read until `count` lines from `first` upwards are there; those beyond the far
/// end are black at once.
constexpr int LinesNeeded(Pass pass, int first, int count) {
    const PassInfo &info = Info(pass);
    if (first >= info.lines)
        return 0;
    return info.rising ? std::min(first + count, info.lines) : std::min(info.lines - first, info.read);
}

/// The number of a line among those read, from 0.
constexpr int LineOrder(Pass pass, int line) {
    return Info(pass).rising ? line : Info(pass).lines - 1 - line;
}

} // namespace scanner
