// Image line transfer: one request and one image packet at a time, with the retry that all passes share.
#pragma once

#include "src/common/geometry.h"

#include <cstdint>

namespace k274 {

/// What tells one pass's requests from another's.
struct LineChannel {
    const char *name; // of the log's messages
    uint8_t code;
    uint16_t linesPerPacket;
    uint32_t packetBytes;
};

constexpr LineChannel kRgbChannel = {"Rgb", 1, kRgbLinesPerPacket, kRgbLinesPerPacket *kRgbLineBytes};

// Image packets: the scanner's progress in lines, then the pixels.
constexpr uint32_t kProgressOffset = 16;
constexpr uint32_t kPixelOffset = 24;

/// Fetches one packet into the transport's image packet buffer. A failed send or read is repeated once after
/// ResetDevice; failures are counted and logged.
/// @return false when the repetition failed, too: the pass ends
bool FetchLinePacket(const LineChannel &channel, int index);

/// Progress word of the packet just fetched.
int PacketProgress();

/// The visible-light pass: fetches every line, corrects the image and cuts the card out of it.
/// @return false when too few lines arrived
bool XfrRgb();

/// First four bytes of a single visible-light line, or the result of the step that failed.
uint32_t ReadFirstRgbPixels();

} // namespace k274
