// Fixed-point gain of rows of bytes, the one multiplication that every byte of an image goes through.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

namespace k274 {

/// A gain with so many bits behind the point, as what a byte is multiplied by: bytes are taken times 256, so
/// that the upper half of the 32-bit product is the byte times the gain, shifted right. The largest gains
/// make 255 of every byte but 0, so that cutting them changes nothing.
template <int kBits>
constexpr uint16_t GainFactor(uint16_t gain) {
    constexpr int kUp = 8 - kBits;
    return static_cast<uint16_t>(std::min<int>(gain, 0xFFFF >> kUp) << kUp);
}

/// min(255, (byte x gain) >> bits)
inline uint8_t Gained(uint8_t value, uint16_t factor) {
    const auto times256 = static_cast<uint16_t>(value << 8);
    const auto product = static_cast<uint16_t>(uint32_t{times256} * factor >> 16);
    return static_cast<uint8_t>(product | -(product > 255));
}

/// Three gains x 128, laid out for 16 pixels.
struct GainPattern {
    explicit GainPattern(const uint16_t (&gains)[3]);
    static constexpr int kBytes = 48;
    alignas(16) std::array<uint16_t, kBytes> factor;
};

/// Every byte times its gain, in the pattern's order from its start. The rows may be the same one, but not
/// overlap otherwise.
void GainRow(const uint8_t *from, uint8_t *to, int bytes, const GainPattern &gains);

/// The same in plain C++, what other processors run.
void GainRowPortable(const uint8_t *from, uint8_t *to, int bytes, const GainPattern &gains);

} // namespace k274
