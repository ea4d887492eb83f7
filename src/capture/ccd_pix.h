// The scanner's white-card response and the gains that level the lamps, renewed before every scan. The
// link fetches the response block; the line corrections read the fixed-point tables.
#pragma once

#include "src/capture/rgb_gain.h"
#include "src/common/geometry.h"
#include "wire/packet.h"

#include <atomic>
#include <cstdint>

namespace k274 {

/// Reply of the calibration record: length and checksum of the data, both little-endian, then the data.
constexpr uint32_t kCcdReplyBytes = wire::kResponsesAt + kResponseBytes;

enum class CcdReply { Loaded, BadLength, BadChecksum };

struct CcdPix {
    CcdPix();

    /// Takes a reply of kCcdReplyBytes. A wrong length changes nothing. A wrong checksum leaves `resp`
    /// replaced, and the gains and `valid` those of the last good reply.
    CcdReply Accept(const uint8_t *reply);

    /// 1 from the first good reply on. Written by the thread that scans, read by any.
    std::atomic<uint8_t> valid{0};
    /// Hold positions of the last edge search: start and end of the front, start and end of the back.
    int32_t edge[4] = {};
    /// The block as the scanner last sent it; hosts read it by address and without a lock. Tables blue,
    /// green, red, infrared, two unused ones, ultraviolet.
    uint8_t resp[kResponseTables][kSensorRows] = {};
    float gainB[kSensorRows], gainG[kSensorRows], gainR[kSensorRows], gainIr[kSensorRows],
        gainUv[kSensorRows];
    // Fixed-point gains, zero until the first good reply.
    RgbGains fixRgb = {};             ///< x 128: blue, green, red
    uint16_t fixIr[kSensorRows] = {}; ///< x 128
    uint16_t fixUv[kSensorRows] = {}; ///< x 64; entries 0 to 1349 follow the response, the others hold 64
};

} // namespace k274
