// The link test that usbtest and selftest share.
#pragma once

namespace host {

class Output;
class Session;

struct Loopback {
    int failed = 0;
    double rate = 0; // megabytes a second
};
/// Loopback exchanges of the link, with the library's polling held off.
Loopback RunLoopback(Session &session, Output &output, int count, int length);

} // namespace host
