// A small host: opens the driver library and follows the wire through it.
#pragma once

#include "platform/windriver/wdapi.h"
#include "scanner/virtual_scanner.h"
#include "wire.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace wire {

constexpr uint32_t kOut = 2, kIn = 0x81;
constexpr uint32_t kTimeout = 0x20000015, kStalled = 0xC0000004, kGone = 0xC0007000, kCanceled = 0xC0010000,
                   kBadHandle = 0x20000001, kBadPipe = 0x20000002, kFailed = 0x20000020,
                   kBadArgument = 0x80000300;

inline WDU_MATCH_TABLE ScannerMatch() { return {0xF274, 0x0274, 0, 0, 0xFF, 0xFF, 0xFF}; }

/// Sets a variable of the environment for as long as it lives; null removes it.
class Environment {
public:
    Environment(const char *name, const char *value);
    ~Environment() { Set(old_.empty() ? nullptr : old_.c_str()); }
    Environment(const Environment &) = delete;
    Environment &operator=(const Environment &) = delete;

private:
    void Set(const char *value);
    std::string name_, old_;
};

class Host {
public:
    /// Opens the driver; `status` tells how that went.
    explicit Host(WDU_MATCH_TABLE match = ScannerMatch(), bool accepts = true);
    ~Host() { Close(); }
    void Close();

    uint32_t Send(const Fields &fields);
    uint32_t Read(Bytes *reply, uint32_t capacity = scanner::kMaxReplyBytes, uint32_t timeoutMs = 999);
    /// Sends and reads; empty when either fails.
    Bytes Exchange(const Fields &fields);
    uint16_t Poll(uint8_t scanMode = 0) { return Word(kept = Exchange(PollFields(scanMode)), 6); }
    int Kind() const { return kept.size() > 4 ? kept[4] : -1; }
    std::string Event() { return Text(Exchange({0x15})); }
    void DropEvents();
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
    WDU_DEVICE info{};
    WDU_INTERFACE_DESCRIPTOR interface {};
    bool accepts = true;
};

/// A scanner without a past: switched on anew, no faults, no cards, speed 0.
class ScannerTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;
    Environment virtualScanner_{"K274_DEVICE", "virtual"};
};

VS_Observed Observed();
void Arm(uint32_t command, uint32_t direction, uint32_t action, uint32_t value = 0, uint32_t first = 1,
         uint32_t count = 1);

} // namespace wire
