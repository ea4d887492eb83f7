// Track decoding: normalising the bits, finding the sentinels, parity and LRC.
#include "src/carddata/magstripe.h"

#include "wire/bytes.h"

#include <algorithm>
#include <cstring>

namespace k274 {

const TrackFormat kSevenBit = {6, 0x20, 31, 200, 4, "001010001"};
const TrackFormat kFiveBit = {4, 0x30, 15, 100, 2, "0011010"};

namespace {

// The start sentinels as a backward swipe leaves them at the end of a track, read from its last bit backward,
// with the zeros behind them.
constexpr char kEndOfTrack1[] = "1010001";
constexpr int kZerosBehindTrack1 = 4;
constexpr char kEndOfTrack2[] = "11010";
constexpr int kZerosBehindTrack2 = 2;
constexpr int32_t kFewestBitsBackward = 101;

// The LRC character is dropped from tracks that are longer than this.
constexpr int kShortTrack = 20;
constexpr int kShortTrack2 = 10;

constexpr int32_t kBitsKeptFree = 20; // no character begins in a track's last bits

/// Bits outside the block read as 0.
int Bit(const TrackDecoder &track, int32_t position) {
    return position >= 0 && position < static_cast<int32_t>(wire::kTrackBits) ? track.bits[position] : 0;
}

bool BitsRead(const TrackDecoder &track, int32_t position, int step, const char *pattern) {
    for (; *pattern != 0; ++pattern, position += step)
        if (Bit(track, position) != *pattern - '0')
            return false;
    return true;
}

/// Position of the start sentinel, -1 without one. A track that fills its block has none.
int32_t FindStart(const TrackFormat &format, const TrackDecoder &track) {
    if (track.bitCount >= static_cast<int32_t>(wire::kTrackBits))
        return -1;
    for (int32_t position = format.firstPosition; position <= track.bitCount / 2; ++position)
        if (BitsRead(track, position - 2, 1, format.startSentinel))
            return position;
    return -1;
}

/// Reads the characters of one track in turn.
struct CharacterReader {
    const TrackFormat &format;
    TrackDecoder &track;
    int32_t position;
    int value = 0;
    int lrc = 0;
    bool parityOdd = true;

    /// False when the parity is even; the character then takes part in the LRC but is not kept.
    bool Read() {
        value = 0;
        int ones = 0;
        for (int bit = 0; bit <= format.dataBits; ++bit) {
            const int one = Bit(track, position + bit);
            ones += one;
            if (bit < format.dataBits)
                value |= one << bit;
        }
        lrc ^= value;
        parityOdd = ones % 2 == 1;
        if (parityOdd) {
            track.characters[track.count++] = static_cast<uint8_t>(value + format.firstCharacter);
            position += format.dataBits + 1;
        }
        return parityOdd;
    }
    /// Whether another character may be kept: a track that runs over ends with the last one that fits.
    bool Room() const { return track.count < kMaxTrackCharacters; }
};

void Reverse(TrackDecoder *track) {
    if (track->bitCount > 0 && track->bitCount <= static_cast<int32_t>(wire::kTrackBits))
        std::reverse(track->bits, track->bits + track->bitCount);
}

void DropLrc(int shortTrack, TrackDecoder *track) {
    if (track->count > shortTrack && track->characters[track->count - 2] == '?')
        --track->count;
}

void DecodeAll(TrackDecoder (&tracks)[kTracks]) {
    DecodeTrack(kSevenBit, &tracks[0]);
    DecodeTrack(kFiveBit, &tracks[1]);
    DecodeTrack(kSevenBit, &tracks[2]);
    if (tracks[2].count == 0 && tracks[2].bitCount >= 101)
        DecodeTrack(kFiveBit, &tracks[2]);
    DropLrc(kShortTrack, &tracks[0]);
    DropLrc(kShortTrack2, &tracks[1]);
    DropLrc(kShortTrack, &tracks[2]);
}

bool EndsInSentinel(const TrackDecoder &track, const char *sentinel, int zerosBehind) {
    if (track.bitCount < kFewestBitsBackward)
        return false;
    const int32_t lowest = std::max(track.bitCount - 99, kFewestBitsBackward);
    for (int32_t last = std::min(track.bitCount, static_cast<int32_t>(wire::kTrackBits)) - 1; last >= lowest;
         --last)
        if (Bit(track, last) == 1)
            return BitsRead(track, last + 1, 1, &"0000"[4 - zerosBehind]) &&
                   BitsRead(track, last, -1, sentinel);
    return false;
}

/// Track 1 decides: read backward it either shows a fault or, as a rule, no start sentinel at all.
bool SwipedBackward(const TrackDecoder (&tracks)[kTracks]) {
    return (tracks[0].error >= 1 || !tracks[0].started) &&
           EndsInSentinel(tracks[0], kEndOfTrack1, kZerosBehindTrack1) &&
           EndsInSentinel(tracks[1], kEndOfTrack2, kZerosBehindTrack2);
}

} // namespace

void DecodeTrack(const TrackFormat &format, TrackDecoder *track) {
    track->count = 0;
    track->error = 0;
    track->started = false;
    if (track->bitCount < format.fewestBits)
        return;
    CharacterReader reader = {format, *track, FindStart(format, *track)};
    if (reader.position < 0)
        return;
    track->started = true;
    bool lrcGood = false;
    while (reader.parityOdd && reader.Room() && reader.position < track->bitCount - kBitsKeptFree) {
        if (!reader.Read() || reader.value != format.endSentinel || !reader.Room())
            continue;
        reader.Read(); // the LRC character; its value counts even when its own parity is wrong
        lrcGood = lrcGood || reader.lrc == 0;
    }
    track->error = !lrcGood && (reader.lrc != 0 || !reader.parityOdd) ? 1 : 0;
}

void DecodeTracks(const uint8_t (&reply)[kTracksBytes], MagneticRecord *record) {
    TrackDecoder tracks[kTracks];
    for (int i = 0; i < kTracks; ++i) {
        const uint8_t *block = reply + static_cast<size_t>(i) * wire::kTrackBlockBytes;
        // The scanner sends the bits inverted and the last one first.
        std::transform(block, block + wire::kTrackBits, tracks[i].bits,
                       [](uint8_t bit) { return static_cast<uint8_t>(bit == 0); });
        tracks[i].bitCount = static_cast<int32_t>(wire::Load32(block + wire::kTrackBits));
        Reverse(&tracks[i]);
    }
    DecodeAll(tracks);
    if (SwipedBackward(tracks)) {
        for (TrackDecoder &track : tracks)
            Reverse(&track);
        DecodeAll(tracks);
    }
    *record = {};
    for (int i = 0; i < kTracks; ++i) {
        MagneticTrack &entry = record->tracks[i];
        entry.count = static_cast<uint8_t>(tracks[i].count);
        entry.error = static_cast<uint8_t>(tracks[i].error);
        wire::Store16(entry.bits, static_cast<uint16_t>(tracks[i].bitCount & 0xFFFF));
        std::memcpy(entry.text, tracks[i].characters, static_cast<size_t>(tracks[i].count));
    }
}

const char *StripeMark(const MagneticRecord &record) {
    return record.tracks[0].error != 0   ? "E1"
           : record.tracks[2].error != 0 ? "E3"
           : record.tracks[1].error != 0 ? "E2"
                                         : "  ";
}

} // namespace k274
