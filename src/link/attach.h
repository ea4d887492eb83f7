// Opens and closes the USB driver and follows the scanner as the driver reports it arriving and leaving.
// The callbacks run on the driver's own thread, while the library's threads may be transferring.
#pragma once

#include <atomic>
#include <cstdint>

namespace k274 {

/// Product id of the scanner; the vendor id is a build option.
constexpr uint16_t kProductId = 0x0274;

/// What the driver's callbacks and the transport share.
struct DeviceLink {
    std::atomic<void *> device{nullptr};    // callbacks: the attached scanner, null when there is none
    std::atomic<bool> online{false};        // callbacks: from an attach to the next detach
    std::atomic<int32_t> attaches{0};       // callbacks: since load
    std::atomic<int32_t> transferErrors{0}; // transport counts, an attach clears; limits the log
};
extern DeviceLink deviceLink;

/// @return 0, or the driver's status
uint32_t DriverInit();
void DriverUninit();

} // namespace k274
