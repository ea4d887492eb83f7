// Scans whose barcode decoder is overdue each time: nothing waits for it, and nothing that it finds late is
// seen. Runs in front of the slow decoder library.
#include "tests/support/host.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <thread>

namespace {

using std::chrono::milliseconds;

struct DecoderTest : HostTest {
    void SetUp() override {
        HostTest::SetUp();
        K274_ScanMode(82);
    }
    static long Count(const std::vector<int> &states, int state) {
        return std::count(states.begin(), states.end(), state);
    }
};

TEST_F(DecoderTest, TheSecondDecoderSpeaksOnce) {
    Start();
    ASSERT_EQ(Scan("club"), 8);
    EXPECT_EQ(WaitFor({4}), 4);
    K274_Barcode record;
    K274_GetBC(&record);
    EXPECT_EQ(std::memcmp(record.pdfText, "SLOW", 4), 0);
    EXPECT_EQ(record.decoder, 2);
    EXPECT_EQ(K274_GetBcDecKCnt(), 1u);
    EXPECT_EQ(K274_GetBcDec1Cnt(), 0u);
    std::this_thread::sleep_for(milliseconds(500));
    EXPECT_EQ(Count(StatesSinceMark(), 4), 1);
}

TEST_F(DecoderTest, NewScansOvertakeTheDecoders) {
    Start();
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(Scan("club"), 8);
    EXPECT_EQ(WaitFor({4}, milliseconds(1500)), 4); // of the last scan
    std::this_thread::sleep_for(milliseconds(500));
    EXPECT_EQ(Count(StatesSinceMark(), 4), 1);
}

TEST_F(DecoderTest, CloseLeavesThemBehind) {
    for (const int delay : {0, 250}) {
        Start();
        Insert("club");
        ASSERT_EQ(WaitFor({5}), 5);
        std::this_thread::sleep_for(milliseconds(delay));
        const auto start = std::chrono::steady_clock::now();
        K274_Close();
        EXPECT_LT(std::chrono::steady_clock::now() - start, milliseconds(350));
        Mark();
        std::this_thread::sleep_for(milliseconds(900));
        EXPECT_EQ(Count(StatesSinceMark(), 4), 0);
        K274_Barcode record;
        K274_GetBC(&record);
        EXPECT_EQ(record.pdfLength, 0);
    }
}

TEST_F(DecoderTest, HostThreadsMayAskMeanwhile) {
    Start();
    std::atomic<bool> done{false};
    std::thread host([&] {
        for (int i = 0; !done; ++i) {
            K274_Barcode barcode;
            K274_Magnetic magnetic;
            uint8_t information[256];
            K274_GetBC(&barcode);
            K274_GetMag(&magnetic);
            K274_GetInfo(information);
            K274_SetBcDecMode(i % 4);
            K274_GetBcDec1Cnt();
            if (i % 50 == 0)
                K274_Clear(static_cast<uint8_t>(i));
        }
    });
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(Scan("club"), 8);
    done = true;
    host.join();
}

} // namespace
