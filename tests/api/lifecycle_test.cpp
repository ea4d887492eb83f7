// Whole sessions: start, polling, scans, stop, and start again.
#include "include/k274.h"

#include "src/common/running.h"
#include "src/state/flags.h"
#include "tests/support/library_fixture.h"

#include <gmock/gmock.h>

#include <atomic>
#include <future>
#include <thread>

namespace {

using scripted::TheDriver;
using testing::Contains;
using testing::ElementsAre;

struct LifecycleTest : LibraryTest {
    void SetUp() override {
        LibraryTest::SetUp();
        k274::running = false;
        scanner.Serve();
        TheDriver().onSend = [this](const scripted::Sent &) { return scripted::Reply{sendStatus}; };
    }
    static size_t Seen(int code) {
        const std::vector<int> states = States();
        return static_cast<size_t>(std::count(states.begin(), states.end(), code));
    }
    ScriptedScanner scanner;
    std::atomic<uint32_t> sendStatus{0};
};

TEST_F(LifecycleTest, SessionLogsItsStartAndTakesNoWordAbove31ForACard) {
    scanner.words = {32, 0x41, 0x8000, 0x20, 33};
    EXPECT_EQ(K274_Init(0), 0);
    K274_Log("hello");
    Await([&] { return scripted::CountSent(0x00) > 10 && Log().size() == 8; });
    EXPECT_EQ(K274_UsbIsOnline(), 1);
    K274_Close();
    AwaitThreadsEnd();
    EXPECT_THAT(States(), ElementsAre(10));
    EXPECT_THAT(Log(),
                ElementsAre(testing::StartsWith("init,    SD2      ver "), "init,    DLL      ver 2.3.7",
                            "init,    Firmware ver 2.3.7", "init,    FPGA     ver 1.12",
                            "init,    Hardware ver 3", "init,    Norvex,  SN  4711, SSN 77", " ", "hello"));
    const std::vector<uint8_t> codes = scripted::SentCodes();
    EXPECT_EQ(codes.front(), 0x14);
    EXPECT_THAT(codes, Contains(0x73).Times(1));
    EXPECT_EQ(codes.back(), 0x17);
}

TEST_F(LifecycleTest, LateAttachAndLostLink) {
    TheDriver().attachOnInit = false;
    EXPECT_EQ(K274_Init(0), -1);
    Await([] { return Seen(11) == 1; });
    EXPECT_EQ(K274_UsbIsOnline(), 0);
    scripted::Attach();
    Await([] { return Seen(10) == 1; });
    Await([] { return K274_UsbIsOnline() == 1; });
    sendStatus = 0x20000015; // three bad polls in a row
    Await([] { return Seen(11) == 2; });
    sendStatus = 0;
    Await([] { return Seen(10) == 2; });
    scripted::Detach();
    Await([] { return Seen(11) == 3; });
    const Texts lines = Log();
    EXPECT_THAT(lines, Contains("usb,     CON event").Times(2));
    EXPECT_THAT(lines, Contains("usb,     DIS event").Times(2));
    EXPECT_THAT(lines, Contains("usb,     Cycle Port...").Times(2));
}

TEST_F(LifecycleTest, StartsAndStopsInAnyOrder) {
    K274_Close(); // nothing to stop
    K274_Init(0);
    K274_Close(); // most likely before the thread has begun
    K274_Init(0);
    K274_Init(0); // closes the first
    Await([] { return k274::Running() && scripted::CountSent(0x00) > 5; });
    EXPECT_THAT(TheDriver().calls, Contains("WDU_Init").Times(3));
    EXPECT_THAT(TheDriver().calls, Contains("WDU_Uninit").Times(2));
    K274_Close();
    AwaitThreadsEnd();
    TheDriver().sent.clear();
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

void K274_CALLBACK CloseAtState3(int32_t code) {
    if (code == 3)
        K274_Close();
}

TEST_F(LifecycleTest, CloseFromTheCallbackEndsTheScan) {
    scanner.words = {0, 0, 1, 3, 7, 7, 0x8000, 0};
    K274_RegNewScanCB(CloseAtState3);
    K274_Init(0);
    AwaitThreadsEnd();
    EXPECT_EQ(scripted::SentCodes().back(), 0x17);
    EXPECT_FALSE(k274::Running());
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
    Await([&] { return waiting == 2 && Seen(8) == 2; });
    K274_Close();
    gate.set_value();
    AwaitThreadsEnd();
    EXPECT_EQ(Seen(4), 0u);
    K274_Barcode record;
    K274_GetBC(&record);
    EXPECT_EQ(record.pdfLength, 0);
}

std::atomic<int> second;

void K274_CALLBACK NoteInSecond(int32_t code) {
    if (code != 4) // the barcode's, which may come at any time
        second = 100 * second + code;
}

void K274_CALLBACK ReplaceAtState3(int32_t code) {
    if (code == 3)
        K274_RegNewScanCB(NoteInSecond);
}

TEST_F(LifecycleTest, CallbackReplacedDuringAScanTakesTheRest) {
    second = 0;
    scanner.words = {0, 0, 1, 3, 7, 0x8000, 0};
    K274_ScanMode(82);
    K274_RegNewScanCB(ReplaceAtState3);
    K274_Init(0);
    Await([] { return second == 508; });
    K274_RegNewScanCB(nullptr);
    scanner.polls = 0;
    Await([] { return k274::state.scanCounter == 2; });
    EXPECT_EQ(second, 508);
}

} // namespace
