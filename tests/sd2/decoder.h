// One decode through the library's door, with everything it reports.
#pragma once

#include "bench/frames/barcode_frames.h"
#include "platform/sd2/decode.h"
#include "platform/sd2/sd2.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace sd2_test {

struct Read : sd2::Result {
    int32_t returned = 0;
};

struct Wanted {
    bool pdf417 = true, code128 = true, code39 = true;
};

inline void Describe(void *handle, const uint8_t *grey, int lines, int pixels, int stride,
                     const Wanted &wanted = {}) {
    const std::pair<uint32_t, intptr_t> properties[] = {
        {SD_PROP_MODE, 0},
        {SD_PROP_IMAGE, reinterpret_cast<intptr_t>(grey)},
        {SD_PROP_LINES, lines},
        {SD_PROP_PIXELS, pixels},
        {SD_PROP_STRIDE, stride},
        {SD_PROP_PDF417, wanted.pdf417},
        {SD_PROP_CODE128, wanted.code128},
        {SD_PROP_CODE39, wanted.code39},
        {SD_PROP_TIME_LIMIT, 600000}}; // sanitized and busy machines read what fast ones read
    for (const auto &[property, value] : properties)
        EXPECT_EQ(SD_Set(handle, property, value), 1) << property;
}

inline Read Results(void *handle) {
    Read read;
    int32_t length = -1;
    EXPECT_EQ(SD_Get(handle, SD_PROP_SYMBOLOGY, &read.symbology), 1);
    EXPECT_EQ(SD_Get(handle, SD_PROP_TEXT_LENGTH, &length), 1);
    EXPECT_EQ(SD_Get(handle, SD_PROP_ORIENTATION, &read.orientation), 1);
    // One more behind each shows whether it stays as it was.
    uint16_t info[9], position[3];
    info[8] = position[2] = 0xAAAA;
    read.text.assign(static_cast<size_t>(length) + 1, '\x5a');
    EXPECT_EQ(SD_Get(handle, SD_PROP_INFO, info), 1);
    EXPECT_EQ(SD_Get(handle, SD_PROP_POSITION, position), 1);
    EXPECT_EQ(SD_Get(handle, SD_PROP_TEXT, read.text.data()), 1);
    EXPECT_TRUE(info[8] == 0xAAAA && position[2] == 0xAAAA && read.text.back() == '\x5a');
    std::copy_n(info, 8, read.info.begin());
    std::copy_n(position, 2, read.position.begin());
    read.text.pop_back();
    return read;
}

inline Read Decode(const barcode_frames::Frame &frame, const Wanted &wanted = {}) {
    void *handle = SD_Create();
    Describe(handle, frame.grey.data(), frame.lines, frame.pixels, frame.pixels, wanted);
    const int32_t returned = SD_Decode(handle);
    Read read = Results(handle);
    read.returned = returned;
    SD_Destroy(handle);
    return read;
}

} // namespace sd2_test
