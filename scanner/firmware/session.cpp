// Commands about the scanner as a whole: handshake, close, clear, eject, reset and who it is.
#include "scanner/firmware/command_table.h"

namespace scanner {
namespace {

Answer PlainReply(DeviceState &device, const Command &command) {
    device.reply.Begin(command, kHeaderBytes, Tells::Nothing);
    return Answer::Reply;
}

} // namespace

const VS_Identity kFactoryIdentity = {274001, 27400112345, {2, 3, 7}, {1, 12}, 3, 1, 0};

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
    const VS_Identity &identity = device.identity;
    uint8_t *reply = device.reply.Begin(command, kHeaderBytes, Tells::Nothing);
    for (size_t k = 0; k < 3; k++)
        reply[16 + k] = identity.firmware[k];
    Put16(reply + 26, static_cast<unsigned>(identity.fpga[0] << 8 | identity.fpga[1]));
    reply[28] = identity.hardware;
    constexpr unsigned kHasSecondSerial = 112;
    Put16(reply + 30, identity.serialNumber2 != 0 ? kHasSecondSerial : 0);
    reply[34] = identity.further;
    Put32(reply + 44, static_cast<uint32_t>(identity.serialNumber2));
    Put32(reply + 52, static_cast<uint32_t>(identity.serialNumber2 >> 32));
    Put32(reply + 56, identity.serialNumber);
    return Answer::Reply;
}

} // namespace scanner
