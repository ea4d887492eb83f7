// What the scanner keeps without power: who it is, its records and settings, its images. Laid out in blocks
// that hosts may read, and kept in a file for a scanner that outlives its process.
#pragma once

#include "scanner/optics/afe.h"
#include "wire/packet.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace scanner {

struct DeviceState;
class DeviceLog;

constexpr size_t kFlashBlocks = 80;
constexpr uint8_t kErased = 0xFF;

using Record = std::array<uint8_t, wire::field::kRecordBytes>;
using Parameters = std::array<uint32_t, wire::kParameters>;
extern const Parameters kFactoryParameters;
/// A record that says where it comes from, and one that is as it left the factory.
Record FactoryRecord();
Record ErasedRecord();

/// The part of the flash that has no other owner; identity and calibration record are the device's.
struct Stored {
    Record factoryData = FactoryRecord(), userData = ErasedRecord();
    Parameters parameters = kFactoryParameters;
    AfeRegisters afe = kFactoryAfe;
    std::vector<uint8_t> firmware, fpga; // images as last programmed, at most wire::kMostImageBytes each
    bool firmwareMissing = false;        // erased, and nothing programmed in its place
};

/// All blocks, one behind the other.
std::vector<uint8_t> ComposeFlash(const DeviceState &device);

/// The file that the flash is kept in.
class FlashFile {
public:
    /// Reads the flash from the file, if there is one, and keeps it there from now on. A file that is not
    /// sound is left alone, and nothing is kept.
    void Open(DeviceState &device, const std::string &path);
    /// Writes the flash, beside the old file first, so that power loss of the computer leaves one of the two.
    void Keep(const DeviceState &device);

private:
    void Complain(DeviceLog &log, const char *what);

    std::string path_; // empty: not kept
};

} // namespace scanner
