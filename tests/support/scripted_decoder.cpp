#include "tests/support/scripted_decoder.h"

#include "platform/sd2/sd2.h"

#include <map>

namespace scripted {

namespace {

Decoder decoder;

struct Handle {
    std::map<uint32_t, intptr_t> properties;
    Symbol found;
};

template <typename Value>
std::string Bytes(const Value &value) {
    return {reinterpret_cast<const char *>(&value), sizeof value};
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
    using scripted::Bytes;
    const scripted::Symbol &found = static_cast<Handle *>(handle)->found;
    const bool any = found.symbology != 0; // otherwise some places stay as they are
    const auto length = static_cast<int32_t>(found.text.size());
    const std::map<uint32_t, std::string> values{
        {SD_PROP_VERSION_MAJOR, Bytes(decoder.major)},
        {SD_PROP_VERSION_MINOR, Bytes(decoder.minor)},
        {SD_PROP_VERSION_TEXT, std::string("1.5.0 of a test", 16)},
        {SD_PROP_SYMBOLOGY, Bytes(found.symbology)},
        {SD_PROP_TEXT_LENGTH, Bytes(found.claimedLength >= 0 ? found.claimedLength : length)},
        {SD_PROP_ORIENTATION, Bytes(any ? found.orientation : 0)},
        {SD_PROP_INFO, any ? Bytes(found.info) : ""},
        {SD_PROP_POSITION, any ? Bytes(found.position) : ""},
        {SD_PROP_TEXT, found.text}};
    const auto value = values.find(property);
    if (value == values.end())
        return -1;
    value->second.copy(static_cast<char *>(destination), value->second.size());
    return 1;
}

void SD_Destroy(void *handle) { delete static_cast<Handle *>(handle); }
