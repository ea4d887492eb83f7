// The magnetic record: the decoded tracks of the last card. The host copies it whole and a scan file stores
// it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace k274 {

constexpr int kTracks = 3;
constexpr int kMaxTrackCharacters = 107;

struct MagneticTrack {
    uint8_t count;   // characters
    uint8_t error;   // 0 good; low byte of the error count
    uint8_t bits[2]; // bit count as the scanner gave it, little-endian
    uint8_t reserved4[12];
    uint8_t text[112]; // not terminated; zero behind the characters
};

struct MagneticRecord {
    MagneticTrack tracks[kTracks];
};

static_assert(sizeof(MagneticRecord) == 384 && offsetof(MagneticTrack, text) == 16,
              "layout of the magnetic record");

} // namespace k274
