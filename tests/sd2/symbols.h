// PDF417 symbols kept as codewords (symbols.txt), and drawn as the locator hands them to an engine.
#pragma once

#include "platform/sd2/engine.h"
#include "platform/sd2/own/pdf417_patterns.h"
#include "tests/support/data.h"

#include <bitset>

namespace sd2_test {

struct Pdf417Symbol {
    int columns = 0, level = 0;
    std::vector<int> words; // of all rows, without the indicators
    std::string bytes;

    int Rows() const { return static_cast<int>(words.size()) / columns; }
};

inline std::vector<Pdf417Symbol> KeptSymbols() {
    std::vector<Pdf417Symbol> symbols;
    for (const auto &row : Table("sd2/symbols.txt")) {
        symbols.push_back({0, 0, Ints(row[1]), row[2]});
        Take(row[0], symbols.back().columns, symbols.back().level);
    }
    return symbols;
}

/// Draws the symbol, clean.
inline sd2::SymbolRows Draw(const Pdf417Symbol &symbol) {
    const std::string quiet(sd2::SymbolRows::kQuiet, '0');
    const int groups = (symbol.Rows() - 1) / 3, levelAndRest = symbol.level * 3 + (symbol.Rows() - 1) % 3,
              columns = symbol.columns - 1;
    const int left[] = {groups, levelAndRest, columns}, right[] = {columns, groups, levelAndRest};
    std::string modules; // of all rows, 1 is dark
    for (size_t row = 0, next = 0; next < symbol.words.size(); ++row) {
        const auto add = [&](int word) {
            modules +=
                "1" + std::bitset<16>(sd2::own::kPatterns[row % 3][static_cast<size_t>(word)]).to_string();
        };
        const int group = static_cast<int>(row) / 3 * 30;
        modules += quiet + "11111111010101000";
        add(group + left[row % 3]);
        for (int column = 0; column < symbol.columns; ++column)
            add(symbol.words[next++]);
        add(group + right[row % 3]);
        modules += "111111101000101001" + quiet;
    }
    sd2::SymbolRows rows;
    rows.columns = symbol.columns;
    rows.lines.Resize(symbol.Rows(), static_cast<int>(modules.size()) * rows.kPerModule / symbol.Rows());
    for (size_t i = 0; i < rows.lines.grey.size(); ++i)
        rows.lines.grey[i] = modules[i / rows.kPerModule] == '1' ? 30 : 210;
    return rows;
}

} // namespace sd2_test
