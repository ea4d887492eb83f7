// The decoding engines behind the locator. The locator says where a symbol lies and straightens it; an engine
// turns what is left into a text. Each engine is one table of functions, in its own folder; which of them the
// library uses is chosen when it is built.
#pragma once

#include "platform/sd2/budget.h"
#include "platform/sd2/edges.h"
#include "platform/sd2/pdf417_locator.h"

#include <string>

namespace sd2 {

/// A PDF417 symbol whose rows are known: one averaged grey line for each, row 0 first, in reading direction.
struct SymbolRows {
    static constexpr int kPerModule = 4; // samples
    static constexpr int kQuiet = 4;     // modules before the start pattern, and behind the stop pattern

    OwnImage lines;
    // What the locator saw; one column too many where a stop pattern is hidden.
    int columns = 0;
    bool compact = false;

    /// Where the left indicator begins, and where the stop pattern does.
    static constexpr int FirstCodeword() { return (kQuiet + kStartModules) * kPerModule; }
    int StopPattern() const {
        return FirstCodeword() + (columns + (compact ? 1 : 2)) * kCodewordModules * kPerModule;
    }
};

struct Pdf417Read {
    std::string bytes; // as encoded, no character set applied
    int correctionLevel = 0;
    int corrected = 0; // codewords that were wrong or unreadable; 0 when the engine does not tell
    // As the symbol itself says; 0 when the engine does not tell.
    int rows = 0, columns = 0;
};

/// Bars between two quiet places of one line image.
struct Stretch {
    int line;
    int first, last; // edges; the first turns dark, the last light
};

constexpr size_t kMinCode39 = 3;       // characters; less is too easily found in print
constexpr int kMinLinearAgreement = 2; // line images with the same text

struct LinearRead {
    Symbology symbology = kNone;
    std::string bytes;
    int line = 0;               // one of those that showed it
    int32_t start = 0, end = 0; // along that line, in reading direction, in edge units
};

/// None of the functions throws but for want of memory, and a read has at least one byte.
struct Engine {
    const char *name;
    bool (*readRows)(const SymbolRows &rows, const Stopwatch &watch, Pdf417Read *read);
    /// The symbol as it lies in the image, its rows unknown; null when the engine has no way to.
    bool (*readArea)(const GreyImage &image, const SymbolArea &area, const Stopwatch &watch,
                     Pdf417Read *read);
    bool (*readLinear)(const Edges &edges, const std::vector<Stretch> &stretches, bool code128, bool code39,
                       const Stopwatch &watch, LinearRead *read);
};

extern const Engine kOwnEngine;
extern const Engine kZxingEngine;

} // namespace sd2
