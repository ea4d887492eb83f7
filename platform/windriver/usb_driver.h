// A real scanner on a USB port, by way of libusb. One thread handles the events of the bus and tells the
// host; the host's threads submit transfers and wait for them.
#pragma once

#include "platform/windriver/backend.h"

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <set>
#include <thread>

struct libusb_context;
struct libusb_device;
struct libusb_device_handle;
struct libusb_transfer;

namespace wdapi {

/// Library context and open device; each lives as long as anything uses it.
using UsbContext = std::shared_ptr<libusb_context>;
using UsbDevice = std::shared_ptr<libusb_device>;
using UsbHandle = std::shared_ptr<libusb_device_handle>;

class UsbDriver : public Backend, public std::enable_shared_from_this<UsbDriver> {
public:
    UsbDriver(const WDU_MATCH_TABLE *tables, uint32_t count, const WDU_EVENT_TABLE &events);

    void Start() override;
    void AwaitFirstNews() override;
    void Stop() override;
    uint32_t Run(const void *device, const Transfer &transfer) override;
    uint32_t ResetPipe(const void *device, uint32_t pipe) override;
    uint32_t ResetDevice(const void *device, uint32_t options) override;

    /// News of the bus, from libusb's callback: noted, and handled on the driver's thread.
    void NoteArrival(libusb_device *device);
    void NoteDeparture(libusb_device *device);

private:
    using Lock = std::unique_lock<std::mutex>;

    struct News {
        UsbDevice device;
        bool arrived;
    };

    void Deliver();
    void Handle(const News &news);
    void Attach(const UsbDevice &device);
    void Detach(const UsbDevice &device);
    UsbHandle Claim(const UsbDevice &device);
    bool Describe(const UsbDevice &device);
    UsbHandle Find(const void *device, uint32_t *status);
    void Note(const UsbDevice &device, bool arrived);

    WDU_MATCH_TABLE match_{};
    const WDU_EVENT_TABLE events_;
    UsbContext context_;
    int hotplug_ = 0;
    std::thread thread_;

    // The attached device as the host sees it; the driver's thread alone.
    WDU_ALTERNATE_SETTING setting_{};
    WDU_INTERFACE interface_{};
    WDU_DEVICE info_{};

    std::mutex mutex_; // guards the rest
    std::condition_variable changed_;
    bool closing_ = false, newsTold_ = false;
    std::deque<News> news_;
    UsbDevice attached_; // null: no scanner
    UsbHandle handle_;   // set while the host knows of it
    uint32_t attaches_ = 0;
    std::set<libusb_transfer *> running_;
};

} // namespace wdapi
