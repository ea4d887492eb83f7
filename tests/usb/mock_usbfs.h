// The device node of a mock USB device: answers the system calls that libusb makes of it, as Linux does, with
// the scanner on the bus behind it.
#pragma once

#include "tests/usb/bus_device.h"

#include <umockdev.h>

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <vector>

namespace mock {

/// How the system behaves, and what it was asked for. Shared with the tests.
struct Behaviour {
    std::atomic<bool> scatterGather{true}; // else libusb splits transfers into pieces of 16 KB
    std::atomic<int> claimError{0};        // claiming fails with this,
    std::atomic<int> claimFailures{0};     // so often; negative: always
    std::atomic<int> resetError{0};
    std::atomic<int> opens{0}, claims{0}, refusedClaims{0}, resets{0}, clearedHalts{0}, pieces{0};
};

class Usbfs {
public:
    /// @param slave  the terminal that stands for the node: it takes output while there is something to reap
    Usbfs(Behaviour &behaviour, int slave);
    ~Usbfs();
    Usbfs(const Usbfs &) = delete;
    Usbfs &operator=(const Usbfs &) = delete;

    /// The device behind the node; null when it has left the bus.
    void SetDevice(bus::BusDevice *device);
    UMockdevIoctlBase *Handler() const { return handler_; }

private:
    using Lock = std::unique_lock<std::mutex>;
    using Data = std::shared_ptr<UMockdevIoctlData>;
    struct Urb {
        uint64_t id;
        Data urb, buffer; // of the client's; buffer: null when it holds nothing
        UMockdevIoctlClient *client;
        uint32_t flags, length;
        bool in;
        int error = 0; // when it is done
        uint32_t count = 0;
        bus::Bytes came{};
    };

    static Data Resolve(UMockdevIoctlData *from, size_t offset, size_t size);
    static gboolean OnIoctl(UMockdevIoctlBase *, UMockdevIoctlClient *client, gpointer self);
    static void OnVanished(UMockdevIoctlBase *, UMockdevIoctlClient *client, gpointer self);
    int Answer(UMockdevIoctlClient *client, unsigned long request, UMockdevIoctlData *arg);
    int Claim(UMockdevIoctlClient *client);
    int Submit(UMockdevIoctlClient *client, UMockdevIoctlData *arg);
    int Discard(UMockdevIoctlData *arg);
    int Reap(UMockdevIoctlData *arg);
    void Finish(uint64_t id, bus::Result result);
    void Complete(std::list<Urb>::iterator urb, int error, uint32_t count);
    void CancelAll(const UMockdevIoctlClient *client);

    Behaviour &behaviour_;
    const int slave_;
    UMockdevIoctlBase *handler_;

    std::mutex mutex_; // guards the rest
    bus::BusDevice *device_ = nullptr;
    UMockdevIoctlClient *owner_ = nullptr; // who has claimed the interface
    std::list<Urb> running_, done_;
    bus::Bytes command_; // the pieces so far of one that is being sent
    enum class Read { Going, Ended, Failed } read_ = Read::Going; // the one that libusb has split
    uint64_t lastId_ = 0;
};

} // namespace mock
