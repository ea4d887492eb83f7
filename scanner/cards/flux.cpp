// Records characters: data bits with the lowest first, then a bit that makes their number of ones odd.
#include "scanner/cards/flux.h"

namespace scanner {
namespace {

// Bits along a card and before the start sentinel, by track: the second is recorded wider than the others.
constexpr struct { size_t all, leadIn; } kBits[3] = {{708, 62}, {253, 22}, {708, 62}};

} // namespace

std::vector<uint8_t> RecordTrack(const Track &track, size_t index) {
    std::vector<uint8_t> bits;
    if (track.text.empty())
        return bits;
    bits.resize(kBits[index].leadIn);
    const int dataBits = track.bits - 1;
    const auto record = [&bits, dataBits](int value, bool wrongParity) {
        int parity = wrongParity ? 0 : 1;
        for (int bit = 0; bit < dataBits; bit++) {
            const int one = value >> bit & 1;
            parity ^= one;
            bits.push_back(static_cast<uint8_t>(one));
        }
        bits.push_back(static_cast<uint8_t>(parity));
    };
    const char firstCharacter = track.bits == 7 ? ' ' : '0';
    const std::string all = (track.bits == 7 ? '%' : ';') + track.text + '?';
    // A worn spot in the middle.
    const size_t worn = track.fault == TrackFault::kParity ? all.size() / 2 : all.size();
    int lrc = 0;
    for (size_t i = 0; i < all.size(); i++) {
        const int value = all[i] - firstCharacter;
        lrc ^= value;
        record(value, i == worn);
    }
    record(track.fault == TrackFault::kLrc ? lrc ^ 1 : lrc, false);
    // The longest texts that a card takes leave some zeros behind them.
    bits.resize(kBits[index].all);
    return bits;
}

} // namespace scanner
