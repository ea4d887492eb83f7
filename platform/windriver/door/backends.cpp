#include "platform/windriver/door/backends.h"

#include "platform/windriver/record/driver.h"
#include "platform/windriver/replay/driver.h"
#include "platform/windriver/virtual/driver.h"
#if defined(WDAPI_USB)
#include "platform/windriver/usb/driver.h"
#endif

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace wdapi {
namespace {

const std::string kReplay = "replay:";

bool IsReplay(const std::string &device) { return device.compare(0, kReplay.size(), kReplay) == 0; }

std::string Variable(const char *name, const char *absent) {
    const char *value = std::getenv(name);
    return value != nullptr && value[0] != '\0' ? value : absent;
}

std::shared_ptr<Backend> MakeDevice(const std::string &device, const WDU_MATCH_TABLE *tables, uint32_t count,
                                    const WDU_EVENT_TABLE &events) {
    if (IsReplay(device))
        return std::make_shared<ReplayDriver>(device.substr(kReplay.size()), events);
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

} // namespace

std::shared_ptr<Backend> MakeBackend(const WDU_MATCH_TABLE *tables, uint32_t count,
                                     const WDU_EVENT_TABLE &events) {
    // A production host never takes a virtual card for a real one: without a word it is a real scanner.
    const std::string device = Variable("K274_DEVICE", "usb"), file = Variable("K274_RECORD", "");
    if (file.empty())
        return MakeDevice(device, tables, count, events);
    std::error_code ignored;
    if (IsReplay(device) && std::filesystem::equivalent(device.substr(kReplay.size()), file, ignored))
        throw std::runtime_error("K274_RECORD and K274_DEVICE name the same recording: name another file");
    const auto recorder = std::make_shared<RecordingDriver>(file, tables[0], events);
    recorder->Record(MakeDevice(device, tables, count, recorder->Events()), device);
    return recorder;
}

} // namespace wdapi
