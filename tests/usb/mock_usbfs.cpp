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
#include <utility>

namespace mock {
namespace {

using Data = std::shared_ptr<UMockdevIoctlData>;

constexpr uint32_t kPiece = 16384; // of a transfer that libusb splits
constexpr size_t kSetupBytes = 8;  // at the head of a control transfer

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

/// What Linux calls the ends of a transfer, as tests name them in faults.
int ErrorOf(uint32_t status) {
    return status == 0xC0000004 ? EPIPE : status == 0xC0000012 ? EOVERFLOW : EPROTO;
}

struct Urb {
    Data data, buffer; // the client's; buffer: null when it holds nothing
    UMockdevIoctlClient *client;
    uint32_t flags, length;
    bool in, continues; // continues: the rest of a request that libusb has split
    bool met;           // its faults have been looked up, and the slot has been fed
    Bytes bytes{};      // the whole command, or what has come
    size_t offset = 0;  // where that goes in the buffer
    std::optional<VS_Fault> fault{};
    int error = 0; // how it has ended
};

} // namespace

struct Usbfs {
    using Running = std::list<Urb>::iterator;

    Usbfs(scanner::Scanner &on, Behaviour &how, Bytes given, int terminal)
        : scanner(on), behaviour(how), descriptors(std::move(given)), slave(terminal) {
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
        const Lock lock(self->scanner.mutex);
        if (self->owner == client)
            self->owner = nullptr;
        for (std::list<Urb> *urbs : {&self->running, &self->done})
            urbs->remove_if([client](const Urb &urb) { return urb.client == client; });
    }

    /// Result: 0 or an error number.
    int Answer(UMockdevIoctlClient *client, unsigned long request, UMockdevIoctlData *arg) {
        const Lock lock(scanner.mutex);
        if (request == USBDEVFS_REAPURBNDELAY)
            return Reap(arg);
        if (gone)
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
                EndAll(ENOENT);
            }
            return 0;
        case USBDEVFS_RESET:
            behaviour.resets++;
            if (behaviour.resetError != 0)
                return behaviour.resetError;
            scanner.device.State().observed.hardResets++;
            scanner.device.Reset();
            reply.reset();
            EndAll(ENOENT);
            return 0;
        case USBDEVFS_IOCTL: // the kernel's own driver, of which there is none
            return ENODATA;
        case USBDEVFS_SUBMITURB:
            return Submit(client, arg);
        case USBDEVFS_DISCARDURB:
            return Discard(arg);
        case USBDEVFS_CLEAR_HALT: {
            const auto endpoint = ValueOf<unsigned>(Resolve(arg, 0, sizeof(unsigned)).get());
            scanner.device.State().observed.pipeResets++;
            scanner.device.ClearHalt(endpoint == kInEndpoint ? scanner::Endpoint::In
                                                             : scanner::Endpoint::Out);
            return 0;
        }
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
        const bool control = from.type == USBDEVFS_URB_TYPE_CONTROL, in = from.endpoint == kInEndpoint;
        const bool continues = (from.flags & USBDEVFS_URB_BULK_CONTINUATION) != 0;
        if (!control && !in && from.endpoint != kOutEndpoint)
            return ENOENT;
        if (!control && owner != client)
            return EINVAL;
        if (in && continues && read == Read::Ended)
            return EREMOTEIO;
        const auto length = static_cast<uint32_t>(from.buffer_length);
        const Data buffer =
            length > 0 ? Resolve(data.get(), offsetof(usbdevfs_urb, buffer), length) : nullptr;
        const auto urb = running.insert(
            running.end(), {data, buffer, client, from.flags, length, in, continues, in && continues});
        if (control) {
            Describe(urb);
            return 0;
        }
        behaviour.pieces += continues;
        if (in) {
            if (!continues)
                read = Read::Going;
            else if (read == Read::Failed) // on a real bus all pieces are there before the first can fail
                End(urb, ENOENT);
        } else {
            if (!continues)
                command.clear();
            if (buffer != nullptr)
                command.insert(command.end(), buffer->data, buffer->data + length);
            if (!behaviour.scatterGather && length == kPiece)
                End(urb, 0); // more follows
            else
                urb->bytes = std::move(command);
        }
        scanner.changed.notify_all();
        return 0;
    }

    int Discard(UMockdevIoctlData *arg) {
        const auto address = ValueOf<uintptr_t>(arg);
        const auto urb = std::find_if(running.begin(), running.end(),
                                      [=](const Urb &each) { return each.data->client_addr == address; });
        if (urb == running.end())
            return EINVAL;
        End(urb, ENOENT);
        return 0;
    }

    // What the client is given is written here and nowhere else: umockdev's thread may be at work on the
    // answer to the submission still while the scanner has done its part.
    int Reap(UMockdevIoctlData *arg) {
        if (done.empty())
            return gone ? ENODEV : EAGAIN;
        Urb urb = std::move(done.front());
        done.pop_front();
        if (done.empty())
            tcflow(slave, TCOOFF);
        if (urb.in && !urb.bytes.empty())
            umockdev_ioctl_data_update(urb.buffer.get(), urb.offset, urb.bytes.data(),
                                       static_cast<gint>(urb.bytes.size()));
        const size_t count = urb.in ? urb.bytes.size() : urb.error == 0 ? urb.length : 0;
        Update(urb.data, offsetof(usbdevfs_urb, status), -urb.error);
        Update(urb.data, offsetof(usbdevfs_urb, actual_length), static_cast<int>(count));
        umockdev_ioctl_data_set_ptr(Resolve(arg, 0, sizeof(uintptr_t)).get(), 0, urb.data.get());
        return 0;
    }

    /// Endpoint 0 gives the descriptors and refuses everything else.
    void Describe(Running urb) {
        constexpr uint8_t kGetDescriptor = 6, kOfDevice = 1, kOfConfiguration = 2;
        const uint8_t *setup = urb->buffer->data;
        const auto middle = descriptors.begin() + descriptors[0];
        urb->in = true;
        if (setup[1] == kGetDescriptor && setup[3] == kOfDevice)
            urb->bytes.assign(descriptors.begin(), middle);
        else if (setup[1] == kGetDescriptor && setup[3] == kOfConfiguration)
            urb->bytes.assign(middle, descriptors.end());
        urb->bytes.resize(std::min<size_t>(urb->bytes.size(), urb->length - kSetupBytes));
        urb->offset = kSetupBytes;
        Complete(urb, urb->bytes.empty() ? EPIPE : 0);
    }

    void Complete(Running urb, int error) {
        urb->error = error;
        done.splice(done.end(), running, urb);
        tcflow(slave, TCOON);
    }

    /// A read that fails or has its last byte takes along what was to continue it.
    void End(Running urb, int error) {
        const bool last = urb->in && (error != 0 || !reply);
        const bool isShort = urb->in && urb->bytes.size() < urb->length;
        const auto next = std::next(urb);
        Complete(urb, error == 0 && isShort && (urb->flags & USBDEVFS_URB_SHORT_NOT_OK) ? EREMOTEIO : error);
        if (!last)
            return;
        const auto rest =
            std::find_if(next, running.end(), [](const Urb &each) { return each.in && each.continues; });
        if (rest != running.end())
            End(rest, ENOENT);
        read = error != 0 ? Read::Failed : Read::Ended;
    }

    void EndAll(int error) {
        while (!running.empty())
            Complete(running.begin(), error);
        read = Read::Failed;
    }

    bool Step(Lock &lock) {
        bool busy[2] = {false, false}; // those behind the first of an endpoint wait their turn
        for (auto urb = running.begin(); urb != running.end(); ++urb)
            if (!std::exchange(busy[urb->in], true) && (urb->met ? Try(urb) : Meet(lock, *urb)))
                return true;
        return false;
    }

    /// The request comes to the front of its endpoint. It may be gone when this returns.
    bool Meet(Lock &lock, Urb &urb) {
        urb.met = true;
        if (!urb.in)
            lastCommand = urb.bytes.empty() ? 0 : urb.bytes[0];
        urb.fault = scanner.MeetFault(lastCommand, urb.in ? VS_IN : VS_OUT);
        if (!urb.in)
            scanner.FeedSlot(lock);
        return true;
    }

    /// False while the request waits.
    bool Try(Running urb) {
        const std::optional<VS_Fault> &fault = urb->fault;
        int error = 0;
        switch (fault ? scanner::FateOf(*fault) : scanner::Fate::TakesPlace) {
        case scanner::Fate::Fails:
            error = ErrorOf(fault->value);
            break;
        case scanner::Fate::Unplugs:
            scanner.Unplug();
            error = ESHUTDOWN;
            break;
        case scanner::Fate::Hangs:
            if (urb->in && fault->value != 0 && urb->bytes.empty())
                Receive(*urb); // so many bytes
            return false;
        case scanner::Fate::TakesPlace:
            if (!urb->in) {
                reply.reset();
                const auto result = scanner.Command(urb->bytes.data(), urb->bytes.size(), fault);
                error = result == scanner::OutResult::Stall ? EPIPE : 0;
            } else if (const auto received = Receive(*urb)) {
                error = *received;
            } else {
                return false;
            }
        }
        End(urb, error);
        return true;
    }

    /// Takes what there is room for of the reply, as the fault leaves it. Empty while there is none; else 0
    /// or an error.
    std::optional<int> Receive(Urb &urb) {
        if (!reply) {
            Bytes whole(scanner::kMaxReplyBytes);
            size_t count = 0;
            const auto result = scanner.device.In(whole.data(), whole.size(), &count);
            if (result != scanner::InResult::Data)
                return result == scanner::InResult::Nak ? std::nullopt : std::optional(EPIPE);
            whole.resize(count);
            if (urb.fault)
                scanner::Spoil(*urb.fault, &whole);
            reply = std::move(whole);
        }
        const size_t room = urb.length, count = std::min(room, reply->size());
        if (count < reply->size() && room % scanner::kWirePacketBytes != 0) {
            reply.reset();
            return EOVERFLOW;
        }
        const auto end = reply->begin() + static_cast<ptrdiff_t>(count);
        urb.bytes.assign(reply->begin(), end);
        reply->erase(reply->begin(), end);
        if (reply->empty())
            reply.reset();
        return 0;
    }

    scanner::Scanner &scanner; // its mutex guards the rest
    Behaviour &behaviour;
    const Bytes descriptors;
    const int slave;
    UMockdevIoctlBase *const handler = umockdev_ioctl_base_new();

    bool gone = false;
    UMockdevIoctlClient *owner = nullptr; // who has claimed the interface
    std::list<Urb> running, done;
    Bytes command;              // the pieces so far of one that is being sent
    unsigned lastCommand = 0;   // the one that a reply belongs to
    std::optional<Bytes> reply; // what is left of the one that is being read
    enum class Read { Going, Ended, Failed } read = Read::Going; // the one that libusb has split
};

std::shared_ptr<Usbfs> MakeUsbfs(scanner::Scanner &scanner, Behaviour &behaviour, Bytes descriptors,
                                 int slave) {
    return std::make_shared<Usbfs>(scanner, behaviour, std::move(descriptors), slave);
}

UMockdevIoctlBase *HandlerOf(const Usbfs &usbfs) { return usbfs.handler; }

bool Step(Usbfs &usbfs, Lock &lock) { return usbfs.Step(lock); }

void Leave(Usbfs &usbfs) {
    const Lock lock(usbfs.scanner.mutex);
    usbfs.gone = true;
    usbfs.EndAll(ESHUTDOWN);
}

} // namespace mock
