// Both engines over the same frames and symbols. The counts are ratchets: they may rise, never fall; a text
// that is not the symbol's is never read.
#include "bench/frames/barcode_frames.h"
#include "platform/sd2/decode.h"
#include "tests/sd2/pdf417_encoder.h"
#include "tests/support/data.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

namespace {

using namespace barcode_frames;

sd2::Result Decode(const sd2::Engine &engine, const Frame &frame) {
    sd2::Request request;
    request.engine = &engine;
    request.image = {frame.grey.data(), frame.lines, frame.pixels, frame.pixels};
    request.pdf417 = request.code128 = request.code39 = true;
    request.budgetMs = 600000;
    sd2::Result result;
    sd2::Decode(request, &result);
    return result;
}

/// Blots of ink and paper.
void Blot(Frame &frame, int count, uint32_t seed) {
    std::mt19937 random(seed);
    const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    for (int i = 0; i < count; ++i) {
        const int left = below(frame.pixels), top = below(frame.lines), width = 8 + below(40),
                  height = 8 + below(40);
        const auto grey = static_cast<uint8_t>(below(2) ? 30 : 200);
        for (int line = top; line < std::min(top + height, frame.lines); ++line)
            std::fill_n(frame.grey.begin() + static_cast<ptrdiff_t>(line) * frame.pixels + left,
                        std::min(width, frame.pixels - left), grey);
    }
}

TEST(Engines, ReadDamagedFrames) {
    for (const auto &c : Table("sd2/engines.txt")) {
        const auto kind = c[1] == "pdf417" ? Kind::Pdf417 : c[1] == "code128" ? Kind::Code128 : Kind::Code39;
        const bool stacked = kind == Kind::Pdf417;
        Damage damage;
        int blots = 0, ownAtLeast = 0, zxingAtLeast = 0, own = 0, zxing = 0;
        Take(c[2], damage.paper, damage.ink);
        Take(c[3], damage.noise, damage.blur);
        Take(c[4], blots, ownAtLeast, zxingAtLeast);
        for (int turn = 0; turn < 8; ++turn) {
            damage.skew = (turn % 5 - 2) * 1.3;
            Symbol symbol;
            symbol.kind = kind;
            symbol.module = stacked ? 3.4 : 4;
            symbol.text = SampleText(stacked ? 90 : 9, static_cast<uint32_t>(turn + 100));
            if (!stacked)
                std::replace(symbol.text.begin(), symbol.text.end(), ' ', '.');
            symbol.correctionLevel = 3;
            symbol.barModules = 20;
            symbol.centreLine = symbol.centrePixel = 500;
            symbol.turn = turn;
            Frame frame = BlankFrame(1000, 1000, damage, false, 0);
            Draw(frame, symbol, damage);
            Blot(frame, blots, static_cast<uint32_t>(turn));
            AddNoise(frame, damage, static_cast<uint32_t>(turn));
            const auto read = [&](const sd2::Engine &engine) {
                const sd2::Result result = Decode(engine, frame);
                EXPECT_TRUE(result.text.empty() || result.text == symbol.text)
                    << engine.name << ", " << c[0] << ": " << result.text;
                if (stacked && blots > 0)
                    EXPECT_EQ(result.info[sd2::kInfoCorrected] > 0, &engine == &sd2::kOwnEngine) << turn;
                return result.text == symbol.text;
            };
            own += read(sd2::kOwnEngine);
            zxing += read(sd2::kZxingEngine);
        }
        EXPECT_GE(own, ownAtLeast) << c[0];
        EXPECT_GE(zxing, zxingAtLeast) << c[0];
    }
}

/// Codewords in every mode and order.
TEST(Engines, GiveTheSameBytes) {
    std::mt19937 random(417);
    const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    const sd2::Stopwatch ample(600000);
    for (int round = 0; round < 300; ++round) {
        std::vector<int> data;
        const auto some = [&](int count, int limit) {
            for (int i = 0; i < count; ++i)
                data.push_back(below(limit));
        };
        for (int part = 0; part < 1 + round % 5; ++part)
            switch (below(6)) {
            case 0:
                data.push_back(900);
                some(1 + below(12), 900);
                break;
            case 1:
                data.push_back(901);
                some(1 + below(12), 256);
                break;
            case 2:
                data.push_back(924);
                for (int i = 0; i < 1 + below(3); ++i)
                    some(5, 310); // six bytes hold it: the first codeword is below 429
                break;
            case 3:
                data.insert(data.end(), {902, 1, 100 + below(800)});
                break;
            case 4:
                data.insert(data.end(), {900, below(900), 913, below(256), below(900)});
                break;
            default:
                data.insert(data.end(), {927, 3 + below(20), 900});
                some(4, 900);
            }
        const sd2::SymbolRows rows = sd2_test::Draw(sd2_test::MakeSymbol(data, 1 + round % 7, 1 + round % 4));
        sd2::Pdf417Read own, zxing;
        EXPECT_TRUE(sd2::kOwnEngine.readRows(rows, ample, &own)) << round;
        const bool both = sd2::kZxingEngine.readRows(rows, ample, &zxing);
        EXPECT_TRUE(both) << round;
        EXPECT_EQ(own.bytes, zxing.bytes) << round << ": " << testing::PrintToString(data);
        EXPECT_EQ(own.correctionLevel, zxing.correctionLevel) << round;
    }
}

} // namespace
