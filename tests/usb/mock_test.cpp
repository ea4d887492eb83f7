// What a driver on USB meets: scanners that come, go and cannot be opened, descriptors that lie, resets that
// fail, hosts that open and close meanwhile. The suite of all drivers runs here, too.
#include "tests/drivers/contract.h"
#include "tests/scanner/firmware/host.h"
#include "tests/support/data.h"
#include "tests/usb/mock_bus.h"

#include <gmock/gmock.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <future>
#include <optional>
#include <random>
#include <thread>

namespace {

std::shared_ptr<void> Connect(bool splits) {
    auto port = std::make_shared<mock::Port>(scanner::TheScanner());
    port->behaviour.scatterGather = !splits;
    EXPECT_TRUE(port->Await(true));
    return port;
}

} // namespace

const std::vector<drivers::Backend> drivers::kBackends{{"usb", false, true, Connect},
                                                       {"usb", true, true, Connect}};

namespace mock {
namespace {

using namespace wire;
using testing::HasSubstr;

struct Usb : ScannerTest {
    void SetUp() override {
        ScannerTest::SetUp();
        SetVariable("K274_DEVICE", "usb");
        ASSERT_TRUE(port.Await(true));
    }
    void TearDown() override { VS_PlugIn(); }
    void Plug(bool in) {
        in ? VS_PlugIn() : VS_Unplug();
        ASSERT_TRUE(port.Await(in));
    }
    /// What the driver says while something happens, beside the answer of that.
    template <typename Action>
    std::string Said(Action action) {
        testing::internal::CaptureStderr();
        action();
        return testing::internal::GetCapturedStderr();
    }

    Port port{scanner::TheScanner()};
};

TEST_F(Usb, IsToldOnceAndFoundAgainThoughAResetFails) {
    Host host;
    port.TellAgain();
    ASSERT_EQ(WDU_ResetDevice(host.device, 2), 0u);
    ASSERT_TRUE(host.WaitForNews(2, 1)) << "told of twice, it attaches once";
    EXPECT_EQ(port.behaviour.resets, 1);
    port.behaviour.resetError = EIO;
    EXPECT_EQ(WDU_ResetDevice(host.device, 1), kFailed);
    EXPECT_EQ(WDU_ResetDevice(host.device, 2), kFailed);
    ASSERT_TRUE(host.WaitForNews(3, 2)) << "found again all the same";
    EXPECT_EQ(port.behaviour.resets, 3);
    EXPECT_EQ(port.behaviour.refusedClaims, 0);
}

TEST_F(Usb, AResetEndsTransfers) {
    for (const int error : {0, ENODEV}) { // with it comes back as another device
        const uint32_t status = InterruptedRead([this, error](Host &host) {
            port.behaviour.resetError = error;
            EXPECT_EQ(WDU_ResetDevice(host.lastDevice, 1), error == 0 ? 0 : kGone);
            port.behaviour.resetError = 0;
            EXPECT_TRUE(error == 0 || host.WaitForNews(2, 1));
        });
        EXPECT_EQ(status, kCanceled) << error;
    }
}

TEST_F(Usb, OneThatComesWhileTheDriverOpensAttachesOnce) {
    for (int k = 0; k < 12; k++) {
        Plug(false);
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
TEST_F(Usb, FailuresAreToldApart) {
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
            port.behaviour.claimError = c.error;
            port.Forbid(c.error == EACCES);
            if (!host)
                host.emplace();
            std::this_thread::sleep_for(std::chrono::milliseconds(c.milliseconds));
            port.Forbid(false);
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

TEST_F(Usb, OneThatIsNotReadyYetIsAwaited) {
    port.behaviour.claimError = EINVAL;
    port.behaviour.claimFailures = 3;
    const std::string said = Said([] {
        Host host;
        EXPECT_EQ(host.attaches, 1) << "in time for a host that sends at once";
    });
    EXPECT_EQ(said, "");
    EXPECT_EQ(port.behaviour.refusedClaims, 3);

    Plug(false);
    port.configured = false;
    Host host;
    Plug(true);
    EXPECT_EQ(Said([&] {
                  std::this_thread::sleep_for(std::chrono::milliseconds(120));
                  EXPECT_EQ(host.attaches, 0);
                  port.Configure();
                  EXPECT_TRUE(host.WaitForNews(1, 0));
              }),
              "");
    // It may leave while it is awaited.
    Plug(false);
    ASSERT_TRUE(host.WaitForNews(1, 1));
    Plug(true);
    VS_Unplug();
    port.configured = true;
    Plug(false);
    VS_PlugIn();
    EXPECT_TRUE(host.WaitForNews(2, 1));
}

TEST_F(Usb, DescriptorsAreNotTrusted) {
    const Bytes good = Port::AllDescriptors();
    const auto attaches = [this](const Bytes &descriptors) {
        port.descriptors = descriptors;
        Plug(false);
        Plug(true);
        bool attached = false;
        Said([&attached] { attached = Host().attaches == 1; });
        return attached;
    };
    for (const auto &row : Table("usb/descriptors.txt")) {
        size_t base = 0, offset = 0;
        int value = 0;
        Take(row[1], base, offset, value);
        Bytes bad = good;
        bad.at(base + offset) = static_cast<uint8_t>(value);
        EXPECT_EQ(attaches(bad), row[2] == "attaches") << testing::PrintToString(row);
    }
    for (const ptrdiff_t size : {0, 17, 18, 30, static_cast<int>(good.size()) - 1})
        EXPECT_FALSE(attaches(Bytes(good.begin(), good.begin() + size))) << size << " bytes";
    std::mt19937 random(1);
    for (int k = 0; k < 10; k++) {
        Bytes bad = good;
        for (int n = 0; n < 4; n++)
            bad[18 + random() % (bad.size() - 18)] = static_cast<uint8_t>(random()); // behind the device's
        attaches(bad);
    }
    port.descriptors = good;
}

TEST_F(Usb, TheNextScannerTakesTheFirstOnesPlace) {
    Host host;
    ASSERT_EQ(host.attaches, 1);
    scanner::Scanner other{scanner::ReadEnvironment()};
    Port second(other, 2);
    ASSERT_TRUE(second.Await(true));
    WDU_ResetDevice(host.device, 2);
    ASSERT_TRUE(host.WaitForNews(2, 1));
    EXPECT_EQ(port.behaviour.claims, 3) << "claimed anew by the reset, and when opened";
    EXPECT_EQ(second.behaviour.claims, 0);
    VS_Unplug();
    ASSERT_TRUE(host.WaitForNews(3, 2));
    EXPECT_EQ(second.behaviour.claims, 1);
    EXPECT_EQ(host.Exchange({0x14}).size(), 256u);
}

size_t Threads() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<size_t>(std::distance(begin(tasks), end(tasks)));
}

TEST_F(Usb, HostsMayDoAnythingInTheirCallback) {
    const size_t threads = Threads();
    {
        std::promise<size_t> got;
        Host host(ScannerMatch(), true, [&got](Host &h) { got.set_value(h.Exchange({0x14}).size()); });
        EXPECT_EQ(got.get_future().get(), 256u) << "transfer";
    }
    EXPECT_EQ(Threads(), threads);
    {
        std::promise<void> go;
        std::atomic<bool> done{false};
        Host host(ScannerMatch(), true, [&](Host &) {
            go.get_future().wait();
            done = true;
        }); // opens though the callback does not return
        EXPECT_EQ(host.Exchange({0x14}).size(), 256u) << "a callback that blocks holds up no transfer";
        VS_Unplug();
        EXPECT_NE(host.Send({0x14}), 0u);
        go.set_value();
        host.Close();
        EXPECT_TRUE(done);
        EXPECT_EQ(Threads(), threads);
    }
    Plug(true);
    {
        std::promise<uint32_t> status;
        Host host(ScannerMatch(), true, [&status](Host &h) {
            WDU_Uninit(h.driver);
            status.set_value(h.Send({0x14}));
        });
        EXPECT_EQ(status.get_future().get(), kBadHandle) << "close";
        for (int k = 0; k < 20000 && Threads() > threads; k++)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        EXPECT_EQ(Threads(), threads);
    }
    EXPECT_EQ(Host().attaches, 1) << "and it can be opened again";
}

TEST_F(Usb, ClosingAtAnyMomentLeavesNothingBehind) {
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
        Plug(true);
    }
}

// The child has the memory of the driver and none of its threads: it must not wait for them.
TEST_F(Usb, AForkIsRefusedAndTheParentGoesOn) {
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

TEST_F(Usb, WithoutUsbTheDriverIsRefusedInOneLine) {
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
    EXPECT_THAT(said, testing::MatchesRegex("wdapi1140: USB cannot be used: [^\n]*"
                                            "or set K274_DEVICE=virtual\n"));
    EXPECT_EQ(Host().attaches, 1);
}

} // namespace
} // namespace mock
