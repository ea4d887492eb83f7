// The library's door: handles and their properties. Everything from outside is checked here, once; no
// exception passes.
#include "platform/sd2/sd2.h"

#include "platform/sd2/decode.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace {

constexpr int32_t kDone = 1, kMisuse = -1;
constexpr int32_t kVersionMajor = 1, kVersionMinor = 5;
constexpr char kVersionText[16] = "1.5";
constexpr intptr_t kMaxSide = 16384; // lines, pixels and bytes per line
constexpr intptr_t kMaxTimeMs = 600000;
constexpr int kUsualTimeMs = 150;

struct Decoder {
    const uint8_t *image = nullptr;
    int lines = 0, pixels = 0, stride = 0;
    bool pdf417 = false, code128 = false, code39 = false;
    int timeMs = kUsualTimeMs;
    sd2::Result result;
};

template <typename Number>
int32_t SetNumber(Number &target, intptr_t value, intptr_t least, intptr_t most) {
    if (value < least || value > most)
        return kMisuse;
    target = static_cast<Number>(value);
    return kDone;
}

int32_t Copy(void *destination, const void *source, size_t size) {
    if (size > 0)
        std::memcpy(destination, source, size);
    return kDone;
}

int32_t CopyNumber(void *destination, int32_t number) { return Copy(destination, &number, sizeof number); }

} // namespace

void *SD_Create(void) { return new (std::nothrow) Decoder; }

int32_t SD_Set(void *handle, uint32_t property, intptr_t value) {
    if (!handle)
        return kMisuse;
    Decoder &decoder = *static_cast<Decoder *>(handle);
    switch (property) {
    case SD_PROP_MODE:
        return value == 0 ? kDone : kMisuse;
    case SD_PROP_IMAGE:
        if (value == 0)
            return kMisuse;
        decoder.image = reinterpret_cast<const uint8_t *>(value);
        return kDone;
    case SD_PROP_LINES:
        return SetNumber(decoder.lines, value, 1, kMaxSide);
    case SD_PROP_PIXELS:
        return SetNumber(decoder.pixels, value, 1, kMaxSide);
    case SD_PROP_STRIDE:
        return SetNumber(decoder.stride, value, 1, kMaxSide);
    case SD_PROP_PDF417:
        return SetNumber(decoder.pdf417, value, 0, 1);
    case SD_PROP_CODE128:
        return SetNumber(decoder.code128, value, 0, 1);
    case SD_PROP_CODE39:
        return SetNumber(decoder.code39, value, 0, 1);
    case SD_PROP_TIME_LIMIT:
        return SetNumber(decoder.timeMs, value, 1, kMaxTimeMs);
    default:
        return kMisuse;
    }
}

int32_t SD_Decode(void *handle) try {
    if (!handle)
        return kMisuse;
    Decoder &decoder = *static_cast<Decoder *>(handle);
    decoder.result = sd2::Result();
    if (!decoder.image || decoder.lines == 0 || decoder.pixels == 0 || decoder.stride < decoder.pixels ||
        !(decoder.pdf417 || decoder.code128 || decoder.code39))
        return kMisuse;
    sd2::Request request;
    request.engine = &sd2::SD2_ENGINE; // the one that this library is built with
    request.image = {decoder.image, decoder.lines, decoder.pixels, decoder.stride};
    request.pdf417 = decoder.pdf417;
    request.code128 = decoder.code128;
    request.code39 = decoder.code39;
    request.budgetMs = decoder.timeMs;
    sd2::Result result;
    if (!sd2::Decode(request, &result))
        return 0;
    result.text.resize(std::min(result.text.size(), sd2::kMaxText));
    decoder.result = std::move(result);
    return 1;
} catch (...) {
    return 0; // out of memory: nothing was found
}

int32_t SD_Get(void *handle, uint32_t property, void *destination) {
    if (!handle || !destination)
        return kMisuse;
    const sd2::Result &result = static_cast<const Decoder *>(handle)->result;
    switch (property) {
    case SD_PROP_SYMBOLOGY:
        return CopyNumber(destination, result.symbology);
    case SD_PROP_TEXT_LENGTH:
        return CopyNumber(destination, static_cast<int32_t>(result.text.size()));
    case SD_PROP_TEXT:
        return Copy(destination, result.text.data(), result.text.size());
    case SD_PROP_ORIENTATION:
        return CopyNumber(destination, result.orientation);
    case SD_PROP_INFO:
        return Copy(destination, result.info.data(), sizeof result.info);
    case SD_PROP_POSITION:
        return Copy(destination, result.position.data(), sizeof result.position);
    case SD_PROP_VERSION_MAJOR:
        return CopyNumber(destination, kVersionMajor);
    case SD_PROP_VERSION_MINOR:
        return CopyNumber(destination, kVersionMinor);
    case SD_PROP_VERSION_TEXT:
        return Copy(destination, kVersionText, sizeof kVersionText);
    default:
        return kMisuse;
    }
}

void SD_Destroy(void *handle) { delete static_cast<Decoder *>(handle); }
