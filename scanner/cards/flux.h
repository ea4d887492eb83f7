// A track of the magnetic stripe as it is recorded: the bits along the whole card, clocking zeros included.
#pragma once

#include "scanner/cards/card.h"

#include <cstdint>
#include <vector>

namespace scanner {

/// One byte a bit, the start sentinel's end of the card first; empty for a blank track.
/// @param index  0 to 2
std::vector<uint8_t> RecordTrack(const Track &track, size_t index);

} // namespace scanner
