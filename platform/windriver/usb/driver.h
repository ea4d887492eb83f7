// A real scanner on a USB port, by way of libusb. One thread handles the events of the bus; another opens
// scanners and calls the host, so that a host which blocks in its callback, or transfers from within it,
// holds up nobody's transfers. The host's threads submit transfers and wait for them.
#pragma once

#include "platform/windriver/usb/scanner.h"

#include "platform/windriver/base/backend.h"
#include "platform/windriver/base/news.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace wdapi {

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
    using Lock = News::Lock;
    using TimePoint = News::TimePoint;

    /// A scanner that is plugged in.
    struct Present {
        UsbDevice device;
        TimePoint due{};       // when opening it is tried next
        int tries = 0;         // so far
        bool failed = false;   // and no longer expected to work at once
        int explained = 0;     // the failure that people have been told of
        bool declined = false; // the host does not want it
    };

    /// A call of the host on its way: the handle stays open until it ends.
    class Call {
    public:
        Call(UsbDriver &driver, const void *device);
        ~Call();
        Call(const Call &) = delete;
        Call &operator=(const Call &) = delete;

        uint32_t status = 0; // kSuccess, or why there is nothing to call
        uintptr_t attach = 0;
        libusb_device_handle *handle = nullptr;

    private:
        UsbDriver &driver_;
    };

    void HandleEvents();
    News::Look LookForNews(Lock &lock);
    void TellAttached(Lock &lock, UsbDevice device);
    void TellDetached(Lock &lock);
    Present *NextCandidate(TimePoint *due);
    Present *Find(const libusb_device *device);
    void NoteFailure(Lock &lock, const UsbDevice &device, int error);
    bool Opening() const;
    void EndCalls(Lock &lock);
    void CancelTransfers();
    void Close(Lock &lock);
    void OpenAnew();
    uint32_t Check(uintptr_t attach) const;
    uint32_t AwaitReset(Lock &lock, uintptr_t attach);
    bool Inherited() const;
    void StopEvents();

    const MatchTables tables_;
    int process_ = 0; // the one that has the threads
    UsbContext context_;
    int hotplug_ = 0;
    std::thread eventThread_;
    std::atomic<bool> eventsOver_{false};
    UsbDescription description_; // of the attached scanner; the driver's thread alone

    // Guards the rest. Not held while a handle is opened or closed or the host is called: libusb calls
    // NoteArrival while it handles events, and closing waits for these to be handled.
    std::mutex mutex_;
    std::condition_variable changed_;
    News news_;
    std::vector<Present> present_; // in the order of their arrival
    UsbDevice attached_;           // the one that the host knows of
    UsbHandle handle_;             // open as long as it is attached
    bool lost_ = false;            // it has left, and the host has not been told
    bool resetting_ = false;
    TimePoint openFrom_{};   // nothing is opened before: the port is being cycled
    uintptr_t attaches_ = 0; // so far
    int calls_ = 0;          // on their way
    std::set<libusb_transfer *> running_;
};

} // namespace wdapi
