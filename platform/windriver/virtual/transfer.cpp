// Bulk transfers between the host and the virtual scanner, and what armed faults do to them.
#include "platform/windriver/virtual/driver.h"

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

/// What comes of a transfer that a fault keeps from taking place; empty when it does take place.
std::optional<uint32_t> VirtualDriver::Prevented(Lock &lock, const void *device, const VS_Fault &fault,
                                                 TimePoint deadline) {
    switch (scanner::FateOf(fault)) {
    case scanner::Fate::TakesPlace:
        return std::nullopt;
    case scanner::Fate::Fails:
        return fault.value;
    case scanner::Fate::Unplugs:
        scanner_.Unplug();
        return kDeviceGone;
    case scanner::Fate::Hangs:
        break;
    }
    while (std::chrono::steady_clock::now() < deadline) {
        const Status status = WaitFor(lock, deadline, device);
        if (status != kSuccess)
            return status;
    }
    return kTimeout;
}

uint32_t VirtualDriver::Send(Lock &lock, const void *device, const Transfer &transfer, TimePoint deadline) {
    // Lets go of the lock when there is a card to load, so the host's handle is checked anew.
    scanner_.FeedSlot(lock);
    const Status status = Check(device);
    if (status != kSuccess)
        return status;

    lastCommand_ = transfer.size > 0 ? transfer.buffer[0] : 0;
    const auto fault = scanner_.MeetFault(lastCommand_, VS_OUT);
    if (fault) {
        if (const auto failed = Prevented(lock, device, *fault, deadline))
            return *failed;
    }
    const bool taken = scanner_.Command(transfer.buffer, transfer.size, fault) == scanner::OutResult::Ack;
    *transfer.transferred = taken ? transfer.size : 0;
    if (fault && fault->action == VS_FAULT_SHORT)
        *transfer.transferred = std::min(transfer.size, fault->value);
    if (fault && fault->action == VS_FAULT_LENGTH)
        *transfer.transferred = fault->value;
    return taken ? kSuccess : kStall;
}

uint32_t VirtualDriver::Receive(Lock &lock, const void *device, const Transfer &transfer,
                                TimePoint deadline) {
    const auto fault = scanner_.MeetFault(lastCommand_, VS_IN);
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
    whole.resize(*transfer.transferred);
    scanner::Spoil(*fault, &whole);
    std::copy(whole.begin(), whole.end(), transfer.buffer);
    *transfer.transferred = static_cast<uint32_t>(whole.size());
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
