// URBs of mock usbfs: submitted by libusb, run by the scanner on the bus, reaped by libusb.
#include "tests/usb/mock_usbfs.h"

#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <termios.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <list>
#include <mutex>

namespace mock {
namespace {

using Data = std::shared_ptr<UMockdevIoctlData>;

constexpr uint32_t kPiece = 16384; // of a transfer that libusb splits

template <typename Value>
Value ValueOf(const UMockdevIoctlData *data) {
    Value value{};
    std::memcpy(&value, data->data, std::min<size_t>(sizeof value, static_cast<size_t>(data->data_len)));
    return value;
}

template <typename Value>
void Update(const Data &data, size_t offset, Value value) {
    umockdev_ioctl_data_update(data.get(), offset, reinterpret_cast<guint8 *>(&value), sizeof value);
}

/// What the argument of a call points at, in the client's memory.
Data Resolve(UMockdevIoctlData *from, size_t offset, size_t size) {
    return {umockdev_ioctl_data_resolve(from, offset, size, nullptr), g_object_unref};
}

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

} // namespace

struct Usbfs {
    using Lock = std::unique_lock<std::mutex>;

    Usbfs(Behaviour &how, int terminal) : behaviour(how), slave(terminal) {
        tcflow(slave, TCOOFF);
        g_signal_connect(handler, "handle-ioctl", G_CALLBACK(OnIoctl), this);
        g_signal_connect(handler, "client-vanished", G_CALLBACK(OnVanished), this);
    }

    ~Usbfs() {
        g_signal_handlers_disconnect_by_data(handler, this);
        g_object_unref(handler);
    }

    static gboolean OnIoctl(UMockdevIoctlBase *, UMockdevIoctlClient *client, gpointer self) {
        UMockdevIoctlData *arg = umockdev_ioctl_client_get_arg(client);
        const int error =
            static_cast<Usbfs *>(self)->Answer(client, umockdev_ioctl_client_get_request(client), arg);
        umockdev_ioctl_client_complete(client, error == 0 ? 0 : -1, error);
        return TRUE;
    }

    static void OnVanished(UMockdevIoctlBase *, UMockdevIoctlClient *client, gpointer data) {
        auto *self = static_cast<Usbfs *>(data);
        const Lock lock(self->mutex);
        if (self->owner == client)
            self->owner = nullptr;
        self->CancelAll(client);
        for (std::list<Urb> *urbs : {&self->running, &self->done})
            urbs->remove_if([client](const Urb &urb) { return urb.client == client; });
    }

    /// Result: 0 or an error number.
    int Answer(UMockdevIoctlClient *client, unsigned long request, UMockdevIoctlData *arg) {
        const Lock lock(mutex);
        if (request == USBDEVFS_REAPURBNDELAY)
            return Reap(arg);
        if (device == nullptr)
            return ENODEV;
        switch (request) {
        case USBDEVFS_GET_CAPABILITIES: {
            uint32_t capabilities = USBDEVFS_CAP_ZERO_PACKET | USBDEVFS_CAP_BULK_CONTINUATION |
                                    USBDEVFS_CAP_NO_PACKET_SIZE_LIM | USBDEVFS_CAP_REAP_AFTER_DISCONNECT;
            if (behaviour.scatterGather)
                capabilities |= USBDEVFS_CAP_BULK_SCATTER_GATHER;
            Update(Resolve(arg, 0, sizeof capabilities), 0, capabilities);
            return 0;
        }
        case USBDEVFS_CLAIMINTERFACE:
        case USBDEVFS_DISCONNECT_CLAIM:
            return Claim(client);
        case USBDEVFS_RELEASEINTERFACE:
            if (owner == client) {
                owner = nullptr;
                CancelAll(client);
            }
            return 0;
        case USBDEVFS_RESET:
            behaviour.resets++;
            if (behaviour.resetError != 0)
                return behaviour.resetError;
            device->Reset();
            return 0;
        case USBDEVFS_IOCTL: // the kernel's own driver, of which there is none
            return ENODATA;
        default:
            break;
        }
        if (owner != client)
            return EINVAL;
        switch (request) {
        case USBDEVFS_SUBMITURB:
            return Submit(client, arg);
        case USBDEVFS_DISCARDURB:
            return Discard(arg);
        case USBDEVFS_CLEAR_HALT:
            device->ClearHalt(
                static_cast<uint8_t>(ValueOf<unsigned>(Resolve(arg, 0, sizeof(unsigned)).get())));
            return 0;
        default:
            return ENOTTY;
        }
    }

    int Claim(UMockdevIoctlClient *client) {
        if (behaviour.claimFailures != 0) {
            if (behaviour.claimFailures > 0)
                behaviour.claimFailures--;
            behaviour.refusedClaims++;
            return behaviour.claimError;
        }
        if (owner != nullptr && owner != client)
            return EBUSY;
        owner = client;
        behaviour.claims++;
        return 0;
    }

    int Submit(UMockdevIoctlClient *client, UMockdevIoctlData *arg) {
        const Data data = Resolve(arg, 0, sizeof(usbdevfs_urb));
        const auto from = ValueOf<usbdevfs_urb>(data.get());
        const bool in = from.endpoint == bus::kInEndpoint;
        const bool continues = (from.flags & USBDEVFS_URB_BULK_CONTINUATION) != 0;
        if (from.type != USBDEVFS_URB_TYPE_BULK || (!in && from.endpoint != bus::kOutEndpoint))
            return ENOENT;
        if (in && continues && read == Read::Ended)
            return EREMOTEIO;
        behaviour.pieces++;
        const auto length = static_cast<uint32_t>(from.buffer_length);
        const Data buffer =
            length > 0 ? Resolve(data.get(), offsetof(usbdevfs_urb, buffer), length) : nullptr;
        const uint64_t id = ++lastId;
        running.push_back({id, data, buffer, client, from.flags, length, in});
        bus::Bytes bytes(length);
        if (in && !continues)
            read = Read::Going;
        if (in && read == Read::Failed) {
            // On a real bus all pieces are there before the first one can fail, and are cancelled with it.
            Complete(std::prev(running.end()), ECONNRESET, 0);
            return 0;
        }
        if (!in) {
            if (!continues)
                command.clear();
            if (buffer != nullptr)
                command.insert(command.end(), buffer->data, buffer->data + length);
            if (!behaviour.scatterGather && length == kPiece) { // more follows
                Complete(std::prev(running.end()), 0, length);
                return 0;
            }
            bytes = std::move(command);
        }
        device->Submit(
            id, from.endpoint, std::move(bytes),
            [this, id](bus::Result result) { Finish(id, std::move(result)); }, continues);
        return 0;
    }

    int Discard(UMockdevIoctlData *arg) {
        const auto address = ValueOf<uintptr_t>(arg);
        for (const Urb &urb : running) {
            if (urb.urb->client_addr == address) {
                device->Cancel(urb.id);
                return 0;
            }
        }
        return EINVAL;
    }

    // What the client is given is written here and nowhere else: umockdev's thread may be at work on the
    // answer to the submission still while the scanner has done its part.
    int Reap(UMockdevIoctlData *arg) {
        if (done.empty())
            return device == nullptr ? ENODEV : EAGAIN;
        Urb urb = std::move(done.front());
        done.pop_front();
        if (done.empty())
            tcflow(slave, TCOOFF);
        if (!urb.came.empty() && urb.buffer != nullptr)
            umockdev_ioctl_data_update(urb.buffer.get(), 0, urb.came.data(),
                                       static_cast<gint>(urb.came.size()));
        Update(urb.urb, offsetof(usbdevfs_urb, status), -urb.error);
        Update(urb.urb, offsetof(usbdevfs_urb, actual_length), static_cast<int>(urb.count));
        umockdev_ioctl_data_set_ptr(Resolve(arg, 0, sizeof(uintptr_t)).get(), 0, urb.urb.get());
        return 0;
    }

    /// The scanner has done its part, on its thread.
    void Finish(uint64_t id, bus::Result result) {
        const Lock lock(mutex);
        const auto urb =
            std::find_if(running.begin(), running.end(), [id](const Urb &each) { return each.id == id; });
        if (urb == running.end())
            return; // its client has closed the node
        int error = result.error;
        const uint32_t count = std::min(static_cast<uint32_t>(result.data.size()), urb->length);
        if (urb->in) {
            if (error == 0 && count < urb->length && (urb->flags & USBDEVFS_URB_SHORT_NOT_OK) != 0)
                error = EREMOTEIO;
            urb->came = std::move(result.data);
            if (result.error != 0)
                read = Read::Failed;
            else if (result.end)
                read = Read::Ended;
        }
        Complete(urb, error, count);
    }

    void Complete(std::list<Urb>::iterator urb, int error, uint32_t count) {
        urb->error = error;
        urb->count = count;
        done.splice(done.end(), running, urb);
        tcflow(slave, TCOON);
    }

    void CancelAll(const UMockdevIoctlClient *client) {
        for (const Urb &urb : running)
            if (device != nullptr && urb.client == client)
                device->Cancel(urb.id);
    }

    Behaviour &behaviour;
    const int slave;
    UMockdevIoctlBase *const handler = umockdev_ioctl_base_new();

    std::mutex mutex; // guards the rest
    bus::BusDevice *device = nullptr;
    UMockdevIoctlClient *owner = nullptr; // who has claimed the interface
    std::list<Urb> running, done;
    bus::Bytes command; // the pieces so far of one that is being sent
    enum class Read { Going, Ended, Failed } read = Read::Going; // the one that libusb has split
    uint64_t lastId = 0;
};

std::shared_ptr<Usbfs> MakeUsbfs(Behaviour &behaviour, int slave) {
    return std::make_shared<Usbfs>(behaviour, slave);
}

void SetDevice(Usbfs &usbfs, bus::BusDevice *device) {
    const std::lock_guard lock(usbfs.mutex);
    usbfs.device = device;
}

UMockdevIoctlBase *HandlerOf(const Usbfs &usbfs) { return usbfs.handler; }

} // namespace mock
