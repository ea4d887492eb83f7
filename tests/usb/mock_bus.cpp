// Makes the scanner appear and disappear in the test bed: node, attributes, and the news of it.
#include "tests/usb/mock_bus.h"

#include <fcntl.h>
#include <pty.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

namespace mock {
namespace {

namespace fs = std::filesystem;

/// The one test bed of this process; it takes the place of /sys and /dev for libraries that look there.
struct Bed {
    Bed() : bed(umockdev_testbed_new()) {
        gchar *name = umockdev_testbed_get_root_dir(bed);
        root = name;
        g_free(name);
        // A user without rights meets the node's permissions, not those of the folder around it.
        ::chmod(root.c_str(), 0755);
    }
    ~Bed() { g_object_unref(bed); }

    UMockdevTestbed *bed;
    std::string root;
    std::atomic<int> lastAddress{1};
};

Bed &TheBed() {
    static Bed bed;
    return bed;
}

std::string Text(const char *format, int number) {
    char text[64];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

} // namespace

/// USB 2.0, class by interface, packets of 64 bytes on endpoint 0, release 1.0, no texts; one configuration,
/// self-powered; one interface of the maker's own class; a bulk endpoint each way, packets of 512 bytes.
Bytes Port::AllDescriptors() {
    constexpr uint8_t kLow = K274_VENDOR_ID & 0xFF, kHigh = K274_VENDOR_ID >> 8;
    Bytes all;
    for (const Bytes &each : {Bytes{18, 1, 0, 2, 0, 0, 0, 64, kLow, kHigh, 0x74, 2, 0, 1, 0, 0, 0, 1},
                              {9, 2, 32, 0, 1, 1, 0, 0xC0, 1},
                              {9, 4, 0, 0, 2, 0xFF, 0xFF, 0xFF, 0},
                              {7, 5, kOutEndpoint, 2, 0, 2, 0},
                              {7, 5, kInEndpoint, 2, 0, 2, 0}})
        all.insert(all.end(), each.begin(), each.end());
    return all;
}

Port::Port(scanner::Scanner &scanner, int number)
    : scanner_(scanner), path_("/devices/usb1/1-" + std::to_string(number)) {
    TheBed();
    thread_ = std::thread([this] { Serve(); });
}

Port::~Port() {
    {
        const Lock lock(scanner_.mutex);
        closing_ = true;
        scanner_.changed.notify_all();
    }
    thread_.join();
    if (connection_ != 0)
        Disappear();
    for (const Node &node : nodes_) {
        umockdev_testbed_detach_ioctl(TheBed().bed, node.name.c_str(), nullptr);
        ::close(node.slave);
    }
}

bool Port::Await(bool pluggedIn) {
    Lock lock(scanner_.mutex);
    return scanner_.changed.wait_for(lock, std::chrono::seconds(20), [&] {
        return connection_ == scanner_.Connection() && (connection_ != 0) == pluggedIn;
    });
}

void Port::Serve() {
    Lock lock(scanner_.mutex);
    while (!closing_) {
        if (connection_ != scanner_.Connection()) {
            // Pulled, though it may be back already.
            const uint32_t next = connection_ != 0 ? 0 : scanner_.Connection();
            lock.unlock();
            next != 0 ? Appear() : Disappear();
            lock.lock();
            connection_ = next;
            scanner_.changed.notify_all();
        } else if (connection_ == 0 || !Step(*nodes_.back().usbfs, lock)) {
            const auto moment = scanner_.device.NextMoment();
            if (moment == scanner::Clock::TimePoint::max())
                scanner_.changed.wait(lock);
            else
                scanner_.changed.wait_until(lock, moment);
        }
    }
}

void Port::Appear() {
    Bed &bed = TheBed();
    const std::string address = Text("%03d", ++bed.lastAddress);
    Node node{-1, -1, nullptr, "/dev/bus/usb/001/" + address};
    termios raw{};
    cfmakeraw(&raw);
    if (openpty(&node.master, &node.slave, nullptr, &raw, nullptr) != 0)
        throw std::runtime_error("no terminal for a device node");
    node.usbfs = MakeUsbfs(scanner_, behaviour, descriptors, node.slave);
    umockdev_testbed_attach_ioctl(bed.bed, node.name.c_str(), HandlerOf(*node.usbfs), nullptr);
    const fs::path link = bed.root + node.name;
    fs::create_directories(link.parent_path());
    fs::create_symlink(ttyname(node.slave), link);
    nodes_.push_back(std::move(node));

    // Only now the news: who hears of it finds everything in its place.
    std::string hex;
    for (const uint8_t byte : descriptors)
        hex += Text("%02X", byte);
    const std::string text =
        "P: " + path_ + "\nE: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\nE: DEVNAME=" + nodes_.back().name +
        "\nE: BUSNUM=001\nE: DEVNUM=" + address + "\nA: busnum=1\\n\nA: devnum=" + address +
        "\\n\nA: speed=480\\n\nA: bConfigurationValue=" +
        (configured ? "1\\n" : "") + // nothing, as Linux has it
        "\nH: descriptors=" + hex + "\n\n";
    GError *error = nullptr;
    if (!umockdev_testbed_add_from_string(bed.bed, text.c_str(), &error))
        throw std::runtime_error(error->message);
}

void Port::Disappear() {
    const Bed &bed = TheBed();
    const Node &node = nodes_.back();
    Leave(*node.usbfs);
    fs::remove(bed.root + node.name);
    ::close(node.master);
    const std::string path = "/sys" + path_;
    umockdev_testbed_uevent(bed.bed, path.c_str(), "remove");
    umockdev_testbed_remove_device(bed.bed, path.c_str());
}

void Port::Configure() {
    umockdev_testbed_set_attribute(TheBed().bed, ("/sys" + path_).c_str(), "bConfigurationValue", "1\n");
}

void Port::Forbid(bool forbidden) {
    const auto become = [](uid_t user) {
        if (::getuid() == 0 && ::seteuid(user) != 0)
            throw std::runtime_error("no other user can be taken on");
    };
    become(0);
    ::fchmod(nodes_.back().slave, forbidden ? 0 : 0600);
    // The preloaded library looks for its own sockets even then, and would end a program that may not.
    const std::string sockets = TheBed().root + "/ioctl";
    ::chmod(sockets.c_str(), 0755);
    for (const auto &entry : fs::recursive_directory_iterator(sockets))
        ::chmod(entry.path().c_str(), 0777);
    if (forbidden)
        become(65534);
}

void Port::TellAgain() { umockdev_testbed_uevent(TheBed().bed, ("/sys" + path_).c_str(), "add"); }

} // namespace mock
