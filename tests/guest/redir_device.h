// The virtual scanner as a USB device that another machine is given: one usbredir session over a socket.
#pragma once

#include "tests/usb/bus_device.h"

#include <usbredirparser.h>

#include <memory>

namespace guest {

class RedirDevice {
public:
    /// @param socket  stays the caller's
    RedirDevice(scanner::Scanner &scanner, int socket);
    RedirDevice(const RedirDevice &) = delete;
    RedirDevice &operator=(const RedirDevice &) = delete;

    /// Serves until the other side ends the session, or shutdown() ends it.
    void Serve();

private:
    static usbredirparser *MakeParser(RedirDevice *self);
    void Follow(bool pluggedIn);
    void Describe();
    void Control(uint64_t id, usb_redir_control_packet_header header);
    void Bulk(uint64_t id, usb_redir_bulk_packet_header header, const uint8_t *data, int count);
    void Answer(uint64_t id, usb_redir_bulk_packet_header header, bus::Result result);
    void Send();

    scanner::Scanner &scanner_;
    const int socket_;
    // Packets are queued by the reading thread and by the device's; the parser has a lock for that.
    const std::unique_ptr<usbredirparser, decltype(&usbredirparser_destroy)> parser_;
    std::unique_ptr<bus::BusDevice> device_; // from the other side's greeting on
};

} // namespace guest
