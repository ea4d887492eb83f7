// A small host: opens the driver library and follows the wire through it.
#pragma once

#include "platform/windriver/wdapi.h"
#include "scanner/virtual_scanner.h"
#include "tests/support/system.h"
#include "wire.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>

namespace wire {

constexpr uint32_t kOut = 2, kIn = 0x81;
constexpr uint32_t kTimeout = 0x20000015, kStalled = 0xC0000004, kGone = 0xC0007000, kCanceled = 0xC0010000,
                   kBadHandle = 0x20000001, kBadPipe = 0x20000002, kFailed = 0x20000020,
                   kBadArgument = 0x80000300;

inline WDU_MATCH_TABLE ScannerMatch() { return {0xF274, 0x0274, 0, 0, 0xFF, 0xFF, 0xFF}; }

inline void SetVariable(const char *name, const std::string &value) { ::SetVariable(name, value.c_str()); }

class Host {
public:
    /// Opens the driver; `status` tells how that went. @param onAttach  done in the callback
    explicit Host(WDU_MATCH_TABLE match = ScannerMatch(), bool accepts = true,
                  std::function<void(Host &)> onAttach = {});
    ~Host() { Close(); }
    void Close();

    uint32_t Send(const Fields &fields);
    uint32_t Read(Bytes *reply, uint32_t timeoutMs = 999);
    /// Sends and reads; empty when either fails.
    Bytes Exchange(const Fields &fields);
    uint16_t Poll() { return Word(kept = Exchange(PollFields()), 6); }
    int Kind() const { return kept.size() > 4 ? kept[4] : -1; }
    /// Polls until the word has these bits.
    bool PollFor(uint16_t bits, int polls = 400);
    /// Waits until so many attaches and detaches were told.
    bool WaitForNews(int attachCount, int detachCount);

    uint32_t status = 0;
    void *driver = nullptr;
    std::atomic<void *> device{nullptr}, lastDevice{nullptr};
    uint32_t sequence = 0, transferred = 0;
    Bytes kept; // last status reply
    std::mutex mutex;
    std::condition_variable changed;
    int attaches = 0, detaches = 0;
    bool accepts = true;
    const std::function<void(Host &)> onAttach;
};

/// How a read ends of which nothing comes and that something interrupts, long before its time. On a busy
/// machine the reading thread may be late and find the driver closed already; that shows nothing, so it is
/// tried once more.
uint32_t InterruptedRead(const std::function<void(Host &)> &interrupt);

/// A scanner without a past: switched on anew, no faults, no cards, speed 0.
class ScannerTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
};

VS_Observed Observed();

} // namespace wire
