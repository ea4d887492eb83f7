// Arrival and departure of scanners, and the two threads of the open driver.
#include "platform/windriver/usb/driver.h"

#include <unistd.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <system_error>

namespace wdapi {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kFirstNewsWait(500);
// Opening fails at first when the system is still at work on a device that has just come: it is tried again
// so often. After that, and after a failure that people have to cure, it is tried at leisure.
constexpr int kQuickTries = 20;
constexpr milliseconds kQuickPause(50), kSlowPause(500);
// As long as a port stays off at least, so that the host sees the scanner gone.
constexpr milliseconds kPortCycle(30);
constexpr int kEventSeconds = 60;
constexpr milliseconds kBrokenEventsPause(100);

// The scanner's handle as the host sees it: the number of its attach, so that an earlier one is known as
// such.
void *HandleOf(uintptr_t attach) { return reinterpret_cast<void *>(attach); }

int LIBUSB_CALL OnHotplug(libusb_context *, libusb_device *device, libusb_hotplug_event event, void *driver) {
    auto *self = static_cast<UsbDriver *>(driver);
    if (event == LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED)
        self->NoteArrival(device);
    else
        self->NoteDeparture(device);
    return 0;
}

[[noreturn]] void Refuse(const std::string &what) {
    throw std::runtime_error(what + "; let this system have USB (its kernel support, /sys and udev), or set "
                                    "K274_DEVICE=virtual");
}

} // namespace

UsbDriver::UsbDriver(const WDU_MATCH_TABLE *tables, uint32_t count, const WDU_EVENT_TABLE &events)
    : tables_(tables, tables + count), news_(mutex_, changed_, events) {}

void UsbDriver::Start() {
    process_ = getpid();
    libusb_context *context = nullptr;
    if (const int error = libusb_init(&context))
        Refuse(std::string("USB cannot be used: ") + libusb_strerror(error));
    context_.reset(context);
    // What matters to people is said here, in a line of our own.
    libusb_set_option(context, LIBUSB_OPTION_LOG_LEVEL, LIBUSB_LOG_LEVEL_NONE);
    if (!libusb_has_capability(LIBUSB_CAP_HAS_HOTPLUG))
        Refuse("USB devices that come and go are not told of");
    try {
        eventThread_ = std::thread([self = shared_from_this()] { self->HandleEvents(); });
        const int error = libusb_hotplug_register_callback(
            context, LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED | LIBUSB_HOTPLUG_EVENT_DEVICE_LEFT,
            LIBUSB_HOTPLUG_ENUMERATE, LIBUSB_HOTPLUG_MATCH_ANY, LIBUSB_HOTPLUG_MATCH_ANY,
            LIBUSB_HOTPLUG_MATCH_ANY, OnHotplug, this, &hotplug_);
        if (error != LIBUSB_SUCCESS)
            Refuse(std::string("USB devices cannot be watched: ") + libusb_strerror(error));
        news_.Start([self = shared_from_this()](Lock &lock) { return self->LookForNews(lock); });
    } catch (...) {
        StopEvents();
        throw;
    }
}

void UsbDriver::AwaitFirstNews() { news_.AwaitFirst(kFirstNewsWait); }

void UsbDriver::Stop() {
    if (Inherited())
        return; // the threads, the locks and the scanner are the parent's
    {
        Lock lock(mutex_);
        news_.Close();
        EndCalls(lock);
    }
    news_.Join();
    StopEvents();
}

/// Ends what uses libusb, and libusb with its own thread.
void UsbDriver::StopEvents() {
    if (hotplug_ != 0)
        libusb_hotplug_deregister_callback(context_.get(), hotplug_);
    eventsOver_ = true;
    libusb_interrupt_event_handler(context_.get());
    if (eventThread_.joinable())
        eventThread_.join();
    handle_.reset();
    attached_.reset();
    present_.clear();
    context_.reset();
}

/// A fork has this driver's memory without its threads.
bool UsbDriver::Inherited() const { return process_ != getpid(); }

void UsbDriver::HandleEvents() {
    while (!eventsOver_) {
        timeval wait{kEventSeconds, 0};
        const int error = libusb_handle_events_timeout_completed(context_.get(), &wait, nullptr);
        if (error != LIBUSB_SUCCESS && error != LIBUSB_ERROR_INTERRUPTED)
            std::this_thread::sleep_for(kBrokenEventsPause);
    }
}

UsbDriver::Present *UsbDriver::Find(const libusb_device *device) {
    const auto found = std::find_if(present_.begin(), present_.end(), [device](const Present &present) {
        return present.device.get() == device;
    });
    return found == present_.end() ? nullptr : &*found;
}

void UsbDriver::NoteArrival(libusb_device *device) {
    if (!IsWanted(device, tables_))
        return;
    const Lock lock(mutex_);
    if (Find(device) != nullptr)
        return; // a device that comes while we begin to listen is reported twice
    present_.push_back({Keep(device)});
    changed_.notify_all();
}

void UsbDriver::NoteDeparture(libusb_device *device) {
    UsbDevice left; // let go of without the lock
    const Lock lock(mutex_);
    Present *present = Find(device);
    if (present == nullptr)
        return;
    left = present->device;
    present_.erase(present_.begin() + (present - present_.data()));
    if (attached_ == left)
        lost_ = true;
    changed_.notify_all();
}

News::Look UsbDriver::LookForNews(Lock &lock) {
    if (lost_) {
        TellDetached(lock);
        return {true};
    }
    auto due = TimePoint::max();
    if (const Present *next = attached_ ? nullptr : NextCandidate(&due)) {
        TellAttached(lock, next->device);
        return {true};
    }
    return {false, !Opening(), due};
}

/// The first scanner whose time has come; else null, and when it will have.
UsbDriver::Present *UsbDriver::NextCandidate(TimePoint *due) {
    const auto now = steady_clock::now();
    for (Present &present : present_) {
        const TimePoint moment = std::max(present.due, openFrom_);
        if (present.declined)
            continue;
        if (moment <= now)
            return &present;
        *due = std::min(*due, moment);
    }
    return nullptr;
}

/// Whether a scanner that is there may be told of soon.
bool UsbDriver::Opening() const {
    return !attached_ && std::any_of(present_.begin(), present_.end(), [](const Present &present) {
        return !present.declined && !present.failed;
    });
}

void UsbDriver::TellAttached(Lock &lock, UsbDevice device) {
    UsbHandle handle;
    lock.unlock();
    const int error = OpenScanner(device, tables_, &handle, &description_);
    lock.lock();
    if (error != LIBUSB_SUCCESS) {
        NoteFailure(lock, device, error);
        return;
    }
    handle_ = std::move(handle);
    attached_ = std::move(device);
    Present *present = Find(attached_.get());
    if (news_.Closing() ||
        present == nullptr) { // it has left while it was opened, and the host never knew of it
        lost_ = false;
        Close(lock);
        return;
    }
    present->tries = present->explained = 0;
    present->failed = false;
    attaches_++; // the host may use the handle from within the callback
    if (news_.TellAttached(lock, HandleOf(attaches_), &description_.device) || news_.Closing())
        return;
    present = Find(attached_.get());
    if (present != nullptr)
        present->declined = true;
    lost_ = false;
    Close(lock);
}

void UsbDriver::NoteFailure(Lock &lock, const UsbDevice &device, int error) {
    Present *present = Find(device.get());
    if (news_.Closing() || present == nullptr)
        return;
    const bool passing = MayPass(error) && ++present->tries < kQuickTries;
    present->due =
        error == kNotAScanner ? TimePoint::max() : steady_clock::now() + (passing ? kQuickPause : kSlowPause);
    if (passing)
        return;
    present->failed = true;
    if (present->explained == error)
        return;
    present->explained = error;
    lock.unlock();
    ExplainFailure(device, error);
    lock.lock();
}

void UsbDriver::TellDetached(Lock &lock) {
    EndCalls(lock);
    if (news_.Closing())
        return;
    lost_ = false;
    Close(lock);
    if (!news_.Closing())
        news_.TellDetached(lock, HandleOf(attaches_));
}

/// Takes the handle away from the host's calls, of which none may be on its way, and closes it.
void UsbDriver::Close(Lock &lock) {
    UsbHandle handle = std::move(handle_);
    UsbDevice device = std::move(attached_);
    EndCalls(lock);
    lock.unlock();
    handle.reset();
    device.reset();
    lock.lock();
}

/// Cancels the transfers under way and waits until every call has ended.
void UsbDriver::EndCalls(Lock &lock) {
    CancelTransfers();
    changed_.wait(lock, [this] { return calls_ == 0; });
}

void UsbDriver::CancelTransfers() {
    for (libusb_transfer *transfer : running_)
        libusb_cancel_transfer(transfer);
}

/// The attached scanner is told as gone, and opened again after the time of a port cycle.
void UsbDriver::OpenAnew() {
    lost_ = true;
    openFrom_ = steady_clock::now() + kPortCycle;
    changed_.notify_all();
}

} // namespace wdapi
