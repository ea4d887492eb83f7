// The calibration record: how bright the white target was at every sensor position under every light.
#pragma once

#include "scanner/firmware/handler.h"
#include "scanner/optics/optics.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace scanner {

constexpr size_t kCalibrationBytes = wire::kResponsesAt + kResponseBytes;

class CalibrationRecord {
public:
    explicit CalibrationRecord(const WhiteResponse &lamps) { Follow(lamps); }
    /// The record that describes the lamps truly.
    void Follow(const WhiteResponse &lamps);
    /// Any bytes, sound or not; what is missing is zero, what is too much is left out.
    void Set(const uint8_t *record, size_t size);
    /// Responses as a host has measured them.
    /// @param responses  kResponseBytes
    void Store(const uint8_t *responses);
    /// No record any more: what is read is erased flash.
    void Erase();
    /// Nothing was set since Follow.
    bool FollowsLamps() const { return followsLamps_; }
    const std::array<uint8_t, kCalibrationBytes> &Bytes() const { return bytes_; }

private:
    void Fill(const uint8_t *responses);

    std::array<uint8_t, kCalibrationBytes> bytes_{};
    bool followsLamps_ = true;
};

Handler CalibrationExchange;

} // namespace scanner
