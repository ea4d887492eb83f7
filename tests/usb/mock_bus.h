// A bus of mock USB devices, as libusb sees it through /sys, udev and device nodes, and ports on it with the
// virtual scanner in them. The process must run with umockdev's library preloaded.
#pragma once

#include "tests/usb/mock_usbfs.h"

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace mock {

/// A port of the bus. The scanner that hangs on it comes and goes as its cable does; every time it comes it
/// has a new address.
class Port {
public:
    explicit Port(scanner::Scanner &scanner, int number = 1);
    ~Port();
    Port(const Port &) = delete;
    Port &operator=(const Port &) = delete;

    Behaviour behaviour;
    /// For the next plug-in: the descriptors as the system has them.
    bus::Bytes descriptors = AllDescriptors();
    std::atomic<bool> configured{true};

    static bus::Bytes AllDescriptors();
    /// The system gives a device its configuration that came without.
    void Configure();
    /// Takes the node's permissions away, and root's to do without them; or gives both back.
    void Forbid(bool forbidden);
    /// Tells of an arrival that has been told of.
    void TellAgain();
    /// Waits until the bus has the scanner, or no longer has it.
    bool Await(bool pluggedIn);

private:
    void Follow(bool pluggedIn);
    void Appear();
    void Disappear();

    const int number_;
    std::mutex making_; // the device's thread may be quicker than who makes the device
    std::atomic<int> address_{0};
    std::string path_; // in /sys, while it is plugged in
    int master_ = -1;
    /// Nodes of earlier addresses are kept: a client may have them open still.
    struct Node {
        int slave;
        std::shared_ptr<Usbfs> usbfs;
        std::string name;
    };
    std::vector<Node> nodes_;
    std::unique_ptr<bus::BusDevice> device_; // last: its thread uses the rest
};

} // namespace mock
