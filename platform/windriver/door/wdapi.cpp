// The driver library's functions: arguments are checked here, and the environment says which device answers.
#include "platform/windriver/wdapi.h"

#include "platform/windriver/door/backends.h"

#include <cstdio>
#include <exception>
#include <memory>
#include <mutex>

namespace {

using wdapi::Backend;

// The one open driver. Never destroyed: a host that exits without closing has threads in here until the end.
struct OpenDriver {
    std::mutex mutex;
    std::shared_ptr<Backend> driver;
};

OpenDriver &Open() {
    static auto *const open = new OpenDriver;
    return *open;
}

/// Transfers keep their driver alive while they run; null when none is open.
std::shared_ptr<Backend> Driver() {
    const std::lock_guard<std::mutex> lock(Open().mutex);
    return Open().driver;
}

uint32_t Refuse(const char *why) {
    std::fprintf(stderr, "wdapi1140: %s\n", why);
    return wdapi::kFailed;
}

uint32_t OpenBackend(void **handle, const WDU_MATCH_TABLE *tables, uint32_t count,
                     const WDU_EVENT_TABLE &events) {
    std::shared_ptr<Backend> driver;
    {
        const std::lock_guard<std::mutex> lock(Open().mutex);
        if (Open().driver)
            return Refuse("the driver is open already; close it with WDU_Uninit first");
        driver = wdapi::MakeBackend(tables, count, events);
        *handle = driver.get(); // before the first callback
        Open().driver = driver;
        try {
            driver->Start();
        } catch (...) {
            Open().driver.reset();
            *handle = nullptr;
            throw;
        }
    }
    driver->AwaitFirstNews();
    return wdapi::kSuccess;
}

} // namespace

extern "C" {

uint32_t WDU_Init(void **driver, WDU_MATCH_TABLE *matchTables, uint32_t matchCount, WDU_EVENT_TABLE *events,
                  uint32_t /*options*/) {
    if (driver == nullptr)
        return wdapi::kInvalidParameter;
    *driver = nullptr;
    if (matchTables == nullptr || matchCount == 0 || events == nullptr)
        return wdapi::kInvalidParameter;
    try {
        return OpenBackend(driver, matchTables, matchCount, *events);
    } catch (const std::exception &error) {
        return Refuse(error.what());
    }
}

void WDU_Uninit(void *driver) {
    std::shared_ptr<Backend> closing;
    {
        const std::lock_guard<std::mutex> lock(Open().mutex);
        if (driver == nullptr || Open().driver.get() != driver)
            return;
        closing.swap(Open().driver);
    }
    closing->Stop();
}

uint32_t WDU_TransferBulk(void *device, uint32_t pipe, int32_t read, uint32_t /*options*/, void *buffer,
                          uint32_t size, uint32_t *transferred, uint32_t timeoutMs) {
    uint32_t unwanted = 0;
    uint32_t *count = transferred != nullptr ? transferred : &unwanted;
    *count = 0;
    const auto driver = Driver();
    if (!driver)
        return wdapi::kInvalidHandle;
    try {
        return driver->Run(device, {pipe, read != 0, static_cast<uint8_t *>(buffer), size, count, timeoutMs});
    } catch (const std::exception &error) { // no memory for a fault's work
        return Refuse(error.what());
    }
}

uint32_t WDU_ResetPipe(void *device, uint32_t pipe) {
    const auto driver = Driver();
    return driver ? driver->ResetPipe(device, pipe) : uint32_t{wdapi::kInvalidHandle};
}

uint32_t WDU_ResetDevice(void *device, uint32_t options) {
    const auto driver = Driver();
    return driver ? driver->ResetDevice(device, options) : uint32_t{wdapi::kInvalidHandle};
}

} // extern "C"
