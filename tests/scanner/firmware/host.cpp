// The test host's callbacks and exchanges.
#include "host.h"

#include <cstdlib>

namespace wire {
namespace {

int32_t Attached(void *device, WDU_DEVICE *info, void *user) {
    auto *host = static_cast<Host *>(user);
    const std::lock_guard<std::mutex> lock(host->mutex);
    host->device = host->lastDevice = device;
    host->info = *info;
    host->interface = info->pActiveInterface[0]->pActiveAltSetting->Descriptor;
    host->attaches++;
    host->changed.notify_all();
    return host->accepts;
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

Environment::Environment(const char *name, const char *value) : name_(name) {
    const char *old = std::getenv(name);
    old_ = old == nullptr ? "" : old;
    Set(value);
}

void Environment::Set(const char *value) {
#ifdef _WIN32
    _putenv_s(name_.c_str(), value == nullptr ? "" : value);
#else
    if (value == nullptr)
        unsetenv(name_.c_str());
    else
        setenv(name_.c_str(), value, 1);
#endif
}

Host::Host(WDU_MATCH_TABLE match, bool acceptsDevice) : accepts(acceptsDevice) {
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

uint32_t Host::Read(Bytes *reply, uint32_t capacity, uint32_t timeoutMs) {
    reply->assign(capacity, 0xEE);
    const uint32_t result =
        WDU_TransferBulk(lastDevice, kIn, 1, 0, reply->data(), capacity, &transferred, timeoutMs);
    reply->resize(std::min(transferred, capacity));
    return result;
}

Bytes Host::Exchange(const Fields &fields) {
    Bytes reply;
    if (Send(fields) != 0 || Read(&reply) != 0)
        return {};
    return reply;
}

void Host::DropEvents() {
    while (!Event().empty()) {
    }
}

bool Host::PollFor(uint16_t bits, int polls) {
    while (polls-- > 0) {
        if ((Poll() & bits) == bits)
            return true;
    }
    return false;
}

bool Host::WaitForNews(int attachCount, int detachCount) {
    std::unique_lock<std::mutex> lock(mutex);
    return changed.wait_for(lock, std::chrono::seconds(20),
                            [&] { return attaches >= attachCount && detaches >= detachCount; }) &&
           attaches == attachCount && detaches == detachCount;
}

void ScannerTest::SetUp() {
    VS_ClearFaults();
    VS_SetCards(nullptr);
    VS_SetSpeed(0);
    VS_SetSeed(1);
    VS_CloseDoor();
    VS_PlugIn();
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

void Arm(uint32_t command, uint32_t direction, uint32_t action, uint32_t value, uint32_t first,
         uint32_t count) {
    const VS_Fault fault{command, direction, first, count, action, value};
    ASSERT_EQ(VS_ArmFault(&fault), VS_OK);
}

} // namespace wire
