// Our own engine's linear codes: character sets, both directions, ink that spreads, what is not a code. The
// bars were drawn by an existing generator.
#include "platform/sd2/engine.h"
#include "tests/support/data.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <random>

namespace {

using sd2::LinearRead;
using sd2::Stopwatch;
using testing::AnyOf;

const Stopwatch kAmple(600000), kSpent(0);

struct Code {
    sd2::Symbology symbology;
    std::string bars; // widths of bars and spaces in modules, one digit each
    std::string text;
};

std::vector<Code> Codes() {
    std::vector<Code> codes;
    for (const auto &row : Table("sd2/linear_codes.txt"))
        codes.push_back({row[1] == "128" ? sd2::kCode128 : sd2::kCode39, row[3], row[2]});
    return codes;
}

/// The code in some lines, one of them per entry of `shift`, which moves it along.
/// @param growth  bars wider and spaces narrower than they should be, sixteenths of a pixel
struct Lines {
    sd2::Edges edges;
    std::vector<sd2::Stretch> stretches;

    explicit Lines(const std::string &bars, const std::vector<int> &shift = {0, 0, 0}, int growth = 0,
                   int module = 60) {
        edges.first = {0};
        for (const int moved : shift) {
            int32_t at = 1600 + moved;
            for (size_t i = 0; i <= bars.size(); ++i) {
                edges.position.push_back(at + (i % 2 ? growth : -growth) / 2);
                if (i < bars.size())
                    at += (bars[i] - '0') * module;
            }
            stretches.push_back({static_cast<int>(stretches.size()), 0, static_cast<int>(bars.size())});
            edges.first.push_back(edges.position.size());
        }
    }
    /// Empty when nothing is read.
    LinearRead Read(const Stopwatch &watch = kAmple, bool code128 = true, bool code39 = true) const {
        LinearRead read;
        const bool done = sd2::kOwnEngine.readLinear(edges, stretches, code128, code39, watch, &read);
        return done ? read : LinearRead();
    }
};

TEST(OwnLinear, CodesInBothDirectionsAndThickness) {
    for (const Code &code : Codes())
        for (const bool backwards : {false, true})
            for (const int growth : {-30, 0, 30}) {
                std::string bars = code.bars;
                if (backwards)
                    std::reverse(bars.begin(), bars.end());
                const LinearRead read = Lines(bars, {0, 0, 0}, growth).Read();
                EXPECT_EQ(read.bytes, code.text) << growth;
                EXPECT_EQ(read.symbology, code.symbology) << code.text;
                EXPECT_EQ(read.start > read.end, backwards) << code.text;
            }
}

TEST(OwnLinear, OnlyWhatIsAskedForAndAgreedOn) {
    for (const Code &code : Codes()) {
        const bool is128 = code.symbology == sd2::kCode128;
        EXPECT_EQ(Lines(code.bars).Read(kAmple, !is128, is128).bytes, "");
        EXPECT_EQ(Lines(code.bars).Read(kSpent).bytes, "");
        EXPECT_EQ(Lines(code.bars, {0}).Read().bytes, "") << "one line";
        EXPECT_EQ(Lines(code.bars, {0, 50000}).Read().bytes, "") << "at different places";
        EXPECT_EQ(Lines(code.bars, {0, 300}).Read().bytes, code.text) << "a slope";
    }
}

/// A module moved from one element to another of the same kind, all over the codes.
TEST(OwnLinear, CheckCharacterTellsOfDamage) {
    for (const Code &code : Codes())
        for (size_t i = 0; code.symbology == sd2::kCode128 && i + 2 < code.bars.size(); ++i)
            if (std::string bars = code.bars; bars[i] > '1') {
                --bars[i];
                ++bars[i + 2];
                EXPECT_THAT(Lines(bars).Read().bytes, AnyOf("", code.text)) << i;
            }
}

/// Edges too uncertain for a line alone: the lines are read as one.
TEST(OwnLinear, LinesThatAreOnlyReadTogether) {
    std::mt19937 random(3);
    for (const Code &code : Codes()) {
        Lines lines(code.bars, std::vector<int>(24, 0));
        for (int32_t &edge : lines.edges.position)
            edge += static_cast<int>(random() % 71) - 35;
        EXPECT_EQ(lines.Read().bytes, code.text);
    }
}

TEST(OwnLinear, RandomBarsAreNoCode) {
    std::mt19937 random(8);
    for (int round = 0; round < 300; ++round) {
        std::string bars;
        for (int i = 0; i < 61; ++i)
            bars += static_cast<char>('1' + random() % (round & 1 ? 4 : 2));
        EXPECT_EQ(Lines(bars).Read().bytes, "") << bars;
    }
    // Widths of nothing, and very wide ones.
    for (const Code &code : Codes())
        for (const int module : {0, 1, 1000000})
            EXPECT_THAT(Lines(code.bars, {0, 0}, 0, module).Read().bytes, AnyOf("", code.text));
}

} // namespace
