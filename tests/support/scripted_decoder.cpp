#include "tests/support/scripted_decoder.h"

#include "platform/sd2/sd2.h"

#include <cstring>
#include <map>

namespace scripted {

namespace {

Decoder decoder;

struct Handle {
    std::map<uint32_t, intptr_t> properties;
    Symbol found;
};

template <typename Value>
int32_t Put(void *destination, const Value &value) {
    std::memcpy(destination, &value, sizeof value);
    return 1;
}

} // namespace

Decoder &TheDecoder() { return decoder; }

void ResetDecoder() { decoder = Decoder(); }

} // namespace scripted

using scripted::decoder;
using scripted::Handle;

void *SD_Create(void) { return new Handle; }

int32_t SD_Set(void *handle, uint32_t property, intptr_t value) {
    static_cast<Handle *>(handle)->properties[property] = value;
    return 1;
}

int32_t SD_Decode(void *handle) {
    auto &self = *static_cast<Handle *>(handle);
    if (decoder.onDecode)
        self.found = decoder.onDecode({reinterpret_cast<const uint8_t *>(self.properties[SD_PROP_IMAGE]),
                                       static_cast<int>(self.properties[SD_PROP_LINES]),
                                       static_cast<int>(self.properties[SD_PROP_PIXELS]),
                                       self.properties[SD_PROP_CODE128] && self.properties[SD_PROP_CODE39]});
    return self.found.symbology != 0;
}

int32_t SD_Get(void *handle, uint32_t property, void *destination) {
    const scripted::Symbol &found = static_cast<Handle *>(handle)->found;
    switch (property) {
    case SD_PROP_VERSION_MAJOR:
        return scripted::Put(destination, decoder.major);
    case SD_PROP_VERSION_MINOR:
        return scripted::Put(destination, decoder.minor);
    case SD_PROP_VERSION_TEXT:
        std::memcpy(destination, "1.5.0 of a test", 16);
        return 1;
    case SD_PROP_SYMBOLOGY:
        return scripted::Put(destination, found.symbology);
    case SD_PROP_TEXT_LENGTH:
        return scripted::Put(destination, found.claimedLength >= 0 ? found.claimedLength
                                                                   : static_cast<int32_t>(found.text.size()));
    case SD_PROP_ORIENTATION:
        return scripted::Put(destination, found.symbology ? found.orientation : 0);
    case SD_PROP_INFO:
        return found.symbology ? scripted::Put(destination, found.info) : 1;
    case SD_PROP_POSITION:
        return found.symbology ? scripted::Put(destination, found.position) : 1;
    case SD_PROP_TEXT:
        std::memcpy(destination, found.text.data(), found.text.size());
        return 1;
    default:
        return -1;
    }
}

void SD_Destroy(void *handle) { delete static_cast<Handle *>(handle); }
