// A barcode decoder that takes longer than the library has patience, in the place of sd2.
#include "platform/sd2/sd2.h"

#include <chrono>
#include <cstring>
#include <string>
#include <thread>

namespace {

struct Handle {
    bool linear = false;
    bool decoded = false;
};

const std::string kText = "SLOW";

template <typename Value>
int32_t Put(void *destination, const Value &value) {
    std::memcpy(destination, &value, sizeof value);
    return 1;
}

} // namespace

void *SD_Create(void) { return new Handle; }

int32_t SD_Set(void *handle, uint32_t property, intptr_t value) {
    if (property == SD_PROP_CODE128)
        static_cast<Handle *>(handle)->linear = value != 0;
    return 1;
}

int32_t SD_Decode(void *handle) {
    auto &self = *static_cast<Handle *>(handle);
    if (!self.linear) // white cards are decoded within the scan
        return 0;
    std::this_thread::sleep_for(std::chrono::milliseconds(400));
    self.decoded = true;
    return 1;
}

int32_t SD_Get(void *handle, uint32_t property, void *destination) {
    const bool decoded = static_cast<Handle *>(handle)->decoded;
    constexpr uint16_t kInfo[8] = {1}, kPosition[2] = {10, 20};
    switch (property) {
    case SD_PROP_VERSION_MAJOR:
        return Put(destination, int32_t{1});
    case SD_PROP_VERSION_MINOR:
        return Put(destination, int32_t{5});
    case SD_PROP_VERSION_TEXT:
        std::memcpy(destination, "1.5", 4);
        return 1;
    case SD_PROP_SYMBOLOGY:
        return Put(destination, decoded ? int32_t{SD_PDF417} : 0);
    case SD_PROP_TEXT_LENGTH:
        return Put(destination, decoded ? static_cast<int32_t>(kText.size()) : 0);
    case SD_PROP_ORIENTATION:
        return Put(destination, int32_t{decoded});
    case SD_PROP_INFO:
        return decoded ? Put(destination, kInfo) : 1;
    case SD_PROP_POSITION:
        return decoded ? Put(destination, kPosition) : 1;
    case SD_PROP_TEXT:
        std::memcpy(destination, kText.data(), kText.size());
        return 1;
    default:
        return -1;
    }
}

void SD_Destroy(void *handle) { delete static_cast<Handle *>(handle); }
