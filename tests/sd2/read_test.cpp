// What the library reads. The counts are ratchets: they may rise, never fall.
#include "tests/sd2/decoder.h"
#include "tests/support/data.h"

#include <algorithm>
#include <random>

namespace {

using namespace barcode_frames;
using sd2_test::Decode;
using sd2_test::Read;

/// Whether the text was read; if so the rest must be right, too, and no text may be another.
bool IsRight(const Read &read, const Symbol &symbol, const Truth &truth, int slack, const std::string &what) {
    if (read.text != symbol.text) {
        EXPECT_EQ(read.text, "") << what << ": a misread";
        return false;
    }
    const int code = symbol.kind == Kind::Code128  ? SD_CODE_128
                     : symbol.kind == Kind::Code39 ? SD_CODE_39
                                                   : SD_PDF417;
    EXPECT_EQ(read.returned, 1) << what;
    EXPECT_EQ(read.symbology, code) << what;
    EXPECT_EQ(read.info[SD_INFO_ACCEPTED], 1) << what;
    EXPECT_EQ(read.orientation, truth.orientation) << what;
    EXPECT_NEAR(read.position[0], std::max(truth.firstLine, 1), slack) << what;
    EXPECT_NEAR(read.position[1], truth.lastLine, slack) << what;
    EXPECT_GE(read.position[0], 1) << what;
    return true;
}

void ExpectCounts(const Read &read, const Symbol &symbol, const Truth &truth, const std::string &what) {
    EXPECT_EQ(read.info[SD_INFO_ROWS], truth.rows) << what;
    EXPECT_EQ(read.info[SD_INFO_COLUMNS], truth.columns) << what;
    EXPECT_EQ(read.info[SD_INFO_CORRECTION], symbol.correctionLevel) << what;
    EXPECT_NEAR(read.info[SD_INFO_MODULE], 10 * symbol.module, 2) << what;
}

TEST(Reading, StandardSet) {
    for (const bool linear : {false, true})
        for (int number = 0; number < kSamples;
             ++number) { // eight turns on both sides, in each degree of damage
            static Frame blank;
            if (number % 16 == 0)
                blank = BlankFrame(2540, 2300, StandardDamage(number / 16), true, 5);
            const Sample sample = StandardSample(linear, number);
            const std::string what = (linear ? "linear " : "PDF417 ") + std::to_string(number);
            Truth truth;
            const Read read = Decode(SampleFrame(sample, blank, static_cast<uint32_t>(number), &truth));
            EXPECT_TRUE(IsRight(read, sample.symbol, truth, 12, what)) << what;
            // The sides are told apart by the middle of the sensor.
            EXPECT_EQ(read.position[1] > 1350, sample.symbol.centreLine > 1350) << what;
            if (!linear)
                ExpectCounts(read, sample.symbol, truth, what);
        }
}

void Cover(Frame &frame, int left, int top, int right, int bottom, uint8_t grey) {
    for (int line = std::max(top, 0); line < std::min(bottom, frame.lines); ++line)
        for (int pixel = std::max(left, 0); pixel < std::min(right, frame.pixels); ++pixel)
            frame.grey[static_cast<size_t>(line * frame.pixels + pixel)] = grey;
}

enum Harm { kNone, kStartHidden, kEndsHiddenOnHalf, kScratched };

/// Covers parts of a symbol that lies along the lines.
void Spoil(Frame &frame, Harm harm, const Symbol &symbol, const Truth &truth) {
    const double half = (69 + 17 * truth.columns) * symbol.module / 2;
    const int left = static_cast<int>(symbol.centrePixel - half),
              right = static_cast<int>(symbol.centrePixel + half);
    const int width = static_cast<int>(16 * symbol.module), middle = (truth.firstLine + truth.lastLine) / 2;
    if (harm == kStartHidden) {
        if (truth.orientation == 1)
            Cover(frame, 0, 0, left + width, frame.lines, 205);
        else
            Cover(frame, right - width, 0, frame.pixels, frame.lines, 205);
    } else if (harm == kEndsHiddenOnHalf) {
        Cover(frame, 0, 0, left + width, middle, 205);
        Cover(frame, right - width, 0, frame.pixels, middle, 205);
    } else if (harm == kScratched) {
        Cover(frame, 0, middle, frame.pixels, middle + 18, 205);
        Cover(frame, static_cast<int>(symbol.centrePixel), 0, static_cast<int>(symbol.centrePixel) + 14,
              frame.lines, 30);
    }
}

TEST(Reading, UnderConditions) {
    const std::vector<std::string> kinds = {"pdf417", "compact", "code128", "code39"},
                                   harms = {"none", "start-hidden", "ends-hidden", "scratched"};
    const auto place = [](const std::vector<std::string> &names, const std::string &name) {
        return std::find(names.begin(), names.end(), name) - names.begin();
    };
    for (const auto &c : Table("sd2/readings.txt")) {
        const auto kind = static_cast<Kind>(place(kinds, c[1]));
        const auto harm = static_cast<Harm>(place(harms, c[8]));
        Symbol symbol{kind, "", std::stod(c[3])};
        Damage damage;
        size_t length = 0;
        int atLeast = 0;
        Take(c[2], length);
        Take(c[4], symbol.rowModules, symbol.correctionLevel);
        Take(c[5], damage.paper, damage.ink);
        Take(c[6], damage.noise, damage.blur, damage.skew);
        Take(c[7], atLeast);
        symbol.barModules = symbol.rowModules;
        const bool alongLines = atLeast <= 4;
        int right = 0;
        for (int turn = 0; turn < 8; turn += alongLines ? 2 : 1) {
            const int pixels = alongLines ? 2000 : 1100;
            symbol.text = SampleText(length, static_cast<uint32_t>(turn + 1));
            if (kind == Kind::Code128 || kind == Kind::Code39)
                std::replace(symbol.text.begin(), symbol.text.end(), ' ', '.');
            symbol.centreLine = 550;
            symbol.centrePixel = pixels / 2.0;
            symbol.turn = turn;
            Frame frame = BlankFrame(1100, pixels, damage, false, 0);
            const Truth truth = Draw(frame, symbol, damage);
            Spoil(frame, harm, symbol, truth);
            AddNoise(frame, damage, 3);
            right += IsRight(Decode(frame), symbol, truth, 20, c[0] + ' ' + std::to_string(turn));
        }
        EXPECT_GE(right, atLeast) << c[0];
    }
}

TEST(Reading, WhiteCardRegion) {
    for (int i = 0; i < 16; ++i) {
        const Damage damage{255, 0, 5, 1.2, (i % 5 - 2) * 1.0};
        char text[16];
        std::snprintf(text, sizeof text, "%cS%d.%03d", i & 1 ? 'C' : 'F', i % 10, i * 61 % 1000);
        const double module = i & 1 ? 2.3 : 3.2 + i * 0.05; // the region is only so high
        const Symbol symbol{Kind::Pdf417, text, module, 3, 30, 2, 140, 300.0 + i, i % 8};
        Frame frame = BlankFrame(280, 632, damage, false, 0);
        const Truth truth = Draw(frame, symbol, damage);
        AddNoise(frame, damage, static_cast<uint32_t>(i));
        EXPECT_TRUE(IsRight(Decode(frame, {true, false, false}), symbol, truth, 6, text)) << text;
    }
}

TEST(Reading, LongAndBinaryTexts) {
    std::string digits;
    for (int i = 0; i < 2400; ++i)
        digits += static_cast<char>('0' + (i * 7 + i / 11) % 10);
    for (const std::string &text : {digits, SampleBytes(120, 4)}) {
        const Symbol symbol{Kind::Pdf417, text, 3.4, 3, 30, 0, 620};
        const Damage damage{190, 40, 2, 0.8, 1};
        Frame frame = BlankFrame(2540, 2300, damage, false, 0);
        const Truth truth = Draw(frame, symbol, damage);
        AddNoise(frame, damage, 1);
        const Read read = Decode(frame);
        EXPECT_EQ(read.text, text);
        ExpectCounts(read, symbol, truth, "long or binary");
    }
}

TEST(Reading, OnlyTheSymbologiesAskedFor) {
    Frame frame = BlankFrame(1100, 1300, {}, false, 0);
    Draw(frame, {Kind::Pdf417, "STACKED", 4.4, 3, 30, 3, 200, 650}, {});
    Draw(frame, {Kind::Code128, "Code-128", 4.4, 3, 30, 3, 550, 650}, {});
    Draw(frame, {Kind::Code39, "CODE-39", 4.4, 3, 30, 3, 900, 650}, {});
    EXPECT_EQ(Decode(frame, {true, true, true}).text, "STACKED");
    EXPECT_EQ(Decode(frame, {false, true, false}).text, "Code-128");
    EXPECT_EQ(Decode(frame, {false, false, true}).text, "CODE-39");
}

TEST(Reading, NothingWhereThereIsNothing) {
    const Damage damage{205, 30, 6, 0.8, 0};
    Frame print = BlankFrame(2540, 2300, damage, true, 9), noise = BlankFrame(700, 900, {128}, false, 0),
          little = BlankFrame(700, 900, {}, false, 0), patterns = little;
    AddNoise(print, damage, 9);
    AddNoise(noise, {0, 0, 60}, 4);
    // Two characters of Code 39 are too easily found in print.
    Draw(little, {Kind::Code39, "A1", 4.4, 3, 30, 3, 350, 450}, {});
    // Start patterns side by side all over: as many candidates as there can be.
    constexpr int kRuns[] = {8, 1, 1, 1, 1, 1, 1, 3};
    for (int x = 0, run = 0; x < patterns.pixels; x += 2 * kRuns[run], run = (run + 1) % 8)
        Cover(patterns, x, 0, x + 2 * kRuns[run], patterns.lines, run % 2 ? 205 : 30);
    // Start and stop pattern around random bars, each stripe of lines with its own, as a stacked symbol has.
    Frame stacked = BlankFrame(300, 560, {}, false, 0);
    std::mt19937 random(77);
    for (int line = 0; line < stacked.lines; line += 6) {
        std::vector<int> runs(std::begin(kRuns), std::end(kRuns));
        for (int bar = 0; bar < 48; ++bar)
            runs.push_back(1 + static_cast<int>(random() % 4));
        runs.insert(runs.end(), {7, 1, 1, 3, 1, 1, 1, 2, 1});
        int x = 20;
        for (size_t run = 0; run < runs.size(); x += 3 * runs[run++])
            Cover(stacked, x, line, x + 3 * runs[run], line + 6, run % 2 ? 205 : 30);
    }
    for (const Frame &frame :
         {print, noise, little, patterns, stacked, BlankFrame(700, 900, {0}, false, 0)}) {
        const Read read = Decode(frame);
        EXPECT_EQ(read.returned, 0);
        EXPECT_EQ(read.symbology, 0);
        EXPECT_EQ(read.text, "");
    }
}

/// Symbols cut off by each border are at worst not read, and images of any size are read within their bounds.
TEST(Reading, BordersAndSmallImages) {
    for (int turn = 0; turn < 8; ++turn)
        for (const auto &[line, pixel] : {std::pair{20, 300}, {480, 300}, {250, 60}, {250, 540}}) {
            const Kind kind = turn & 2 ? Kind::Pdf417 : Kind::Code128;
            const Symbol symbol{kind, SampleText(30, 8), 3, 3, 30, 3, double(line), double(pixel), turn};
            const Damage damage{205, 30, 0, 0.6, 4};
            Frame frame = BlankFrame(500, 600, damage, false, 0);
            Draw(frame, symbol, damage);
            const Read read = Decode(frame);
            EXPECT_TRUE(read.text.empty() || read.text == symbol.text);
            EXPECT_LT(read.position[1], 500);
        }
    for (int lines = 1; lines <= 24; ++lines)
        for (int pixels = 1; pixels <= 40; pixels += lines % 3 + 1) {
            Frame frame = BlankFrame(lines, pixels, {128}, false, 0);
            AddNoise(frame, {0, 0, 90}, static_cast<uint32_t>(lines * 64 + pixels));
            EXPECT_EQ(Decode(frame).returned, 0);
        }
}

} // namespace
