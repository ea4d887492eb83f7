// Fixed-point gain of a row of colour pixels, the one multiplication that every byte of an image goes
// through.
#pragma once

#include <array>
#include <cstdint>

namespace k274 {

/// Three gains x 128, laid out for 16 pixels.
struct GainPattern {
    explicit GainPattern(const uint16_t (&gains)[3]);
    static constexpr int kBytes = 48;
    alignas(16) std::array<uint16_t, kBytes> factor;
};

/// Writes min(255, (byte x gain) >> 7) of every byte, in the pattern's order from its start. The rows may
/// be the same one, but not overlap otherwise.
void GainRow(const uint8_t *from, uint8_t *to, int bytes, const GainPattern &gains);

/// The same in plain C++, what other processors run.
void GainRowPortable(const uint8_t *from, uint8_t *to, int bytes, const GainPattern &gains);

} // namespace k274
