// The sample deck goes through a host's searches and gains: every card is found where it lies, only the plain
// white one passes for a white card, and the levelled image is the art.
#include "stored.h"

#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>

namespace {

using namespace scanner;

/// Dark samples and mean level of a side's middle, in two of its colours.
struct Sampled {
    int dark = 0, mean = 0;
};
Sampled Sample(stored::Image &image, int firstRow, int firstChannel) {
    Sampled sampled;
    int sum = 0, count = 0;
    for (int row = firstRow; row < firstRow + 800; row += 8) {
        for (int column = 650; column < 1650; column += 10) {
            const uint8_t *pixel = image.Pixel(row, column);
            sum += pixel[firstChannel] + pixel[2];
            count += 2;
            sampled.dark += pixel[firstChannel] < 64 || pixel[2] < 64 ? 1 : 0;
        }
    }
    sampled.mean = sum / count;
    return sampled;
}

TEST(Deck, EveryCardIsFoundWhereItLies) {
    const WhiteResponse lamps = LampResponse();
    const std::vector<std::string> folders = ListCards(K274_SOURCE_DIR "/scanner/cards/samples");
    ASSERT_GE(folders.size(), 5u);
    uint32_t scan = 0;
    for (const std::string &folder : folders) {
        const Card card = LoadCard(folder);
        EXPECT_EQ(card.front.width, 1856) << folder;
        EXPECT_EQ(card.front.height, 1169) << folder;
        const Scene scene = MakeScene(card, lamps, 274, scan++);
        stored::Image image = stored::Scan(scene);

        const Placement &p = scene.placement;
        const double skew = p.skew / 65536.0, lead = p.leadColumn / 256.0 + skew * 584;
        const stored::Found found = stored::FindCard(image);
        EXPECT_NEAR(found.frontLead, lead - 1.5, 1.5) << folder;
        EXPECT_NEAR(found.backLead, 2299 - lead - 1855 - 1.5, 1.5) << folder;
        EXPECT_NEAR(found.frontEdge, p.frontEdgeRow / 256.0 + skew * 24 - 2, 2) << folder;
        EXPECT_NEAR(found.backEdge, p.backEdgeRow / 256.0 + skew * 1831 - 2, 2) << folder;

        const Sampled front = Sample(image, 150, 0), back = Sample(image, 1500, 1);
        const bool white = (front.dark < 26 || back.dark < 26) && front.dark + back.dark <= 75 &&
                           front.mean >= 80 && back.mean >= 80;
        EXPECT_EQ(white, std::filesystem::path(folder).filename() == "white") << folder;
    }
}

/// How far the levelled image of a straight card is from the art, in decibels, over every third pixel.
double Psnr(stored::Image &image, const WhiteResponse &lamps, const Picture &art, bool front, int channel) {
    constexpr int kCornerRows = 80;
    double sum = 0, count = 0;
    for (int y = kCornerRows; y < art.height - kCornerRows; y += 3) {
        const int row = (front ? 1175 : 2535) - 1 - y;
        const int response = lamps[static_cast<size_t>(channel * kSensorRows + row)];
        for (int x = 2; x < art.width - 2; x += 3) {
            const int column = front ? 200 + x : 2299 - 200 - (art.width - 1) + x;
            const int level = stored::Levelled(image.Pixel(row, column)[channel], response);
            const double seen = (level - 3) * 255.0 / 223; // black and white after the gain
            const double drawn = art.rgb[static_cast<size_t>(3 * (y * art.width + x) + 2 - channel)];
            sum += (seen - drawn) * (seen - drawn);
            ++count;
        }
    }
    return 10 * std::log10(255 * 255 * count / sum);
}

TEST(Deck, LevelledImageIsTheArt) {
    const WhiteResponse lamps = LampResponse();
    for (const char *name : {"licence", "chart"}) {
        const Card card = LoadCard(std::string(K274_SOURCE_DIR "/scanner/cards/samples/") + name);
        stored::Image image = stored::Scan({&card, stored::kStraight, &lamps, 1, 0});
        for (int channel = 0; channel < 3; ++channel) {
            EXPECT_GT(Psnr(image, lamps, card.front, true, channel), 38)
                << name << " front, channel " << channel;
            EXPECT_GT(Psnr(image, lamps, card.back, false, channel), 38)
                << name << " back, channel " << channel;
        }
    }
}

} // namespace
