// From the rows' grey lines to codewords: each place of a row takes the pattern of the row's cluster that it
// looks most like.
#pragma once

#include "platform/sd2/engine.h"

namespace sd2::own {

struct Codeword {
    int value = 0;
    /// How much better it fits than the next best pattern. An undamaged one has kSureOfCodeword or more; 0:
    /// nothing is there.
    int confidence = 0;
};
constexpr int kModuleWeight = 64; // of a module as dark or light as any beside it
constexpr int kSureOfCodeword = 4 * kModuleWeight;

struct CodewordGrid {
    int rows = 0, places = 0; // places: indicators included
    std::vector<Codeword> codeword;

    const Codeword &At(int row, int place) const {
        return codeword[static_cast<size_t>(row) * static_cast<size_t>(places) + static_cast<size_t>(place)];
    }
};

/// @return false when the time was over before all was seen
bool SampleCodewords(const SymbolRows &rows, const Stopwatch &watch, CodewordGrid *grid);

} // namespace sd2::own
