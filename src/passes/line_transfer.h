// Image line transfer: one request and one image packet at a time, with the retry that all passes share.
#pragma once

#include "src/common/geometry.h"
#include "src/link/packet.h"

#include <cstdint>

namespace k274 {

/// What tells one pass's requests from another's.
struct LineChannel {
    const char *name;    // of the log's messages
    const char *lineEnd; // of the message that names a line
    uint8_t code, status;
    uint16_t linesPerPacket;
    uint32_t packetBytes;
    int recoveries; // that failed sends are followed by
};

constexpr LineChannel kRgbChannel = {"Rgb",
                                     " left",
                                     command::kRgbLines,
                                     wire::kFreshStatus,
                                     kRgbLinesPerPacket,
                                     kRgbLinesPerPacket *kRgbLineBytes,
                                     1};
constexpr LineChannel kIrChannel = {
    "IR", "", command::kIrLines, 0, kIrLinesPerPacket, kIrLinesPerPacket *kLinePixels, 2};
constexpr LineChannel kUvChannel = {
    "UV", " left", command::kUvLines, wire::kFreshStatus, kUvLinesPerPacket, kUvLinesPerPacket *kUvLineBytes,
    1};

// Image packets: the scanner's progress in lines, then the pixels.
constexpr uint32_t kProgressOffset = wire::kProgressAt;
constexpr uint32_t kPixelOffset = wire::kShortHeaderBytes;

/// The host keeps this distance, in packets, from the scanning head.
constexpr int kPacePackets = 4;

/// Fetches one packet into the transport's image packet buffer. A failed send or read is repeated once after
/// ResetDevice; failures are counted and logged.
/// @return false when the repetition failed, too: the pass ends
bool FetchLinePacket(const LineChannel &channel, int index);

/// Progress word of the packet just fetched.
int PacketProgress();

// The passes, in the order of a scan. Each fetches every line, corrects the image and cuts the card out of
// it. Monitor thread, device lock held. The result tells whether enough lines arrived.

/// Stripe image and tracks; what does not arrive keeps its old value.
void XfrMS();
bool XfrRgb();
bool XfrIR();
bool XfrUV();

/// First four bytes of a single visible-light line, or the result of the step that failed.
uint32_t ReadFirstRgbPixels();

} // namespace k274
