// What the opening of the USB driver keeps: the driver's objects and the scanners that it has announced.
#pragma once

#include <cstdint>
#include <mutex>

namespace k274 {

struct DeviceContext {
    DeviceContext *next = nullptr;
    void *device = nullptr;
    uint32_t vendorId = 0, productId = 0;
    uint32_t interfaceNumber = 0, alternateSetting = 0;
};

struct DriverContext {
    void *attachEvent = nullptr;
    void *listMutex = nullptr; // guards the list between the driver's callbacks
    uint32_t deviceCount = 0;
    DeviceContext *devices = nullptr;
    // Signalled for good: nothing in the library holds on to a list element.
    void *deviceUnusedEvent = nullptr;
};

struct DriverRecord {
    void *handle = nullptr;
    DriverContext context;
    // Keeps the context's events and mutex alive while a callback uses them: DriverUninit closes them before
    // the driver has stopped calling. Never held while the driver is called that may wait for a callback.
    std::mutex lock;
};
extern DriverRecord driverRecord;

} // namespace k274
