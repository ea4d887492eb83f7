// What the host is told of the scanner, and resets.
#include "platform/windriver/virtual/driver.h"

#include <algorithm>
#include <functional>
#include <iterator>

namespace wdapi {
namespace {

constexpr uint16_t kProductId = 0x0274;
constexpr uint16_t kDefaultVendorId = 0xF274; // for a host that takes any vendor
constexpr auto kFirstNewsWait = std::chrono::milliseconds(500);

// Handles are addresses in this field. They are compared and never followed. Each attach takes the next one,
// so that a handle of an earlier attach is known as such.
char handleField[4096];
uint32_t handlesGiven = 0; // under the scanner's mutex

const void *NextHandle() { return &handleField[handlesGiven++ % std::size(handleField)]; }

bool IsOldHandle(const void *device) {
    const std::less<const void *> before;
    return !before(device, std::begin(handleField)) && before(device, std::end(handleField));
}

const WDU_MATCH_TABLE *FindMatch(const WDU_MATCH_TABLE *tables, uint32_t count) {
    const auto *found = std::find_if(tables, tables + count, [](const WDU_MATCH_TABLE &entry) {
        return entry.wProductId == kProductId && entry.bDeviceClass == 0 && entry.bDeviceSubClass == 0;
    });
    return found == tables + count ? nullptr : found;
}

} // namespace

VirtualDriver::VirtualDriver(scanner::Scanner &scanner, const WDU_MATCH_TABLE *tables, uint32_t count,
                             const WDU_EVENT_TABLE &events)
    : scanner_(scanner), news_(scanner.mutex, scanner.changed, events) {
    const WDU_MATCH_TABLE *match = FindMatch(tables, count);
    if (match == nullptr)
        return;
    matches_ = true;
    const uint16_t vendor = match->wVendorId != 0 ? match->wVendorId : kDefaultVendorId;
    // USB 2.0, packets of 64 bytes on endpoint 0, no text descriptors, one configuration.
    info_.Descriptor = {18, 1, 0x0200, 0, 0, 0, 64, vendor, kProductId, 0x0100, 0, 0, 0, 1};
    // Interface 0 with two endpoints, of the class that was asked for.
    setting_.Descriptor = {
        9, 4, 0, 0, 2, match->bInterfaceClass, match->bInterfaceSubClass, match->bInterfaceProtocol, 0};
    interface_.pActiveAltSetting = &setting_;
    info_.pActiveInterface[0] = &interface_;
}

void VirtualDriver::Start() {
    news_.Start([self = shared_from_this()](Lock &lock) { return self->LookForNews(lock); });
}

void VirtualDriver::AwaitFirstNews() { news_.AwaitFirst(kFirstNewsWait); }

void VirtualDriver::Stop() {
    {
        const Lock lock(scanner_.mutex);
        scanner_.ReturnToBus(); // nobody else would bring it back
        news_.Close();
    }
    news_.Join();
}

News::Look VirtualDriver::LookForNews(Lock &lock) {
    const auto returnsAt = scanner_.ReturnsAt();
    if (returnsAt && *returnsAt <= std::chrono::steady_clock::now())
        scanner_.ReturnToBus();
    if (matches_ && told_ != scanner_.Connection()) {
        if (told_ != 0)
            TellDetached(lock);
        else
            TellAttached(lock);
        return {true};
    }
    return {false, true, scanner_.ReturnsAt().value_or(TimePoint::max())};
}

void VirtualDriver::TellDetached(Lock &lock) {
    const bool known = accepted_;
    void *device = const_cast<void *>(handle_);
    told_ = 0;
    accepted_ = false;
    handle_ = nullptr;
    if (known)
        news_.TellDetached(lock, device);
}

void VirtualDriver::TellAttached(Lock &lock) {
    told_ = scanner_.Connection();
    handle_ = NextHandle();
    accepted_ = true; // the host may use the handle from within the callback
    const bool accepted = news_.TellAttached(lock, const_cast<void *>(handle_), &info_);
    accepted_ = accepted;
}

Status VirtualDriver::Check(const void *device) const {
    if (news_.Closing())
        return kCanceled;
    if (handle_ != nullptr && device == handle_)
        return !accepted_ ? kInvalidHandle : told_ == scanner_.Connection() ? kSuccess : kDeviceGone;
    return IsOldHandle(device) ? kDeviceGone : kInvalidHandle;
}

uint32_t VirtualDriver::ResetPipe(const void *device, uint32_t pipe) {
    Lock lock(scanner_.mutex);
    const Status status = Check(device);
    if (status != kSuccess)
        return status;
    if (pipe != kInPipe && pipe != kOutPipe)
        return kInvalidPipe;
    scanner_.device.State().observed.pipeResets++;
    scanner_.device.ClearHalt(pipe == kInPipe ? scanner::Endpoint::In : scanner::Endpoint::Out);
    scanner_.changed.notify_all();
    return kSuccess;
}

uint32_t VirtualDriver::ResetDevice(const void *device, uint32_t options) {
    Lock lock(scanner_.mutex);
    const Status status = Check(device);
    if (status != kSuccess)
        return status;
    VS_Observed &observed = scanner_.device.State().observed;
    if (options == kHardReset) {
        observed.hardResets++;
        scanner_.device.Reset();
    } else if (options == kCyclePort) {
        observed.portCycles++;
        scanner_.CyclePort();
    } else {
        return kInvalidParameter;
    }
    scanner_.changed.notify_all();
    return kSuccess;
}

} // namespace wdapi
