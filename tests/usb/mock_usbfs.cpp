// URBs of mock usbfs: submitted by libusb, run by the scanner on the bus, reaped by libusb.
#include "tests/usb/mock_usbfs.h"

#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <termios.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

namespace mock {
namespace {

constexpr uint32_t kPiece = 16384; // of a transfer that libusb splits

template <typename Value>
Value ValueOf(const UMockdevIoctlData *data) {
    Value value{};
    std::memcpy(&value, data->data, std::min<size_t>(sizeof value, static_cast<size_t>(data->data_len)));
    return value;
}

template <typename Value>
void Update(const std::shared_ptr<UMockdevIoctlData> &data, size_t offset, Value value) {
    umockdev_ioctl_data_update(data.get(), offset, reinterpret_cast<guint8 *>(&value), sizeof value);
}

} // namespace

/// What the argument of a call points at, in the client's memory.
Usbfs::Data Usbfs::Resolve(UMockdevIoctlData *from, size_t offset, size_t size) {
    return {umockdev_ioctl_data_resolve(from, offset, size, nullptr), g_object_unref};
}

Usbfs::Usbfs(Behaviour &behaviour, int slave)
    : behaviour_(behaviour), slave_(slave), handler_(umockdev_ioctl_base_new()) {
    tcflow(slave_, TCOOFF);
    g_signal_connect(handler_, "handle-ioctl", G_CALLBACK(OnIoctl), this);
    g_signal_connect(handler_, "client-vanished", G_CALLBACK(OnVanished), this);
}

Usbfs::~Usbfs() {
    g_signal_handlers_disconnect_by_data(handler_, this);
    g_object_unref(handler_);
}

void Usbfs::SetDevice(bus::BusDevice *device) {
    const Lock lock(mutex_);
    device_ = device;
}

gboolean Usbfs::OnIoctl(UMockdevIoctlBase *, UMockdevIoctlClient *client, gpointer self) {
    UMockdevIoctlData *arg = umockdev_ioctl_client_get_arg(client);
    const int error =
        static_cast<Usbfs *>(self)->Answer(client, umockdev_ioctl_client_get_request(client), arg);
    umockdev_ioctl_client_complete(client, error == 0 ? 0 : -1, error);
    return TRUE;
}

void Usbfs::OnVanished(UMockdevIoctlBase *, UMockdevIoctlClient *client, gpointer data) {
    auto *self = static_cast<Usbfs *>(data);
    const Lock lock(self->mutex_);
    if (self->owner_ == client)
        self->owner_ = nullptr;
    self->CancelAll(client);
    for (std::list<Urb> *urbs : {&self->running_, &self->done_})
        urbs->remove_if([client](const Urb &urb) { return urb.client == client; });
}

/// Result: 0 or an error number.
int Usbfs::Answer(UMockdevIoctlClient *client, unsigned long request, UMockdevIoctlData *arg) {
    const Lock lock(mutex_);
    if (request == USBDEVFS_REAPURBNDELAY)
        return Reap(arg);
    if (device_ == nullptr)
        return ENODEV;
    switch (request) {
    case USBDEVFS_GET_CAPABILITIES: {
        behaviour_.opens++;
        uint32_t capabilities = USBDEVFS_CAP_ZERO_PACKET | USBDEVFS_CAP_BULK_CONTINUATION |
                                USBDEVFS_CAP_NO_PACKET_SIZE_LIM | USBDEVFS_CAP_REAP_AFTER_DISCONNECT;
        if (behaviour_.scatterGather)
            capabilities |= USBDEVFS_CAP_BULK_SCATTER_GATHER;
        Update(Resolve(arg, 0, sizeof capabilities), 0, capabilities);
        return 0;
    }
    case USBDEVFS_CLAIMINTERFACE:
    case USBDEVFS_DISCONNECT_CLAIM:
        return Claim(client);
    case USBDEVFS_RELEASEINTERFACE:
        if (owner_ == client) {
            owner_ = nullptr;
            CancelAll(client);
        }
        return 0;
    case USBDEVFS_RESET:
        behaviour_.resets++;
        if (behaviour_.resetError != 0)
            return behaviour_.resetError;
        device_->Reset();
        return 0;
    case USBDEVFS_IOCTL: // the kernel's own driver, of which there is none
        return ENODATA;
    default:
        break;
    }
    if (owner_ != client)
        return EINVAL;
    switch (request) {
    case USBDEVFS_SUBMITURB:
        return Submit(client, arg);
    case USBDEVFS_DISCARDURB:
        return Discard(arg);
    case USBDEVFS_CLEAR_HALT:
        device_->ClearHalt(static_cast<uint8_t>(ValueOf<unsigned>(Resolve(arg, 0, sizeof(unsigned)).get())));
        behaviour_.clearedHalts++;
        return 0;
    default:
        return ENOTTY;
    }
}

int Usbfs::Claim(UMockdevIoctlClient *client) {
    if (behaviour_.claimFailures != 0) {
        if (behaviour_.claimFailures > 0)
            behaviour_.claimFailures--;
        behaviour_.refusedClaims++;
        return behaviour_.claimError;
    }
    if (owner_ != nullptr && owner_ != client)
        return EBUSY;
    owner_ = client;
    behaviour_.claims++;
    return 0;
}

int Usbfs::Submit(UMockdevIoctlClient *client, UMockdevIoctlData *arg) {
    const Data data = Resolve(arg, 0, sizeof(usbdevfs_urb));
    const auto from = ValueOf<usbdevfs_urb>(data.get());
    const bool in = from.endpoint == bus::kInEndpoint;
    const bool continues = (from.flags & USBDEVFS_URB_BULK_CONTINUATION) != 0;
    if (from.type != USBDEVFS_URB_TYPE_BULK || (!in && from.endpoint != bus::kOutEndpoint))
        return ENOENT;
    if (in && continues && read_ == Read::Ended)
        return EREMOTEIO;
    behaviour_.pieces++;
    const auto length = static_cast<uint32_t>(from.buffer_length);
    const Data buffer = length > 0 ? Resolve(data.get(), offsetof(usbdevfs_urb, buffer), length) : nullptr;
    const uint64_t id = ++lastId_;
    running_.push_back({id, data, buffer, client, from.flags, length, in});
    bus::Bytes bytes(length);
    if (in && !continues)
        read_ = Read::Going;
    if (in && read_ == Read::Failed) {
        // On a real bus all pieces are there before the first one can fail, and are cancelled with it.
        Complete(std::prev(running_.end()), ECONNRESET, 0);
        return 0;
    }
    if (!in) {
        if (!continues)
            command_.clear();
        if (buffer != nullptr)
            command_.insert(command_.end(), buffer->data, buffer->data + length);
        if (!behaviour_.scatterGather && length == kPiece) { // more follows
            Complete(std::prev(running_.end()), 0, length);
            return 0;
        }
        bytes = std::move(command_);
    }
    device_->Submit(
        id, from.endpoint, std::move(bytes),
        [this, id](bus::Result result) { Finish(id, std::move(result)); }, continues);
    return 0;
}

int Usbfs::Discard(UMockdevIoctlData *arg) {
    const auto address = ValueOf<uintptr_t>(arg);
    for (const Urb &urb : running_) {
        if (urb.urb->client_addr == address) {
            device_->Cancel(urb.id);
            return 0;
        }
    }
    return EINVAL;
}

// What the client is given is written here and nowhere else: umockdev's thread may be at work on the answer
// to the submission still while the scanner has done its part.
int Usbfs::Reap(UMockdevIoctlData *arg) {
    if (done_.empty())
        return device_ == nullptr ? ENODEV : EAGAIN;
    Urb urb = std::move(done_.front());
    done_.pop_front();
    if (done_.empty())
        tcflow(slave_, TCOOFF);
    if (!urb.came.empty() && urb.buffer != nullptr)
        umockdev_ioctl_data_update(urb.buffer.get(), 0, urb.came.data(), static_cast<gint>(urb.came.size()));
    Update(urb.urb, offsetof(usbdevfs_urb, status), -urb.error);
    Update(urb.urb, offsetof(usbdevfs_urb, actual_length), static_cast<int>(urb.count));
    umockdev_ioctl_data_set_ptr(Resolve(arg, 0, sizeof(uintptr_t)).get(), 0, urb.urb.get());
    return 0;
}

/// The scanner has done its part, on its thread.
void Usbfs::Finish(uint64_t id, bus::Result result) {
    const Lock lock(mutex_);
    const auto urb =
        std::find_if(running_.begin(), running_.end(), [id](const Urb &each) { return each.id == id; });
    if (urb == running_.end())
        return; // its client has closed the node
    int error = result.error;
    const uint32_t count = std::min(static_cast<uint32_t>(result.data.size()), urb->length);
    if (urb->in) {
        if (error == 0 && count < urb->length && (urb->flags & USBDEVFS_URB_SHORT_NOT_OK) != 0)
            error = EREMOTEIO;
        urb->came = std::move(result.data);
        if (result.error != 0)
            read_ = Read::Failed;
        else if (result.end)
            read_ = Read::Ended;
    }
    Complete(urb, error, count);
}

void Usbfs::Complete(std::list<Urb>::iterator urb, int error, uint32_t count) {
    urb->error = error;
    urb->count = count;
    done_.splice(done_.end(), running_, urb);
    tcflow(slave_, TCOON);
}

void Usbfs::CancelAll(const UMockdevIoctlClient *client) {
    for (const Urb &urb : running_)
        if (device_ != nullptr && urb.client == client)
            device_->Cancel(urb.id);
}

} // namespace mock
