// Image line transfer: one request and one image packet at a time, with the retry and the pace that all
// passes of lines share.
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

/// How a pass runs through its lines.
struct LinePass {
    LineChannel channel;
    int first, last, step;  // indices of the packets, up or down; none beyond the last
    int span;               // lines that the scanning head passes; a progress outside of them says nothing
    uint32_t paceMs;        // waited when the head is near
    bool heedsCloseAtStart; // K274_Close is heeded before the first packet, too
    bool endsWithScan;      // the status word's end bit ends the pass behind a packet
};

constexpr LinePass kRgbPass = {
    kRgbChannel, 2200 - kRgbLinesPerPacket, 100, -kRgbLinesPerPacket, kRgbColumns, 10, false, true};
constexpr LinePass kIrPass = {kIrChannel, 100, 2289, kIrLinesPerPacket, kIrColumns, 10, true, false};
constexpr LinePass kUvPass = {
    kUvChannel, kUvLines - kUvLinesPerPacket, 0, -kUvLinesPerPacket, kUvLines, 20, true, false};

/// Where the pixels begin in an image packet.
constexpr uint32_t kPixelOffset = wire::kShortHeaderBytes;

struct LinesFetched {
    int index;   // of the last request, answered or not
    int packets; // that arrived
};
/// Fetches the packets of a pass into the transport's image packet buffer and hands each to `store`. Failures
/// are counted and logged; one that a repetition does not heal ends the pass.
LinesFetched FetchLines(const LinePass &pass, void (*store)(int index));

/// First four bytes of a single visible-light line, or the result of the step that failed.
uint32_t ReadFirstRgbPixels();

} // namespace k274
