// The driver between host and cable: its two pipes and the statuses that it returns.
#pragma once

#include <cstdint>

namespace wire {

constexpr uint32_t kOutPipe = 0x02, kInPipe = 0x81;

namespace driver {

enum Status : uint32_t {
    kSuccess = 0,
    kInvalidHandle = 0x20000001,
    kInvalidPipe = 0x20000002,
    kTimeout = 0x20000015,
    kFailed = 0x20000020,
    kInvalidParameter = 0x80000300,
    kInvalidPipeHandle = 0x80000600,
    kStall = 0xC0000004,
    kTransactionError = 0xC0000011,
    kOverflow = 0xC0000012, // more came than there is room for
    kDeviceGone = 0xC0007000,
    kCanceled = 0xC0010000,
};

// Options of a device reset.
constexpr uint32_t kHardReset = 1, kCyclePort = 2;

/// Either name may be missing: such a status is shown by its digits.
struct NamedStatus {
    uint32_t status;
    const char *symbol; // the driver's own, as logs have it
    const char *text;   // for people
};
constexpr NamedStatus kStatuses[] = {
    {kSuccess, "WD_STATUS_SUCCESS", "done"},
    {kInvalidHandle, nullptr, "invalid handle"},
    {kInvalidPipe, "WD_INVALID_PIPE_NUMBER", "invalid pipe"},
    {kTimeout, "TIMEOUT_EXPIRED", "timed out"},
    {kFailed, "WD_OPERATION_FAILED", "failed"},
    {kInvalidParameter, "WD_USBD_STATUS_INVALID_PARAMETER", "invalid parameter"},
    {kInvalidPipeHandle, "WD_USBD_STA_INV_PIPE_HANDLE", nullptr},
    {kStall, nullptr, "stalled"},
    {kTransactionError, "USBD_STATUS_XACT_ERROR", "transaction error"},
    {kOverflow, "USBD_STATUS_BABBLE_DETECTED", "overflow"},
    {kDeviceGone, "USBD_STATUS_DEVICE_GONE", "device gone"},
    {kCanceled, "USBD_STATUS_CANCELED", "cancelled"},
};

/// The names of a status; both null for one that has none.
inline NamedStatus NamesOf(uint32_t status) {
    for (const NamedStatus &known : kStatuses) {
        if (known.status == status)
            return known;
    }
    return {status, nullptr, nullptr};
}

} // namespace driver

} // namespace wire
