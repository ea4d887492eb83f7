// Bulk transfers between the host and the virtual scanner, and what armed faults do to them.
#include "platform/windriver/virtual_driver.h"

#include <algorithm>
#include <vector>

namespace wdapi {

uint32_t VirtualDriver::Run(const void *device, const Transfer &transfer) {
    const TimePoint deadline = transfer.timeoutMs == 0 ? TimePoint::max()
                                                       : std::chrono::steady_clock::now() +
                                                             std::chrono::milliseconds(transfer.timeoutMs);
    Lock lock(scanner_.mutex);
    const Status status = Check(device);
    if (status != kSuccess)
        return status;
    if (transfer.pipe != (transfer.read ? kInPipe : kOutPipe))
        return kInvalidPipe;
    if (transfer.buffer == nullptr && transfer.size > 0)
        return kInvalidParameter;
    return transfer.read ? Receive(lock, device, transfer, deadline) : Send(lock, device, transfer, deadline);
}

/// Waits for a change, at most until the moment. Fails when the transfer cannot go on.
Status VirtualDriver::WaitFor(Lock &lock, TimePoint moment, const void *device) {
    if (moment == TimePoint::max())
        scanner_.changed.wait(lock);
    else
        scanner_.changed.wait_until(lock, moment);
    return Check(device);
}

/// Lets those faults happen that keep a transfer from taking place. Empty when it does take place.
std::optional<uint32_t> VirtualDriver::Prevented(Lock &lock, const void *device, const VS_Fault &fault,
                                                 TimePoint deadline) {
    scanner_.log.Line("fault %u, value %u, on a transfer %s of command 0x%02X", fault.action, fault.value,
                      fault.direction == VS_OUT ? "out" : "in", lastCommand_);
    switch (fault.action) {
    case VS_FAULT_STATUS:
        return fault.value;
    case VS_FAULT_UNPLUG:
        scanner_.Unplug();
        return kDeviceGone;
    case VS_FAULT_STALL:
        while (std::chrono::steady_clock::now() < deadline) {
            const Status status = WaitFor(lock, deadline, device);
            if (status != kSuccess)
                return status;
        }
        return kTimeout;
    default:
        return std::nullopt;
    }
}

uint32_t VirtualDriver::Send(Lock &lock, const void *device, const Transfer &transfer, TimePoint deadline) {
    // Lets go of the lock when there is a card to load, so the host's handle is checked anew.
    scanner_.FeedSlot(lock);
    const Status status = Check(device);
    if (status != kSuccess)
        return status;

    lastCommand_ = transfer.size > 0 ? transfer.buffer[0] : 0;
    const auto fault = scanner_.faults.Next(lastCommand_, VS_OUT);
    const uint8_t *bytes = transfer.buffer;
    uint32_t size = transfer.size;
    std::vector<uint8_t> noise;
    if (fault) {
        if (const auto failed = Prevented(lock, device, *fault, deadline))
            return *failed;
        if (fault->action == VS_FAULT_SHORT) {
            size = std::min(size, fault->value);
        } else if (fault->action == VS_FAULT_GARBAGE) {
            noise.resize(size);
            scanner::FillWithNoise(fault->value, noise.data(), size);
            bytes = noise.data();
        }
    }
    const bool taken = scanner_.device.Out(bytes, size) == scanner::OutResult::Ack;
    scanner_.changed.notify_all(); // somebody may be waiting for the reply already
    *transfer.transferred = taken ? size : 0;
    if (fault && fault->action == VS_FAULT_LENGTH)
        *transfer.transferred = fault->value;
    if (fault && fault->action == VS_FAULT_SHORT) {
        *transfer.transferred =
            size; // the driver sees no fault in it, whatever the scanner makes of the rest
        return kSuccess;
    }
    return taken ? kSuccess : kStall;
}

uint32_t VirtualDriver::Receive(Lock &lock, const void *device, const Transfer &transfer,
                                TimePoint deadline) {
    const auto fault = scanner_.faults.Next(lastCommand_, VS_IN);
    if (!fault)
        return Fetch(lock, device, transfer, deadline);
    if (const auto failed = Prevented(lock, device, *fault, deadline))
        return *failed;
    if (fault->action == VS_FAULT_LENGTH) {
        const uint32_t status = Fetch(lock, device, transfer, deadline);
        if (status == kSuccess)
            *transfer.transferred = fault->value;
        return status;
    }

    // The host's buffer sees only what the fault lets through.
    std::vector<uint8_t> whole(std::min<size_t>(transfer.size, scanner::kMaxReplyBytes));
    Transfer aside = transfer;
    aside.buffer = whole.data();
    aside.size = static_cast<uint32_t>(whole.size());
    const uint32_t status = Fetch(lock, device, aside, deadline);
    uint32_t count = *transfer.transferred;
    if (fault->action == VS_FAULT_SHORT)
        count = std::min(count, fault->value);
    else
        scanner::FillWithNoise(fault->value, whole.data(), count);
    std::copy_n(whole.begin(), count, transfer.buffer);
    *transfer.transferred = count;
    return status;
}

/// Waits for the reply and takes it.
uint32_t VirtualDriver::Fetch(Lock &lock, const void *device, const Transfer &transfer, TimePoint deadline) {
    while (transfer.size > 0) {
        size_t count = 0;
        const scanner::InResult result = scanner_.device.In(transfer.buffer, transfer.size, &count);
        *transfer.transferred = static_cast<uint32_t>(count);
        switch (result) {
        case scanner::InResult::Data:
            return kSuccess;
        case scanner::InResult::Stall:
            return kStall;
        case scanner::InResult::Overflow:
            return kOverflow;
        case scanner::InResult::Nak:
            break;
        }
        if (std::chrono::steady_clock::now() >= deadline)
            return kTimeout;
        const Status status = WaitFor(lock, std::min(deadline, scanner_.device.NextMoment()), device);
        if (status != kSuccess)
            return status;
    }
    return kSuccess; // room for nothing is filled at once
}

} // namespace wdapi
