// The driver library around the virtual scanner: opening and closing, coming and going, handles and
// arguments, transfers that end before their time.
#include "host.h"

#include <gmock/gmock.h>

#include <future>
#include <thread>

namespace {

using namespace wire;
using testing::HasSubstr;

class Driver : public ScannerTest {};

TEST_F(Driver, IsOpenedOnlyForTheVirtualScanner) {
    for (const char *value :
         {static_cast<const char *>(nullptr), "", "usb", "replay:scan.bin", "Virtual", "virtual "}) {
        const Environment other("K274_DEVICE", value);
        testing::internal::CaptureStderr();
        Host host;
        const std::string said = testing::internal::GetCapturedStderr();
        EXPECT_EQ(host.status, kFailed);
        EXPECT_EQ(host.driver, nullptr);
        EXPECT_THAT(said, HasSubstr("K274_DEVICE"));
        EXPECT_THAT(said, HasSubstr("K274_DEVICE=virtual\n"));
        EXPECT_THAT(said, HasSubstr(value == nullptr ? "not set" : value));
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1);
    }
    Host host;
    EXPECT_EQ(host.status, 0u);
}

TEST_F(Driver, TellsOfTheScannerBeforeItIsOpenAndDescribesIt) {
    Host host({0x1234, 0x0274, 0, 0, 0xFF, 0xFE, 0xFD});
    ASSERT_EQ(host.status, 0u);
    ASSERT_NE(host.device, nullptr);
    EXPECT_EQ(host.info.Descriptor.bLength, 18);
    EXPECT_EQ(host.info.Descriptor.idVendor, 0x1234);
    EXPECT_EQ(host.info.Descriptor.idProduct, 0x0274);
    EXPECT_EQ(host.info.pActiveInterface[1], nullptr);
    EXPECT_EQ(host.interface.bLength, 9);
    EXPECT_EQ(host.interface.bInterfaceClass, 0xFF);
    EXPECT_EQ(host.interface.bInterfaceSubClass, 0xFE);
    EXPECT_EQ(host.interface.bInterfaceProtocol, 0xFD);
}

TEST_F(Driver, IsOpenForOneHostAtATime) {
    Host first;
    testing::internal::CaptureStderr();
    Host second;
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("WDU_Uninit"));
    EXPECT_EQ(second.status, kFailed);
    second.Close();
    EXPECT_EQ(first.Exchange({0x14}).size(), 256u);
    int unknown = 0;
    WDU_Uninit(&unknown);
    EXPECT_EQ(first.Exchange({0x14}).size(), 256u);
    first.Close();
    Host third;
    EXPECT_EQ(third.status, 0u);
}

TEST_F(Driver, LeavesHostsAloneThatLookForSomethingElseOrDecline) {
    Host other({0xF274, 0x0275, 0, 0, 0xFF, 0xFF, 0xFF});
    EXPECT_EQ(other.status, 0u);
    EXPECT_EQ(other.attaches, 0);
    other.Close();

    Host declining(ScannerMatch(), false);
    EXPECT_EQ(declining.attaches, 1);
    EXPECT_EQ(declining.Send({0x14}), kBadHandle);
    VS_Unplug();
    VS_PlugIn();
    EXPECT_TRUE(declining.WaitForNews(2, 0));
}

TEST_F(Driver, RefusesBadArguments) {
    WDU_MATCH_TABLE match = ScannerMatch();
    WDU_EVENT_TABLE events{};
    void *driver = &match;
    EXPECT_EQ(WDU_Init(nullptr, &match, 1, &events, 1), kBadArgument);
    EXPECT_EQ(WDU_Init(&driver, nullptr, 1, &events, 1), kBadArgument);
    EXPECT_EQ(driver, nullptr);
    EXPECT_EQ(WDU_Init(&driver, &match, 0, &events, 1), kBadArgument);
    EXPECT_EQ(WDU_Init(&driver, &match, 1, nullptr, 1), kBadArgument);
    ASSERT_EQ(WDU_Init(&driver, &match, 1, &events, 1), 0u) << "callbacks may be missing";
    WDU_Uninit(driver);

    Host host;
    Bytes packet = Packet({0x14}, 1);
    struct {
        void *device;
        uint32_t pipe;
        int32_t read;
        void *buffer;
        uint32_t status;
    } const cases[] = {
        {nullptr, kOut, 0, packet.data(), kBadHandle},   {&host, kOut, 0, packet.data(), kBadHandle},
        {host.device, 1, 0, packet.data(), kBadPipe},    {host.device, kIn, 0, packet.data(), kBadPipe},
        {host.device, kOut, 1, packet.data(), kBadPipe}, {host.device, 0x181, 1, packet.data(), kBadPipe},
        {host.device, kOut, 0, nullptr, kBadArgument},   {host.device, kIn, 1, nullptr, kBadArgument},
    };
    for (const auto &c : cases) {
        uint32_t transferred = 77;
        EXPECT_EQ(WDU_TransferBulk(c.device, c.pipe, c.read, 0, c.buffer, 256, &transferred, 999), c.status);
        EXPECT_EQ(transferred, 0u);
    }
    EXPECT_EQ(WDU_TransferBulk(host.device, kOut, 0, 0, packet.data(), 256, nullptr, 999), 0u);
    EXPECT_EQ(WDU_TransferBulk(host.device, kIn, 1, 0, nullptr, 0, nullptr, 999), 0u) << "room for nothing";
    EXPECT_EQ(WDU_TransferBulk(host.device, kIn, 1, 0, packet.data(), 256, nullptr, 0), 0u);

    EXPECT_EQ(WDU_ResetPipe(host.device, kIn), 0u);
    EXPECT_EQ(WDU_ResetPipe(host.device, kOut), 0u);
    EXPECT_EQ(WDU_ResetPipe(host.device, 3), kBadPipe);
    EXPECT_EQ(WDU_ResetPipe(&host, kIn), kBadHandle);
    EXPECT_EQ(WDU_ResetDevice(host.device, 3), kBadArgument);
    EXPECT_EQ(WDU_ResetDevice(nullptr, 1), kBadHandle);
    void *const device = host.device;
    host.Close();
    WDU_Uninit(nullptr);
    EXPECT_EQ(WDU_TransferBulk(device, kOut, 0, 0, packet.data(), 256, nullptr, 999), kBadHandle);
    EXPECT_EQ(WDU_ResetPipe(device, kIn), kBadHandle);
    EXPECT_EQ(WDU_ResetDevice(device, 1), kBadHandle);
}

TEST_F(Driver, ResetOfAPipeEndsItsHalt) {
    Host host;
    Bytes reply;
    const uint32_t before = Observed().pipeResets;
    ASSERT_EQ(host.Send({0xE7}), kStalled);
    ASSERT_EQ(WDU_ResetPipe(host.device, kOut), 0u);
    EXPECT_EQ(host.Read(&reply, 256, 1), kStalled);
    ASSERT_EQ(WDU_ResetPipe(host.device, kIn), 0u);
    EXPECT_EQ(host.Read(&reply, 256, 1), kTimeout);
    EXPECT_EQ(Observed().pipeResets, before + 2);
}

TEST_F(Driver, FollowsTheCable) {
    Host host;
    void *const first = host.device;
    VS_Unplug();
    VS_Unplug();
    EXPECT_EQ(host.Send({0x14}), kGone);
    ASSERT_TRUE(host.WaitForNews(1, 1));
    VS_PlugIn();
    VS_PlugIn();
    ASSERT_TRUE(host.WaitForNews(2, 1));
    EXPECT_NE(host.device, first);
    EXPECT_EQ(WDU_ResetPipe(first, kIn), kGone) << "an old handle is not the new scanner";
    EXPECT_EQ(host.Exchange({0x14}).size(), 256u);
    host.Poll();
    EXPECT_EQ(host.Kind(), 1);
    EXPECT_EQ(host.Event(), "Reset - Power on");

    // Unplugged while nobody has the driver open, and plugged in while somebody has.
    host.Close();
    EXPECT_EQ(host.detaches, 1) << "closing is no detach";
    VS_Unplug();
    Host late;
    EXPECT_EQ(late.status, 0u);
    EXPECT_EQ(late.attaches, 0);
    VS_PlugIn();
    EXPECT_TRUE(late.WaitForNews(1, 0));
}

TEST_F(Driver, PortCycleTakesTheScannerOffTheBusAndBringsItBack) {
    Host host;
    host.Poll();
    host.DropEvents();
    const VS_Observed before = Observed();
    for (const double speed : {0.0, 1.0}) {
        VS_SetSpeed(speed);
        void *const old = host.device;
        const auto start = std::chrono::steady_clock::now();
        const int count = host.attaches;
        ASSERT_EQ(WDU_ResetDevice(old, 2), 0u);
        EXPECT_EQ(WDU_ResetDevice(old, 2), kGone);
        ASSERT_TRUE(host.WaitForNews(count + 1, count));
        if (speed > 0) {
            EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
        }
        EXPECT_NE(host.device, old);
        host.Poll();
        EXPECT_EQ(host.Kind(), 0) << "its power was not interrupted";
    }
    ASSERT_EQ(WDU_ResetDevice(host.device, 1), 0u);
    host.Poll();
    EXPECT_EQ(host.Kind(), 1);
    EXPECT_EQ(Observed().portCycles, before.portCycles + 2);
    EXPECT_EQ(Observed().hardResets, before.hardResets + 1);

    // Closed while the scanner is away, it is back for the next host; unplugged meanwhile, it stays away.
    VS_SetSpeed(0.001);
    ASSERT_EQ(WDU_ResetDevice(host.device, 2), 0u);
    host.Close();
    Host next;
    EXPECT_EQ(next.attaches, 1);
    ASSERT_EQ(WDU_ResetDevice(next.device, 2), 0u);
    VS_Unplug();
    VS_SetSpeed(0);
    ASSERT_TRUE(next.WaitForNews(1, 1));
    EXPECT_EQ(next.device, nullptr);
    VS_PlugIn();
    EXPECT_TRUE(next.WaitForNews(2, 1));
}

struct InterruptCase {
    const char *name;
    void (*interrupt)(Host &);
    uint32_t status;
};
void PrintTo(const InterruptCase &c, std::ostream *out) { *out << c.name; }
class Interrupted : public ScannerTest, public testing::WithParamInterface<InterruptCase> {};

// A read of which nothing comes ends long before its time. On a busy machine the reading thread may be late
// and find the driver closed already; that shows nothing, so the test is made once more.
TEST_P(Interrupted, TransferEndsAtOnce) {
    uint32_t status = kBadHandle;
    for (int attempt = 0; attempt < 50 && status == kBadHandle; attempt++) {
        Host host;
        void *const device = host.device;
        std::future<uint32_t> transfer = std::async(std::launch::async, [device] {
            Bytes buffer(256);
            uint32_t transferred = 77;
            const uint32_t result =
                WDU_TransferBulk(device, kIn, 1, 0, buffer.data(), 256, &transferred, 30000);
            EXPECT_EQ(transferred, result == 0 ? 256u : 0u);
            return result;
        });
        EXPECT_EQ(transfer.wait_for(std::chrono::milliseconds(5)), std::future_status::timeout);
        GetParam().interrupt(host);
        status = transfer.get();
    }
    EXPECT_EQ(status, GetParam().status);
}
INSTANTIATE_TEST_SUITE_P(
    Driver, Interrupted,
    testing::Values(InterruptCase{"unplugged", [](Host &) { VS_Unplug(); }, kGone},
                    InterruptCase{"port cycle", [](Host &h) { WDU_ResetDevice(h.lastDevice, 2); }, kGone},
                    InterruptCase{"closed", [](Host &h) { h.Close(); }, kCanceled},
                    InterruptCase{"answered", [](Host &h) { h.Send({0x14}); }, 0},
                    InterruptCase{"refused", [](Host &h) { h.Send({0xE7}); }, kStalled}));

TEST_F(Driver, ClosesWhileItsThreadIsWithTheHost) {
    // The detach callback waits for a mutex that the closing thread holds until just before it closes.
    void *mutex = nullptr;
    ASSERT_EQ(OsMutexCreate(&mutex), 0u);
    WDU_MATCH_TABLE match = ScannerMatch();
    WDU_EVENT_TABLE events{[](void *, WDU_DEVICE *, void *) -> int32_t { return 1; },
                           [](void *, void *user) {
                               OsMutexLock(user);
                               OsMutexUnlock(user);
                           },
                           nullptr, mutex};
    void *driver = nullptr;
    ASSERT_EQ(WDU_Init(&driver, &match, 1, &events, 1), 0u);
    OsMutexLock(mutex);
    VS_Unplug();
    OsMutexUnlock(mutex);
    WDU_Uninit(driver);
    OsMutexClose(mutex);
}

TEST_F(Driver, ClosesFromWithinACallback) {
    struct Closer {
        void *driver = nullptr, *closed = nullptr;
    } closer;
    ASSERT_EQ(OsEventCreate(&closer.closed), 0u);
    WDU_MATCH_TABLE match = ScannerMatch();
    WDU_EVENT_TABLE events{[](void *, WDU_DEVICE *, void *) -> int32_t { return 1; },
                           [](void *, void *user) {
                               WDU_Uninit(static_cast<Closer *>(user)->driver);
                               OsEventSignal(static_cast<Closer *>(user)->closed);
                           },
                           nullptr, &closer};
    ASSERT_EQ(WDU_Init(&closer.driver, &match, 1, &events, 1), 0u);
    VS_Unplug();
    EXPECT_EQ(OsEventWait(closer.closed, 20), 0u);
    OsEventClose(closer.closed);
    EXPECT_EQ(Host().status, 0u);
}

TEST_F(Driver, SurvivesHostsOfManyThreads) {
    Host host;
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; t++) {
        threads.emplace_back([&host] {
            Bytes packet = Packet(PollFields(), 1), reply(4096);
            for (int k = 0; k < 200; k++) {
                uint32_t count = 0;
                WDU_TransferBulk(host.lastDevice, kOut, 0, 0, packet.data(), 80, &count, 999);
                WDU_TransferBulk(host.lastDevice, kIn, 1, 0, reply.data(), 4096, &count, 2);
                EXPECT_LE(count, 4096u);
            }
        });
    }
    for (int k = 0; k < 20; k++) {
        VS_Unplug();
        VS_PostEvent("Door opened");
        VS_PlugIn();
        VS_CardWaiting();
    }
    host.Close();
    for (auto &thread : threads)
        thread.join();
}

TEST(OsObjects, EventLetsOneWaiterThroughPerSignal) {
    void *event = nullptr;
    ASSERT_EQ(OsEventCreate(&event), 0u);
    EXPECT_EQ(OsEventWait(event, 0), kTimeout);
    EXPECT_EQ(OsEventSignal(event), 0u);
    EXPECT_EQ(OsEventSignal(event), 0u);
    EXPECT_EQ(OsEventWait(event, 0), 0u);
    EXPECT_EQ(OsEventWait(event, 0), kTimeout);
    auto waiter = std::async(std::launch::async, [event] { return OsEventWait(event, -1); });
    OsEventSignal(event);
    EXPECT_EQ(waiter.get(), 0u);
    OsEventClose(event);
}

TEST(OsObjects, MutexIsReentrantAndKnowsItsOwner) {
    void *mutex = nullptr;
    ASSERT_EQ(OsMutexCreate(&mutex), 0u);
    EXPECT_EQ(OsMutexUnlock(mutex), kFailed);
    int guarded = 0;
    EXPECT_EQ(OsMutexLock(mutex), 0u);
    EXPECT_EQ(OsMutexLock(mutex), 0u);
    auto other = std::async(std::launch::async, [&] {
        EXPECT_EQ(OsMutexUnlock(mutex), kFailed);
        EXPECT_EQ(OsMutexLock(mutex), 0u);
        const int seen = guarded;
        EXPECT_EQ(OsMutexUnlock(mutex), 0u);
        return seen;
    });
    EXPECT_EQ(OsMutexUnlock(mutex), 0u);
    guarded = 1;
    EXPECT_EQ(OsMutexUnlock(mutex), 0u);
    EXPECT_EQ(other.get(), 1);
    OsMutexClose(mutex);
}

TEST(OsObjects, RefuseNull) {
    EXPECT_EQ(OsEventCreate(nullptr), kBadArgument);
    EXPECT_EQ(OsMutexCreate(nullptr), kBadArgument);
    EXPECT_EQ(OsEventSignal(nullptr), kBadHandle);
    EXPECT_EQ(OsEventWait(nullptr, -1), kBadHandle);
    EXPECT_EQ(OsMutexLock(nullptr), kBadHandle);
    EXPECT_EQ(OsMutexUnlock(nullptr), kBadHandle);
    OsEventClose(nullptr);
    OsMutexClose(nullptr);
}

} // namespace
