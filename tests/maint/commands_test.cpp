// What the transcripts of the maintenance exports do not show: waiting, and what an image consists of.
#include "include/k274.h"
#include "src/link/attach.h"
#include "src/state/locks.h"
#include "tests/support/library_fixture.h"

#include <gmock/gmock.h>

#include <thread>

namespace {

using scripted::TheDriver;

struct MaintTest : ScannerTest {};

TEST_F(MaintTest, ABusyScannerIsNotWaitedFor) {
    uint8_t buffer[4096] = {7};
    K274_Parameters parameters{};
    parameters.fields[10] = 500;
    std::atomic<bool> held{false}, done{false};
    std::thread holder([&] {
        k274::DeviceGuard guard(k274::deviceLock);
        held = true;
        while (!done)
            std::this_thread::yield();
    });
    while (!held)
        std::this_thread::yield();
    test_clock::Reset();
    EXPECT_EQ(K274_RdFlashData(buffer, 0), 0);
    EXPECT_EQ(test_clock::TotalSlept(), 200u);
    EXPECT_EQ(K274_RdUserData(buffer, 128), 0);
    EXPECT_EQ(K274_Params(&parameters, 1), -1);
    EXPECT_EQ(K274_GetParams(&parameters), 0);
    done = true;
    holder.join();
    EXPECT_EQ(buffer[0], 7);
    EXPECT_EQ(parameters.fields[10], 500u);
    EXPECT_TRUE(TheDriver().sent.empty());
}

TEST_F(MaintTest, TheMonitorLeavesTheLinkToTheUsbTest) {
    k274::DriverUninit(); // the session opens one of its own
    K274_Init(0);
    Await([&] { return scanner.polls > 2; });
    K274_UsbTest(5, 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const size_t polls = scanner.polls;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_LE(scanner.polls, polls + 1);
    K274_UsbTest(0, 0);
    Await([&] { return scanner.polls > polls + 2; });
}

TEST_F(MaintTest, PartsOfTheFocusImageLieInTheirPlaces) {
    const std::vector<uint8_t> parts[] = {{1, 2, 3}, {0, 0, 0}, {1, 0, 0}, {1, 2, 0}};
    std::vector<uint8_t> image(163200);
    for (size_t failing = 0; failing < 4; ++failing) {
        uint8_t reads = 0;
        TheDriver().onRead = [&](const scripted::Sent &last, uint32_t) {
            return ++reads == failing
                       ? scripted::Reply{5}
                       : scripted::Reply{0, scripted::Bytes(256 + last.bytes[10] * 16320u, reads)};
        };
        EXPECT_EQ(K274_GetFocImgAry(image.data()), 1);
        EXPECT_THAT(parts[failing], testing::ElementsAre(image[0], image[65280], image[130560]));
        EXPECT_EQ(image.back(), parts[failing].back());
        scripted::Attach();
    }
}

} // namespace
