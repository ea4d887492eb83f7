// The virtual scanner as a USB device that another machine is given: one usbredir session over a socket.
#pragma once

#include "tests/usb/bus_device.h"

namespace guest {

/// Serves until the other side ends the session, or shutdown() of the socket ends it.
void ServeRedir(scanner::Scanner &scanner, int socket);

} // namespace guest
