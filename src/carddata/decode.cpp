#include "src/carddata/decode.h"

#include "platform/sd2/sd2.h"

#include <algorithm>
#include <chrono>

namespace k274 {

namespace {

using Clock = std::chrono::steady_clock;

uint16_t MillisecondsSince(Clock::time_point start) {
    const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
    return static_cast<uint16_t>(std::min<int64_t>(elapsed.count(), UINT16_MAX));
}

void Describe(void *decoder, ConstGreyView image, Symbologies wanted) {
    SD_Set(decoder, SD_PROP_MODE, 0);
    SD_Set(decoder, SD_PROP_LINES, image.rows);
    SD_Set(decoder, SD_PROP_PIXELS, image.columns);
    SD_Set(decoder, SD_PROP_STRIDE, image.columns);
    SD_Set(decoder, SD_PROP_IMAGE, reinterpret_cast<intptr_t>(image.data));
    SD_Set(decoder, SD_PROP_PDF417, 1);
    if (wanted == Symbologies::All) {
        SD_Set(decoder, SD_PROP_CODE128, 1);
        SD_Set(decoder, SD_PROP_CODE39, 1);
    }
}

// The library writes as many bytes as it says: a length that does not fit is no text.
void TakeText(void *decoder, Decoded &decoded) {
    SD_Get(decoder, SD_PROP_TEXT_LENGTH, &decoded.length);
    if (decoded.length > 0 && decoded.length <= static_cast<int32_t>(sizeof decoded.text))
        SD_Get(decoder, SD_PROP_TEXT, decoded.text);
    else
        decoded.length = 0;
}

} // namespace

Decoded DecodeImage(ConstGreyView image, Symbologies wanted) {
    Decoded decoded;
    const auto start = Clock::now();
    void *decoder = SD_Create();
    if (!decoder)
        return decoded;
    Describe(decoder, image, wanted);
    SD_Decode(decoder);
    SD_Get(decoder, SD_PROP_SYMBOLOGY, &decoded.symbology);
    SD_Get(decoder, SD_PROP_ORIENTATION, &decoded.orientation);
    SD_Get(decoder, SD_PROP_INFO, decoded.info);
    SD_Get(decoder, SD_PROP_POSITION, decoded.position);
    TakeText(decoder, decoded);
    decoded.milliseconds = MillisecondsSince(start);
    SD_Destroy(decoder);
    return decoded;
}

} // namespace k274
