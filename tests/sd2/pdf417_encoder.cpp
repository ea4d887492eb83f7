#include "tests/sd2/pdf417_encoder.h"

#include "platform/sd2/own/pdf417_patterns.h"

#include <algorithm>

namespace sd2_test {

std::vector<int> CorrectionWords(const std::vector<int> &data, int count) {
    constexpr int kField = 929;
    const auto size = static_cast<size_t>(count);
    // Division by the product of (x - 3^i), the highest power first.
    std::vector<int> generator(size + 1, 0), rest(size, 0);
    generator[0] = 1;
    for (int i = 1, root = 3; i <= count; ++i, root = root * 3 % kField)
        for (size_t k = static_cast<size_t>(i); k > 0; --k)
            generator[k] = (generator[k] + (kField - root) * generator[k - 1]) % kField;
    for (const int word : data) {
        const int lead = (word + rest[0]) % kField;
        for (size_t k = 0; k < size; ++k)
            rest[k] = ((k + 1 < size ? rest[k + 1] : 0) + (kField - lead) * generator[k + 1]) % kField;
    }
    for (int &word : rest)
        word = (kField - word) % kField;
    return rest;
}

Pdf417Symbol MakeSymbol(const std::vector<int> &data, int columns, int level) {
    constexpr int kPadding = 900;
    const int correction = 2 << level, needed = static_cast<int>(data.size()) + 1 + correction;
    Pdf417Symbol symbol{std::max(3, (needed + columns - 1) / columns), columns, level, {}};
    const auto size = static_cast<size_t>(symbol.rows * columns - correction);
    symbol.words.push_back(static_cast<int>(size));
    symbol.words.insert(symbol.words.end(), data.begin(), data.end());
    symbol.words.resize(size, kPadding);
    const std::vector<int> check = CorrectionWords(symbol.words, correction);
    symbol.words.insert(symbol.words.end(), check.begin(), check.end());
    return symbol;
}

sd2::SymbolRows Draw(const Pdf417Symbol &symbol) {
    constexpr int kPerModule = sd2::SymbolRows::kPerModule, kQuiet = sd2::SymbolRows::kQuiet;
    constexpr uint8_t kPaper = 210, kInk = 30;
    sd2::SymbolRows rows;
    rows.columns = symbol.columns;
    rows.lines.Resize(symbol.rows,
                      (sd2::kStartModules + 17 * (symbol.columns + 2) + sd2::kStopModules + 2 * kQuiet) *
                          kPerModule);
    for (int row = 0; row < symbol.rows; ++row) {
        uint8_t *next = rows.lines.Line(row);
        const auto run = [&](int modules, bool dark) {
            std::fill(next, next + modules * kPerModule, dark ? kInk : kPaper);
            next += modules * kPerModule;
        };
        const auto pattern = [&](const auto &runs) {
            bool dark = true;
            for (const int modules : runs) {
                run(modules, dark);
                dark = !dark;
            }
        };
        const auto codeword = [&](int value) {
            run(1, true);
            const int bits = sd2::own::kPatterns[static_cast<size_t>(row % 3)][static_cast<size_t>(value)];
            for (int bit = 15; bit >= 0; --bit)
                run(1, bits >> bit & 1);
        };
        const int group = row / 3 * 30, groups = (symbol.rows - 1) / 3,
                  levelAndRest = symbol.level * 3 + (symbol.rows - 1) % 3, columns = symbol.columns - 1;
        const int left[] = {groups, levelAndRest, columns}, right[] = {columns, groups, levelAndRest};
        run(kQuiet, false);
        pattern(sd2::kStartRuns);
        codeword(group + left[row % 3]);
        for (int column = 0; column < symbol.columns; ++column)
            codeword(symbol.words[static_cast<size_t>(row * symbol.columns + column)]);
        codeword(group + right[row % 3]);
        pattern(sd2::kStopRuns);
        run(kQuiet, false);
    }
    return rows;
}

} // namespace sd2_test
