// A bus of mock USB devices, as libusb sees it through /sys, udev and device nodes, and ports on it with the
// virtual scanner in them. The process must run with umockdev's library preloaded.
#pragma once

#include "tests/usb/mock_usbfs.h"

#include <string>
#include <thread>

namespace mock {

/// A port of the bus. The scanner that hangs on it comes and goes as its cable does; every time it comes it
/// has a new address.
class Port {
public:
    explicit Port(scanner::Scanner &scanner, int number = 1);
    ~Port();

    Behaviour behaviour;
    /// For the next plug-in: the descriptors as the system has them.
    Bytes descriptors = AllDescriptors();
    std::atomic<bool> configured{true};

    static Bytes AllDescriptors();
    /// The system gives a device its configuration that came without.
    void Configure();
    /// Takes the node's permissions away, and root's to do without them; or gives both back.
    void Forbid(bool forbidden);
    /// Tells of an arrival that has been told of.
    void TellAgain();
    /// Waits until the bus has the scanner, or no longer has it.
    bool Await(bool pluggedIn);

private:
    void Serve();
    void Appear();
    void Disappear();

    scanner::Scanner &scanner_;
    const std::string path_; // of the device
    /// Nodes of earlier addresses are kept: a client may have them open still.
    struct Node {
        int master, slave; // the terminal that stands for it
        std::shared_ptr<Usbfs> usbfs;
        std::string name;
    };
    std::vector<Node> nodes_;
    std::thread thread_; // follows the cable, and serves the node

    // Under the scanner's mutex.
    uint32_t connection_ = 0; // that the bus has
    bool closing_ = false;
};

} // namespace mock
