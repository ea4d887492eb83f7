// Our own engine's linear codes: character sets, both directions, ink that spreads, what is not a code. The
// bars were drawn by an existing generator.
#include "platform/sd2/engine.h"
#include "tests/support/data.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace {

using sd2::Edges;
using sd2::LinearRead;
using sd2::Stopwatch;
using sd2::Stretch;

const Stopwatch kAmple(600000), kSpent(0);

struct Code {
    std::string name;
    sd2::Symbology symbology;
    std::string bars; // widths of bars and spaces in modules, one digit each
    std::string text;
};

const std::vector<Code> kCodes = [] {
    std::vector<Code> codes;
    for (const auto &row : Table("sd2/linear_codes.txt"))
        codes.push_back({row[0], row[1] == "128" ? sd2::kCode128 : sd2::kCode39, row[3], row[2]});
    return codes;
}();

/// The code in some lines, one of them per entry of `shift`, which moves it along.
/// @param growth  bars wider and spaces narrower than they should be, sixteenths of a pixel
struct Lines {
    Edges edges;
    std::vector<Stretch> stretches;

    explicit Lines(const std::string &bars, const std::vector<int> &shift = {0, 0, 0}, int growth = 0,
                   int module = 60) {
        edges.first = {0};
        for (const int moved : shift) {
            int32_t at = 1600 + moved;
            bool dark = true;
            for (size_t i = 0; i <= bars.size(); ++i) {
                edges.position.push_back(at + (dark ? -growth : growth) / 2);
                dark = !dark;
                if (i < bars.size())
                    at += (bars[i] - '0') * module;
            }
            stretches.push_back({static_cast<int>(stretches.size()), 0, static_cast<int>(bars.size())});
            edges.first.push_back(edges.position.size());
        }
    }
    bool Read(LinearRead *read, const Stopwatch &watch = kAmple, bool code128 = true,
              bool code39 = true) const {
        return sd2::kOwnEngine.readLinear(edges, stretches, code128, code39, watch, read);
    }
};

TEST(OwnLinear, CodesInBothDirectionsAndThickness) {
    for (const Code &code : kCodes)
        for (const bool backwards : {false, true})
            for (const int growth : {-30, 0, 30}) {
                std::string bars = code.bars;
                if (backwards)
                    std::reverse(bars.begin(), bars.end());
                LinearRead read;
                ASSERT_TRUE(Lines(bars, {0, 0, 0}, growth).Read(&read)) << code.name << ' ' << growth;
                EXPECT_EQ(read.bytes, code.text) << code.name;
                EXPECT_EQ(read.symbology, code.symbology) << code.name;
                EXPECT_EQ(read.start > read.end, backwards) << code.name;
            }
}

TEST(OwnLinear, OnlyWhatIsAskedForAndAgreedOn) {
    for (const Code &code : kCodes) {
        const bool is128 = code.symbology == sd2::kCode128;
        LinearRead read;
        EXPECT_FALSE(Lines(code.bars).Read(&read, kAmple, !is128, is128)) << code.name;
        EXPECT_FALSE(Lines(code.bars).Read(&read, kSpent)) << code.name;
        EXPECT_FALSE(Lines(code.bars, {0}).Read(&read)) << code.name << ": one line";
        EXPECT_FALSE(Lines(code.bars, {0, 50000}).Read(&read)) << code.name << ": at different places";
        EXPECT_TRUE(Lines(code.bars, {0, 300}).Read(&read)) << code.name << ": a slope";
    }
}

TEST(OwnLinear, CheckCharacterTellsOfDamage) {
    // A module moved from one element to another of the same kind, all over the codes.
    for (const Code &code : kCodes)
        for (size_t i = 0; code.symbology == sd2::kCode128 && i + 2 < code.bars.size(); ++i) {
            std::string bars = code.bars;
            if (bars[i] < '2')
                continue;
            --bars[i];
            ++bars[i + 2];
            LinearRead read;
            if (Lines(bars).Read(&read)) {
                EXPECT_EQ(read.bytes, code.text) << code.name << ' ' << i;
            }
        }
}

/// Edges too uncertain for a line alone: the lines are read as one.
TEST(OwnLinear, LinesThatAreOnlyReadTogether) {
    std::mt19937 random(3);
    for (const Code &code : kCodes) {
        Lines lines(code.bars, std::vector<int>(24, 0));
        for (int32_t &edge : lines.edges.position)
            edge += static_cast<int>(random() % 71) - 35;
        LinearRead read;
        EXPECT_TRUE(lines.Read(&read)) << code.name;
        EXPECT_EQ(read.bytes, code.text) << code.name;
    }
}

TEST(OwnLinear, RandomBarsAreNoCode) {
    std::mt19937 random(8);
    for (int round = 0; round < 300; ++round) {
        std::string bars;
        for (int i = 0; i < 61; ++i)
            bars += static_cast<char>('1' + random() % (round & 1 ? 4 : 2));
        LinearRead read;
        EXPECT_FALSE(Lines(bars).Read(&read)) << bars << " is " << read.bytes;
    }
    // Widths of nothing, and very wide ones.
    for (const int module : {0, 1, 1000000}) {
        LinearRead read;
        Lines(kCodes[0].bars, {0, 0}, 0, module).Read(&read);
        Lines(kCodes[5].bars, {0, 0}, 0, module).Read(&read);
    }
}

} // namespace
