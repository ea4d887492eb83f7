// Images made to mislead: nothing of them is read, and nothing outside them is touched.
#include "platform/sd2/sd2.h"

#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

struct Picture {
    int lines, pixels;
    std::vector<uint8_t> grey; // as large as said: a sanitizer sees what is read behind
};

int32_t Decode(const Picture &picture, int limitMs) {
    void *handle = SD_Create();
    SD_Set(handle, SD_PROP_IMAGE, reinterpret_cast<intptr_t>(picture.grey.data()));
    SD_Set(handle, SD_PROP_LINES, picture.lines);
    SD_Set(handle, SD_PROP_PIXELS, picture.pixels);
    SD_Set(handle, SD_PROP_STRIDE, picture.pixels);
    for (const uint32_t symbology : {SD_PROP_PDF417, SD_PROP_CODE128, SD_PROP_CODE39})
        SD_Set(handle, symbology, 1);
    SD_Set(handle, SD_PROP_TIME_LIMIT, limitMs);
    const int32_t found = SD_Decode(handle);
    SD_Destroy(handle);
    return found;
}

TEST(HostileImages, AreNotRead) {
    std::mt19937 random(77);
    const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    constexpr int kStart[] = {8, 1, 1, 1, 1, 1, 1, 3}, kStop[] = {7, 1, 1, 3, 1, 1, 1, 2, 1};
    for (int round = 0; round < 40; ++round) {
        Picture picture{40 + below(260), 60 + below(500), {}};
        picture.grey.resize(static_cast<size_t>(picture.lines) * static_cast<size_t>(picture.pixels));
        std::vector<int> runs; // bars of every line
        const int module = 1 + below(6);
        switch (round % 4) {
        case 0: // noise alone
            break;
        case 1: // random bars
            for (int i = 0; i < 400; ++i)
                runs.push_back(1 + below(4));
            break;
        case 2: // start and stop pattern around random bars
            runs.assign(kStart, kStart + 8);
            for (int i = 0; i < 8 * (3 + below(5)); ++i)
                runs.push_back(1 + below(4));
            runs.insert(runs.end(), kStop, kStop + 9);
            break;
        default: // stop patterns, one beside the other
            while (runs.size() < 300)
                runs.insert(runs.end(), kStop, kStop + 9);
        }
        for (int line = 0; line < picture.lines; ++line) {
            uint8_t *grey = picture.grey.data() + static_cast<ptrdiff_t>(line) * picture.pixels;
            // In the second of two, each stripe of lines has its own bars, as a stacked symbol has.
            if (round % 4 == 2 && line % (3 * module) == 0)
                for (size_t i = 8; i + 9 < runs.size(); ++i)
                    runs[i] = 1 + below(4);
            int x = 10;
            for (size_t i = 0; i < runs.size(); ++i)
                for (int k = 0; k < runs[i] * module && x < picture.pixels; ++k)
                    grey[x++] = i % 2 ? 220 : 20;
            for (int i = 0; i < picture.pixels; ++i)
                if (runs.empty() || below(8) == 0)
                    grey[i] = static_cast<uint8_t>(random());
        }
        EXPECT_EQ(Decode(picture, 600000), 0) << round;
        // Cut off by the clock anywhere, it is nothing, too.
        EXPECT_EQ(Decode(picture, 1), 0) << round;
    }
}

} // namespace
