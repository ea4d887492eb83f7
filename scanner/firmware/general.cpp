// Commands about the scanner as a whole.
#include "scanner/firmware/general.h"

#include "scanner/firmware/device_state.h"
#include "wire/version.h"

#include <algorithm>

namespace scanner {
namespace {

Answer PlainReply(DeviceState &device, const Command &command) {
    device.reply.Begin(command, wire::kHeaderBytes, Tells::Nothing);
    return Answer::Reply;
}

} // namespace

const VS_Identity kFactoryIdentity = {
    274001, 27400112345, {wire::kVersion[0], wire::kVersion[1], wire::kVersion[2]}, {1, 12}, 3, 1, 0};

Answer Handshake(DeviceState &device, const Command &command) {
    device.observed.handshakes++;
    return PlainReply(device, command);
}

Answer CloseSession(DeviceState &device, const Command &command) {
    device.observed.closes++;
    // The host will not come for the rest of a scan: the card goes back to its owner.
    device.status.Abandon("the host said goodbye");
    return PlainReply(device, command);
}

Answer ClearLastScan(DeviceState &device, const Command &) {
    device.observed.clears++;
    // The lines of a card that is being scanned belong to the next images, not to those that the host
    // cleared.
    if (!device.status.Scanning())
        device.lines.Clear();
    return Answer::None;
}

Answer EjectCard(DeviceState &device, const Command &) {
    device.observed.ejects++;
    device.status.Cancel("ejected by the host");
    return Answer::None;
}

Answer ResetScanner(DeviceState &device, const Command &) {
    device.observed.resets++;
    Halt(device, "reset by the host");
    Boot(device);
    return Answer::None;
}

Answer GuiScan(DeviceState &device, const Command &command) {
    device.observed.guiScans++; // a card in the slot is drawn in anyway
    return PlainReply(device, command);
}

Answer Information(DeviceState &device, const Command &command) {
    namespace at = wire::information;
    const VS_Identity &identity = device.identity;
    uint8_t *reply = device.reply.Begin(command, wire::kHeaderBytes, Tells::Nothing);
    std::copy_n(identity.firmware, 3, reply + at::kFirmware);
    wire::Store16(reply + at::kFpga, static_cast<uint16_t>(identity.fpga[0] << 8 | identity.fpga[1]));
    reply[at::kHardware] = identity.hardware;
    wire::Store16(reply + at::kSecondSerialMark,
                  identity.serialNumber2 != 0 ? at::kHasSecondSerial : uint16_t{0});
    reply[at::kFurther] = identity.further;
    wire::Store32(reply + at::kSecondSerialLow, static_cast<uint32_t>(identity.serialNumber2));
    wire::Store32(reply + at::kSecondSerialHigh, static_cast<uint32_t>(identity.serialNumber2 >> 32));
    wire::Store32(reply + at::kSerial, identity.serialNumber);
    return Answer::Reply;
}

} // namespace scanner
