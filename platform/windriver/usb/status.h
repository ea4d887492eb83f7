// libusb's results in the driver's terms.
#pragma once

#include "wire/driver.h"

#include <libusb.h>

namespace wdapi {

using namespace wire::driver;

inline uint32_t StatusOfError(int error) {
    switch (error) {
    case LIBUSB_SUCCESS:
        return kSuccess;
    case LIBUSB_ERROR_NO_DEVICE:
    case LIBUSB_ERROR_NOT_FOUND:
        return kDeviceGone;
    case LIBUSB_ERROR_TIMEOUT:
        return kTimeout;
    case LIBUSB_ERROR_PIPE:
        return kStall;
    case LIBUSB_ERROR_OVERFLOW:
        return kOverflow;
    case LIBUSB_ERROR_INTERRUPTED:
        return kCanceled;
    case LIBUSB_ERROR_INVALID_PARAM:
        return kInvalidParameter;
    case LIBUSB_ERROR_IO:
        return kTransactionError;
    default:
        return kFailed;
    }
}

inline uint32_t StatusOfTransfer(libusb_transfer_status status) {
    switch (status) {
    case LIBUSB_TRANSFER_COMPLETED:
        return kSuccess;
    case LIBUSB_TRANSFER_TIMED_OUT:
        return kTimeout;
    case LIBUSB_TRANSFER_CANCELLED:
        return kCanceled;
    case LIBUSB_TRANSFER_STALL:
        return kStall;
    case LIBUSB_TRANSFER_NO_DEVICE:
        return kDeviceGone;
    case LIBUSB_TRANSFER_OVERFLOW:
        return kOverflow;
    case LIBUSB_TRANSFER_ERROR:
        break;
    }
    return kTransactionError;
}

} // namespace wdapi
