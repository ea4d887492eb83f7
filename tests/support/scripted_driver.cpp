#include "tests/support/scripted_driver.h"

#include "platform/windriver/wdapi.h"
#include "tests/support/transcript.h"

#include <algorithm>
#include <cstring>
#include <mutex>

namespace scripted {

namespace {

// Leaked, so that a late thread of the library finds it whole.
std::recursive_mutex &Lock() {
    static auto *lock = new std::recursive_mutex;
    return *lock;
}
Driver *driver = new Driver;
WDU_EVENT_TABLE events{};
int deviceObject, driverObject;
Sent last;

void NoteCall(const std::string &call) {
    std::lock_guard guard(Lock());
    driver->calls.push_back(call);
    transcript::Note(call);
}

void Follow(const WDU_EVENT_TABLE &table) {
    std::lock_guard guard(Lock());
    events = table;
}
WDU_EVENT_TABLE Followed() {
    std::lock_guard guard(Lock());
    return events;
}

} // namespace

Driver &TheDriver() { return *driver; }

void ResetDriver() {
    std::lock_guard guard(Lock());
    delete driver;
    driver = new Driver;
    events = {};
    last = {};
}

void Attach() {
    const WDU_EVENT_TABLE table = Followed();
    WDU_ALTERNATE_SETTING setting{};
    WDU_INTERFACE first{&setting};
    WDU_DEVICE info{};
    info.Descriptor.idVendor = 0xF274;
    info.Descriptor.idProduct = 0x0274;
    info.pActiveInterface[0] = &first;
    if (table.pfDeviceAttach)
        table.pfDeviceAttach(&deviceObject, &info, table.pUserData);
}

void Detach() {
    const WDU_EVENT_TABLE table = Followed();
    if (table.pfDeviceDetach)
        table.pfDeviceDetach(&deviceObject, table.pUserData);
}

std::vector<Sent> SentPackets(uint8_t code) {
    std::lock_guard guard(Lock());
    std::vector<Sent> packets;
    std::copy_if(driver->sent.begin(), driver->sent.end(), std::back_inserter(packets),
                 [&](const Sent &sent) { return sent.code == code; });
    return packets;
}

std::vector<uint8_t> Bytes(size_t count, uint8_t value) { return std::vector<uint8_t>(count, value); }

} // namespace scripted

using namespace scripted;

uint32_t WDU_Init(void **handle, WDU_MATCH_TABLE *, uint32_t, WDU_EVENT_TABLE *table, uint32_t) {
    NoteCall("WDU_Init");
    *handle = &driverObject;
    if (driver->initStatus)
        return driver->initStatus;
    Follow(*table);
    if (driver->attachOnInit)
        Attach();
    return 0;
}

void WDU_Uninit(void *) {
    NoteCall("WDU_Uninit");
    Follow({});
}

uint32_t WDU_TransferBulk(void *, uint32_t pipe, int32_t read, uint32_t, void *buffer, uint32_t size,
                          uint32_t *transferred, uint32_t timeoutMs) {
    std::lock_guard guard(Lock());
    if (pipe != (read ? 0x81u : 2u) || timeoutMs != 999)
        NoteCall("wrong pipe or time-out");
    auto *bytes = static_cast<uint8_t *>(buffer);
    Reply reply;
    if (read) {
        if (driver->onRead)
            reply = driver->onRead(last, size);
        const size_t count = std::min<size_t>(reply.bytes.size(), size);
        if (count > 0)
            std::memcpy(bytes, reply.bytes.data(), count);
        *transferred = static_cast<uint32_t>(count);
    } else {
        last = {bytes[0], std::vector<uint8_t>(bytes, bytes + size)};
        driver->sent.push_back(last);
        if (driver->onSend)
            reply = driver->onSend(last);
        *transferred = reply.status ? 0 : size;
    }
    if (reply.claim >= 0)
        *transferred = static_cast<uint32_t>(reply.claim);
    if (read)
        transcript::NoteRead(size, *transferred, reply.status);
    else
        transcript::NoteSend(last.bytes, reply.status);
    return reply.status;
}

uint32_t WDU_ResetPipe(void *, uint32_t pipe) {
    NoteCall("WDU_ResetPipe " + std::to_string(pipe));
    return 0;
}

uint32_t WDU_ResetDevice(void *, uint32_t option) {
    NoteCall("WDU_ResetDevice " + std::to_string(option));
    if (driver->resetDetaches)
        Detach();
    return 0;
}

uint32_t OsEventCreate(void **event) {
    NoteCall("OsEventCreate");
    *event = driver->eventStatus ? nullptr : new int;
    return driver->eventStatus;
}
uint32_t OsEventSignal(void *) { return 0; }
uint32_t OsEventWait(void *, int32_t) { return 0; }
void OsEventClose(void *event) {
    NoteCall("OsEventClose");
    delete static_cast<int *>(event);
}
uint32_t OsMutexCreate(void **mutex) {
    NoteCall("OsMutexCreate");
    *mutex = driver->mutexStatus ? nullptr : new std::mutex;
    return driver->mutexStatus;
}
uint32_t OsMutexLock(void *mutex) {
    static_cast<std::mutex *>(mutex)->lock();
    return 0;
}
uint32_t OsMutexUnlock(void *mutex) {
    static_cast<std::mutex *>(mutex)->unlock();
    return 0;
}
void OsMutexClose(void *mutex) {
    NoteCall("OsMutexClose");
    delete static_cast<std::mutex *>(mutex);
}
