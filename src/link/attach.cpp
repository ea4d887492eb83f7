#include "src/link/attach.h"

#include "platform/os/os.h"
#include "platform/windriver/wdapi.h"
#include "src/common/text.h"
#include "src/link/driver_record.h"
#include "src/log/log.h"

#include <new>

namespace k274 {

namespace {

constexpr uint16_t kVendorId = K274_VENDOR_ID;
constexpr uint8_t kAnyInterface = 0xFF;
constexpr uint32_t kInitOption = 1;

constexpr char kKernelDevice[] = "\\\\.\\windrvr6";
constexpr uint32_t kVersionRequest = 0x95383443;

void Append(DriverContext &context, DeviceContext *element) {
    DeviceContext **tail = &context.devices;
    while (*tail)
        tail = &(*tail)->next;
    *tail = element;
    ++context.deviceCount;
}

void Remove(DriverContext &context, void *device) {
    for (DeviceContext **link = &context.devices; *link; link = &(*link)->next) {
        DeviceContext *element = *link;
        if (element->device != device)
            continue;
        *link = element->next;
        delete element;
        --context.deviceCount;
        return;
    }
}

void FreeDevices(DriverContext &context) {
    while (context.devices)
        Remove(context, context.devices->device);
}

void Enlist(DriverContext &context, DeviceContext *element) {
    std::lock_guard guard(driverRecord.lock);
    if (!context.listMutex) { // the driver is being closed
        delete element;
        return;
    }
    OsMutexLock(context.listMutex);
    Append(context, element);
    OsMutexUnlock(context.listMutex);
    OsEventSignal(context.attachEvent);
}

int32_t DeviceAttach(void *device, WDU_DEVICE *info, void *userData) {
    auto *element = new (std::nothrow) DeviceContext;
    if (element) {
        element->device = device;
        if (info) {
            element->vendorId = info->Descriptor.idVendor;
            element->productId = info->Descriptor.idProduct;
            const WDU_INTERFACE *first = info->pActiveInterface[0];
            if (first && first->pActiveAltSetting) {
                element->interfaceNumber = first->pActiveAltSetting->Descriptor.bInterfaceNumber;
                element->alternateSetting = first->pActiveAltSetting->Descriptor.bAlternateSetting;
            }
        }
        Enlist(*static_cast<DriverContext *>(userData), element);
    }
    deviceLink.device = device;
    if (deviceLink.attaches > 0)
        log.Usb(Format("DeviceAttach %d", deviceLink.attaches.load()));
    deviceLink.transferErrors = 0;
    ++deviceLink.attaches;
    deviceLink.online = true;
    return 1;
}

void DeviceDetach(void *device, void *userData) {
    // Before anything else: a transfer that starts from here on finds no scanner.
    deviceLink.device = nullptr;
    auto &context = *static_cast<DriverContext *>(userData);
    {
        std::lock_guard guard(driverRecord.lock);
        if (context.listMutex) {
            OsMutexLock(context.listMutex);
            Remove(context, device);
            OsMutexUnlock(context.listMutex);
        }
    }
    deviceLink.online = false;
}

// The events and the mutex of a fresh context.
uint32_t CreateContext() {
    std::lock_guard guard(driverRecord.lock);
    driverRecord.context = DriverContext{};
    uint32_t status = OsEventCreate(&driverRecord.context.attachEvent);
    if (status == 0)
        status = OsMutexCreate(&driverRecord.context.listMutex);
    if (status == 0)
        status = OsEventCreate(&driverRecord.context.deviceUnusedEvent);
    if (status == 0)
        OsEventSignal(driverRecord.context.deviceUnusedEvent);
    return status;
}

WDU_MATCH_TABLE ScannerMatch() {
    WDU_MATCH_TABLE match{};
    match.wVendorId = kVendorId;
    match.wProductId = kProductId;
    match.bInterfaceClass = kAnyInterface;
    match.bInterfaceSubClass = kAnyInterface;
    match.bInterfaceProtocol = kAnyInterface;
    return match;
}

// Version of the driver's kernel module, for the log; 0 where there is no such device.
uint32_t KernelVersion() {
    uint8_t record[132] = {};
    uint32_t output = 0x20000000;
    if (!os::KernelDeviceRequest(kKernelDevice, kVersionRequest, record, sizeof record, &output))
        log.Write("Could not open WinDriver kernel!");
    uint32_t version;
    std::memcpy(&version, record, sizeof version);
    return version;
}

uint32_t OpenDriver() {
    if (const uint32_t status = CreateContext())
        return status;
    WDU_MATCH_TABLE match = ScannerMatch();
    WDU_EVENT_TABLE events{DeviceAttach, DeviceDetach, nullptr, &driverRecord.context};
    if (const uint32_t status = WDU_Init(&driverRecord.handle, &match, 1, &events, kInitOption)) {
        WDU_Uninit(driverRecord.handle);
        driverRecord.handle = nullptr;
        log.Write(Format("WDU_Init-64 Error %X", status));
        return status;
    }
    log.Write(Format("Attach %04X:%04X jungo %d", match.wVendorId, match.wProductId, KernelVersion()));
    log.Blank();
    return 0;
}

} // namespace

uint32_t DriverInit() {
    const uint32_t status = OpenDriver();
    if (status != 0)
        log.Usb("Error in DriverInit()");
    return status;
}

void DriverUninit() {
    deviceLink.device = nullptr;
    {
        std::lock_guard guard(driverRecord.lock);
        if (driverRecord.context.attachEvent)
            OsEventClose(driverRecord.context.attachEvent);
        if (driverRecord.context.listMutex)
            OsMutexClose(driverRecord.context.listMutex);
        if (driverRecord.context.deviceUnusedEvent)
            OsEventClose(driverRecord.context.deviceUnusedEvent);
        driverRecord.context.attachEvent = driverRecord.context.listMutex =
            driverRecord.context.deviceUnusedEvent = nullptr;
    }
    if (driverRecord.handle) {
        WDU_Uninit(driverRecord.handle);
        driverRecord.handle = nullptr;
    }
    // No callback comes any more; one that came in between may have set these.
    deviceLink.device = nullptr;
    deviceLink.online = false;
    std::lock_guard guard(driverRecord.lock);
    FreeDevices(driverRecord.context);
}

} // namespace k274
