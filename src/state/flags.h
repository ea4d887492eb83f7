// The library's flags, options and request mailboxes: single values stored without a lock. The comment at
// each says who writes it; everyone may read.
#pragma once

#include "include/k274.h"

#include <atomic>
#include <cstdint>

namespace k274 {

/// Last-scan modes: what a scan's last pass takes. With other values it takes nothing.
constexpr int32_t kLastScanUltraviolet = 0;
constexpr int32_t kLastScanShortHires = 1;
constexpr int32_t kLastScanFullHires = 2;

struct State {
    std::atomic<K274_ScanStateCallback> callback{nullptr}; // host

    // Options of the host.
    std::atomic<uint8_t> scanMode{0};
    std::atomic<int32_t> lastScanMode{0};
    std::atomic<uint8_t> autoFwUpgrade{1};
    std::atomic<uint8_t> loginFlag{1};
    std::atomic<uint8_t> jitterCheck{0};

    // Mailboxes: posted by the host, emptied by the monitor thread. The monitor thread posts beeps, too.
    std::atomic<int32_t> ejectRequest{0};
    std::atomic<int32_t> ledRequest{0};
    std::atomic<int32_t> beepRequest{0};
    std::atomic<int32_t> guiScanRequest{0};
    std::atomic<int32_t> resendRequest{0};

    // Programming at start is held off while positive: whoever programs sets it, the monitor thread counts it
    // down.
    std::atomic<int32_t> firmwareHoldOff{0};
    // Number of the USB test's last exchange; host.
    std::atomic<int32_t> loopbackCount{0};

    // Set by K274_Clear, cleared by the monitor thread at the start of every scan.
    std::atomic<int32_t> cleared{0};

    // Monitor thread.
    std::atomic<int32_t> scanCounter{0};
    std::atomic<uint32_t> statusWord{0};
    std::atomic<int32_t> linkState{0};
    std::atomic<int32_t> irProgress{-1}; // -1 before the infrared pass, 0 during it, 1 after it
};
extern State state;

} // namespace k274
