// Our own engine's PDF417: codewords to texts, correction up to what the code can bear, symbols that are not
// all there, and the clock.
#include "platform/sd2/own/compaction.h"
#include "platform/sd2/own/reed_solomon.h"
#include "tests/sd2/pdf417_encoder.h"
#include "tests/support/data.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <numeric>
#include <random>

namespace {

using sd2::Pdf417Read;
using sd2::Stopwatch;
using sd2::SymbolRows;
using sd2_test::Draw;
using sd2_test::MakeSymbol;
using sd2_test::Pdf417Symbol;

const Stopwatch kAmple(600000), kSpent(0);

bool Read(const SymbolRows &rows, Pdf417Read *read, const Stopwatch &watch = kAmple) {
    return sd2::kOwnEngine.readRows(rows, watch, read);
}

TEST(OwnPdf417, Compactions) {
    for (const auto &c : Table("sd2/compactions.txt")) {
        const std::vector<int> data = Ints(c[2]);
        std::vector<int> words{static_cast<int>(data.size()) + 1};
        words.insert(words.end(), data.begin(), data.end());
        std::string bytes;
        EXPECT_TRUE(sd2::own::DecodeCompaction(words, &bytes)) << c[0];
        EXPECT_EQ(bytes, c[1]) << c[0];
        Pdf417Read read;
        EXPECT_TRUE(Read(Draw(MakeSymbol(data, 4, 2)), &read)) << c[0];
        EXPECT_EQ(read.bytes, c[1]) << c[0];
    }
}

TEST(OwnPdf417, CodewordsWithoutAMeaning) {
    const std::vector<int> kCases[] = {{453, 903},           {453, 921},      {453, 922},
                                       {924, 163, 238, 432}, {902, 899, 899}, {901, 65, 913, 66}};
    for (const std::vector<int> &c : kCases) {
        std::vector<int> words{static_cast<int>(c.size()) + 1};
        words.insert(words.end(), c.begin(), c.end());
        std::string bytes;
        EXPECT_FALSE(sd2::own::DecodeCompaction(words, &bytes)) << c[0];
    }
    // Lengths and ends that are not so.
    for (const std::vector<int> &words :
         {std::vector<int>{}, {900}, {-1, 5}, {3, 913}, {3, 926}, {2, 901}, {2, 902}}) {
        std::string bytes;
        sd2::own::DecodeCompaction(words, &bytes);
        EXPECT_EQ(bytes, "");
    }
}

TEST(OwnPdf417, CorrectsUpToCapacityAndRefusesMore) {
    std::mt19937 random(5);
    for (const int level : {1, 2, 5, 8}) {
        const int correction = 2 << level;
        std::vector<int> data(static_cast<size_t>(level == 8 ? 416 : 60));
        for (int &word : data)
            word = static_cast<int>(random() % 929);
        std::vector<int> right = data;
        for (const int word : sd2_test::CorrectionWords(data, correction))
            right.push_back(word);
        std::vector<int> places(right.size());
        std::iota(places.begin(), places.end(), 0);
        for (const int wrong : {0, 1, (correction - 2) / 4, (correction - 2) / 2})
            for (const int more : {0, 1}) {
                const int unreadable = correction - 2 - 2 * wrong + more;
                std::shuffle(places.begin(), places.end(), random);
                std::vector<int> words = right;
                for (int i = 0; i < wrong + unreadable; ++i) {
                    int &word = words[static_cast<size_t>(places[static_cast<size_t>(i)])];
                    word = (word + 1 + static_cast<int>(random() % 928)) % 929;
                }
                const std::vector<int> erased(places.begin() + wrong, places.begin() + wrong + unreadable);
                const sd2::own::Correction code(words, correction);
                const std::vector<int> before = words;
                int corrected = -1;
                if (wrong + unreadable > 0) {
                    EXPECT_FALSE(code.Correct(erased, kSpent, words, &corrected));
                    EXPECT_EQ(words, before);
                }
                const bool done = code.Correct(erased, kAmple, words, &corrected);
                EXPECT_EQ(done, !more) << level << ' ' << wrong << ' ' << unreadable;
                EXPECT_EQ(words, more ? before : right) << level << ' ' << wrong;
                if (!more) {
                    EXPECT_EQ(corrected, wrong + unreadable);
                }
            }
    }
}

const std::vector<int> kData = {453, 178, 121, 239, 900, 453, 178, 121, 239, 900, 453, 178, 121, 239};
const std::string kText = "PDF417PDF417PDF417";

void Cover(SymbolRows &rows, int firstRow, int lastRow, int firstModule, int lastModule, int grey) {
    for (int row = firstRow; row <= lastRow; ++row)
        std::fill(rows.lines.Line(row) + (rows.kQuiet + firstModule) * rows.kPerModule,
                  rows.lines.Line(row) + (rows.kQuiet + lastModule) * rows.kPerModule,
                  static_cast<uint8_t>(grey));
}

TEST(OwnPdf417, DamagedSymbols) {
    const Pdf417Symbol symbol = MakeSymbol(kData, 5, 4); // 10 rows, 32 words of correction
    ASSERT_EQ(symbol.rows, 10);
    for (const auto &c : Table("sd2/damaged.txt")) {
        int firstRow = 0, lastRow = 0, firstModule = 0, lastModule = 0, grey = 0, atLeast = 0, atMost = 0;
        Take(c[1], firstRow, lastRow, firstModule, lastModule, grey, atLeast, atMost);
        SymbolRows rows = Draw(symbol);
        Cover(rows, firstRow, lastRow, firstModule, lastModule, grey);
        Pdf417Read read;
        ASSERT_TRUE(Read(rows, &read)) << c[0];
        EXPECT_EQ(read.bytes, kText) << c[0];
        EXPECT_TRUE(read.rows == 10 && read.columns == 5 && read.correctionLevel == 4) << c[0];
        EXPECT_GE(read.corrected, atLeast) << c[0];
        EXPECT_LE(read.corrected, atMost) << c[0];
    }
}

TEST(OwnPdf417, IndicatorsKnowBetterThanTheLocator) {
    const Pdf417Symbol symbol = MakeSymbol(kData, 5, 4);
    const SymbolRows whole = Draw(symbol);
    const int codeword = 17 * whole.kPerModule;
    const auto part = [&](int firstRow, int rowCount, int firstSample) {
        SymbolRows rows = whole;
        rows.lines.Resize(rowCount, whole.lines.pixels);
        std::fill(rows.lines.grey.begin(), rows.lines.grey.end(), uint8_t{210});
        for (int row = 0; row < rowCount; ++row)
            if (firstRow + row >= 0 && firstRow + row < symbol.rows)
                std::copy(whole.lines.Line(firstRow + row) + std::max(0, firstSample),
                          whole.lines.Line(firstRow + row) + whole.lines.pixels + std::min(0, firstSample),
                          rows.lines.Line(row) + std::max(0, -firstSample));
        return rows;
    };
    SymbolRows withoutStop = part(0, 10, 0), withoutStart = part(0, 10, -codeword);
    withoutStop.columns = 6; // a compact symbol with one more column, it seems
    withoutStop.compact = true;
    Cover(withoutStop, 0, 9, 136, 158, 210);
    withoutStart.columns = 6; // the start pattern taken for the indicator
    Cover(withoutStart, 0, 9, 0, 33, 210);
    const struct {
        const char *name;
        const SymbolRows rows;
    } kCases[] = {
        {"the first three rows unseen", part(3, 7, 0)}, {"the last row unseen", part(0, 9, 0)},
        {"three rows too much", part(0, 13, 0)},        {"three rows too much before", part(-3, 13, 0)},
        {"stop pattern hidden", withoutStop},           {"start pattern hidden", withoutStart}};
    for (const auto &c : kCases) {
        Pdf417Read read;
        EXPECT_TRUE(Read(c.rows, &read)) << c.name;
        EXPECT_EQ(read.bytes, kText) << c.name;
        EXPECT_TRUE(read.rows == 10 && read.columns == 5) << c.name;
    }
}

TEST(OwnPdf417, TimeOverMeansNoRead) {
    Pdf417Read read;
    EXPECT_FALSE(Read(Draw(MakeSymbol(kData, 5, 4)), &read, kSpent));
    EXPECT_TRUE(Read(Draw(MakeSymbol(kData, 5, 4)), &read));
}

/// The most codewords that there can be, none of them right.
TEST(OwnPdf417, NoiseIsNotASymbol) {
    std::mt19937 random(9);
    for (const auto &[count, columns] : {std::pair{90, 10}, {3, 1}, {3, 30}, {31, 29}, {12, 4}})
        for (int round = 0; round < 4; ++round) {
            SymbolRows rows =
                Draw({count, columns, 2, std::vector<int>(static_cast<size_t>(count * columns), 7)});
            for (uint8_t &grey : rows.lines.grey)
                grey = static_cast<uint8_t>(round & 1 ? grey ^ (random() & 0x80) : random());
            rows.compact = round & 2;
            Pdf417Read read;
            EXPECT_FALSE(Read(rows, &read)) << count << " x " << columns;
        }
}

} // namespace
