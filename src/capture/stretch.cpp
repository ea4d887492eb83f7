// The inner loop of stretching.
#include "src/capture/stretch.h"

namespace k274 {

void StretchRow(const uint8_t *a, const uint8_t *b, const StretchEntry &entry, int bytes, uint8_t *out) {
    const uint16_t wA = entry.wA, wB = entry.wB;
    // The sum fits 16 bits, as the weights add up to 256.
    for (int i = 0; i < bytes; i++)
        out[i] = static_cast<uint8_t>(static_cast<uint16_t>(a[i] * wA + b[i] * wB) >> 8);
}

} // namespace k274
