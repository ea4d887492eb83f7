// Corrections of the ultraviolet image: brightness, colour rows, black level, gains, tones.
#include "src/capture/uv_lines.h"
#include "tests/support/grey_images.h"
#include "tests/support/reference_ir_uv.h"

#include <gtest/gtest.h>

namespace k274 {
namespace {

using SensorGains = uint16_t[kSensorRows];

const SensorGains &RandomGains() {
    static SensorGains gains;
    std::mt19937 random(8);
    for (uint16_t &gain : gains)
        gain = static_cast<uint16_t>(random() % 164);
    gains[700] = 65535;
    return gains;
}

TEST(UvBrightenTest, NineFifthsOfEveryByte) {
    ColourImage image(1, 256, 0);
    for (int v = 0; v < 256; v++)
        image.Fill(0, 0, v, v, static_cast<uint8_t>(v));
    UvBrighten(image.View());
    for (int v = 0; v < 256; v++)
        EXPECT_EQ(image.At(0, v)[1], std::min(255, v * 9 / 5)) << v;
}

TEST(UvCorrectTest, EveryCombinationOfOptionsEqualsThePlainLoops) {
    ColourImage source = UvImage(), before = UvImage();
    FillRandom(source.bytes, 6);
    FillRandom(before.bytes, 7);
    // Dark enough between the halves that black is no more than 40.
    for (int row = 0; row < kUvLines; row++)
        for (int i = 3 * 640; i < 3 * 650; i++)
            source.At(row, 0)[i] = static_cast<uint8_t>(source.At(row, 0)[i] % (20 + i % 3 * 20));
    for (int bits = 0; bits < 16; bits++) {
        SCOPED_TRACE(bits);
        const UvOptions options{(bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0, (bits & 8) != 0};
        ColourImage raw = source, plainRaw = source, corrected = before, plainCorrected = before;
        const UvMeasure measure = UvCorrect(options, RandomGains(), raw.View(), corrected.View());
        const UvMeasure plain =
            reference::UvCorrect(options, RandomGains(), plainRaw.View(), plainCorrected.View());
        EXPECT_TRUE(raw.bytes == plainRaw.bytes);
        EXPECT_TRUE(corrected.bytes == plainCorrected.bytes);
        EXPECT_EQ(measure.uvWhite, plain.uvWhite);
        EXPECT_EQ(measure.medianLevel, plain.medianLevel);
        EXPECT_EQ(measure.whiteRatio, plain.whiteRatio);
        EXPECT_EQ(measure.gain, plain.gain);
    }
}

TEST(UvCorrectTest, BlackLevelStopsAt255AndSparesTheLastLine) {
    ColourImage raw = UvImage(254), corrected = UvImage();
    UvRealign({true, false, false, false}, RandomGains(), raw.View(), corrected.View());
    EXPECT_EQ(raw.At(1198, 1367)[2], 0);
    EXPECT_EQ(raw.At(1199, 0)[0], 254);
}

TEST(UvCorrectTest, GainSparesTheBrightestBlues) {
    ColourImage raw = UvImage(255), corrected = UvImage(1);
    static SensorGains gains;
    std::fill(std::begin(gains), std::end(gains), static_cast<uint16_t>(32));
    raw.Fill(0, 0, 0, 0, 254);
    raw.Fill(0, 0, 1, 1, 253);
    UvRealign({false, true, false, false}, gains, raw.View(), corrected.View());
    const uint8_t expected[3][3] = {{254, 127, 127}, {126, 126, 126}, {255, 127, 127}};
    for (int column = 0; column < 3; column++)
        for (int k = 0; k < 3; k++)
            EXPECT_EQ(corrected.At(0, column)[k], expected[column][k]) << column << ' ' << k;
    EXPECT_EQ(corrected.At(0, 1349)[1], 127);
    EXPECT_EQ(corrected.At(0, 1350)[1], 1) << "keeps what it held";
}

TEST(UvWhiteLevelTest, LevelMedianAndGain) {
    const struct {
        uint8_t white, ground;
        int bright; // pixels of the sample that are white
        int uvWhite, median;
        float gain;
    } cases[] = {{255, 100, 54510, 255, 255, 1.0F},
                 {0, 85, 0, 85, 85, 2.6879F},
                 {0, 76, 0, 76, 76, 2.9727F},
                 {0, 75, 0, 75, 75, 3.0F},
                 {0, 0, 0, 0, 0, 3.0F},
                 // Of 163,530 bytes more than 32, 81 and 163 must be as bright: 11, 28 and 55 pixels.
                 {200, 100, 10, 100, 100, 2.3222F},
                 {200, 100, 27, 125, 100, 1.8998F},
                 {200, 100, 28, 175, 100, 1.4034F},
                 {200, 100, 55, 200, 100, 1.2444F}};
    for (const auto &c : cases) {
        ColourImage image = UvImage(255); // around the sampled pixels
        for (int row = 140, left = c.bright; row < 1060; row += 4)
            for (int column = 40; column < 1328; column += 5)
                if (column < 651 || column > 759)
                    image.Fill(row, row, column, column, left-- > 0 ? c.white : c.ground);
        const UvMeasure measure = UvWhiteLevel(image.View());
        EXPECT_EQ(measure.uvWhite, c.uvWhite) << c.bright;
        EXPECT_EQ(measure.medianLevel, c.median) << c.bright;
        EXPECT_EQ(measure.whiteRatio, static_cast<float>(c.uvWhite) / 255.0F);
        EXPECT_NEAR(measure.gain, c.gain, 0.0005) << c.bright;
    }
}

TEST(UvBlackTableTest, Tones) {
    const auto tones = [](const ByteMap &map, std::initializer_list<size_t> values) {
        std::vector<int> result;
        for (const size_t value : values)
            result.push_back(map[value]);
        return result;
    };
    using Tones = std::vector<int>;
    EXPECT_EQ(tones(UvBlackTable(1, 1.9F), {0, 1, 254, 255}), (Tones{0, 0, 253, 255}));
    EXPECT_EQ(tones(UvBlackTable(10, 2.0F), {9, 10, 11, 254, 255}), (Tones{2, 2, 3, 252, 255}));
    EXPECT_EQ(tones(UvBlackTable(200, 3.0F), {23, 24, 25, 254, 255}), (Tones{5, 6, 7, 252, 255}));
}

} // namespace
} // namespace k274
