// What the library reads, and both engines under the same conditions (readings.txt).
#include "tests/sd2/decoder.h"
#include "tests/sd2/symbols.h"

#include <algorithm>
#include <random>

namespace {

using namespace barcode_frames;
using sd2_test::Decode;
using sd2_test::Read;

/// Whether the text was read; if so the rest must be right, too, and no text may be another.
bool IsRight(const Read &read, const Symbol &symbol, const Truth &truth, int slack) {
    if (read.text != symbol.text) {
        EXPECT_EQ(read.text, "") << "a misread";
        return false;
    }
    EXPECT_EQ(read.returned, 1);
    EXPECT_EQ(read.symbology, symbol.kind == Kind::Code128  ? SD_CODE_128
                              : symbol.kind == Kind::Code39 ? SD_CODE_39
                                                            : SD_PDF417);
    EXPECT_EQ(read.info[SD_INFO_ACCEPTED], 1);
    EXPECT_EQ(read.orientation, truth.orientation);
    EXPECT_NEAR(read.position[0], std::max(truth.firstLine, 1), slack);
    EXPECT_NEAR(read.position[1], truth.lastLine, slack);
    EXPECT_GE(read.position[0], 1);
    return true;
}

void ExpectCounts(const Read &read, const Symbol &symbol, const Truth &truth) {
    EXPECT_EQ(read.info[SD_INFO_ROWS], truth.rows);
    EXPECT_EQ(read.info[SD_INFO_COLUMNS], truth.columns);
    EXPECT_EQ(read.info[SD_INFO_CORRECTION], symbol.correctionLevel);
    EXPECT_NEAR(read.info[SD_INFO_MODULE], 10 * symbol.module, 2);
}

TEST(Reading, StandardSet) {
    for (const bool linear : {false, true})
        // Eight turns on both sides, in each degree of damage.
        for (int number = 0; number < kSamples; ++number) {
            static Frame blank;
            if (number % 16 == 0)
                blank = BlankFrame(2540, 2300, StandardDamage(number / 16), true, 5);
            const Sample sample = StandardSample(linear, number);
            SCOPED_TRACE((linear ? "linear " : "PDF417 ") + std::to_string(number));
            Truth truth;
            const Read read = Decode(SampleFrame(sample, blank, static_cast<uint32_t>(number), &truth));
            EXPECT_TRUE(IsRight(read, sample.symbol, truth, 12));
            // The sides are told apart by the middle of the sensor.
            EXPECT_EQ(read.position[1] > 1350, sample.symbol.centreLine > 1350);
            if (!linear)
                ExpectCounts(read, sample.symbol, truth);
        }
}

void Cover(Frame &frame, int left, int top, int right, int bottom, int grey) {
    for (int line = std::max(top, 0); line < std::min(bottom, frame.lines); ++line)
        for (int pixel = std::max(left, 0); pixel < std::min(right, frame.pixels); ++pixel)
            frame.grey[static_cast<size_t>(line * frame.pixels + pixel)] = static_cast<uint8_t>(grey);
}

/// Blots of ink and paper.
void Blot(Frame &frame, int count, uint32_t seed) {
    std::mt19937 random(seed);
    const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    for (int i = 0; i < count; ++i) {
        const int left = below(frame.pixels), top = below(frame.lines), width = 8 + below(40),
                  height = 8 + below(40);
        Cover(frame, left, top, left + width, top + height, below(2) ? 30 : 200);
    }
}

Read DecodeWith(const sd2::Engine &engine, const Frame &frame) {
    const sd2::GreyImage image{frame.grey.data(), frame.lines, frame.pixels, frame.pixels};
    Read read;
    read.returned = sd2::Decode({&engine, image, true, true, true, 600000}, &read);
    return read;
}

TEST(Reading, UnderConditions) {
    const std::string kinds[] = {"pdf417", "compact", "code128", "code39"};
    for (const auto &c : Table("sd2/readings.txt")) {
        Symbol symbol;
        Damage damage;
        std::string kind;
        size_t length = 0;
        uint32_t seed = 0;
        double skew = 0, skewATurn = 0;
        Take(c[1], kind, length, seed);
        Take(c[2], symbol.module, symbol.rowModules, symbol.correctionLevel);
        Take(c[3], damage.paper, damage.ink);
        Take(c[4], damage.noise, damage.blur);
        Take(c[5], skew, skewATurn);
        symbol.kind = static_cast<Kind>(std::find(kinds, std::end(kinds), kind) - kinds);
        symbol.barModules = symbol.rowModules;
        const int pixels = std::stoi(c[6]), lines = std::min(pixels, 1100), blots = std::stoi(c[8]);
        symbol.centreLine = lines / 2;
        symbol.centrePixel = pixels / 2;
        const int step = pixels > lines ? 2 : 1;
        const std::vector<int> boxes = Ints(c[7]);
        int right[] = {0, 0}, atLeast[] = {0, 0}, slack = 0;
        Take(c[9], atLeast[0], atLeast[1], slack);
        for (int turn = 0; turn < 8; turn += step) {
            SCOPED_TRACE(c[0] + ' ' + std::to_string(turn));
            damage.skew = skew + (turn % 5 - 2) * skewATurn;
            symbol.text = SampleText(length, seed + static_cast<uint32_t>(turn));
            if (symbol.kind == Kind::Code128 || symbol.kind == Kind::Code39)
                std::replace(symbol.text.begin(), symbol.text.end(), ' ', '.');
            symbol.turn = turn;
            Frame frame = BlankFrame(lines, pixels, damage, false, 0);
            const Truth truth = Draw(frame, symbol, damage);
            for (size_t i = 0; i < boxes.size(); i += 5)
                Cover(frame, boxes[i], boxes[i + 1], boxes[i + 2], boxes[i + 3], boxes[i + 4]);
            Blot(frame, blots, static_cast<uint32_t>(turn));
            AddNoise(frame, damage, static_cast<uint32_t>(turn));
            for (const size_t engine : {0, 1}) {
                if (atLeast[engine] == 0)
                    continue;
                const Read read = DecodeWith(engine ? sd2::kZxingEngine : sd2::kOwnEngine, frame);
                right[engine] += IsRight(read, symbol, truth, slack);
                if (kind == "pdf417" && blots > 0)
                    EXPECT_EQ(read.info[SD_INFO_CORRECTED] > 0, engine == 0);
            }
        }
        EXPECT_GE(right[0], atLeast[0]) << c[0];
        EXPECT_GE(right[1], atLeast[1]) << c[0];
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
        EXPECT_TRUE(IsRight(Decode(frame, {true, false, false}), symbol, truth, 6)) << text;
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
        ExpectCounts(read, symbol, truth);
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

TEST(Reading, KeptSymbolsByThePackagedEngine) {
    for (const auto &symbol : sd2_test::KeptSymbols()) {
        sd2::Pdf417Read read;
        EXPECT_TRUE(sd2::kZxingEngine.readRows(Draw(symbol), sd2::Stopwatch(600000), &read)) << symbol.bytes;
        EXPECT_EQ(read.bytes, symbol.bytes);
        EXPECT_EQ(read.correctionLevel, symbol.level) << symbol.bytes;
    }
}

} // namespace
