// The layout of the flash and its file.
#include "scanner/firmware/flash.h"

#include "scanner/firmware/device_state.h"
#include "wire/bytes.h"

#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace scanner {
namespace {

// Blocks. A record spoils no other when it is written anew, so that each has blocks of its own.
constexpr size_t kIdentityBlock = 0, kFactoryBlock = 1, kUserBlock = 2, kParameterBlock = 3, kAfeBlock = 4,
                 kCalibrationBlock = 5, kFirmwareBlock = 16, kFpgaBlock = 48;
static_assert(kCalibrationBlock * wire::kFlashBlockBytes + kCalibrationBytes <=
              kFirmwareBlock * wire::kFlashBlockBytes);
static_assert(kFirmwareBlock * wire::kFlashBlockBytes + wire::kMostImageBytes ==
              kFpgaBlock * wire::kFlashBlockBytes);
static_assert(kFpgaBlock * wire::kFlashBlockBytes + wire::kMostImageBytes ==
              kFlashBlocks * wire::kFlashBlockBytes);
constexpr size_t kFlashBytes = kFlashBlocks * wire::kFlashBlockBytes;

// Within the identity's block.
constexpr char kMark[16] = "K274 flash 1";
constexpr size_t kSerialAt = 16, kSecondSerialAt = 20, kVersionsAt = 28, kFlagsAt = 36, kFirmwareBytesAt = 40,
                 kFpgaBytesAt = 44;
enum Flags : uint32_t { kFirmwareIsMissing = 1, kCalibrationIsSet = 2 };

// The file is the flash and its checksum.
constexpr size_t kFileBytes = kFlashBytes + 4;

uint32_t Checksum(const uint8_t *bytes, size_t count) {
    return static_cast<uint32_t>(crc32(0, bytes, static_cast<uInt>(count)));
}

bool Sound(const std::vector<uint8_t> &file) {
    return file.size() == kFileBytes && std::memcmp(file.data(), kMark, sizeof kMark) == 0 &&
           wire::Load32(&file[kFlashBytes]) == Checksum(file.data(), kFlashBytes) &&
           wire::Load32(&file[kFirmwareBytesAt]) <= wire::kMostImageBytes &&
           wire::Load32(&file[kFpgaBytesAt]) <= wire::kMostImageBytes;
}

void Restore(DeviceState &device, const std::vector<uint8_t> &flash) {
    const auto block = [&flash](size_t number) { return flash.data() + number * wire::kFlashBlockBytes; };
    const uint8_t *head = block(kIdentityBlock);
    VS_Identity &identity = device.identity;
    identity.serialNumber = wire::Load32(head + kSerialAt);
    identity.serialNumber2 = wire::Load64(head + kSecondSerialAt);
    std::copy_n(head + kVersionsAt, 3, identity.firmware);
    std::copy_n(head + kVersionsAt + 3, 2, identity.fpga);
    identity.hardware = head[kVersionsAt + 5];
    identity.further = head[kVersionsAt + 6];
    const uint32_t flags = wire::Load32(head + kFlagsAt);

    Stored &stored = device.stored;
    stored.firmwareMissing = (flags & kFirmwareIsMissing) != 0;
    std::copy_n(block(kFactoryBlock), wire::field::kRecordBytes, stored.factoryData.begin());
    std::copy_n(block(kUserBlock), wire::field::kRecordBytes, stored.userData.begin());
    for (size_t k = 0; k < stored.parameters.size(); k++)
        stored.parameters[k] = wire::Load32(block(kParameterBlock) + 4 * k);
    for (size_t k = 0; k < stored.afe.size(); k++)
        stored.afe[k] = wire::Load16(block(kAfeBlock) + 2 * k);
    stored.firmware.assign(block(kFirmwareBlock),
                           block(kFirmwareBlock) + wire::Load32(head + kFirmwareBytesAt));
    stored.fpga.assign(block(kFpgaBlock), block(kFpgaBlock) + wire::Load32(head + kFpgaBytesAt));
    if ((flags & kCalibrationIsSet) != 0)
        device.calibration.Set(block(kCalibrationBlock), kCalibrationBytes);
}

bool WriteFile(const std::string &path, const std::vector<uint8_t> &bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    file.close();
    return !file.fail();
}

} // namespace

// Field 10 is the mark of a whole record; the others are counts and times of the transport.
const Parameters kFactoryParameters = {274, 3, 0, 1, 2300, 2400, 1200, 15000, 60, 0, 500};

Record ErasedRecord() {
    Record record;
    record.fill(kErased);
    return record;
}

Record FactoryRecord() {
    constexpr char kText[] = "K274 virtual scanner, factory record 1";
    Record record{};
    std::copy(std::begin(kText), std::end(kText), record.begin());
    return record;
}

std::vector<uint8_t> ComposeFlash(const DeviceState &device) {
    std::vector<uint8_t> flash(kFlashBytes, kErased);
    const auto block = [&flash](size_t number) { return flash.data() + number * wire::kFlashBlockBytes; };
    const VS_Identity &identity = device.identity;
    const Stored &stored = device.stored;
    uint8_t *head = block(kIdentityBlock);
    std::memcpy(head, kMark, sizeof kMark);
    wire::Store32(head + kSerialAt, identity.serialNumber);
    wire::Store64(head + kSecondSerialAt, identity.serialNumber2);
    std::copy_n(identity.firmware, 3, head + kVersionsAt);
    std::copy_n(identity.fpga, 2, head + kVersionsAt + 3);
    head[kVersionsAt + 5] = identity.hardware;
    head[kVersionsAt + 6] = identity.further;
    wire::Store32(head + kFlagsAt, (stored.firmwareMissing ? uint32_t{kFirmwareIsMissing} : 0) |
                                       (device.calibration.FollowsLamps() ? 0 : uint32_t{kCalibrationIsSet}));
    wire::Store32(head + kFirmwareBytesAt, static_cast<uint32_t>(stored.firmware.size()));
    wire::Store32(head + kFpgaBytesAt, static_cast<uint32_t>(stored.fpga.size()));

    std::copy(stored.factoryData.begin(), stored.factoryData.end(), block(kFactoryBlock));
    std::copy(stored.userData.begin(), stored.userData.end(), block(kUserBlock));
    for (size_t k = 0; k < stored.parameters.size(); k++)
        wire::Store32(block(kParameterBlock) + 4 * k, stored.parameters[k]);
    for (size_t k = 0; k < stored.afe.size(); k++)
        wire::Store16(block(kAfeBlock) + 2 * k, stored.afe[k]);
    const auto &calibration = device.calibration.Bytes();
    std::copy(calibration.begin(), calibration.end(), block(kCalibrationBlock));
    std::copy(stored.firmware.begin(), stored.firmware.end(), block(kFirmwareBlock));
    std::copy(stored.fpga.begin(), stored.fpga.end(), block(kFpgaBlock));
    return flash;
}

void FlashFile::Open(DeviceState &device, const std::string &path) {
    path_ = path;
    std::error_code none;
    if (path_.empty() || !std::filesystem::exists(path_, none))
        return;
    std::vector<uint8_t> bytes(kFileBytes + 1); // one more, so that a longer file is seen to be one
    std::ifstream file(path_, std::ios::binary);
    file.read(reinterpret_cast<char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<size_t>(file.gcount()));
    if (Sound(bytes)) {
        Restore(device, bytes);
        return;
    }
    Complain(device.log, "is damaged or no flash of a scanner; left as it is, and nothing is kept. Move it "
                         "away to begin anew");
    path_.clear();
}

void FlashFile::Keep(const DeviceState &device) {
    if (path_.empty())
        return;
    std::vector<uint8_t> bytes = ComposeFlash(device);
    const uint32_t checksum = Checksum(bytes.data(), bytes.size());
    bytes.resize(kFileBytes);
    wire::Store32(&bytes[kFlashBytes], checksum);
    const std::string beside = path_ + ".new";
    std::error_code error;
    if (!WriteFile(beside, bytes))
        error = std::make_error_code(std::errc::io_error);
    else
        std::filesystem::rename(beside, path_, error);
    if (!error)
        return;
    Complain(device.log, "cannot be written; the last write is not kept");
    std::filesystem::remove(beside, error);
}

void FlashFile::Complain(DeviceLog &log, const char *what) {
    log.Line("flash file %s %s", path_.c_str(), what);
    std::fprintf(stderr, "virtual scanner: K274_FLASH=%s %s\n", path_.c_str(), what);
}

} // namespace scanner
