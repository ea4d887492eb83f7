// Handles and properties: what is refused, what stays, what a caller gets when nothing was read.
#include "tests/sd2/decoder.h"

#include <cstring>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {

using namespace barcode_frames;
using sd2_test::Describe;
using sd2_test::Read;
using sd2_test::Results;

Frame CardWith(const std::string &text) {
    const Damage damage;
    Frame frame = BlankFrame(280, 632, damage, false, 0);
    Symbol symbol;
    symbol.text = text;
    symbol.correctionLevel = 2;
    symbol.centreLine = 140;
    symbol.centrePixel = 316;
    Draw(frame, symbol, damage);
    return frame;
}

class Handle : public testing::Test {
protected:
    Handle() { Describe(handle, frame.grey.data(), frame.lines, frame.pixels, frame.pixels); }
    ~Handle() override { SD_Destroy(handle); }

    const Frame frame = CardWith("CS1.123");
    void *handle = SD_Create();
};

TEST_F(Handle, ReportsItsVersion) {
    int32_t major = 0, minor = 0;
    char text[17];
    std::memset(text, '#', sizeof text);
    EXPECT_EQ(SD_Get(handle, SD_PROP_VERSION_MAJOR, &major), 1);
    EXPECT_EQ(SD_Get(handle, SD_PROP_VERSION_MINOR, &minor), 1);
    EXPECT_EQ(SD_Get(handle, SD_PROP_VERSION_TEXT, text), 1);
    EXPECT_EQ(major, 1);
    EXPECT_EQ(minor, 5);
    EXPECT_STREQ(text, "1.5");
    EXPECT_EQ(text[16], '#');
}

TEST_F(Handle, RefusedValuesChangeNothing) {
    const struct {
        uint32_t property;
        intptr_t value;
    } kRefused[] = {
        {SD_PROP_MODE, 1},      {SD_PROP_MODE, -1},      {SD_PROP_IMAGE, 0},
        {SD_PROP_LINES, 0},     {SD_PROP_LINES, -5},     {SD_PROP_LINES, 16385},
        {SD_PROP_PIXELS, 0},    {SD_PROP_PIXELS, -1},    {SD_PROP_PIXELS, 16385},
        {SD_PROP_STRIDE, 0},    {SD_PROP_STRIDE, -632},  {SD_PROP_STRIDE, 16385},
        {SD_PROP_PDF417, 2},    {SD_PROP_PDF417, -1},    {SD_PROP_CODE128, 2},
        {SD_PROP_CODE39, 7},    {SD_PROP_TIME_LIMIT, 0}, {SD_PROP_TIME_LIMIT, -1},
        {SD_PROP_SYMBOLOGY, 1}, {SD_PROP_TEXT, 1},       {0, 0},
        {0xFFFFFFFF, 0},
    };
    for (const auto &c : kRefused)
        EXPECT_EQ(SD_Set(handle, c.property, c.value), -1) << std::hex << c.property << " = " << c.value;
    EXPECT_EQ(SD_Decode(handle), 1);
    EXPECT_EQ(Results(handle).text, "CS1.123");
}

TEST_F(Handle, DecodeRefusesAnIncompleteDescription) {
    const uint8_t *grey = frame.grey.data();
    const struct {
        const char *what;
        uint32_t missing; // a property that is never set
        uint32_t changed;
        intptr_t value;
    } kCases[] = {
        {"no image", SD_PROP_IMAGE, SD_PROP_MODE, 0},      {"no lines", SD_PROP_LINES, SD_PROP_MODE, 0},
        {"no pixels", SD_PROP_PIXELS, SD_PROP_MODE, 0},    {"no stride", SD_PROP_STRIDE, SD_PROP_MODE, 0},
        {"no symbology", SD_PROP_PDF417, SD_PROP_MODE, 0}, {"stride below pixels", 0, SD_PROP_STRIDE, 631},
    };
    for (const auto &c : kCases) {
        void *other = SD_Create();
        const std::pair<uint32_t, intptr_t> description[] = {
            {SD_PROP_IMAGE, reinterpret_cast<intptr_t>(grey)},
            {SD_PROP_LINES, 280},
            {SD_PROP_PIXELS, 632},
            {SD_PROP_STRIDE, 632},
            {SD_PROP_PDF417, 1}};
        for (const auto &[property, value] : description)
            if (property != c.missing)
                SD_Set(other, property, value);
        SD_Set(other, c.changed, c.value);
        EXPECT_LT(SD_Decode(other), 0) << c.what;
        SD_Destroy(other);
    }
}

TEST_F(Handle, RefusesNothingness) {
    int32_t number = 77;
    EXPECT_EQ(SD_Set(nullptr, SD_PROP_LINES, 5), -1);
    EXPECT_EQ(SD_Get(nullptr, SD_PROP_SYMBOLOGY, &number), -1);
    EXPECT_EQ(SD_Get(handle, SD_PROP_SYMBOLOGY, nullptr), -1);
    EXPECT_EQ(SD_Get(handle, SD_PROP_LINES, &number), -1);
    EXPECT_EQ(SD_Get(handle, 0, &number), -1);
    EXPECT_EQ(number, 77);
    EXPECT_LT(SD_Decode(nullptr), 0);
    SD_Destroy(nullptr);
}

TEST_F(Handle, HasNoResultBeforeOrWithoutARead) {
    const auto isEmpty = [&](const char *when) {
        // Guards behind every destination: exactly the stated sizes are written.
        struct {
            int32_t symbology = -1, length = -1, orientation = -1, guard = -1;
            uint16_t info[9], position[3];
        } got;
        std::memset(got.info, 0xAA, sizeof got.info);
        std::memset(got.position, 0xAA, sizeof got.position);
        EXPECT_EQ(SD_Get(handle, SD_PROP_SYMBOLOGY, &got.symbology), 1);
        EXPECT_EQ(SD_Get(handle, SD_PROP_TEXT_LENGTH, &got.length), 1);
        EXPECT_EQ(SD_Get(handle, SD_PROP_ORIENTATION, &got.orientation), 1);
        EXPECT_EQ(SD_Get(handle, SD_PROP_INFO, got.info), 1);
        EXPECT_EQ(SD_Get(handle, SD_PROP_POSITION, got.position), 1);
        EXPECT_TRUE(got.symbology == 0 && got.length == 0 && got.orientation == 0 && got.guard == -1) << when;
        for (int i = 0; i < 8; ++i)
            EXPECT_EQ(got.info[i], 0) << when;
        EXPECT_TRUE(got.position[0] == 0 && got.position[1] == 0) << when;
        EXPECT_TRUE(got.info[8] == 0xAAAA && got.position[2] == 0xAAAA) << when;
    };
    isEmpty("before");
    ASSERT_EQ(SD_Decode(handle), 1);
    EXPECT_EQ(Results(handle).text, "CS1.123");
    const Frame blank = BlankFrame(280, 632, Damage(), false, 0);
    SD_Set(handle, SD_PROP_IMAGE, reinterpret_cast<intptr_t>(blank.grey.data()));
    EXPECT_EQ(SD_Decode(handle), 0);
    isEmpty("after a blank image");
    SD_Set(handle, SD_PROP_IMAGE, reinterpret_cast<intptr_t>(frame.grey.data()));
    ASSERT_EQ(SD_Decode(handle), 1);
    SD_Set(handle, SD_PROP_STRIDE, 100);
    EXPECT_LT(SD_Decode(handle), 0);
    isEmpty("after misuse");
}

TEST_F(Handle, ReadsTheImageWithinItsBoundsAndLeavesItAlone) {
    // Padding that looks like bars, and no padding behind the last line.
    constexpr int kStride = 700;
    std::vector<uint8_t> padded(static_cast<size_t>(kStride) * 279 + 632);
    for (size_t i = 0; i < padded.size(); ++i)
        padded[i] = i / 3 % 2 ? 255 : 0;
    for (size_t line = 0; line < 280; ++line)
        std::memcpy(padded.data() + line * kStride, frame.grey.data() + line * 632, 632);
    const std::vector<uint8_t> before = padded;
    Describe(handle, padded.data(), 280, 632, kStride);
    ASSERT_EQ(SD_Decode(handle), 1);
    EXPECT_EQ(Results(handle).text, "CS1.123");
    EXPECT_EQ(padded, before);
}

TEST(Handles, DecodeAtOnceOnSeveralThreads) {
    const Frame frames[] = {CardWith("CS1.123"), CardWith("FS2.004"), CardWith("CS3.999"),
                            CardWith("FS0.000")};
    const char *const texts[] = {"CS1.123", "FS2.004", "CS3.999", "FS0.000"};
    std::vector<std::thread> threads;
    int right[4] = {};
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (int round = 0; round < 8; ++round)
                right[t] += sd2_test::Decode(frames[(t + round) % 4]).text == texts[(t + round) % 4];
        });
    for (std::thread &thread : threads)
        thread.join();
    for (const int count : right)
        EXPECT_EQ(count, 8);
}

} // namespace
