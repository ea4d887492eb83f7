// What the host does with an attached scanner: bulk transfers, which it submits and waits for while the event
// thread completes them, and resets.
#include "platform/windriver/usb/driver.h"
#include "platform/windriver/usb/status.h"

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

UsbDriver::Call::Call(UsbDriver &driver, const void *device)
    : attach(reinterpret_cast<uintptr_t>(device)), driver_(driver) {
    if (driver_.Inherited()) {
        status = kInvalidHandle;
        return;
    }
    const Lock lock(driver_.mutex_);
    status = driver_.Check(attach);
    if (status != kSuccess)
        return;
    handle = driver_.handle_.get();
    driver_.calls_++;
}

UsbDriver::Call::~Call() {
    if (handle == nullptr)
        return;
    const Lock lock(driver_.mutex_);
    driver_.calls_--;
    driver_.changed_.notify_all();
}

uint32_t UsbDriver::Check(uintptr_t attach) const {
    return news_.Closing()                            ? kCanceled
           : attach == 0 || attach > attaches_        ? kInvalidHandle
           : attach != attaches_ || !handle_ || lost_ ? kDeviceGone
                                                      : kSuccess;
}

/// Waits until no reset is under way.
uint32_t UsbDriver::AwaitReset(Lock &lock, uintptr_t attach) {
    changed_.wait(lock, [&] { return !resetting_ || Check(attach) != kSuccess; });
    return Check(attach);
}

uint32_t UsbDriver::Run(const void *device, const Transfer &transfer) {
    const Call call(*this, device);
    if (call.status != kSuccess)
        return call.status;
    if (transfer.pipe != (transfer.read ? kInPipe : kOutPipe))
        return kInvalidPipe;
    if ((transfer.buffer == nullptr && transfer.size > 0) || transfer.size > INT_MAX)
        return kInvalidParameter;
    if (transfer.read && transfer.size == 0)
        return kSuccess; // room for nothing is filled at once
    const OwnedTransfer running(libusb_alloc_transfer(0), libusb_free_transfer);
    if (!running)
        return kFailed;

    Completion completion;
    libusb_fill_bulk_transfer(running.get(), call.handle, static_cast<unsigned char>(transfer.pipe),
                              transfer.buffer, static_cast<int>(transfer.size), OnComplete, &completion,
                              transfer.timeoutMs);
    {
        Lock lock(mutex_);
        if (const uint32_t status = AwaitReset(lock, call.attach))
            return status;
        running_.insert(running.get());
        if (const int error = libusb_submit_transfer(running.get())) {
            running_.erase(running.get());
            return StatusOfError(error);
        }
    }
    {
        std::unique_lock wait(completion.mutex);
        completion.changed.wait(wait, [&] { return completion.done; });
    }
    // A transfer that ran out of time may have brought a part.
    const auto count = static_cast<uint32_t>(std::max(running->actual_length, 0));
    *transfer.transferred = std::min(count, transfer.size);
    const uint32_t status = StatusOfTransfer(running->status);
    const Lock lock(mutex_);
    running_.erase(running.get());
    changed_.notify_all();
    if (status != kCanceled && status != kTransactionError)
        return status;
    const uint32_t why = Check(call.attach);
    return why == kSuccess ? status : why;
}

uint32_t UsbDriver::ResetPipe(const void *device, uint32_t pipe) {
    const Call call(*this, device);
    if (call.status != kSuccess)
        return call.status;
    if (pipe != kInPipe && pipe != kOutPipe)
        return kInvalidPipe;
    return StatusOfError(libusb_clear_halt(call.handle, static_cast<unsigned char>(pipe)));
}

uint32_t UsbDriver::ResetDevice(const void *device, uint32_t options) {
    if (options != kHardReset && options != kCyclePort)
        return kInvalidParameter;
    const Call call(*this, device);
    if (call.status != kSuccess)
        return call.status;
    {
        Lock lock(mutex_);
        if (const uint32_t status = AwaitReset(lock, call.attach))
            return status;
        // Of transfers that run into a reset the system would report an end that looks like success.
        resetting_ = true;
        if (options == kCyclePort)
            OpenAnew();
        CancelTransfers();
        changed_.wait(lock, [this] { return running_.empty(); });
    }
    const int error = libusb_reset_device(call.handle);
    const Lock lock(mutex_);
    resetting_ = false;
    // A port cannot be switched off by a program without rights: a cycled scanner is taken away from the host
    // and found again. So is one that came back from the reset as another device.
    if (options == kCyclePort || error == LIBUSB_ERROR_NOT_FOUND)
        OpenAnew();
    changed_.notify_all();
    return options == kCyclePort && error == LIBUSB_ERROR_NOT_FOUND ? uint32_t{kSuccess}
                                                                    : StatusOfError(error);
}

} // namespace wdapi
