// Events and mutexes that the driver library lends its hosts. A null handle is refused; any other is taken
// for what the create function gave out.
#include "platform/windriver/wdapi.h"
#include "wire/driver.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <thread>

namespace {

/// One signal lets one waiter through and is used up by that; signals do not add up.
struct Event {
    std::mutex mutex;
    std::condition_variable changed;
    bool signalled = false;
};

/// Re-entrant. Knows its owner, so that somebody else's unlock is refused and not a catastrophe.
struct Mutex {
    std::mutex mutex;
    std::condition_variable changed;
    std::thread::id owner;
    unsigned depth = 0;
};

template <typename Object>
uint32_t Create(void **handle) {
    if (handle == nullptr)
        return wire::driver::kInvalidParameter;
    *handle = new (std::nothrow) Object;
    return *handle != nullptr ? wire::driver::kSuccess : wire::driver::kFailed;
}

} // namespace

extern "C" {

uint32_t OsEventCreate(void **event) { return Create<Event>(event); }

uint32_t OsEventSignal(void *handle) {
    if (handle == nullptr)
        return wire::driver::kInvalidHandle;
    auto *event = static_cast<Event *>(handle);
    // Notified under the lock: the waiter may close the event as soon as it is through.
    const std::lock_guard<std::mutex> lock(event->mutex);
    event->signalled = true;
    event->changed.notify_one();
    return wire::driver::kSuccess;
}

uint32_t OsEventWait(void *handle, int32_t timeoutSeconds) {
    if (handle == nullptr)
        return wire::driver::kInvalidHandle;
    auto *event = static_cast<Event *>(handle);
    std::unique_lock<std::mutex> lock(event->mutex);
    const auto signalled = [event] { return event->signalled; };
    if (timeoutSeconds < 0)
        event->changed.wait(lock, signalled);
    else if (!event->changed.wait_for(lock, std::chrono::seconds(timeoutSeconds), signalled))
        return wire::driver::kTimeout;
    event->signalled = false;
    return wire::driver::kSuccess;
}

void OsEventClose(void *event) { delete static_cast<Event *>(event); }

uint32_t OsMutexCreate(void **mutex) { return Create<Mutex>(mutex); }

uint32_t OsMutexLock(void *handle) {
    if (handle == nullptr)
        return wire::driver::kInvalidHandle;
    auto *mutex = static_cast<Mutex *>(handle);
    const auto self = std::this_thread::get_id();
    std::unique_lock<std::mutex> lock(mutex->mutex);
    mutex->changed.wait(lock, [mutex, self] { return mutex->depth == 0 || mutex->owner == self; });
    mutex->owner = self;
    mutex->depth++;
    return wire::driver::kSuccess;
}

uint32_t OsMutexUnlock(void *handle) {
    if (handle == nullptr)
        return wire::driver::kInvalidHandle;
    auto *mutex = static_cast<Mutex *>(handle);
    const std::lock_guard<std::mutex> lock(mutex->mutex);
    if (mutex->depth == 0 || mutex->owner != std::this_thread::get_id())
        return wire::driver::kFailed;
    if (--mutex->depth == 0)
        mutex->changed.notify_one();
    return wire::driver::kSuccess;
}

void OsMutexClose(void *mutex) { delete static_cast<Mutex *>(mutex); }

} // extern "C"
