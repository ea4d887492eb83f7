// Builds the calibration record.
#include "scanner/firmware/calibration.h"

#include "scanner/firmware/command_table.h"

#include <algorithm>
#include <numeric>

namespace scanner {

void CalibrationRecord::Follow(const WhiteResponse &lamps) {
    Put32(bytes_.data(), kResponseBytes);
    Put32(bytes_.data() + 4, std::accumulate(lamps.begin(), lamps.end(), uint32_t{0}));
    std::copy(lamps.begin(), lamps.end(), bytes_.begin() + 8);
}

void CalibrationRecord::Set(const uint8_t *record, size_t size) {
    bytes_.fill(0);
    std::copy_n(record, std::min(size, bytes_.size()), bytes_.begin());
}

Answer CalibrationExchange(DeviceState &device, const Command &command) {
    constexpr uint8_t kRead = 0;
    if (command.sub != kRead)
        return Answer::Refused;
    const auto &record = device.calibration.Bytes();
    uint8_t *reply = device.reply.Begin(command, kHeaderBytes + record.size(), Tells::Nothing);
    std::copy(record.begin(), record.end(), reply + kHeaderBytes);
    return Answer::Reply;
}

} // namespace scanner
