// PDF417 symbols made from codewords, as the locator hands them to an engine.
#pragma once

#include "platform/sd2/engine.h"

namespace sd2_test {

/// The correction words that belong to some data words.
std::vector<int> CorrectionWords(const std::vector<int> &data, int count);

struct Pdf417Symbol {
    int rows = 0, columns = 0, level = 0;
    std::vector<int> words; // of all rows, without the indicators
};

/// Puts the number of words before the data, padding and correction behind it.
Pdf417Symbol MakeSymbol(const std::vector<int> &data, int columns, int level);

/// Draws the symbol, clean.
sd2::SymbolRows Draw(const Pdf417Symbol &symbol);

} // namespace sd2_test
