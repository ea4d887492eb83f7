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
    Bed(const Bed &) = delete;
    Bed &operator=(const Bed &) = delete;

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

bus::Bytes Port::AllDescriptors() {
    bus::Bytes all = bus::kDeviceDescriptor;
    all.insert(all.end(), bus::kConfigDescriptor.begin(), bus::kConfigDescriptor.end());
    return all;
}

Port::Port(scanner::Scanner &scanner, int number) : number_(number) {
    TheBed();
    const std::lock_guard lock(making_);
    device_ = std::make_unique<bus::BusDevice>(scanner, [this](bool pluggedIn) { Follow(pluggedIn); });
}

Port::~Port() {
    device_.reset();
    Disappear();
    for (const Node &node : nodes_) {
        umockdev_testbed_detach_ioctl(TheBed().bed, node.name.c_str(), nullptr);
        ::close(node.slave);
    }
}

bool Port::Await(bool pluggedIn) {
    for (int k = 0; k < 20000; k++) {
        if (device_->Settled() && (address_ != 0) == pluggedIn)
            return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

void Port::Follow(bool pluggedIn) {
    const std::lock_guard lock(making_);
    if (pluggedIn)
        Appear();
    else
        Disappear();
}

void Port::Appear() {
    Bed &bed = TheBed();
    const int address = ++bed.lastAddress;
    int slave = -1;
    if (openpty(&master_, &slave, nullptr, nullptr, nullptr) != 0)
        throw std::runtime_error("no terminal for a device node");
    termios settings{};
    tcgetattr(slave, &settings);
    cfmakeraw(&settings);
    tcsetattr(slave, TCSANOW, &settings);

    Node node{slave, MakeUsbfs(behaviour, slave), Text("/dev/bus/usb/001/%03d", address)};
    umockdev_testbed_attach_ioctl(bed.bed, node.name.c_str(), HandlerOf(*node.usbfs), nullptr);
    const fs::path link = bed.root + node.name;
    fs::create_directories(link.parent_path());
    fs::create_symlink(ttyname(slave), link);
    SetDevice(*node.usbfs, device_.get());
    nodes_.push_back(std::move(node));

    // Only now the news: who hears of it finds everything in its place.
    path_ = "/devices/usb1/1-" + std::to_string(number_);
    std::string hex;
    for (const uint8_t byte : descriptors)
        hex += Text("%02X", byte);
    const std::string text = "P: " + path_ +
                             "\nE: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\nE: DEVNAME=" + nodes_.back().name +
                             "\nE: BUSNUM=001\nE: DEVNUM=" + Text("%03d", address) +
                             "\nA: busnum=1\\n\nA: devnum=" + std::to_string(address) +
                             "\\n\nA: speed=480\\n\nA: bConfigurationValue=" +
                             (configured ? "1\\n" : "") + // nothing, as Linux has it
                             "\nH: descriptors=" + hex + "\n\n";
    GError *error = nullptr;
    if (!umockdev_testbed_add_from_string(bed.bed, text.c_str(), &error))
        throw std::runtime_error(error->message);
    address_ = address;
}

void Port::Disappear() {
    if (path_.empty())
        return;
    Bed &bed = TheBed();
    SetDevice(*nodes_.back().usbfs, nullptr);
    fs::remove(bed.root + nodes_.back().name);
    ::close(master_);
    const std::string path = "/sys" + path_;
    umockdev_testbed_uevent(bed.bed, path.c_str(), "remove");
    umockdev_testbed_remove_device(bed.bed, path.c_str());
    path_.clear();
    address_ = 0;
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
