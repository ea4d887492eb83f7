// The scanner's data areas: factory and user record, flash blocks, parameters, AFE registers.
#include "scanner/firmware/data_areas.h"

#include "scanner/firmware/device_state.h"
#include "wire/commands.h"

#include <algorithm>

namespace scanner {
namespace {

Answer RecordExchange(DeviceState &device, const Command &command, Record &record) {
    namespace sub = wire::sub::record;
    if (command.sub != sub::kRead && command.sub != sub::kWrite)
        return Answer::Refused;
    if (command.sub == sub::kWrite) {
        std::copy_n(command.bytes.begin() + static_cast<ptrdiff_t>(wire::field::kRecord),
                    wire::field::kRecordBytes, record.begin());
        device.observed.recordWrites++;
        device.flashFile.Keep(device);
    }
    uint8_t *reply = device.reply.Begin(command, wire::kHeaderBytes, Tells::Nothing);
    std::copy(record.begin(), record.end(), reply + static_cast<ptrdiff_t>(wire::field::kRecord));
    return Answer::Reply;
}

} // namespace

Answer FactoryData(DeviceState &device, const Command &command) {
    return RecordExchange(device, command, device.stored.factoryData);
}

Answer UserData(DeviceState &device, const Command &command) {
    return RecordExchange(device, command, device.stored.userData);
}

Answer FlashBlock(DeviceState &device, const Command &command) {
    uint8_t *block =
        device.reply.Begin(command, wire::kHeaderBytes + wire::kFlashBlockBytes, Tells::Nothing) +
        wire::kHeaderBytes;
    // Behind the last block there is nothing, which reads as erased.
    std::fill_n(block, wire::kFlashBlockBytes, kErased);
    if (command.word0 < kFlashBlocks)
        std::copy_n(ComposeFlash(device).begin() +
                        static_cast<ptrdiff_t>(command.word0 * wire::kFlashBlockBytes),
                    wire::kFlashBlockBytes, block);
    return Answer::Reply;
}

Answer ParameterExchange(DeviceState &device, const Command &command) {
    namespace sub = wire::sub::parameters;
    constexpr uint8_t kNotWritten = 1;
    if (command.sub != sub::kRead && command.sub != sub::kWrite)
        return Answer::Refused;
    uint8_t *reply = device.reply.Begin(command, wire::kHeaderBytes, Tells::Nothing);
    Parameters &parameters = device.stored.parameters;
    if (command.sub == sub::kWrite) {
        Parameters sent;
        for (size_t k = 0; k < sent.size(); k++)
            sent[k] = wire::Load32(command.bytes.data() + wire::field::kValues + 4 * k);
        if (sent[wire::kParameterMarkAt] == wire::kParameterMark) {
            parameters = sent;
            device.flashFile.Keep(device);
        } else {
            reply[wire::field::kStatus] = kNotWritten;
        }
    }
    for (size_t k = 0; k < parameters.size(); k++)
        wire::Store32(reply + wire::field::kValues + 4 * k, parameters[k]);
    return Answer::Reply;
}

Answer AfeExchange(DeviceState &device, const Command &command) {
    namespace sub = wire::sub::afe;
    // Any other mode sets the registers until the firmware starts anew.
    if (command.sub != sub::kRead) {
        for (size_t k = 0; k < device.afe.size(); k++)
            device.afe[k] = wire::Load16(command.bytes.data() + wire::field::kValues + 2 * k);
        device.observed.afeWrites++;
    }
    if (command.sub == sub::kStore) {
        device.stored.afe = device.afe;
        device.flashFile.Keep(device);
    }
    uint8_t *reply = device.reply.Begin(command, wire::kHeaderBytes, Tells::Nothing);
    for (size_t k = 0; k < device.afe.size(); k++)
        wire::Store16(reply + wire::field::kValues + 2 * k, device.afe[k]);
    return Answer::Reply;
}

} // namespace scanner
