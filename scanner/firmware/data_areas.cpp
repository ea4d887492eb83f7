// The scanner's data areas: factory and user record, flash blocks, parameters, AFE registers.
#include "scanner/firmware/command_table.h"

#include <algorithm>

namespace scanner {
namespace {

constexpr size_t kRecordAt = 128, kValuesAt = 24;
static_assert(kRecordAt + kRecordBytes <= kHeaderBytes);

Answer RecordExchange(DeviceState &device, const Command &command, Record &record) {
    enum Sub : uint8_t { kRead = 'r', kWrite = 'w' };
    if (command.sub != kRead && command.sub != kWrite)
        return Answer::Refused;
    if (command.sub == kWrite) {
        std::copy_n(command.bytes.begin() + kRecordAt, kRecordBytes, record.begin());
        device.observed.recordWrites++;
        device.flashFile.Keep(device);
    }
    uint8_t *reply = device.reply.Begin(command, kHeaderBytes, Tells::Nothing);
    std::copy(record.begin(), record.end(), reply + kRecordAt);
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
        device.reply.Begin(command, kHeaderBytes + kFlashBlockBytes, Tells::Nothing) + kHeaderBytes;
    // Behind the last block there is nothing, which reads as erased.
    std::fill_n(block, kFlashBlockBytes, kErased);
    if (command.word0 < kFlashBlocks)
        std::copy_n(ComposeFlash(device).begin() + static_cast<ptrdiff_t>(command.word0 * kFlashBlockBytes),
                    kFlashBlockBytes, block);
    return Answer::Reply;
}

Answer ParameterExchange(DeviceState &device, const Command &command) {
    enum Sub : uint8_t { kRead = 0, kWrite = 1 };
    constexpr size_t kMarkField = 10;
    constexpr uint32_t kMark = 500; // a record without it is no record
    constexpr uint8_t kNotWritten = 1;
    if (command.sub != kRead && command.sub != kWrite)
        return Answer::Refused;
    uint8_t *reply = device.reply.Begin(command, kHeaderBytes, Tells::Nothing);
    Parameters &parameters = device.stored.parameters;
    if (command.sub == kWrite) {
        Parameters sent;
        for (size_t k = 0; k < sent.size(); k++)
            sent[k] = Get32(command.bytes.data() + kValuesAt + 4 * k);
        if (sent[kMarkField] == kMark) {
            parameters = sent;
            device.flashFile.Keep(device);
        } else {
            reply[2] = kNotWritten;
        }
    }
    for (size_t k = 0; k < parameters.size(); k++)
        Put32(reply + kValuesAt + 4 * k, parameters[k]);
    return Answer::Reply;
}

Answer AfeExchange(DeviceState &device, const Command &command) {
    // Any other mode sets the registers until the firmware starts anew.
    enum Mode : uint8_t { kRead = 0, kStore = 2 };
    if (command.sub != kRead) {
        for (size_t k = 0; k < device.afe.size(); k++)
            device.afe[k] = Get16(command.bytes.data() + kValuesAt + 2 * k);
        device.observed.afeWrites++;
    }
    if (command.sub == kStore) {
        device.stored.afe = device.afe;
        device.flashFile.Keep(device);
    }
    uint8_t *reply = device.reply.Begin(command, kHeaderBytes, Tells::Nothing);
    for (size_t k = 0; k < device.afe.size(); k++)
        Put16(reply + kValuesAt + 2 * k, device.afe[k]);
    return Answer::Reply;
}

} // namespace scanner
