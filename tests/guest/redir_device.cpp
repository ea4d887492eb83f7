// Requests of the usbredir protocol, answered by the device on the bus; and what a bus needs beside them.
#include "tests/guest/redir_device.h"

#include <sys/socket.h>
#include <usbredirparser.h>

#include <cerrno>
#include <cstdio>
#include <iterator>
#include <memory>
#include <mutex>

namespace guest {
namespace {

constexpr uint8_t kIn = 0x80; // of endpoints

struct Session {
    scanner::Scanner &scanner;
    const int socket;
    // Packets are queued by the reading thread and by the device's; the parser has a lock for that.
    usbredirparser *const parser = usbredirparser_create();
    std::unique_ptr<bus::BusDevice> device{}; // from the other side's greeting on
};

Session &Of(void *session) { return *static_cast<Session *>(session); }

/// Writes what is queued. What cannot be written is lost with the session, which the reader notices.
void Send(Session &session) { usbredirparser_do_write(session.parser); }

uint8_t StatusOf(int error) {
    switch (error) {
    case 0:
        return usb_redir_success;
    case EPIPE:
        return usb_redir_stall;
    case EOVERFLOW:
        return usb_redir_babble;
    case ENOENT:
        return usb_redir_cancelled;
    default:
        return usb_redir_ioerror;
    }
}

/// One interface; of the 32 places for endpoints, those that take come before those that give.
void Describe(Session &session) {
    usb_redir_interface_info_header interfaces{};
    interfaces.interface_count = 1;
    interfaces.interface_class[0] = interfaces.interface_subclass[0] = interfaces.interface_protocol[0] =
        0xFF;
    usb_redir_ep_info_header endpoints{};
    std::fill(std::begin(endpoints.type), std::end(endpoints.type), uint8_t{usb_redir_type_invalid});
    for (const int control : {0, 16}) {
        endpoints.type[control] = usb_redir_type_control;
        endpoints.max_packet_size[control] = 64;
    }
    for (const int bulk : {bus::kOutEndpoint + 0, (bus::kInEndpoint & ~kIn) + 16}) {
        endpoints.type[bulk] = usb_redir_type_bulk;
        endpoints.max_packet_size[bulk] = 512;
    }
    usb_redir_device_connect_header connect{usb_redir_speed_high, 0,     0, 0, bus::kVendorId,
                                            bus::kProductId,      0x0100};
    usbredirparser_send_interface_info(session.parser, &interfaces);
    usbredirparser_send_ep_info(session.parser, &endpoints);
    usbredirparser_send_device_connect(session.parser, &connect);
}

void Follow(Session &session, bool pluggedIn) {
    if (pluggedIn)
        Describe(session);
    else
        usbredirparser_send_device_disconnect(session.parser);
    Send(session);
}

void Control(void *to, uint64_t id, usb_redir_control_packet_header *header, uint8_t *data, int) {
    Session &session = Of(to);
    usbredirparser_free_packet_data(session.parser, data);
    constexpr uint8_t kGetStatus = 0, kClearFeature = 1, kGetDescriptor = 6, kToEndpoint = 0x02;
    bus::Bytes answer;
    header->status = usb_redir_success;
    if (header->request == kGetDescriptor && header->value == 0x0100)
        answer = bus::kDeviceDescriptor;
    else if (header->request == kGetDescriptor && header->value == 0x0200)
        answer = bus::kConfigDescriptor;
    else if (header->request == kGetStatus)
        answer = {0, 0};
    else if (header->request == kClearFeature && header->requesttype == kToEndpoint)
        session.device->ClearHalt(static_cast<uint8_t>(header->index));
    else
        header->status = usb_redir_stall;
    header->length = static_cast<uint16_t>(std::min<size_t>(answer.size(), header->length));
    usbredirparser_send_control_packet(session.parser, id, header, answer.data(), header->length);
    Send(session);
}

/// A command comes in one packet: controllers cut up only what is longer than any that a scan sends.
void Bulk(void *to, uint64_t id, usb_redir_bulk_packet_header *header, uint8_t *data, int count) {
    Session &session = Of(to);
    const bool in = (header->endpoint & kIn) != 0;
    const size_t room = header->length | static_cast<size_t>(header->length_high) << 16;
    const auto answer = [&session, id, in, header = *header](bus::Result result) mutable {
        if (result.error == ESHUTDOWN)
            return; // the other side ends it when it is told of the cable
        const size_t size = result.data.size();
        header.status = StatusOf(result.error);
        header.length = static_cast<uint16_t>(size);
        header.length_high = static_cast<uint16_t>(size >> 16);
        usbredirparser_send_bulk_packet(session.parser, id, &header, in ? result.data.data() : nullptr,
                                        in ? static_cast<int>(size) : 0);
        Send(session);
    };
    session.device->Submit(id, header->endpoint, in ? bus::Bytes(room) : bus::Bytes(data, data + count),
                           answer);
    usbredirparser_free_packet_data(session.parser, data);
}

/// There is one configuration with one setting.
void SetConfiguration(void *session, uint64_t id, usb_redir_set_configuration_header *set) {
    usb_redir_configuration_status_header status{usb_redir_success, set->configuration};
    usbredirparser_send_configuration_status(Of(session).parser, id, &status);
    Send(Of(session));
}

} // namespace

void ServeRedir(scanner::Scanner &scanner, int socket) {
    Session session{scanner, socket};
    usbredirparser *const parser = session.parser;
    parser->priv = &session;
    parser->log_func = [](void *, int level, const char *text) {
        if (level <= usbredirparser_warning)
            std::fprintf(stderr, "usbredir: %s\n", text);
    };
    parser->read_func = [](void *from, uint8_t *data, int count) {
        const auto got = recv(Of(from).socket, data, static_cast<size_t>(count), 0);
        return got > 0 ? static_cast<int>(got) : -1;
    };
    parser->write_func = [](void *to, uint8_t *data, int count) {
        return static_cast<int>(send(Of(to).socket, data, static_cast<size_t>(count), MSG_NOSIGNAL));
    };
    parser->alloc_lock_func = []() -> void * { return new std::mutex; };
    parser->lock_func = [](void *lock) { static_cast<std::mutex *>(lock)->lock(); };
    parser->unlock_func = [](void *lock) { static_cast<std::mutex *>(lock)->unlock(); };
    parser->free_lock_func = [](void *lock) { delete static_cast<std::mutex *>(lock); };
    parser->hello_func = [](void *to, usb_redir_hello_header *) {
        Session &of = Of(to);
        of.device =
            std::make_unique<bus::BusDevice>(of.scanner, [&of](bool pluggedIn) { Follow(of, pluggedIn); });
    };
    parser->reset_func = [](void *of) { Of(of).device->Reset(); };
    parser->control_packet_func = Control;
    parser->bulk_packet_func = Bulk;
    parser->cancel_data_packet_func = [](void *of, uint64_t id) { Of(of).device->Cancel(id); };
    parser->set_configuration_func = SetConfiguration;

    // With these the other side may read a whole reply by one packet.
    uint32_t caps[USB_REDIR_CAPS_SIZE] = {};
    for (const int cap : {usb_redir_cap_connect_device_version, usb_redir_cap_ep_info_max_packet_size,
                          usb_redir_cap_64bits_ids, usb_redir_cap_32bits_bulk_length})
        usbredirparser_caps_set_cap(caps, cap);
    usbredirparser_init(parser, "K274", caps, USB_REDIR_CAPS_SIZE, usbredirparser_fl_usb_host);
    Send(session);
    while (usbredirparser_do_read(parser) != usbredirparser_read_io_error) {
    }
    session.device.reset();
    usbredirparser_destroy(parser);
}

} // namespace guest
