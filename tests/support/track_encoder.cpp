// Characters to bits, bits to the scanner's blocks.
#include "tests/support/track_encoder.h"

#include <algorithm>

namespace k274::test {

std::vector<uint8_t> RecordedBits(const Recording &recording) {
    const int dataBits = recording.fiveBit ? 4 : 6;
    std::vector<uint8_t> bits(static_cast<size_t>(recording.zerosBefore), 0);
    const auto append = [&](int value, bool evenParity) {
        bool parity = !evenParity;
        for (int i = 0; i < dataBits; ++i) {
            const bool one = value >> i & 1;
            bits.push_back(one);
            parity ^= one;
        }
        bits.push_back(parity);
    };
    int lrc = 0;
    for (size_t i = 0; i < recording.text.size(); ++i) {
        const int value = recording.text[i] - (recording.fiveBit ? '0' : ' ');
        lrc ^= value;
        append(value, recording.evenParityAt == static_cast<int>(i));
    }
    if (!recording.text.empty())
        append(recording.lrc == LrcFault::WrongValue ? lrc ^ 1 : lrc, recording.lrc == LrcFault::EvenParity);
    bits.insert(bits.end(), static_cast<size_t>(recording.zerosBehind), 0);
    return bits;
}

std::vector<uint8_t> TrackBlock(std::vector<uint8_t> bits, bool backward, uint8_t spare) {
    const size_t count = bits.size();
    if (!backward)
        std::reverse(bits.begin(), bits.end());
    for (uint8_t &bit : bits)
        bit = bit == 0;
    bits.resize(1024, spare);
    for (size_t i = 0; i < 4; ++i)
        bits[1020 + i] = static_cast<uint8_t>(count >> 8 * i);
    return bits;
}

} // namespace k274::test
