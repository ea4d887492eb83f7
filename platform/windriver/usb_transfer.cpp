// Bulk transfers of a real scanner: submitted by the host's thread, completed on the driver's.
#include "platform/windriver/usb_driver.h"
#include "platform/windriver/usb_status.h"

#include <algorithm>
#include <climits>

namespace wdapi {

namespace {

struct Completion {
    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;
};

void LIBUSB_CALL OnComplete(libusb_transfer *transfer) {
    auto *completion = static_cast<Completion *>(transfer->user_data);
    const std::lock_guard guard(completion->mutex);
    completion->done = true;
    completion->changed.notify_all(); // under the lock: the waiting thread takes the completion away
}

using OwnedTransfer = std::unique_ptr<libusb_transfer, decltype(&libusb_free_transfer)>;

} // namespace

uint32_t UsbDriver::Run(const void *device, const Transfer &transfer) {
    uint32_t status;
    const UsbHandle handle = Find(device, &status);
    if (!handle)
        return status;
    if (transfer.pipe != (transfer.read ? kInPipe : kOutPipe))
        return kInvalidPipe;
    if ((transfer.buffer == nullptr && transfer.size > 0) || transfer.size > INT_MAX)
        return kInvalidParameter;
    const OwnedTransfer running(libusb_alloc_transfer(0), libusb_free_transfer);
    if (!running)
        return kFailed;

    Completion completion;
    libusb_fill_bulk_transfer(running.get(), handle.get(), static_cast<unsigned char>(transfer.pipe),
                              transfer.buffer, static_cast<int>(transfer.size), OnComplete, &completion,
                              transfer.timeoutMs);
    {
        Lock lock(mutex_);
        if (closing_)
            return kCanceled;
        if (const int error = libusb_submit_transfer(running.get()))
            return StatusOfError(error);
        running_.insert(running.get());
    }
    {
        std::unique_lock wait(completion.mutex);
        completion.changed.wait(wait, [&] { return completion.done; });
    }
    {
        Lock lock(mutex_);
        running_.erase(running.get());
    }
    // A transfer that ran out of time may have brought a part.
    *transfer.transferred = static_cast<uint32_t>(std::max(running->actual_length, 0));
    return StatusOfTransfer(running->status);
}

} // namespace wdapi
