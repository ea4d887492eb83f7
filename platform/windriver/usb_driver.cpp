// Arrival and departure of the scanner on the bus, and the thread that handles them.
#include "platform/windriver/usb_driver.h"

#include "platform/windriver/usb_status.h"

#include <libusb.h>

#include <chrono>
#include <cstdio>
#include <stdexcept>

namespace wdapi {

namespace {

constexpr auto kFirstNewsWait = std::chrono::milliseconds(500);
// An arrival is told before the system has given the device its configuration: claiming is tried again so
// long.
constexpr int kClaimTries = 40;
constexpr auto kClaimPause = std::chrono::milliseconds(50);
constexpr int kInterface = 0;

// The scanner's handle as the host sees it: the number of its attach, so that an earlier one is known as
// such.
const void *HandleOf(uint32_t attach) {
    return reinterpret_cast<const void *>(static_cast<uintptr_t>(attach));
}

UsbDevice Keep(libusb_device *device) { return UsbDevice(libusb_ref_device(device), libusb_unref_device); }

bool SamePlace(const UsbDevice &one, const UsbDevice &other) {
    return libusb_get_bus_number(one.get()) == libusb_get_bus_number(other.get()) &&
           libusb_get_device_address(one.get()) == libusb_get_device_address(other.get());
}

void Complain(const UsbDevice &device, const char *what) {
    std::fprintf(stderr, "wdapi1140: the scanner on bus %d, device %d %s\n",
                 libusb_get_bus_number(device.get()), libusb_get_device_address(device.get()), what);
}

// One line that names the cure.
void ExplainFailure(const UsbDevice &device, int error) {
    switch (error) {
    case LIBUSB_ERROR_ACCESS:
        Complain(device,
                 "may not be opened by this user; install the udev rule 60-k274.rules and plug it in again");
        break;
    case LIBUSB_ERROR_BUSY:
        Complain(device, "is in use by another program; close that one and plug it in again");
        break;
    case LIBUSB_ERROR_NOT_SUPPORTED:
    case LIBUSB_ERROR_NOT_FOUND:
        Complain(device, "has no interface that can be used; its driver is missing or another one holds it");
        break;
    case LIBUSB_ERROR_NO_DEVICE: // gone again already
        break;
    default:
        Complain(device, libusb_error_name(error));
        break;
    }
}

int LIBUSB_CALL OnHotplug(libusb_context *, libusb_device *device, libusb_hotplug_event event, void *driver) {
    auto *self = static_cast<UsbDriver *>(driver);
    if (event == LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED)
        self->NoteArrival(device);
    else
        self->NoteDeparture(device);
    return 0;
}

} // namespace

UsbDriver::UsbDriver(const WDU_MATCH_TABLE *tables, uint32_t count, const WDU_EVENT_TABLE &events)
    : events_(events) {
    if (count > 0)
        match_ = tables[0];
}

void UsbDriver::Start() {
    libusb_context *context = nullptr;
    if (const int error = libusb_init(&context))
        throw std::runtime_error(std::string("USB cannot be used: ") + libusb_error_name(error));
    context_ = UsbContext(context, libusb_exit);
    if (!libusb_has_capability(LIBUSB_CAP_HAS_HOTPLUG))
        throw std::runtime_error("this system does not tell of USB devices that come and go");
    const int vendor = match_.wVendorId ? match_.wVendorId : LIBUSB_HOTPLUG_MATCH_ANY;
    const int error = libusb_hotplug_register_callback(
        context, LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED | LIBUSB_HOTPLUG_EVENT_DEVICE_LEFT,
        LIBUSB_HOTPLUG_ENUMERATE, vendor, match_.wProductId, LIBUSB_HOTPLUG_MATCH_ANY, OnHotplug, this,
        &hotplug_);
    if (error != LIBUSB_SUCCESS)
        throw std::runtime_error(std::string("USB devices cannot be watched: ") + libusb_error_name(error));
    thread_ = std::thread([self = shared_from_this()] { self->Deliver(); });
}

void UsbDriver::AwaitFirstNews() {
    Lock lock(mutex_);
    changed_.wait_for(lock, kFirstNewsWait, [this] { return newsTold_ || closing_; });
}

void UsbDriver::Stop() {
    {
        Lock lock(mutex_);
        closing_ = true;
        for (libusb_transfer *transfer : running_)
            libusb_cancel_transfer(transfer);
        changed_.notify_all();
    }
    libusb_hotplug_deregister_callback(context_.get(), hotplug_);
    libusb_interrupt_event_handler(context_.get());
    if (thread_.get_id() == std::this_thread::get_id())
        thread_.detach(); // a host that closes from within a callback: the thread ends after that
    else
        thread_.join();
}

void UsbDriver::NoteArrival(libusb_device *device) { Note(Keep(device), true); }
void UsbDriver::NoteDeparture(libusb_device *device) { Note(Keep(device), false); }

void UsbDriver::Note(const UsbDevice &device, bool arrived) {
    Lock lock(mutex_);
    news_.push_back({device, arrived});
}

// Transfers under way need the events until their end, also while the driver is closing.
void UsbDriver::Deliver() {
    for (;;) {
        News news;
        {
            Lock lock(mutex_);
            if (closing_ && running_.empty())
                break;
            if (!news_.empty() && !closing_) {
                news = news_.front();
                news_.pop_front();
            } else if (!newsTold_) {
                newsTold_ = true;
                changed_.notify_all();
            }
        }
        if (news.device) {
            Handle(news);
            continue;
        }
        timeval wait{0, 100'000};
        libusb_handle_events_timeout_completed(context_.get(), &wait, nullptr);
    }
    Lock lock(mutex_);
    handle_.reset();
    attached_.reset();
    news_.clear();
}

void UsbDriver::Handle(const News &news) {
    UsbDevice attached;
    {
        Lock lock(mutex_);
        attached = attached_;
    }
    // A device may be reported as arrived twice. Of several scanners the first one counts.
    if (news.arrived && !attached)
        Attach(news.device);
    else if (!news.arrived && attached && SamePlace(news.device, attached))
        Detach(attached);
}

UsbHandle UsbDriver::Claim(const UsbDevice &device) {
    libusb_device_handle *opened = nullptr;
    if (const int error = libusb_open(device.get(), &opened)) {
        ExplainFailure(device, error);
        return nullptr;
    }
    // The context must outlive its handles.
    UsbHandle handle(opened, [context = context_](libusb_device_handle *open) {
        libusb_release_interface(open, kInterface);
        libusb_close(open);
    });
    libusb_set_auto_detach_kernel_driver(opened, 1);
    int error = LIBUSB_SUCCESS;
    for (int i = 0; i < kClaimTries; ++i) {
        error = libusb_claim_interface(opened, kInterface);
        if (error != LIBUSB_ERROR_INVALID_PARAM)
            break;
        std::this_thread::sleep_for(kClaimPause);
    }
    if (error == LIBUSB_SUCCESS)
        return handle;
    ExplainFailure(device, error);
    return nullptr;
}

bool UsbDriver::Describe(const UsbDevice &device) {
    libusb_device_descriptor from{};
    if (libusb_get_device_descriptor(device.get(), &from) != LIBUSB_SUCCESS)
        return false;
    info_ = {};
    info_.Descriptor = {from.bLength,         from.bDescriptorType,   from.bcdUSB,          from.bDeviceClass,
                        from.bDeviceSubClass, from.bDeviceProtocol,   from.bMaxPacketSize0, from.idVendor,
                        from.idProduct,       from.bcdDevice,         from.iManufacturer,   from.iProduct,
                        from.iSerialNumber,   from.bNumConfigurations};
    libusb_config_descriptor *config = nullptr;
    if (libusb_get_active_config_descriptor(device.get(), &config) != LIBUSB_SUCCESS)
        return false;
    const std::unique_ptr<libusb_config_descriptor, decltype(&libusb_free_config_descriptor)> owner(
        config, libusb_free_config_descriptor);
    if (config->bNumInterfaces == 0 || config->interface[0].num_altsetting == 0)
        return false;
    const libusb_interface_descriptor &setting = config->interface[0].altsetting[0];
    setting_.Descriptor = {setting.bLength,
                           setting.bDescriptorType,
                           setting.bInterfaceNumber,
                           setting.bAlternateSetting,
                           setting.bNumEndpoints,
                           setting.bInterfaceClass,
                           setting.bInterfaceSubClass,
                           setting.bInterfaceProtocol,
                           setting.iInterface};
    interface_.pActiveAltSetting = &setting_;
    info_.pActiveInterface[0] = &interface_;
    return true;
}

void UsbDriver::Attach(const UsbDevice &device) {
    UsbHandle handle = Claim(device);
    if (!handle)
        return;
    if (!Describe(device)) {
        Complain(device, "cannot be read; plug it in again");
        return;
    }
    const void *told;
    {
        Lock lock(mutex_);
        attached_ = device;
        handle_ = handle; // the host may use it from within the callback
        told = HandleOf(++attaches_);
    }
    if (!events_.pfDeviceAttach ||
        events_.pfDeviceAttach(const_cast<void *>(told), &info_, events_.pUserData) != 0)
        return;
    Lock lock(mutex_);
    handle_.reset(); // the host does not want it
}

void UsbDriver::Detach(const UsbDevice &) {
    const void *told;
    bool known;
    {
        Lock lock(mutex_);
        known = handle_ != nullptr;
        told = HandleOf(attaches_);
        handle_.reset();
        attached_.reset();
    }
    if (known && events_.pfDeviceDetach)
        events_.pfDeviceDetach(const_cast<void *>(told), events_.pUserData);
}

UsbHandle UsbDriver::Find(const void *device, uint32_t *status) {
    Lock lock(mutex_);
    const auto attach = reinterpret_cast<uintptr_t>(device);
    *status = closing_                            ? kCanceled
              : attach == 0 || attach > attaches_ ? kInvalidHandle
              : attach != attaches_ || !handle_   ? kDeviceGone
                                                  : kSuccess;
    return *status == kSuccess ? handle_ : nullptr;
}

uint32_t UsbDriver::ResetPipe(const void *device, uint32_t pipe) {
    uint32_t status;
    const UsbHandle handle = Find(device, &status);
    if (!handle)
        return status;
    if (pipe != kInPipe && pipe != kOutPipe)
        return kInvalidPipe;
    return StatusOfError(libusb_clear_halt(handle.get(), static_cast<unsigned char>(pipe)));
}

uint32_t UsbDriver::ResetDevice(const void *device, uint32_t options) {
    if (options != kHardReset && options != kCyclePort)
        return kInvalidParameter;
    uint32_t status;
    const UsbHandle handle = Find(device, &status);
    if (!handle)
        return status;
    const int error = libusb_reset_device(handle.get());
    // A port cannot be switched off by a program without rights: a cycled scanner is taken away from the host
    // and found again. So is one that came back from the reset as another device.
    if (options == kCyclePort || error == LIBUSB_ERROR_NOT_FOUND) {
        const UsbDevice place = Keep(libusb_get_device(handle.get()));
        Note(place, false);
        Note(place, true);
        libusb_interrupt_event_handler(context_.get());
        return kSuccess;
    }
    return StatusOfError(error);
}

} // namespace wdapi
