#include "tests/sd2/decoder.h"

#include <gtest/gtest.h>

namespace sd2_test {

void Describe(void *handle, const uint8_t *grey, int lines, int pixels, int stride, const Wanted &wanted) {
    EXPECT_EQ(SD_Set(handle, SD_PROP_MODE, 0), 1);
    EXPECT_EQ(SD_Set(handle, SD_PROP_IMAGE, reinterpret_cast<intptr_t>(grey)), 1);
    EXPECT_EQ(SD_Set(handle, SD_PROP_LINES, lines), 1);
    EXPECT_EQ(SD_Set(handle, SD_PROP_PIXELS, pixels), 1);
    EXPECT_EQ(SD_Set(handle, SD_PROP_STRIDE, stride), 1);
    EXPECT_EQ(SD_Set(handle, SD_PROP_PDF417, wanted.pdf417), 1);
    EXPECT_EQ(SD_Set(handle, SD_PROP_CODE128, wanted.code128), 1);
    EXPECT_EQ(SD_Set(handle, SD_PROP_CODE39, wanted.code39), 1);
    EXPECT_EQ(SD_Set(handle, SD_PROP_TIME_LIMIT, kNoHurry), 1);
}

Read Results(void *handle) {
    Read read;
    int32_t length = -1;
    EXPECT_EQ(SD_Get(handle, SD_PROP_SYMBOLOGY, &read.symbology), 1);
    EXPECT_EQ(SD_Get(handle, SD_PROP_TEXT_LENGTH, &length), 1);
    EXPECT_EQ(SD_Get(handle, SD_PROP_ORIENTATION, &read.orientation), 1);
    EXPECT_EQ(SD_Get(handle, SD_PROP_INFO, read.info.data()), 1);
    EXPECT_EQ(SD_Get(handle, SD_PROP_POSITION, read.position.data()), 1);
    EXPECT_GE(length, 0);
    EXPECT_LE(length, 4000);
    // One byte more than announced shows whether it stays as it was.
    read.text.assign(static_cast<size_t>(length) + 1, '\x5a');
    EXPECT_EQ(SD_Get(handle, SD_PROP_TEXT, read.text.data()), 1);
    EXPECT_EQ(read.text.back(), '\x5a');
    read.text.pop_back();
    return read;
}

Read Decode(const barcode_frames::Frame &frame, const Wanted &wanted) {
    void *handle = SD_Create();
    Describe(handle, frame.grey.data(), frame.lines, frame.pixels, frame.pixels, wanted);
    const int32_t returned = SD_Decode(handle);
    Read read = Results(handle);
    read.returned = returned;
    SD_Destroy(handle);
    return read;
}

} // namespace sd2_test
