// The test host's callbacks and exchanges.
#include "host.h"

#include <future>

namespace wire {
namespace {

int32_t Attached(void *device, WDU_DEVICE *, void *user) {
    auto *host = static_cast<Host *>(user);
    {
        const std::lock_guard<std::mutex> lock(host->mutex);
        host->device = host->lastDevice = device;
        host->attaches++;
        host->changed.notify_all();
    }
    const bool accepts = host->accepts; // what is done there may end the host
    if (host->onAttach)
        host->onAttach(*host);
    return accepts;
}

void Detached(void *device, void *user) {
    auto *host = static_cast<Host *>(user);
    const std::lock_guard<std::mutex> lock(host->mutex);
    EXPECT_EQ(device, host->lastDevice);
    host->device = nullptr;
    host->detaches++;
    host->changed.notify_all();
}

} // namespace

Host::Host(WDU_MATCH_TABLE match, bool acceptsDevice, std::function<void(Host &)> callback)
    : accepts(acceptsDevice), onAttach(std::move(callback)) {
    WDU_EVENT_TABLE events{Attached, Detached, nullptr, this};
    status = WDU_Init(&driver, &match, 1, &events, 1);
}

void Host::Close() {
    WDU_Uninit(driver);
    driver = nullptr;
}

uint32_t Host::Send(const Fields &fields) {
    Bytes packet = Packet(fields, ++sequence);
    return WDU_TransferBulk(lastDevice, kOut, 0, 0, packet.data(), static_cast<uint32_t>(packet.size()),
                            &transferred, 999);
}

uint32_t Host::Read(Bytes *reply, uint32_t timeoutMs) {
    constexpr uint32_t kRoom = scanner::kMaxReplyBytes;
    reply->assign(kRoom, 0xEE);
    const uint32_t result =
        WDU_TransferBulk(lastDevice, kIn, 1, 0, reply->data(), kRoom, &transferred, timeoutMs);
    reply->resize(std::min(transferred, kRoom));
    return result;
}

Bytes Host::Exchange(const Fields &fields) {
    Bytes reply;
    return Send(fields) != 0 || Read(&reply) != 0 ? Bytes() : reply;
}

bool Host::PollFor(uint16_t bits, int polls) {
    while (polls-- > 0 && (Poll() & bits) != bits) {
    }
    return polls >= 0;
}

bool Host::WaitForNews(int attachCount, int detachCount) {
    std::unique_lock<std::mutex> lock(mutex);
    return changed.wait_for(lock, std::chrono::seconds(20),
                            [&] { return attaches >= attachCount && detaches >= detachCount; }) &&
           attaches == attachCount && detaches == detachCount;
}

uint32_t InterruptedRead(const std::function<void(Host &)> &interrupt) {
    uint32_t status = kBadHandle;
    for (int attempt = 0; attempt < 50 && status == kBadHandle; attempt++) {
        VS_PlugIn();
        Host host;
        EXPECT_TRUE(host.WaitForNews(1, 0));
        void *const device = host.device;
        auto transfer = std::async(std::launch::async, [device] {
            Bytes buffer(40000);
            return WDU_TransferBulk(device, kIn, 1, 0, buffer.data(), 40000, nullptr, 30000);
        });
        EXPECT_EQ(transfer.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
        interrupt(host);
        status = transfer.get();
    }
    return status;
}

void ScannerTest::SetUp() {
    SetVariable("K274_DEVICE", "virtual");
    VS_ClearFaults();
    VS_SetCards(nullptr);
    VS_SetSpeed(0);
    VS_SetSeed(1);
    VS_CloseDoor();
    VS_Unplug(); // what was on its way comes out
    VS_PlugIn();
}

void ScannerTest::TearDown() {
    VS_ClearFaults();
    VS_SetCards(nullptr);
    VS_PlugIn();
    // A card that still waits in the slot goes through.
    Host host;
    for (int k = 0; VS_CardWaiting() && k < 50; k++)
        host.Poll();
    EXPECT_EQ(VS_CardWaiting(), 0);
}

VS_Observed Observed() {
    VS_Observed observed;
    VS_GetObserved(&observed);
    return observed;
}

} // namespace wire
