// Our own engine's PDF417: codewords to texts, correction up to what the code can bear, symbols that are not
// all there, and the clock.
#include "platform/sd2/own/compaction.h"
#include "platform/sd2/own/reed_solomon.h"
#include "tests/sd2/pdf417_encoder.h"

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
    const std::string all = "0123456789&\r\t,:#-.$/+%*=^", marks = ";<>@[\\]_`~!\r\t,:\n-.$/\"|*()?{}'";
    std::vector<int> mixed{28 * 30 + 0}, punctuation{28 * 30 + 25}; // latches
    for (int i = 1; i < 25; i += 2)
        mixed.push_back(i * 30 + i + 1);
    for (int i = 0; i < 29; i += 2)
        punctuation.push_back(i * 30 + i + 1); // the last value leaves the marks
    punctuation.push_back(0);
    const struct {
        const char *name;
        std::vector<int> words;
        std::string text;
    } kCases[] = {
        {"text", {453, 178, 121, 239}, "PDF417"},
        {"latch to where it is", {900, 453, 178, 900, 3}, "PDFAD"},
        {"small letters, a capital between", {27 * 30 + 0, 27 * 30 + 1, 2 * 30 + 26}, "aBc "},
        {"mixed", mixed, all},
        {"marks, and capitals again", punctuation, marks + "AA"},
        {"mixed to small and to capitals", {28 * 30 + 27, 28 * 30 + 28, 0 * 30 + 26}, "A "},
        {"a mark between capitals", {0 * 30 + 29, 10 * 30 + 1}, "A!B"},
        {"back to capitals by a shift", {0 * 30 + 29, 29 * 30 + 1}, "AB"},
        {"a byte between, shifts given up", {27 * 30 + 29, 913, 0xE4, 1}, std::string("\xE4") + "ab"},
        {"bytes, a multiple of six", {924, 163, 238, 432, 766, 244}, "alcool"},
        {"bytes, the last group single", {901, 163, 238, 432, 766, 244, 65}, "alcoolA"},
        {"five single bytes", {901, 65, 66, 67, 68, 69}, "ABCDE"},
        {"bytes and text", {901, 10, 900, 453}, "\nPD"},
        {"zero bytes", {901, 0, 0, 255}, std::string("\0\0\xFF", 3)},
        {"digits", {902, 1, 624, 434, 632, 282, 200}, "000213298174000"},
        {"digits anew", {902, 1, 624, 434, 632, 282, 200, 902, 12}, "0002132981740002"},
        {"more digits than one group holds",
         {902, 491, 81, 137, 450, 302, 67, 15, 174, 492, 862, 667, 475, 869, 12, 434, 174, 189},
         "1234567890123456789012345678901234567890123456789"},
        {"character sets", {927, 3, 453, 926, 1, 2, 178, 925, 7, 121, 901, 65, 927, 4, 66}, "PDF41AB"},
        {"reader set up", {921, 453}, "PD"},
        {"one of several symbols", {453, 178, 928, 111, 100, 17, 53, 922}, "PDF"},
        {"padding", {453, 900, 900, 900}, "PD"},
    };
    for (const auto &c : kCases) {
        std::vector<int> words{static_cast<int>(c.words.size()) + 1};
        words.insert(words.end(), c.words.begin(), c.words.end());
        std::string bytes;
        EXPECT_TRUE(sd2::own::DecodeCompaction(words, &bytes)) << c.name;
        EXPECT_EQ(bytes, c.text) << c.name;
        Pdf417Read read;
        EXPECT_TRUE(Read(Draw(MakeSymbol(c.words, 4, 2)), &read)) << c.name;
        EXPECT_EQ(read.bytes, c.text) << c.name;
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
    const struct {
        const char *name;
        int firstRow, lastRow, firstModule, lastModule, grey;
        int atLeast, atMost; // corrected
    } kCases[] = {
        {"whole", 0, 0, 0, 0, 0, 0, 0},
        {"three rows paper", 3, 5, 17, 136, 210, 15, 15},
        {"six rows grey", 3, 8, 17, 136, 120, 29, 30},
        {"a column dark", 0, 9, 51, 68, 30, 9, 10},
        {"a scratch down three columns", 0, 9, 63, 90, 210, 15, 30},
        {"left indicators gone", 0, 9, 17, 34, 210, 0, 0},
        {"right indicators dark", 0, 9, 119, 136, 30, 0, 0},
    };
    for (const auto &c : kCases) {
        SymbolRows rows = Draw(symbol);
        Cover(rows, c.firstRow, c.lastRow, c.firstModule, c.lastModule, c.grey);
        Pdf417Read read;
        ASSERT_TRUE(Read(rows, &read)) << c.name;
        EXPECT_EQ(read.bytes, kText) << c.name;
        EXPECT_TRUE(read.rows == 10 && read.columns == 5 && read.correctionLevel == 4) << c.name;
        EXPECT_GE(read.corrected, c.atLeast) << c.name;
        EXPECT_LE(read.corrected, c.atMost) << c.name;
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
