// Decodes the bits that the magnetic head read into the characters of three tracks. The card may have passed
// the head in either direction.
#pragma once

#include "src/state/magstripe_record.h"
#include "wire/packet.h"

namespace k274 {

constexpr size_t kTracksBytes = kTracks * wire::kTrackBlockBytes;

/// Bits and characters of one track.
struct TrackDecoder {
    uint8_t bits[wire::kTrackBits] = {}; // 0 or 1
    int32_t bitCount = 0;                // as the scanner says; any value
    int count = 0;                       // characters
    int error = 0;
    bool started = false; // a start sentinel was found
    uint8_t characters[kMaxTrackCharacters] = {};
};

/// How characters are recorded: data bits, least significant first, then a bit of odd parity.
struct TrackFormat {
    int dataBits;
    uint8_t firstCharacter; // of value 0
    uint8_t endSentinel;    // value
    int fewestBits;
    int firstPosition;
    const char *startSentinel; // bits, with the two zeros before it
};
extern const TrackFormat kSevenBit, kFiveBit;

/// Decodes the track's bits from its start sentinel on. Characters before a parity error stay.
void DecodeTrack(const TrackFormat &format, TrackDecoder *track);

/// Decodes the scanner's reply, three blocks of bits with their counts, and fills the record.
void DecodeTracks(const uint8_t (&reply)[kTracksBytes], MagneticRecord *record);

/// The two characters by which the log tells a bad track: "E1", "E3" or "E2" in this order, else blanks.
const char *StripeMark(const MagneticRecord &record);

} // namespace k274
