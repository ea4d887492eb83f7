#include "tests/support/test_clock.h"

#include "platform/os/os.h"
#include "tests/support/transcript.h"

#include <atomic>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

namespace test_clock {

namespace {

constexpr int64_t kStart = 1'700'000'000'000;
std::atomic<int64_t> now{kStart};

constexpr uint32_t kNoneHeld = 0xFFFFFFFF; // what nobody waits for
std::mutex heldLock;
std::condition_variable released;
uint32_t held = kNoneHeld;
std::multimap<int64_t, std::function<void()>> actions; // by their time

std::function<void()> NextAction() {
    std::lock_guard guard(heldLock);
    const auto next = actions.begin();
    return next != actions.end() && next->first <= now ? actions.extract(next).mapped() : nullptr;
}

} // namespace

void Reset() {
    std::lock_guard guard(heldLock);
    now = kStart;
    actions.clear();
}

void After(int64_t milliseconds, std::function<void()> action) {
    std::lock_guard guard(heldLock);
    actions.emplace(now + milliseconds, std::move(action));
}

void Hold(uint32_t milliseconds) {
    std::lock_guard guard(heldLock);
    held = milliseconds;
}

void Release() {
    {
        std::lock_guard guard(heldLock);
        held = kNoneHeld;
    }
    released.notify_all();
}

} // namespace test_clock

namespace os {

void SleepMs(uint32_t milliseconds) {
    test_clock::now += milliseconds;
    transcript::Note("wait " + std::to_string(milliseconds));
    {
        std::unique_lock guard(test_clock::heldLock);
        test_clock::released.wait(guard, [&] { return test_clock::held != milliseconds; });
    }
    while (const auto action = test_clock::NextAction())
        action();
    std::this_thread::yield();
}

int64_t CalendarSeconds() { return test_clock::now / 1000; }

} // namespace os
