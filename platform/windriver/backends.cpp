#include "platform/windriver/backends.h"

#include "platform/windriver/virtual_driver.h"
#if defined(WDAPI_USB)
#include "platform/windriver/usb_driver.h"
#endif

#include <cstdlib>
#include <stdexcept>
#include <string>

namespace wdapi {

std::shared_ptr<Backend> MakeBackend(const WDU_MATCH_TABLE *tables, uint32_t count,
                                     const WDU_EVENT_TABLE &events) {
    const char *variable = std::getenv("K274_DEVICE");
    // A production host never takes a virtual card for a real one: without a word it is a real scanner.
    const std::string device = variable && variable[0] ? variable : "usb";
    if (device == "virtual")
        return std::make_shared<VirtualDriver>(scanner::TheScanner(), tables, count, events);
#if defined(WDAPI_USB)
    if (device == "usb")
        return std::make_shared<UsbDriver>(tables, count, events);
#else
    if (device == "usb")
        throw std::runtime_error(
            "K274_DEVICE is usb, or not set, which means the same, and here the maker's own driver "
            "library serves USB; put it in this one's place, or set K274_DEVICE=virtual");
#endif
    throw std::runtime_error("K274_DEVICE=" + device +
                             " names no device; for the virtual scanner set K274_DEVICE=virtual");
}

} // namespace wdapi
