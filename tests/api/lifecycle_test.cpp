// Sessions that overlap: starts and stops in any order, and decoders that outlive what started them. Whole
// sessions are told in transcripts/sessions.txt.
#include "include/k274.h"

#include "src/common/running.h"
#include "tests/support/library_fixture.h"

#include <gmock/gmock.h>

#include <future>
#include <thread>

namespace {

using scripted::TheDriver;
using testing::Contains;

struct LifecycleTest : LibraryTest {
    void SetUp() override {
        LibraryTest::SetUp();
        k274::running = false;
        scanner.Serve();
    }
    ScriptedScanner scanner;
};

TEST_F(LifecycleTest, StartsAndStopsInAnyOrder) {
    K274_Close(); // nothing to stop
    K274_Init(0);
    K274_Close(); // most likely before the thread has begun
    K274_Init(0);
    K274_Init(0); // closes the first
    Await([&] { return k274::Running() && scanner.polls > 5; });
    EXPECT_THAT(TheDriver().calls, Contains("WDU_Init").Times(3));
    EXPECT_THAT(TheDriver().calls, Contains("WDU_Uninit").Times(2));
    K274_Close();
    AwaitThreadsEnd();
    EXPECT_FALSE(k274::Running());

    std::vector<std::thread> hosts; // never two sessions at once, whoever wins
    for (int i = 0; i < 4; ++i)
        hosts.emplace_back([i] {
            for (int n = 0; n < 20; ++n)
                i % 2 ? K274_Close() : static_cast<void>(K274_Init(0));
        });
    for (std::thread &host : hosts)
        host.join();
    K274_Close();
    AwaitThreadsEnd();
    EXPECT_FALSE(k274::Running());
    EXPECT_EQ(K274_Init(0), 0);
}

TEST_F(LifecycleTest, DecodersOfEarlierScansAndSessionsAreNotHeard) {
    std::promise<void> gate;
    std::atomic<int> waiting{0};
    scripted::TheDecoder().onDecode = [&,
                                       opened = gate.get_future().share()](const scripted::DecodeRequest &) {
        ++waiting;
        opened.wait();
        return scripted::Symbol{0x1000, "LATE"};
    };
    K274_ScanMode(82);
    K274_SetBcDecMode(1); // no watchdog
    scanner.words = {0, 0, 1, 3, 7, 0x8000, 0, 1, 3, 7, 0x8000, 0};
    K274_Init(0);
    Await([&] { return waiting == 2 && testing::Value(States(), Contains(8).Times(2)); });
    K274_Close();
    gate.set_value();
    AwaitThreadsEnd();
    EXPECT_THAT(States(), Contains(4).Times(0));
    K274_Barcode record;
    K274_GetBC(&record);
    EXPECT_EQ(record.pdfLength, 0);
}

} // namespace
