// Descriptors are taken from the device itself and believed only as far as libusb has checked them.
#include "platform/windriver/usb/scanner.h"

#include "wire/driver.h"

#include <cstdio>

namespace wdapi {
namespace {

constexpr int kMaxInterfaces = 32; // that libusb can claim

bool Takes(unsigned wanted, unsigned found) { return wanted == 0 || wanted == found; }

bool Takes(const WDU_MATCH_TABLE &table, const libusb_device_descriptor &found) {
    return Takes(table.wVendorId, found.idVendor) && Takes(table.wProductId, found.idProduct) &&
           Takes(table.bDeviceClass, found.bDeviceClass) &&
           Takes(table.bDeviceSubClass, found.bDeviceSubClass);
}

bool Takes(const WDU_MATCH_TABLE &table, const libusb_interface_descriptor &found) {
    return Takes(table.bInterfaceClass, found.bInterfaceClass) &&
           Takes(table.bInterfaceSubClass, found.bInterfaceSubClass) &&
           Takes(table.bInterfaceProtocol, found.bInterfaceProtocol);
}

bool HasBulkPipe(const libusb_interface_descriptor &setting, uint32_t pipe) {
    // Of endpoints that the device did not describe libusb has counted what was promised.
    for (int i = 0; setting.endpoint != nullptr && i < setting.bNumEndpoints; ++i) {
        const libusb_endpoint_descriptor &endpoint = setting.endpoint[i];
        if (endpoint.bEndpointAddress == pipe &&
            (endpoint.bmAttributes & LIBUSB_TRANSFER_TYPE_MASK) == LIBUSB_TRANSFER_TYPE_BULK)
            return true;
    }
    return false;
}

/// The scanner's interface in its first setting, which is the active one after opening; null: none is.
const libusb_interface_descriptor *FindInterface(const libusb_config_descriptor &config,
                                                 const libusb_device_descriptor &device,
                                                 const MatchTables &tables) {
    for (int i = 0; i < config.bNumInterfaces; ++i) {
        if (config.interface[i].num_altsetting < 1)
            continue;
        const libusb_interface_descriptor &setting = config.interface[i].altsetting[0];
        if (setting.bInterfaceNumber >= kMaxInterfaces || !HasBulkPipe(setting, wire::kOutPipe) ||
            !HasBulkPipe(setting, wire::kInPipe))
            continue;
        for (const WDU_MATCH_TABLE &table : tables)
            if (Takes(table, device) && Takes(table, setting))
                return &setting;
    }
    return nullptr;
}

void Describe(const libusb_device_descriptor &device, const libusb_interface_descriptor &setting,
              UsbDescription *to) {
    to->device = {};
    to->device.Descriptor = {device.bLength,         device.bDescriptorType,   device.bcdUSB,
                             device.bDeviceClass,    device.bDeviceSubClass,   device.bDeviceProtocol,
                             device.bMaxPacketSize0, device.idVendor,          device.idProduct,
                             device.bcdDevice,       device.iManufacturer,     device.iProduct,
                             device.iSerialNumber,   device.bNumConfigurations};
    to->setting.Descriptor = {setting.bLength,
                              setting.bDescriptorType,
                              setting.bInterfaceNumber,
                              setting.bAlternateSetting,
                              setting.bNumEndpoints,
                              setting.bInterfaceClass,
                              setting.bInterfaceSubClass,
                              setting.bInterfaceProtocol,
                              setting.iInterface};
    to->interface.pActiveAltSetting = &to->setting;
    to->device.pActiveInterface[0] = &to->interface;
}

void Complain(const UsbDevice &device, const char *what) {
    std::fprintf(stderr, "wdapi1140: the scanner on bus %d, device %d %s\n",
                 libusb_get_bus_number(device.get()), libusb_get_device_address(device.get()), what);
}

} // namespace

UsbDevice Keep(libusb_device *device) { return UsbDevice(libusb_ref_device(device), libusb_unref_device); }

void CloseHandle::operator()(libusb_device_handle *handle) const {
    if (interfaceNumber >= 0)
        libusb_release_interface(handle, interfaceNumber);
    libusb_close(handle);
}

bool IsWanted(libusb_device *device, const MatchTables &tables) {
    libusb_device_descriptor found{};
    if (libusb_get_device_descriptor(device, &found) != LIBUSB_SUCCESS)
        return false;
    for (const WDU_MATCH_TABLE &table : tables)
        if (Takes(table, found))
            return true;
    return false;
}

int OpenScanner(const UsbDevice &device, const MatchTables &tables, UsbHandle *handle,
                UsbDescription *description) {
    libusb_device_handle *opened = nullptr;
    if (const int error = libusb_open(device.get(), &opened))
        return error;
    UsbHandle open(opened, CloseHandle{});

    libusb_device_descriptor found{};
    if (const int error = libusb_get_device_descriptor(device.get(), &found))
        return error;
    libusb_config_descriptor *read = nullptr;
    if (const int error = libusb_get_active_config_descriptor(device.get(), &read))
        return error;
    const std::unique_ptr<libusb_config_descriptor, decltype(&libusb_free_config_descriptor)> config(
        read, libusb_free_config_descriptor);
    const libusb_interface_descriptor *setting = FindInterface(*config, found, tables);
    if (setting == nullptr)
        return kNotAScanner;

    libusb_set_auto_detach_kernel_driver(opened, 1);
    if (const int error = libusb_claim_interface(opened, setting->bInterfaceNumber))
        return error;
    open.get_deleter().interfaceNumber = setting->bInterfaceNumber;
    Describe(found, *setting, description);
    *handle = std::move(open);
    return LIBUSB_SUCCESS;
}

bool MayPass(int error) {
    return error == LIBUSB_ERROR_INVALID_PARAM || error == LIBUSB_ERROR_NOT_FOUND || error == LIBUSB_ERROR_IO;
}

void ExplainFailure(const UsbDevice &device, int error) {
    switch (error) {
    case LIBUSB_ERROR_ACCESS:
        Complain(device, "may not be opened by this user: install the udev rule 60-k274.rules, or ask for "
                         "the group that it names, and plug the scanner in again");
        break;
    case LIBUSB_ERROR_BUSY:
        Complain(device, "is in use by another program: close that one");
        break;
    case LIBUSB_ERROR_NOT_SUPPORTED:
    case LIBUSB_ERROR_NOT_FOUND:
    case LIBUSB_ERROR_INVALID_PARAM:
        Complain(device, "has no driver, as the system has not set it up: plug it in again, at a port of the "
                         "computer itself");
        break;
    case kNotAScanner:
        Complain(device,
                 "has a scanner's number and not its pipes: it is no K274, or its firmware is damaged");
        break;
    case LIBUSB_ERROR_NO_DEVICE: // gone again already
        break;
    default:
        Complain(device, libusb_strerror(error));
        break;
    }
}

} // namespace wdapi
