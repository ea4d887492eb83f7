// One scanner on the bus: what it says of itself, and opening it.
#pragma once

#include "platform/windriver/wdapi.h"

#include <libusb.h>

#include <memory>
#include <vector>

namespace wdapi {

struct CloseContext {
    void operator()(libusb_context *context) const { libusb_exit(context); }
};
using UsbContext = std::unique_ptr<libusb_context, CloseContext>;
using UsbDevice = std::shared_ptr<libusb_device>;
UsbDevice Keep(libusb_device *device);

/// An open device with its interface claimed.
struct CloseHandle {
    int interfaceNumber = -1; // claimed, when it is not negative
    void operator()(libusb_device_handle *handle) const;
};
using UsbHandle = std::unique_ptr<libusb_device_handle, CloseHandle>;

/// What the host is told of a scanner.
struct UsbDescription {
    WDU_ALTERNATE_SETTING setting{};
    WDU_INTERFACE interface {};
    WDU_DEVICE device{};
};

using MatchTables = std::vector<WDU_MATCH_TABLE>;

/// Whether one of the tables asks for a device of these ids and class. A zero in a table takes any value.
bool IsWanted(libusb_device *device, const MatchTables &tables);

// Beside libusb's errors: the device is there and is no scanner, and trying again will not make it one.
constexpr int kNotAScanner = -1000;

/// Opens a scanner and claims the interface that a table asks for. Result: 0, one of libusb's errors, or
/// kNotAScanner.
int OpenScanner(const UsbDevice &device, const MatchTables &tables, UsbHandle *handle,
                UsbDescription *description);

/// An arrival is told before the system has given the device its configuration. Such a failure passes.
bool MayPass(int error);
/// Says on standard error why a scanner cannot be used: one line, with the cure. Silent when it is gone.
void ExplainFailure(const UsbDevice &device, int error);

} // namespace wdapi
