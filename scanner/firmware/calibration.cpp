// Builds the calibration record.
#include "scanner/firmware/calibration.h"

#include "scanner/firmware/device_state.h"
#include "wire/commands.h"

#include <algorithm>
#include <numeric>

namespace scanner {

void CalibrationRecord::Follow(const WhiteResponse &lamps) {
    Fill(lamps.data());
    followsLamps_ = true;
}

void CalibrationRecord::Store(const uint8_t *responses) {
    Fill(responses);
    followsLamps_ = false;
}

void CalibrationRecord::Fill(const uint8_t *responses) {
    wire::Store32(bytes_.data() + wire::kResponseLengthAt, kResponseBytes);
    wire::Store32(bytes_.data() + wire::kResponseSumAt,
                  std::accumulate(responses, responses + kResponseBytes, uint32_t{0}));
    std::copy_n(responses, kResponseBytes, bytes_.begin() + wire::kResponsesAt);
}

void CalibrationRecord::Set(const uint8_t *record, size_t size) {
    bytes_.fill(0);
    std::copy_n(record, std::min(size, bytes_.size()), bytes_.begin());
    followsLamps_ = false;
}

void CalibrationRecord::Erase() {
    bytes_.fill(kErased);
    followsLamps_ = false;
}

Answer CalibrationExchange(DeviceState &device, const Command &command) {
    namespace sub = wire::sub::calibration;
    if (command.sub == sub::kWrite || command.sub == sub::kWriteVisible) {
        // Hosts send all responses in either case, and zeros behind them. Everything is stored.
        if (command.word1 != kResponseBytes || command.dataBytes < kResponseBytes)
            return Answer::Refused;
        device.calibration.Store(command.data);
        device.observed.calibrationWrites++;
        device.flashFile.Keep(device);
        return Answer::None;
    }
    if (command.sub != sub::kRead)
        return Answer::Refused;
    const auto &record = device.calibration.Bytes();
    uint8_t *reply = device.reply.Begin(command, wire::kHeaderBytes + record.size(), Tells::Nothing);
    std::copy(record.begin(), record.end(), reply + wire::kHeaderBytes);
    return Answer::Reply;
}

} // namespace scanner
