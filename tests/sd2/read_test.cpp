// What the library reads. The counts are ratchets: they may rise, never fall.
#include "tests/sd2/decoder.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>

namespace {

using namespace barcode_frames;
using sd2_test::Decode;
using sd2_test::Read;
using sd2_test::Wanted;

int32_t CodeOf(Kind kind) {
    return kind == Kind::Code128 ? SD_CODE_128 : kind == Kind::Code39 ? SD_CODE_39 : SD_PDF417;
}

/// Position and orientation by the header's rule, and for full PDF417 symbols the counts and the level.
void ExpectTruth(const Read &read, const Symbol &symbol, const Truth &truth, int slack,
                 const std::string &what) {
    EXPECT_EQ(read.returned, 1) << what;
    EXPECT_EQ(read.symbology, CodeOf(symbol.kind)) << what;
    EXPECT_EQ(read.info[SD_INFO_ACCEPTED], 1) << what;
    EXPECT_EQ(read.orientation, truth.orientation) << what;
    EXPECT_NEAR(read.position[0], std::max(truth.firstLine, 1), slack) << what;
    EXPECT_NEAR(read.position[1], truth.lastLine, slack) << what;
    EXPECT_GE(read.position[0], 1) << what;
    EXPECT_GE(read.position[1], read.position[0]) << what;
}

void ExpectCounts(const Read &read, const Symbol &symbol, const Truth &truth, const std::string &what) {
    EXPECT_EQ(read.info[SD_INFO_ROWS], truth.rows) << what;
    EXPECT_EQ(read.info[SD_INFO_COLUMNS], truth.columns) << what;
    EXPECT_EQ(read.info[SD_INFO_CORRECTION], symbol.correctionLevel) << what;
    EXPECT_NEAR(read.info[SD_INFO_MODULE], 10 * symbol.module, 2) << what;
}

TEST(Reading, StandardSet) {
    const struct {
        bool linear;
        int degree, atLeast; // of 16: eight turns on both sides
    } kRows[] = {{false, 0, 16}, {false, 1, 16}, {false, 2, 16}, {false, 3, 16},
                 {true, 0, 16},  {true, 1, 16},  {true, 2, 16},  {true, 3, 16}};
    for (const auto &row : kRows) {
        const Frame blank = BlankFrame(2540, 2300, StandardDamage(row.degree), true, 5);
        int right = 0;
        for (int i = 0; i < 16; ++i) {
            const int number = 16 * row.degree + i;
            const Sample sample = StandardSample(row.linear, number);
            const std::string what = (row.linear ? "linear " : "PDF417 ") + std::to_string(number);
            Truth truth;
            const Read read = Decode(SampleFrame(sample, blank, static_cast<uint32_t>(number), &truth));
            if (read.text != sample.symbol.text) {
                EXPECT_EQ(read.text, "") << what << ": a misread";
                continue;
            }
            ++right;
            ExpectTruth(read, sample.symbol, truth, 12, what);
            // The sides are told apart by the middle of the sensor.
            EXPECT_EQ(read.position[1] > 1350, sample.symbol.centreLine > 1350) << what;
            if (!row.linear)
                ExpectCounts(read, sample.symbol, truth, what);
        }
        EXPECT_GE(right, row.atLeast) << (row.linear ? "linear" : "PDF417") << ", damage " << row.degree;
    }
}

void Cover(Frame &frame, int left, int top, int right, int bottom, uint8_t grey) {
    for (int line = std::max(top, 0); line < std::min(bottom, frame.lines); ++line)
        for (int pixel = std::max(left, 0); pixel < std::min(right, frame.pixels); ++pixel)
            frame.grey[static_cast<size_t>(line) * static_cast<size_t>(frame.pixels) +
                       static_cast<size_t>(pixel)] = grey;
}

/// Left and right edge of a symbol that lies along the lines.
struct Span {
    int left, right;
};
Span SpanOf(const Symbol &symbol, const Truth &truth) {
    const double half = (69 + 17 * truth.columns) * symbol.module / 2;
    return {static_cast<int>(symbol.centrePixel - half), static_cast<int>(symbol.centrePixel + half)};
}

struct Condition {
    const char *name;
    int atLeast; // of 8 turns, or of 4 for symbols that fit one way only
    std::function<void(Symbol &, Damage &)> change;
    std::function<void(Frame &, const Symbol &, const Truth &)> harm = {};
    bool alongLines = false;
    bool countsKnown = true;
};

const Condition kConditions[] = {
    {"modules below two pixels", 8, [](Symbol &s, Damage &d) { s.module = 1.7, d.noise = 3; }},
    {"modules of ten pixels",
     4,
     [](Symbol &s, Damage &) { s.module = 10, s.correctionLevel = 1, s.text = SampleText(12, 1); },
     {},
     true},
    {"low rows", 8, [](Symbol &s, Damage &d) { s.rowModules = 1.5, d.noise = 3; }},
    {"high rows", 8, [](Symbol &s, Damage &d) { s.rowModules = 8, s.text = SampleText(30, 1), d.noise = 3; }},
    {"blur as wide as half a module",
     7,
     [](Symbol &s, Damage &d) {
         s.module = 3.7, d = {150, 60, 6, 2.0, 3};
     },
     {},
     false,
     false},
    {"noise", 8,
     [](Symbol &, Damage &d) {
         d = {150, 60, 16, 1.0, 1};
     }},
    {"contrast 30", 8,
     [](Symbol &, Damage &d) {
         d = {90, 60, 2, 1.0, -1};
     }},
    {"skew of eight degrees", 8, [](Symbol &, Damage &d) { d.skew = 8, d.noise = 3; }},
    {"compact", 8, [](Symbol &s, Damage &d) { s.kind = Kind::CompactPdf417, d.noise = 3, d.skew = 1; }},
    {"binary", 8, [](Symbol &s, Damage &) { s.text = SampleBytes(120, 4); }},
    {"start pattern hidden", 4, [](Symbol &, Damage &) {},
     [](Frame &f, const Symbol &s, const Truth &t) {
         const Span span = SpanOf(s, t);
         const int width = static_cast<int>(16 * s.module);
         const bool left = t.orientation == 1;
         Cover(f, left ? span.left - 9 : span.right - width, 0, left ? span.left + width : span.right + 9,
               f.lines, 205);
     },
     true},
    {"stop pattern hidden", 4, [](Symbol &, Damage &) {},
     [](Frame &f, const Symbol &s, const Truth &t) {
         const Span span = SpanOf(s, t);
         const int width = static_cast<int>(17.5 * s.module);
         const bool right = t.orientation == 1;
         Cover(f, right ? span.right - width : span.left - 9, 0, right ? span.right + 9 : span.left + width,
               f.lines, 205);
     },
     true, false},
    {"both patterns hidden on half of the lines", 4, [](Symbol &, Damage &) {},
     [](Frame &f, const Symbol &s, const Truth &t) {
         const Span span = SpanOf(s, t);
         const int width = static_cast<int>(16 * s.module), middle = (t.firstLine + t.lastLine) / 2;
         Cover(f, 0, 0, span.left + width, middle, 205);
         Cover(f, span.right - width, 0, f.pixels, middle, 205);
     },
     true},
    {"scratched across", 4, [](Symbol &s, Damage &) { s.correctionLevel = 5; },
     [](Frame &f, const Symbol &s, const Truth &t) {
         const int line = (t.firstLine + t.lastLine) / 2, pixel = static_cast<int>(s.centrePixel);
         Cover(f, 0, line, f.pixels, line + 18, 205);
         Cover(f, pixel, 0, pixel + 14, f.lines, 30);
     },
     true},
    {"dark up to the quiet zone", 4, [](Symbol &, Damage &) {},
     [](Frame &f, const Symbol &s, const Truth &t) {
         const Span span = SpanOf(s, t);
         Cover(f, 0, 0, span.left - 8, f.lines, 20);
         Cover(f, span.right + 8, 0, f.pixels, f.lines, 20);
     },
     true},
};

TEST(Reading, Pdf417UnderConditions) {
    for (const Condition &c : kConditions) {
        int right = 0;
        for (int turn = 0; turn < 8; turn += c.alongLines ? 2 : 1) {
            Symbol symbol;
            Damage damage;
            symbol.text = SampleText(70, static_cast<uint32_t>(turn));
            symbol.turn = turn;
            symbol.centreLine = symbol.centrePixel = 550;
            c.change(symbol, damage);
            Frame frame = BlankFrame(1100, 1100, damage, false, 0);
            const Truth truth = Draw(frame, symbol, damage);
            if (c.harm)
                c.harm(frame, symbol, truth);
            AddNoise(frame, damage, 3);
            const std::string what = std::string(c.name) + ", turn " + std::to_string(turn);
            const Read read = Decode(frame);
            if (read.text != symbol.text) {
                EXPECT_EQ(read.text, "") << what << ": a misread";
                continue;
            }
            ++right;
            ExpectTruth(read, symbol, truth, 16, what);
            if (c.countsKnown)
                ExpectCounts(read, symbol, truth, what);
        }
        EXPECT_GE(right, c.atLeast) << c.name;
    }
}

TEST(Reading, LinearUnderConditions) {
    const struct {
        const char *name;
        int atLeast; // of 16: both kinds in eight turns
        double module, barModules;
        Damage damage;
        size_t length;
    } kCases[] = {
        {"modules below two pixels", 16, 1.8, 60, {180, 50, 3, 0.8, 1}, 7},
        {"large modules", 16, 7, 20, {180, 50, 3, 0.8, 1}, 5},
        {"low bars", 16, 4, 8, {205, 30, 2, 1.0, 1}, 5},
        {"three characters", 16, 4, 20, {205, 30, 2, 1.0, -1}, 3},
        {"blur as wide as half a module", 15, 4, 30, {150, 60, 6, 2.0, 3}, 8},
        {"noise", 16, 4, 30, {150, 60, 14, 1.2, 2}, 7},
        {"contrast 30", 16, 4, 30, {90, 60, 3, 1.0, -2}, 7},
        {"skew of seven degrees", 16, 4, 40, {205, 30, 3, 1.0, 7}, 7},
    };
    for (const auto &c : kCases) {
        int right = 0;
        for (int i = 0; i < 16; ++i) {
            Symbol symbol;
            symbol.kind = i & 8 ? Kind::Code39 : Kind::Code128;
            symbol.text = SampleText(c.length, static_cast<uint32_t>(i + 1));
            std::replace(symbol.text.begin(), symbol.text.end(), ' ', '.');
            symbol.turn = i & 7;
            symbol.module = c.module;
            symbol.barModules = c.barModules;
            symbol.centreLine = symbol.centrePixel = 550;
            Frame frame = BlankFrame(1100, 1100, c.damage, false, 0);
            const Truth truth = Draw(frame, symbol, c.damage);
            AddNoise(frame, c.damage, 3);
            const std::string what = std::string(c.name) + ' ' + std::to_string(i);
            const Read read = Decode(frame);
            if (read.text != symbol.text) {
                EXPECT_EQ(read.text, "") << what << ": a misread";
                continue;
            }
            ++right;
            ExpectTruth(read, symbol, truth, 16, what);
        }
        EXPECT_GE(right, c.atLeast) << c.name;
    }
}

TEST(Reading, WhiteCardRegion) {
    int right = 0;
    for (int i = 0; i < 16; ++i) {
        Symbol symbol;
        Damage damage{255, 0, 5, 1.2, (i % 5 - 2) * 1.0};
        char text[16];
        std::snprintf(text, sizeof text, "%cS%d.%03d", i & 1 ? 'C' : 'F', i % 10, i * 61 % 1000);
        symbol.text = text;
        symbol.turn = i % 8;
        symbol.module = symbol.turn & 1 ? 2.3 : 3.2 + i * 0.05; // the region is only so high
        symbol.correctionLevel = 2;
        symbol.centreLine = 140;
        symbol.centrePixel = 300 + i;
        Frame frame = BlankFrame(280, 632, damage, false, 0);
        const Truth truth = Draw(frame, symbol, damage);
        AddNoise(frame, damage, static_cast<uint32_t>(i));
        const Read read = Decode(frame, {true, false, false});
        right += read.text == symbol.text;
        ExpectTruth(read, symbol, truth, 6, text);
    }
    EXPECT_EQ(right, 16);
}

TEST(Reading, VeryLongText) {
    Symbol symbol;
    for (int i = 0; i < 2400; ++i)
        symbol.text += static_cast<char>('0' + (i * 7 + i / 11) % 10);
    symbol.correctionLevel = 0;
    symbol.module = 3.4;
    symbol.centreLine = 620;
    const Damage damage{190, 40, 2, 0.8, 1};
    Frame frame = BlankFrame(2540, 2300, damage, false, 0);
    const Truth truth = Draw(frame, symbol, damage);
    AddNoise(frame, damage, 1);
    const Read read = Decode(frame);
    EXPECT_EQ(read.text, symbol.text);
    ExpectCounts(read, symbol, truth, "long");
}

/// Too large for the locator: the engine's own search finds it, with the same rules for what is reported.
TEST(Reading, HugeModules) {
    int right = 0;
    for (int turn = 0; turn < 8; turn += 2) {
        Symbol symbol;
        symbol.text = SampleText(6, 2);
        symbol.module = 17;
        symbol.correctionLevel = 0;
        symbol.turn = turn;
        symbol.centreLine = 480;
        symbol.centrePixel = 1000;
        Damage damage;
        Frame frame = BlankFrame(960, 2000, damage, false, 0);
        const Truth truth = Draw(frame, symbol, damage);
        const Read read = Decode(frame);
        if (read.text != symbol.text)
            continue;
        ++right;
        ExpectTruth(read, symbol, truth, 20, "turn " + std::to_string(turn));
    }
    EXPECT_GE(right, 4);
}

TEST(Reading, OnlyTheSymbologiesAskedFor) {
    const Damage damage;
    Frame frame = BlankFrame(1100, 1300, damage, false, 0);
    Symbol stacked, code128, code39;
    stacked.text = "STACKED";
    stacked.centreLine = 200;
    code128.kind = Kind::Code128;
    code128.text = "Code-128";
    code128.centreLine = 550;
    code39.kind = Kind::Code39;
    code39.text = "CODE-39";
    code39.centreLine = 900;
    for (Symbol *symbol : {&stacked, &code128, &code39}) {
        symbol->centrePixel = 650;
        Draw(frame, *symbol, damage);
    }
    const struct {
        Wanted wanted;
        const char *text;
    } kCases[] = {{{true, true, true}, "STACKED"},
                  {{true, false, false}, "STACKED"},
                  {{false, true, false}, "Code-128"},
                  {{false, false, true}, "CODE-39"}};
    for (const auto &c : kCases)
        EXPECT_EQ(Decode(frame, c.wanted).text, c.text);
}

TEST(Reading, NothingWhereThereIsNothing) {
    const Damage damage{205, 30, 6, 0.8, 0};
    const auto expectNothing = [](const Frame &frame, const char *what) {
        const Read read = Decode(frame);
        EXPECT_EQ(read.returned, 0) << what;
        EXPECT_EQ(read.symbology, 0) << what;
        EXPECT_EQ(read.text, "") << what;
    };
    Frame frame = BlankFrame(2540, 2300, damage, true, 9);
    AddNoise(frame, damage, 9);
    expectNothing(frame, "print");

    Frame noise = BlankFrame(700, 900, {128, 0, 0, 0, 0}, false, 0);
    AddNoise(noise, {0, 0, 60, 0, 0}, 4);
    expectNothing(noise, "noise");

    Frame dark = BlankFrame(700, 900, {0, 0, 0, 0, 0}, false, 0);
    expectNothing(dark, "black");

    Symbol little; // two characters of Code 39 are too easily found in print
    little.kind = Kind::Code39;
    little.text = "A1";
    little.centreLine = 350;
    little.centrePixel = 450;
    Frame code = BlankFrame(700, 900, Damage(), false, 0);
    Draw(code, little, Damage());
    expectNothing(code, "two characters");

    // Start patterns side by side all over: as many candidates as there can be.
    Frame pattern = BlankFrame(700, 900, Damage(), false, 0);
    constexpr int kRuns[] = {8, 1, 1, 1, 1, 1, 1, 3};
    for (int line = 0; line < pattern.lines; ++line) {
        int x = 0;
        for (int run = 0; x < pattern.pixels; run = (run + 1) % 8) {
            Cover(pattern, x, line, x + 2 * kRuns[run], line + 1, run % 2 ? 205 : 30);
            x += 2 * kRuns[run];
        }
    }
    expectNothing(pattern, "patterns");
}

/// A symbol cut off by each border is at worst not read; nothing outside the image is touched.
TEST(Reading, CutByTheBorder) {
    for (int turn = 0; turn < 8; ++turn)
        for (int side = 0; side < 4; ++side) {
            Symbol symbol;
            symbol.text = SampleText(30, 8);
            symbol.turn = turn;
            symbol.centreLine = side == 0 ? 20 : side == 1 ? 480 : 250;
            symbol.centrePixel = side == 2 ? 60 : side == 3 ? 540 : 300;
            symbol.kind = turn & 2 ? Kind::Pdf417 : Kind::Code128;
            symbol.module = 3;
            Damage damage;
            damage.skew = 4;
            Frame frame = BlankFrame(500, 600, damage, false, 0);
            Draw(frame, symbol, damage);
            const Read read = Decode(frame);
            EXPECT_TRUE(read.text.empty() || read.text == symbol.text);
            EXPECT_LT(read.position[1], 500);
        }
}

TEST(Reading, ImagesOfEverySmallSize) {
    for (int lines = 1; lines <= 24; ++lines)
        for (int pixels = 1; pixels <= 40; pixels += lines % 3 + 1) {
            Frame frame = BlankFrame(lines, pixels, {128, 0, 0, 0, 0}, false, 0);
            AddNoise(frame, {0, 0, 90, 0, 0}, static_cast<uint32_t>(lines * 64 + pixels));
            EXPECT_EQ(Decode(frame).returned, 0);
        }
}

} // namespace
