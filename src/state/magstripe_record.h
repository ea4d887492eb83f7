// The magnetic record, laid out in the public header: the decoded tracks of the last card.
#pragma once

#include "include/k274.h"

#include <cstddef>

namespace k274 {

constexpr int kTracks = 3;
constexpr int kMaxTrackCharacters = 107;

using MagneticTrack = K274_Track;
using MagneticRecord = K274_Magnetic;
static_assert(offsetof(MagneticTrack, text) == 16, "layout of the magnetic record");

} // namespace k274
