// Status codes that the driver library returns.
#pragma once

#include <cstdint>

namespace wdapi {

enum Status : uint32_t {
    kSuccess = 0,
    kInvalidHandle = 0x20000001,
    kInvalidPipe = 0x20000002,
    kTimeout = 0x20000015,
    kFailed = 0x20000020,
    kInvalidParameter = 0x80000300,
    kStall = 0xC0000004,
    kTransactionError = 0xC0000011,
    kOverflow = 0xC0000012, // more came than there is room for
    kDeviceGone = 0xC0007000,
    kCanceled = 0xC0010000,
};

} // namespace wdapi
