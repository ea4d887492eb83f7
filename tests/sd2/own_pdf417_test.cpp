// Our own engine's PDF417: codewords to texts, correction up to what the code can bear, symbols that are not
// all there, and the clock.
#include "platform/sd2/own/compaction.h"
#include "platform/sd2/own/reed_solomon.h"
#include "tests/sd2/symbols.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <numeric>
#include <random>

namespace {

using sd2::SymbolRows;
using sd2_test::Draw;
using sd2_test::KeptSymbols;

const sd2::Stopwatch kAmple(600000), kSpent(0);

TEST(OwnPdf417, Compactions) {
    for (const auto &c : Table("sd2/compactions.txt")) {
        std::string bytes;
        EXPECT_EQ(sd2::own::DecodeCompaction(Ints(c[2]), &bytes), c[3] == "yes") << c[0];
        EXPECT_EQ(bytes, c[1]) << c[0];
    }
}

TEST(OwnPdf417, KeptSymbols) {
    for (const auto &symbol : KeptSymbols()) {
        sd2::Pdf417Read read;
        EXPECT_TRUE(sd2::kOwnEngine.readRows(Draw(symbol), kAmple, &read)) << symbol.bytes;
        EXPECT_EQ(read.bytes, symbol.bytes);
        EXPECT_EQ(read.correctionLevel, symbol.level) << symbol.bytes;
    }
}

TEST(OwnPdf417, CorrectsUpToCapacityAndRefusesMore) {
    std::mt19937 random(5);
    for (const auto &symbol : KeptSymbols()) {
        const int correction = 2 << symbol.level;
        std::vector<int> places(symbol.words.size());
        std::iota(places.begin(), places.end(), 0);
        for (const int wrong : {0, 1, (correction - 2) / 4, (correction - 2) / 2})
            for (const int more : {0, 1}) {
                const int damaged = correction - 2 - wrong + more;
                std::shuffle(places.begin(), places.end(), random);
                std::vector<int> words = symbol.words;
                for (int i = 0; i < damaged; ++i) {
                    int &word = words[static_cast<size_t>(places[static_cast<size_t>(i)])];
                    word = (word + 1 + static_cast<int>(random() % 928)) % 929;
                }
                const std::vector<int> unreadable(places.begin() + wrong, places.begin() + damaged),
                    before = words;
                const sd2::own::Correction code(words, correction);
                int corrected = -1;
                EXPECT_FALSE(code.Correct(unreadable, kSpent, words, &corrected));
                EXPECT_EQ(words, before);
                EXPECT_EQ(code.Correct(unreadable, kAmple, words, &corrected), !more)
                    << wrong << ' ' << damaged;
                EXPECT_EQ(words, more ? before : symbol.words) << wrong << ' ' << damaged;
                EXPECT_TRUE(more || corrected == damaged) << corrected << ' ' << damaged;
            }
    }
}

/// Some rows of the symbol, which may lie outside, moved to the right.
SymbolRows Part(const SymbolRows &whole, int firstRow, int rowCount, int samples) {
    SymbolRows rows = whole;
    rows.lines.grey.assign(rows.lines.grey.size(), 210);
    rows.lines.Resize(rowCount, whole.lines.pixels);
    for (int row = std::max(0, -firstRow); row < std::min(rowCount, whole.lines.lines - firstRow); ++row)
        std::copy_n(whole.lines.Line(firstRow + row), whole.lines.pixels - samples,
                    rows.lines.Line(row) + samples);
    return rows;
}

TEST(OwnPdf417, DamagedSymbols) {
    const auto symbols = KeptSymbols();
    const auto symbol = std::find_if(symbols.begin(), symbols.end(),
                                     [](const auto &s) { return s.bytes == "PDF417PDF417PDF417"; });
    for (const auto &c : Table("sd2/damaged.txt")) {
        int firstShown = 0, shown = 0, moved = 0, firstRow = 0, lastRow = 0, firstModule = 0, lastModule = 0,
            grey = 0, atLeast = 0, atMost = 0;
        Take(c[1], firstShown, shown, moved);
        Take(c[3], firstRow, lastRow, firstModule, lastModule, grey);
        Take(c[4], atLeast, atMost);
        SymbolRows rows =
            Part(Draw(*symbol), firstShown, shown, moved * sd2::kCodewordModules * SymbolRows::kPerModule);
        Take(c[2], rows.columns, rows.compact);
        for (int row = firstRow; row <= lastRow; ++row)
            std::fill(rows.lines.Line(row) + (rows.kQuiet + firstModule) * rows.kPerModule,
                      rows.lines.Line(row) + (rows.kQuiet + lastModule) * rows.kPerModule,
                      static_cast<uint8_t>(grey));
        sd2::Pdf417Read read;
        EXPECT_FALSE(sd2::kOwnEngine.readRows(rows, kSpent, &read)) << c[0];
        ASSERT_TRUE(sd2::kOwnEngine.readRows(rows, kAmple, &read)) << c[0];
        EXPECT_EQ(read.bytes, symbol->bytes) << c[0];
        EXPECT_TRUE(read.rows == 10 && read.columns == 5 && read.correctionLevel == 4) << c[0];
        EXPECT_GE(read.corrected, atLeast) << c[0];
        EXPECT_LE(read.corrected, atMost) << c[0];
    }
}

/// The most codewords that there can be, none of them right.
TEST(OwnPdf417, NoiseIsNotASymbol) {
    std::mt19937 random(9);
    for (const auto &[count, columns] : {std::pair{90, 10}, {3, 1}, {3, 30}, {31, 29}, {12, 4}})
        for (int round = 0; round < 4; ++round) {
            SymbolRows rows =
                Draw({columns, 2, std::vector<int>(static_cast<size_t>(count * columns), 7), ""});
            for (uint8_t &grey : rows.lines.grey)
                grey = static_cast<uint8_t>(round & 1 ? grey ^ (random() & 0x80) : random());
            rows.compact = round & 2;
            sd2::Pdf417Read read;
            EXPECT_FALSE(sd2::kOwnEngine.readRows(rows, kAmple, &read)) << count << " x " << columns;
        }
}

} // namespace
