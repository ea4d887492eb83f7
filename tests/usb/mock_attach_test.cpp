// Scanners that come, go and cannot be opened, and hosts that open and close the driver meanwhile.
#include "tests/usb/mock_fixture.h"

#include <gmock/gmock.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <optional>
#include <random>

namespace mock {
namespace {

using namespace wire;
using testing::HasSubstr;

struct Attach : UsbTest {
    /// What the driver says while something happens, beside the answer of that.
    template <typename Action>
    std::string Said(Action action) {
        testing::internal::CaptureStderr();
        action();
        return testing::internal::GetCapturedStderr();
    }
};
INSTANTIATE_TEST_SUITE_P(Usb, Attach, testing::Values(true));

TEST_P(Attach, FollowsTheCablePortCyclesAndResets) {
    Host host;
    void *const first = host.device;
    VS_Unplug();
    EXPECT_TRUE(host.WaitForNews(1, 1));
    EXPECT_EQ(WDU_ResetPipe(first, kIn), kGone);
    VS_PlugIn();
    ASSERT_TRUE(host.WaitForNews(2, 1));
    EXPECT_EQ(WDU_ResetPipe(first, kIn), kGone) << "an old handle is not the new scanner";
    port.TellAgain();
    ASSERT_EQ(WDU_ResetDevice(host.device, 2), 0u);
    ASSERT_TRUE(host.WaitForNews(3, 2)) << "told of twice, it attaches once";
    EXPECT_EQ(port.behaviour.resets, 1);
    host.Poll();
    host.Poll();
    EXPECT_NE(host.Kind(), 1);
    ASSERT_EQ(WDU_ResetDevice(host.device, 1), 0u);
    host.Poll();
    EXPECT_EQ(host.Kind(), 1) << "the scanner tells of the reset";
    EXPECT_EQ(port.behaviour.resets, 2);
    port.behaviour.resetError = EIO;
    EXPECT_EQ(WDU_ResetDevice(host.device, 1), kFailed);
    EXPECT_EQ(WDU_ResetDevice(host.device, 2), kFailed);
    ASSERT_TRUE(host.WaitForNews(4, 3)) << "found again all the same";
    host.Close();
    EXPECT_EQ(host.detaches, 3) << "closing is no detach";
    EXPECT_EQ(port.behaviour.refusedClaims, 0);
}

TEST_P(Attach, OneThatComesWhileTheDriverOpensAttachesOnce) {
    for (int k = 0; k < 12; k++) {
        VS_Unplug();
        ASSERT_TRUE(port.Await(false));
        std::thread cable([k] {
            std::this_thread::sleep_for(std::chrono::microseconds(150 * k));
            VS_PlugIn();
        });
        Host host;
        cable.join();
        EXPECT_TRUE(host.WaitForNews(1, 0));
        EXPECT_EQ(host.Exchange({0x14}).size(), 256u);
        EXPECT_EQ(host.attaches, 1);
    }
}

// The line names the cure; it is said once for each cause, and once the cause has gone the scanner attaches
// without more ado.
TEST_P(Attach, FailuresAreToldApart) {
    const struct {
        int error;
        int milliseconds; // until it is noticed
        const char *says;
    } cases[] = {{EBUSY, 100, "is in use by another program: close that one\n"},
                 {EACCES, 600, "install the udev rule 60-k274.rules"},
                 {ENOSYS, 600, "Other error\n"},
                 {EINVAL, 1900, "has no driver"},
                 {EINVAL, 600, nullptr}};
    port.behaviour.claimFailures = -1;
    std::optional<Host> host;
    for (const auto &c : cases) {
        const std::string said = Said([&] {
            if (c.error == EACCES) {
                port.Forbid(true);
                if (geteuid() == 0) // whom permissions do not keep out
                    ASSERT_EQ(seteuid(65534), 0);
            } else {
                port.behaviour.claimError = c.error;
            }
            if (!host)
                host.emplace();
            std::this_thread::sleep_for(std::chrono::milliseconds(c.milliseconds));
            if (c.error == EACCES) {
                if (getuid() == 0)
                    ASSERT_EQ(seteuid(0), 0);
                port.Forbid(false);
            }
        });
        EXPECT_EQ(host->status, 0u) << "the driver is open, with no scanner";
        EXPECT_EQ(host->attaches, 0);
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), c.says != nullptr) << said;
        EXPECT_THAT(said, HasSubstr(c.says != nullptr ? c.says : ""));
    }
    port.behaviour.claimFailures = 0;
    EXPECT_TRUE(host->WaitForNews(1, 0));
    EXPECT_EQ(host->Exchange({0x14}).size(), 256u);
}

TEST_P(Attach, OneThatIsNotReadyYetIsAwaited) {
    port.behaviour.claimError = EINVAL;
    port.behaviour.claimFailures = 3;
    const std::string said = Said([] {
        Host host;
        EXPECT_EQ(host.attaches, 1) << "in time for a host that sends at once";
    });
    EXPECT_EQ(said, "");
    EXPECT_EQ(port.behaviour.refusedClaims, 3);

    VS_Unplug();
    ASSERT_TRUE(port.Await(false));
    port.configured = false;
    Host host;
    VS_PlugIn();
    ASSERT_TRUE(port.Await(true));
    EXPECT_EQ(Said([&] {
                  std::this_thread::sleep_for(std::chrono::milliseconds(120));
                  EXPECT_EQ(host.attaches, 0);
                  port.Configure();
                  EXPECT_TRUE(host.WaitForNews(1, 0));
              }),
              "");
    // It may leave while it is awaited.
    VS_Unplug();
    ASSERT_TRUE(host.WaitForNews(1, 1));
    VS_PlugIn();
    ASSERT_TRUE(port.Await(true));
    VS_Unplug();
    port.configured = true;
    ASSERT_TRUE(port.Await(false));
    VS_PlugIn();
    EXPECT_TRUE(host.WaitForNews(2, 1));
}

TEST_P(Attach, DescriptorsAreNotTrusted) {
    const Bytes good = Port::AllDescriptors();
    constexpr size_t kConfig = 18, kInterface = kConfig + 9, kOutPipe = kInterface + 9,
                     kInPipe = kOutPipe + 7;
    const struct {
        size_t at;
        uint8_t value;
        bool attaches;
    } changes[] = {
        {kConfig + 4, 0, false},
        {kConfig + 4, 255, false},
        {kConfig + 2, 20, false},
        {kConfig + 0, 0, false},
        {kInterface + 0, 0, false},
        {kInterface + 2, 40, false},
        {kInterface + 2, 3, true},
        {kInterface + 4, 1, false},
        {kInterface + 4, 255, false},
        {kInterface + 5, 3, false},
        {kInterface + 7, 1, false},
        {kOutPipe + 2, 0x03, false},
        {kOutPipe + 3, 3, false},
        {kInPipe + 0, 200, false},
        {kInPipe + 2, 0x82, false},
        {8, 1, false},
        {10, 1, false},
        {4, 9, true},
    };
    const auto attaches = [this](const Bytes &descriptors, bool *attached) {
        port.descriptors = descriptors;
        VS_Unplug();
        ASSERT_TRUE(port.Await(false));
        VS_PlugIn();
        ASSERT_TRUE(port.Await(true));
        port.behaviour.opens = 0;
        Said([&] {
            Host host;
            *attached = host.attaches == 1;
        });
    };
    bool attached = false;
    for (const auto &c : changes) {
        Bytes bad = good;
        bad[c.at] = c.value;
        attaches(bad, &attached);
        EXPECT_EQ(attached, c.attaches) << "byte " << c.at << " is " << +c.value;
    }
    for (const size_t size : {size_t{0}, size_t{17}, size_t{18}, size_t{30}, good.size() - 1}) {
        attaches(Bytes(good.begin(), good.begin() + static_cast<ptrdiff_t>(size)), &attached);
        EXPECT_FALSE(attached) << size << " bytes";
    }
    std::mt19937 random(1);
    for (int k = 0; k < 10; k++) {
        Bytes bad = good;
        for (int n = 0; n < 4; n++)
            bad[kConfig + random() % (bad.size() - kConfig)] = static_cast<uint8_t>(random());
        attaches(bad, &attached);
    }
    port.descriptors = good;
}

TEST_P(Attach, AnyMatchTableSelects) {
    struct Told {
        int attaches = 0;
        WDU_DEVICE device{};
        WDU_INTERFACE_DESCRIPTOR setting{};
    } told;
    WDU_EVENT_TABLE events{[](void *, WDU_DEVICE *info, void *user) -> int32_t {
                               auto &to = *static_cast<Told *>(user);
                               to.attaches++;
                               to.device = *info;
                               to.setting = info->pActiveInterface[0]->pActiveAltSetting->Descriptor;
                               return 1;
                           },
                           nullptr, nullptr, &told};
    WDU_MATCH_TABLE tables[] = {{0x1111, 0x2222, 0, 0, 0, 0, 0}, {0, 0x0274, 0, 0, 0xFF, 0xFF, 0xFF}};
    void *driver = nullptr;
    ASSERT_EQ(WDU_Init(&driver, tables, 1, &events, 1), 0u);
    WDU_Uninit(driver);
    EXPECT_EQ(told.attaches, 0);
    ASSERT_EQ(WDU_Init(&driver, tables, 2, &events, 1), 0u);
    WDU_Uninit(driver);
    EXPECT_EQ(told.attaches, 1);
    EXPECT_EQ(std::memcmp(&told.device.Descriptor, bus::DeviceDescriptor().data(), 18), 0);
    EXPECT_EQ(std::memcmp(&told.setting, &bus::ConfigDescriptor()[9], 9), 0);
    EXPECT_EQ(told.device.pActiveInterface[1], nullptr);
}

TEST_P(Attach, TheNextScannerTakesTheFirstOnesPlace) {
    scanner::Scanner other{scanner::ReadEnvironment()};
    Port second(other, 2);
    ASSERT_TRUE(second.Await(true));
    Host host;
    ASSERT_EQ(host.attaches, 1);
    const bool firstTaken = port.behaviour.claims == 1;
    EXPECT_EQ(port.behaviour.claims + second.behaviour.claims, 1);
    WDU_ResetDevice(host.device, 2);
    ASSERT_TRUE(host.WaitForNews(2, 1));
    EXPECT_EQ((firstTaken ? port : second).behaviour.claims, 3)
        << "claimed anew by the reset, and when opened";
    if (firstTaken) {
        VS_Unplug();
    } else {
        std::lock_guard lock(other.mutex);
        other.Unplug();
    }
    ASSERT_TRUE(host.WaitForNews(3, 2));
    EXPECT_EQ((firstTaken ? second : port).behaviour.claims, 1);
    EXPECT_EQ(host.Exchange({0x14}).size(), 256u);
}

TEST_P(Attach, ADeclinedScannerIsLetGoOf) {
    {
        Host host(ScannerMatch(), false);
        EXPECT_EQ(host.attaches, 1);
        EXPECT_NE(host.Send({0x14}), 0u);
        VS_Unplug();
        ASSERT_TRUE(port.Await(false));
        host.accepts = true;
        VS_PlugIn();
        ASSERT_TRUE(host.WaitForNews(2, 0)) << "the host is not told that what it declined has left";
        EXPECT_EQ(host.Exchange({0x14}).size(), 256u);
    }
}

size_t Threads() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<size_t>(std::distance(begin(tasks), end(tasks)));
}

/// A host that does something in its attach callback.
struct BusyHost {
    void (*inCallback)(BusyHost &);
    void *driver = nullptr;
    std::atomic<void *> device{nullptr};
    std::atomic<bool> done{false};
    std::atomic<uint32_t> status{99};

    void Open() {
        WDU_MATCH_TABLE match = ScannerMatch();
        WDU_EVENT_TABLE events{[](void *attached, WDU_DEVICE *, void *user) -> int32_t {
                                   auto &host = *static_cast<BusyHost *>(user);
                                   host.device = attached;
                                   host.inCallback(host);
                                   host.done = true;
                                   return 1;
                               },
                               nullptr, nullptr, this};
        ASSERT_EQ(WDU_Init(&driver, &match, 1, &events, 1), 0u);
    }
    uint32_t Handshake() {
        Bytes packet = Packet({0x14}, 1), reply(256);
        const uint32_t sent = WDU_TransferBulk(device, kOut, 0, 0, packet.data(), 256, nullptr, 999);
        return sent != 0 ? sent : WDU_TransferBulk(device, kIn, 1, 0, reply.data(), 256, nullptr, 999);
    }
};

TEST_P(Attach, HostsMayDoAnythingInTheirCallback) {
    const size_t threads = Threads();
    {
        BusyHost host{[](BusyHost &h) { h.status = h.Handshake(); }};
        host.Open();
        EXPECT_EQ(host.status, 0u) << "transfer";
        WDU_Uninit(host.driver);
        EXPECT_EQ(Threads(), threads);
    }
    {
        BusyHost host{[](BusyHost &h) {
            while (h.status == 99)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }};
        host.Open(); // returns though the callback does not
        EXPECT_EQ(host.Handshake(), 0u) << "a callback that blocks holds up no transfer";
        VS_Unplug();
        EXPECT_NE(host.Handshake(), 0u);
        host.status = 0;
        WDU_Uninit(host.driver);
        EXPECT_TRUE(host.done);
        EXPECT_EQ(Threads(), threads);
    }
    VS_PlugIn();
    ASSERT_TRUE(port.Await(true));
    {
        BusyHost host{[](BusyHost &h) {
            WDU_Uninit(h.driver);
            h.status = h.Handshake();
        }};
        host.Open();
        ASSERT_TRUE(Await([&] { return host.done.load(); }));
        EXPECT_EQ(host.status, kBadHandle) << "close";
        EXPECT_TRUE(Await([&] { return Threads() == threads; }));
    }
    EXPECT_EQ(Host().attaches, 1) << "and it can be opened again";
}

TEST_P(Attach, ClosingAtAnyMomentLeavesNothingBehind) {
    const size_t threads = Threads();
    for (int k = 0; k < 10; k++) {
        port.behaviour.claimError = EINVAL;
        port.behaviour.claimFailures = k % 3;
        Host host;
        std::thread cable([k] { k % 2 ? VS_Unplug() : (void)0; });
        std::this_thread::sleep_for(std::chrono::microseconds(200 * k));
        host.Close();
        cable.join();
        EXPECT_EQ(Threads(), threads);
        VS_PlugIn();
        ASSERT_TRUE(port.Await(true));
    }
}

// The child has the memory of the driver and none of its threads: it must not wait for them.
TEST_P(Attach, AForkIsRefusedAndTheParentGoesOn) {
    Host host;
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        alarm(10);
        Bytes packet = Packet({0x14}, 1);
        const bool refused =
            WDU_TransferBulk(host.device, kOut, 0, 0, packet.data(), 256, nullptr, 999) == kBadHandle &&
            WDU_ResetDevice(host.device, 2) == kBadHandle;
        WDU_Uninit(host.driver);
        _exit(refused ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(host.Exchange({0x14}).size(), 256u);
}

TEST_P(Attach, WithoutUsbTheDriverIsRefusedInOneLine) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer opens files of its own";
#endif
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    uint32_t status = 0;
    const std::string said = Said([&] {
        const rlimit none{0, before.rlim_max}; // nothing more can be opened
        ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
        status = Host().status;
        setrlimit(RLIMIT_NOFILE, &before);
    });
    EXPECT_EQ(status, kFailed);
    EXPECT_THAT(said, testing::StartsWith("wdapi1140: USB cannot be used: "));
    EXPECT_THAT(said, testing::EndsWith("or set K274_DEVICE=virtual\n"));
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    EXPECT_EQ(Host().attaches, 1);
}

} // namespace
} // namespace mock
