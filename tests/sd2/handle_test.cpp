// Handles and properties: what is refused, what stays, what a caller gets when nothing was read.
#include "platform/sd2/budget.h"
#include "tests/sd2/decoder.h"

#include <thread>

namespace {

using namespace barcode_frames;
using sd2_test::Describe;
using sd2_test::Results;

Frame CardWith(const std::string &text) {
    Frame frame = BlankFrame(280, 632, {}, false, 0);
    Draw(frame, {Kind::Pdf417, text, 4.4, 3, 30, 2, 140, 316}, {});
    return frame;
}

class Handle : public testing::Test {
protected:
    Handle() { Describe(handle, frame.grey.data(), 280, 632, 632); }
    ~Handle() override { SD_Destroy(handle); }

    const Frame frame = CardWith("CS1.123");
    void *handle = SD_Create();
};

TEST_F(Handle, RefusedCallsChangeNothing) {
    const std::pair<uint32_t, std::vector<intptr_t>> refused[] = {
        {SD_PROP_MODE, {1, -1}},      {SD_PROP_IMAGE, {0}},         {SD_PROP_LINES, {0, -5, 16385}},
        {SD_PROP_PIXELS, {0, 16385}}, {SD_PROP_STRIDE, {0, 16385}}, {SD_PROP_PDF417, {2, -1}},
        {SD_PROP_CODE128, {2}},       {SD_PROP_CODE39, {7}},        {SD_PROP_TIME_LIMIT, {0}},
        {SD_PROP_SYMBOLOGY, {1}},     {SD_PROP_TEXT, {1}},          {0xFFFFFFFF, {0}}};
    for (const auto &[property, values] : refused)
        for (const intptr_t value : values)
            EXPECT_EQ(SD_Set(handle, property, value), -1) << std::hex << property << " = " << value;
    int32_t number = 77;
    EXPECT_EQ(SD_Set(nullptr, SD_PROP_LINES, 5), -1);
    EXPECT_EQ(SD_Get(nullptr, SD_PROP_SYMBOLOGY, &number), -1);
    EXPECT_EQ(SD_Get(handle, SD_PROP_SYMBOLOGY, nullptr), -1);
    EXPECT_EQ(SD_Get(handle, SD_PROP_LINES, &number), -1);
    EXPECT_EQ(number, 77);
    EXPECT_LT(SD_Decode(nullptr), 0);
    SD_Destroy(nullptr);
    void *undescribed = SD_Create();
    EXPECT_LT(SD_Decode(undescribed), 0);
    SD_Destroy(undescribed);
    EXPECT_EQ(SD_Decode(handle), 1);
    EXPECT_EQ(Results(handle).text, "CS1.123");
}

TEST_F(Handle, HasNoResultBeforeOrWithoutARead) {
    const auto isEmpty = [&](const char *when) {
        const sd2_test::Read read = Results(handle);
        EXPECT_TRUE(read.text.empty() && read.symbology == 0 && read.orientation == 0) << when;
        EXPECT_EQ(read.info, (std::array<uint16_t, 8>{})) << when;
        EXPECT_EQ(read.position, (std::array<uint16_t, 2>{})) << when;
    };
    isEmpty("before");
    EXPECT_EQ(SD_Decode(handle), 1);
    const Frame blank = BlankFrame(280, 632, {}, false, 0);
    SD_Set(handle, SD_PROP_IMAGE, reinterpret_cast<intptr_t>(blank.grey.data()));
    EXPECT_EQ(SD_Decode(handle), 0);
    isEmpty("after a blank image");
    SD_Set(handle, SD_PROP_IMAGE, reinterpret_cast<intptr_t>(frame.grey.data()));
    EXPECT_EQ(SD_Decode(handle), 1);
    SD_Set(handle, SD_PROP_STRIDE, 631); // less than the pixels
    EXPECT_LT(SD_Decode(handle), 0);
    isEmpty("after misuse");
}

TEST_F(Handle, ReadsTheImageWithinItsBoundsAndLeavesItAlone) {
    // Padding that looks like bars, and no padding behind the last line.
    constexpr int kStride = 700;
    std::vector<uint8_t> padded(static_cast<size_t>(kStride) * 279 + 632);
    for (size_t i = 0; i < padded.size(); ++i)
        padded[i] = i % kStride < 632 ? frame.grey[i / kStride * 632 + i % kStride] : i / 3 % 2 ? 255 : 0;
    const std::vector<uint8_t> before = padded;
    Describe(handle, padded.data(), 280, 632, kStride);
    ASSERT_EQ(SD_Decode(handle), 1);
    EXPECT_EQ(Results(handle).text, "CS1.123");
    EXPECT_EQ(padded, before);
}

TEST(Handles, DecodeAtOnceOnSeveralThreads) {
    const std::string texts[] = {"CS1.123", "FS2.004", "CS3.999", "FS0.000"};
    std::vector<Frame> frames;
    for (const std::string &text : texts)
        frames.push_back(CardWith(text));
    std::vector<std::thread> threads;
    for (size_t t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (size_t round = 0; round < 8; ++round)
                EXPECT_EQ(sd2_test::Decode(frames[(t + round) % 4]).text, texts[(t + round) % 4]);
        });
    for (std::thread &thread : threads)
        thread.join();
}

TEST(Handles, NoAttemptStartsAfterTheLimit) {
    const sd2::Stopwatch spent(0), ample(600000);
    EXPECT_FALSE(sd2::Attempts(spent).MayStart());
    sd2::Attempts attempts(ample);
    EXPECT_TRUE(attempts.MayStart());
    EXPECT_TRUE(attempts.Run([] { return true; }));
    EXPECT_FALSE(attempts.Run([] { return false; }));
    EXPECT_TRUE(attempts.MayStart());
}

} // namespace
