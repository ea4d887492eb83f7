// Programming of the firmware and the FPGA: an image is loaded, checked, and written over the old one.
#pragma once

#include "scanner/firmware/handler.h"

#include <array>
#include <cstdint>
#include <vector>

namespace scanner {

enum class Job { None, Firmware, Fpga, FpgaErase };

struct Programming {
    std::vector<uint8_t> image;        // loaded; it waits for its command or is being written
    std::array<uint8_t, 3> version{};  // of the loaded firmware
    std::array<uint8_t, 2> nextFpga{}; // the FPGA's version when it is written
    Job job = Job::None;
    bool erased = false; // what was there before is gone
    double since = 0;    // scanner's time of the job's begin
    unsigned polls = 0;  // status polls answered since
    bool Busy() const { return job != Job::None; }
};

/// Moves the job on by the clock, or at speed 0 by the polls. When it is done the scanner restarts.
void AdvanceProgramming(DeviceState &device);

/// The firmware stops: a card on its way is out, a job under way is broken off.
void Halt(DeviceState &device, const char *why);
/// The firmware starts, if there is one, with what the flash holds.
void Boot(DeviceState &device);

Handler FirmwareImage, FpgaImage;

} // namespace scanner
