/* The USB driver library as the device link uses it.
 *
 * Everything the library knows of the driver is in this file. The stand-in in this folder is one
 * implementation; any library of the same name and functions serves as well. All functions are cdecl.
 * A status is a 32-bit code, 0 for success. The attach callback may come before WDU_Init returns or
 * after, on the driver's own thread; callbacks may come while transfers run.
 */
#ifndef K274_WDAPI_H
#define K274_WDAPI_H

#include <stdint.h>

#if defined(_WIN32) && defined(WDAPI_BUILD)
#define WDAPI __declspec(dllexport)
#elif defined(_WIN32)
#define WDAPI __declspec(dllimport)
#else
#define WDAPI __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* One entry selects the scanner. */
typedef struct {
    uint16_t wVendorId, wProductId;
    uint8_t bDeviceClass, bDeviceSubClass;
    uint8_t bInterfaceClass, bInterfaceSubClass, bInterfaceProtocol;
} WDU_MATCH_TABLE;

#pragma pack(push, 1)
/* USB device descriptor, 18 bytes. */
typedef struct {
    uint8_t bLength, bDescriptorType;
    uint16_t bcdUSB;
    uint8_t bDeviceClass, bDeviceSubClass, bDeviceProtocol, bMaxPacketSize0;
    uint16_t idVendor, idProduct, bcdDevice;
    uint8_t iManufacturer, iProduct, iSerialNumber, bNumConfigurations;
} WDU_DEVICE_DESCRIPTOR;

/* USB interface descriptor, 9 bytes. */
typedef struct {
    uint8_t bLength, bDescriptorType, bInterfaceNumber, bAlternateSetting, bNumEndpoints;
    uint8_t bInterfaceClass, bInterfaceSubClass, bInterfaceProtocol, iInterface;
} WDU_INTERFACE_DESCRIPTOR;
#pragma pack(pop)

typedef struct {
    WDU_INTERFACE_DESCRIPTOR Descriptor;
} WDU_ALTERNATE_SETTING;

typedef struct {
    WDU_ALTERNATE_SETTING *pActiveAltSetting;
} WDU_INTERFACE;

typedef struct {
    WDU_DEVICE_DESCRIPTOR Descriptor;
    WDU_INTERFACE *pActiveInterface[32]; /* unused entries null */
} WDU_DEVICE;

typedef struct {
    int32_t (*pfDeviceAttach)(void *device, WDU_DEVICE *info, void *userData); /* non-zero accepts */
    void (*pfDeviceDetach)(void *device, void *userData);
    int32_t (*pfPowerChange)(void *device, uint32_t powerState, void *userData);
    void *pUserData;
} WDU_EVENT_TABLE;

WDAPI uint32_t WDU_Init(void **driver, WDU_MATCH_TABLE *matchTables, uint32_t matchCount,
                        WDU_EVENT_TABLE *events, uint32_t options);
WDAPI void WDU_Uninit(void *driver);

/* One bulk transfer; *transferred is always written. */
WDAPI uint32_t WDU_TransferBulk(void *device, uint32_t pipe, int32_t read, uint32_t options, void *buffer,
                                uint32_t size, uint32_t *transferred, uint32_t timeoutMs);
WDAPI uint32_t WDU_ResetPipe(void *device, uint32_t pipe);
WDAPI uint32_t WDU_ResetDevice(void *device, uint32_t options); /* 1 hard reset, 2 cycle port */

WDAPI uint32_t OsEventCreate(void **event);
WDAPI uint32_t OsEventSignal(void *event);
WDAPI uint32_t OsEventWait(void *event, int32_t timeoutSeconds); /* -1 waits for ever */
WDAPI void OsEventClose(void *event);
WDAPI uint32_t OsMutexCreate(void **mutex);
WDAPI uint32_t OsMutexLock(void *mutex);
WDAPI uint32_t OsMutexUnlock(void *mutex);
WDAPI void OsMutexClose(void *mutex);

#ifdef __cplusplus
}
#endif

#endif
