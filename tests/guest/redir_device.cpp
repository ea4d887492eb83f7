// Requests of the usbredir protocol, answered by the device on the bus; what a bus needs beside them, from
// its descriptors.
#include "tests/guest/redir_device.h"

#include <sys/socket.h>

#include <algorithm>
#include <cstdio>
#include <mutex>

namespace guest {
namespace {

constexpr uint8_t kIn = 0x80; // of endpoints and of requests on endpoint 0
constexpr uint8_t kFirstIn = 16;
constexpr uint16_t kControlPacket = 64;
constexpr uint8_t kUnused = usb_redir_type_invalid;

// Kinds of descriptors, and requests on endpoint 0.
constexpr uint8_t kDevice = 1, kConfiguration = 2, kInterface = 4, kEndpoint = 5;
constexpr uint8_t kGetStatus = 0, kClearFeature = 1, kGetDescriptor = 6;
constexpr uint8_t kToEndpoint = 0x02;

RedirDevice &Of(void *self) { return *static_cast<RedirDevice *>(self); }

size_t PlaceOf(uint8_t endpoint) { return (endpoint & 0x0FU) + ((endpoint & kIn) != 0 ? kFirstIn : 0); }

uint16_t Word(const uint8_t *at) { return static_cast<uint16_t>(at[0] | at[1] << 8); }

uint8_t StatusOf(bus::Outcome outcome) {
    switch (outcome) {
    case bus::Outcome::Done:
        return usb_redir_success;
    case bus::Outcome::Stall:
        return usb_redir_stall;
    case bus::Outcome::Babble:
        return usb_redir_babble;
    case bus::Outcome::Cancelled:
        return usb_redir_cancelled;
    case bus::Outcome::Error:
    case bus::Outcome::Gone:
        break;
    }
    return usb_redir_ioerror;
}

} // namespace

RedirDevice::RedirDevice(scanner::Scanner &scanner, int socket)
    : scanner_(scanner), socket_(socket), parser_(MakeParser(this), usbredirparser_destroy) {}

usbredirparser *RedirDevice::MakeParser(RedirDevice *self) {
    usbredirparser *parser = usbredirparser_create();
    parser->priv = self;
    parser->log_func = [](void *, int level, const char *text) {
        if (level <= usbredirparser_warning)
            std::fprintf(stderr, "usbredir: %s\n", text);
    };
    parser->read_func = [](void *device, uint8_t *data, int count) {
        const auto got = recv(Of(device).socket_, data, static_cast<size_t>(count), 0);
        return got > 0 ? static_cast<int>(got) : -1;
    };
    parser->write_func = [](void *device, uint8_t *data, int count) {
        return static_cast<int>(send(Of(device).socket_, data, static_cast<size_t>(count), MSG_NOSIGNAL));
    };
    parser->alloc_lock_func = []() -> void * { return new std::mutex; };
    parser->lock_func = [](void *lock) { static_cast<std::mutex *>(lock)->lock(); };
    parser->unlock_func = [](void *lock) { static_cast<std::mutex *>(lock)->unlock(); };
    parser->free_lock_func = [](void *lock) { delete static_cast<std::mutex *>(lock); };

    parser->hello_func = [](void *device, usb_redir_hello_header *) {
        RedirDevice &of = Of(device);
        if (!of.device_)
            of.device_ = std::make_unique<bus::BusDevice>(of.scanner_,
                                                          [&of](bool pluggedIn) { of.Follow(pluggedIn); });
    };
    parser->reset_func = [](void *device) { Of(device).device_->Reset(); };
    parser->control_packet_func = [](void *device, uint64_t id, usb_redir_control_packet_header *header,
                                     uint8_t *data, int) {
        usbredirparser_free_packet_data(Of(device).parser_.get(), data);
        Of(device).Control(id, *header);
    };
    parser->bulk_packet_func = [](void *device, uint64_t id, usb_redir_bulk_packet_header *header,
                                  uint8_t *data, int count) {
        Of(device).Bulk(id, *header, data, count);
        usbredirparser_free_packet_data(Of(device).parser_.get(), data);
    };
    parser->cancel_data_packet_func = [](void *device, uint64_t id) { Of(device).device_->Cancel(id); };
    // There is one configuration with one setting.
    parser->set_configuration_func = [](void *device, uint64_t id, usb_redir_set_configuration_header *set) {
        usb_redir_configuration_status_header status{usb_redir_success, set->configuration};
        usbredirparser_send_configuration_status(Of(device).parser_.get(), id, &status);
        Of(device).Send();
    };
    parser->get_configuration_func = [](void *device, uint64_t id) {
        usb_redir_configuration_status_header status{usb_redir_success, 1};
        usbredirparser_send_configuration_status(Of(device).parser_.get(), id, &status);
        Of(device).Send();
    };
    parser->set_alt_setting_func = [](void *device, uint64_t id, usb_redir_set_alt_setting_header *set) {
        usb_redir_alt_setting_status_header status{usb_redir_success, set->interface, set->alt};
        usbredirparser_send_alt_setting_status(Of(device).parser_.get(), id, &status);
        Of(device).Send();
    };
    parser->get_alt_setting_func = [](void *device, uint64_t id, usb_redir_get_alt_setting_header *get) {
        usb_redir_alt_setting_status_header status{usb_redir_success, get->interface, 0};
        usbredirparser_send_alt_setting_status(Of(device).parser_.get(), id, &status);
        Of(device).Send();
    };

    // With these the other side may read a whole reply by one packet.
    uint32_t caps[USB_REDIR_CAPS_SIZE] = {};
    for (const int cap : {usb_redir_cap_connect_device_version, usb_redir_cap_ep_info_max_packet_size,
                          usb_redir_cap_64bits_ids, usb_redir_cap_32bits_bulk_length})
        usbredirparser_caps_set_cap(caps, cap);
    usbredirparser_init(parser, "K274", caps, USB_REDIR_CAPS_SIZE, usbredirparser_fl_usb_host);
    return parser;
}

void RedirDevice::Serve() {
    Send();
    while (usbredirparser_do_read(parser_.get()) != usbredirparser_read_io_error) {
    }
}

/// Writes what is queued. What cannot be written is lost with the session, which the reader notices.
void RedirDevice::Send() { usbredirparser_do_write(parser_.get()); }

void RedirDevice::Follow(bool pluggedIn) {
    if (pluggedIn)
        Describe();
    else
        usbredirparser_send_device_disconnect(parser_.get());
    Send();
}

void RedirDevice::Describe() {
    usb_redir_interface_info_header interfaces{};
    usb_redir_ep_info_header endpoints{};
    std::fill(std::begin(endpoints.type), std::end(endpoints.type), kUnused);
    for (const size_t both : {PlaceOf(0), PlaceOf(kIn)}) {
        endpoints.type[both] = usb_redir_type_control;
        endpoints.max_packet_size[both] = kControlPacket;
    }
    const bus::Bytes &config = bus::ConfigDescriptor();
    uint8_t number = 0;
    for (size_t at = 0; at < config.size(); at += config[at]) {
        const uint8_t *descriptor = &config[at];
        if (descriptor[1] == kInterface) {
            const uint32_t entry = interfaces.interface_count++;
            number = interfaces.interface[entry] = descriptor[2];
            interfaces.interface_class[entry] = descriptor[5];
            interfaces.interface_subclass[entry] = descriptor[6];
            interfaces.interface_protocol[entry] = descriptor[7];
        } else if (descriptor[1] == kEndpoint) {
            const size_t place = PlaceOf(descriptor[2]);
            endpoints.type[place] = descriptor[3];
            endpoints.interface[place] = number;
            endpoints.max_packet_size[place] = Word(descriptor + 4);
        }
    }
    usbredirparser_send_interface_info(parser_.get(), &interfaces);
    usbredirparser_send_ep_info(parser_.get(), &endpoints);
    const uint8_t *device = bus::DeviceDescriptor().data();
    usb_redir_device_connect_header connect{
        usb_redir_speed_high, device[4],         device[5],        device[6],
        Word(device + 8),     Word(device + 10), Word(device + 12)};
    usbredirparser_send_device_connect(parser_.get(), &connect);
}

void RedirDevice::Control(uint64_t id, usb_redir_control_packet_header header) {
    bus::Bytes data;
    header.status = usb_redir_success;
    const int kind = header.value >> 8;
    if (header.request == kGetDescriptor && kind == kDevice)
        data = bus::DeviceDescriptor();
    else if (header.request == kGetDescriptor && kind == kConfiguration)
        data = bus::ConfigDescriptor();
    else if (header.request == kGetStatus)
        data = {0, 0};
    else if (header.request == kClearFeature && header.requesttype == kToEndpoint)
        device_->ClearHalt(static_cast<uint8_t>(header.index));
    else
        header.status = usb_redir_stall;
    data.resize(std::min<size_t>(data.size(), header.length));
    header.length = static_cast<uint16_t>(data.size());
    usbredirparser_send_control_packet(parser_.get(), id, &header, data.data(), header.length);
    Send();
}

/// A command comes in one packet: controllers cut up only what is longer than any that a scan sends.
void RedirDevice::Bulk(uint64_t id, usb_redir_bulk_packet_header header, const uint8_t *data, int count) {
    const bool in = (header.endpoint & kIn) != 0;
    const size_t room = header.length | static_cast<size_t>(header.length_high) << 16;
    bus::Bytes bytes = in ? bus::Bytes(room) : bus::Bytes(data, data + count);
    device_->Submit(id, header.endpoint, std::move(bytes),
                    [this, id, header](bus::Result result) { Answer(id, header, std::move(result)); });
}

void RedirDevice::Answer(uint64_t id, usb_redir_bulk_packet_header header, bus::Result result) {
    if (result.outcome == bus::Outcome::Gone)
        return; // the other side ends it when it is told of the cable
    header.status = StatusOf(result.outcome);
    header.length = static_cast<uint16_t>(result.count);
    header.length_high = static_cast<uint16_t>(result.count >> 16);
    usbredirparser_send_bulk_packet(parser_.get(), id, &header, result.data.data(),
                                    static_cast<int>(result.data.size()));
    Send();
}

} // namespace guest
