// Takes firmware and FPGA images and follows their programming.
#include "scanner/firmware/programming.h"

#include "scanner/firmware/device_state.h"
#include "wire/commands.h"

#include <algorithm>

namespace scanner {
namespace {

// Seconds, or polls at speed 0: the image is checked first, and the old one lives so long.
constexpr double kErasedAfter = 1, kDoneAfter = 3;

namespace flash = wire::sub::flash;
namespace fpga = wire::sub::fpga;

/// An image is taken by its size alone, as told and as come: what is in it is the processor's business.
bool WholeImage(const Command &command) {
    return command.dword0 >= 1 && command.dword0 <= wire::kMostImageBytes &&
           command.dataBytes == command.dword0;
}

void Begin(DeviceState &device, Job job) {
    Programming &programming = device.programming;
    programming.job = job;
    programming.erased = false;
    programming.since = device.clock.Now();
    programming.polls = 0;
    const VS_Identity &identity = device.identity;
    const unsigned next = (identity.fpga[0] << 8 | identity.fpga[1]) + 1u;
    programming.nextFpga = {static_cast<uint8_t>(next >> 8), static_cast<uint8_t>(next)};
    device.status.Abandon("programming");
}

void Erase(DeviceState &device) {
    device.programming.erased = true;
    if (device.programming.job == Job::Firmware) {
        device.stored.firmware.clear();
        device.stored.firmwareMissing = true;
    } else {
        device.stored.fpga.clear();
        std::fill_n(device.identity.fpga, 2, uint8_t{0});
    }
    device.flashFile.Keep(device);
}

void Finish(DeviceState &device) {
    Programming &programming = device.programming;
    switch (programming.job) {
    case Job::Firmware:
        device.stored.firmware = std::move(programming.image);
        device.stored.firmwareMissing = false;
        std::copy(programming.version.begin(), programming.version.end(), device.identity.firmware);
        device.observed.firmwarePrograms++;
        break;
    case Job::Fpga:
        device.stored.fpga = std::move(programming.image);
        std::copy(programming.nextFpga.begin(), programming.nextFpga.end(), device.identity.fpga);
        device.observed.fpgaPrograms++;
        break;
    case Job::FpgaErase:
        device.observed.fpgaErases++;
        break;
    case Job::None:
        break;
    }
    device.flashFile.Keep(device);
    device.log.Line("programmed; restart");
    Halt(device, "restarted");
    Boot(device);
}

// Who the scanner is and what runs in it stay; what was taught is gone, the calibration too.
void FormatData(DeviceState &device) {
    Stored &stored = device.stored;
    stored.factoryData = stored.userData = ErasedRecord();
    stored.parameters = kFactoryParameters;
    device.afe = stored.afe = kFactoryAfe;
    device.calibration.Erase();
    device.observed.formats++;
    device.flashFile.Keep(device);
}

Answer LoadFirmware(DeviceState &device, const Command &command) {
    enum Status : uint8_t { kTaken = 0, kBadImage = 1, kBusy = 2 };
    Programming &programming = device.programming;
    Status status = kTaken;
    if (programming.Busy()) {
        status = kBusy;
    } else if (!WholeImage(command)) {
        status = kBadImage;
        programming.image.clear();
    } else {
        programming.image.assign(command.data, command.data + command.dataBytes);
        std::copy_n(command.arg, 3, programming.version.begin());
        device.observed.firmwareLoads++;
    }
    device.reply.Begin(command, wire::kHeaderBytes, Tells::Nothing)[wire::field::kStatus] = status;
    return Answer::Reply;
}

} // namespace

void AdvanceProgramming(DeviceState &device) {
    const Programming &programming = device.programming;
    if (!programming.Busy())
        return;
    const double passed = device.clock.Instant() ? programming.polls : device.clock.Now() - programming.since;
    if (passed >= kErasedAfter && !programming.erased)
        Erase(device);
    if (passed >= kDoneAfter)
        Finish(device);
}

void Halt(DeviceState &device, const char *why) {
    device.status.Abandon(why);
    device.events.Clear();
    device.programming = {};
    device.still.on = false;
}

void Boot(DeviceState &device) {
    device.afe = device.stored.afe;
    // The loader that is left takes commands, but it has no version and moves no card.
    if (device.stored.firmwareMissing)
        std::fill_n(device.identity.firmware, 3, uint8_t{0});
    device.resetNotice = true;
}

Answer FirmwareImage(DeviceState &device, const Command &command) {
    Programming &programming = device.programming;
    if (command.sub == flash::kLoad)
        return LoadFirmware(device, command);
    if (programming.Busy())
        return Answer::Refused;
    if (command.sub == flash::kFormat) {
        FormatData(device);
        return Answer::None;
    }
    if (command.sub != flash::kProgram || programming.image.empty())
        return Answer::Refused;
    Begin(device, Job::Firmware);
    return Answer::None;
}

Answer FpgaImage(DeviceState &device, const Command &command) {
    Programming &programming = device.programming;
    if (programming.Busy())
        return Answer::Refused;
    if (command.sub == fpga::kErase) {
        Begin(device, Job::FpgaErase);
        return Answer::None;
    }
    if ((command.sub != fpga::kEraseAndProgram && command.sub != fpga::kProgramOnly) || !WholeImage(command))
        return Answer::Refused;
    programming.image.assign(command.data, command.data + command.dataBytes);
    device.observed.fpgaLoads++;
    Begin(device, Job::Fpga);
    return Answer::None;
}

} // namespace scanner
