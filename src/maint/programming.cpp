#include "src/maint/programming.h"

#include "src/common/text.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/maint/version.h"
#include "src/state/flags.h"
#include "src/state/locks.h"
#include "src/state/records.h"
#include "wire/version.h"

#include <algorithm>

namespace k274 {

namespace {

constexpr int32_t kHoldOffPasses = 60;
constexpr int kImageResource = 101;

static_assert(wire::kMostImageBytes + kReplyDataOffset <= kTransferBufferSize);

// Reads a file into the staging area and logs its size; what does not fit is cut off.
bool StageFile(const char *path, const char *openError, size_t *size) {
    if (!os::ReadFileInto(path ? path : "", transport.DataToWrite(), wire::kMostImageBytes, size)) {
        log.Image(openError);
        return false;
    }
    log.Image(Format("Read %d bytes", static_cast<int>(*size)));
    return true;
}

size_t StageCarriedImage() {
    const os::Resource image = os::FindResource("FW_IMG", kImageResource);
    const size_t size = std::min<size_t>(image.size, kTransferBufferSize - kReplyDataOffset);
    std::copy_n(image.data, image.data ? size : 0, transport.DataToWrite());
    return image.data ? size : 0;
}

// A transfer without a scanner counts as sent; the reply that is missing then reads as refused.
ProgramResult LoadFlash(size_t size, bool fromFile) {
    CmdPkt &header = transport.FreshHeader();
    header.code = command::kFlash;
    header.sub = wire::sub::flash::kLoad;
    header.SetDword0(static_cast<uint32_t>(size));
    header.arg0 = wire::kVersion[0];
    header.arg1 = wire::kVersion[1];
    header.arg2 = wire::kVersion[2];
    header.arg3 = fromFile ? 1 : 0;
    if (transport.WritePacket(static_cast<uint32_t>(size)).kind == Outcome::Failed)
        return kNotTransferred;
    CmdPkt reply;
    if (transport.ReadPacketHdr(reply).kind == Outcome::Failed)
        return kNotTransferred;
    if (reply.status == 0)
        return kProgrammed;
    log.Image(Format("Error status = %d", reply.status));
    return kImageRefused;
}

} // namespace

ProgramResult ProgFlash(const char *path) {
    DeviceGuard guard(deviceLock);
    size_t size = 0;
    if (path) {
        log.Image(Format("Prog flash %s", path));
        if (!StageFile(path, "Error opening file", &size))
            return kNoImage;
    } else {
        size = StageCarriedImage();
    }
    if (size == 0) {
        log.Image("Error reading flash file");
        return kNoImage;
    }
    if (const ProgramResult loaded = LoadFlash(size, path != nullptr); loaded != kProgrammed)
        return loaded;
    CmdPkt program(command::kFlash, wire::sub::flash::kProgram);
    transport.SendCmd(program);
    log.Image("Programing firmware...");
    os::SleepMs(200);
    return kProgrammed;
}

ProgramResult ProgramFirmware(const char *path) {
    const ProgramResult result = ProgFlash(path);
    state.firmwareHoldOff = kHoldOffPasses;
    return result;
}

void FormatFlash() {
    CmdPkt packet(command::kFlash, wire::sub::flash::kFormat);
    DeviceGuard guard(deviceLock);
    transport.SendCmd(packet);
}

void EraseFpga() {
    log.Image("Erase FPGA...");
    CmdPkt packet(command::kFpga, wire::sub::fpga::kErase);
    DeviceGuard guard(deviceLock);
    transport.SendCmd(packet);
}

ProgramResult ProgFpga(const char *path, bool eraseFirst) {
    DeviceGuard guard(deviceLock);
    ReadVersion();
    bool known;
    {
        std::lock_guard record(recordLock);
        known = records.version.firmware[0] != 0;
    }
    if (!known) {
        log.Image("ProgFpga - USB error");
        return kNotTransferred;
    }
    log.Image(Format("Prog fpga %s", path ? path : ""));
    size_t size = 0;
    if (!StageFile(path, "Error opening fpga file", &size))
        return kNoImage;
    if (size == 0) {
        log.Image("Error reading fpga file");
        return kNoImage;
    }
    log.Image(eraseFirst ? "Program FPGA..." : "Program FPGA - no erase...");
    CmdPkt &header = transport.FreshHeader();
    header.code = command::kFpga;
    header.sub = eraseFirst ? wire::sub::fpga::kEraseAndProgram : wire::sub::fpga::kProgramOnly;
    header.SetDword0(static_cast<uint32_t>(size));
    const Outcome written = transport.WritePacket(static_cast<uint32_t>(size));
    return written.kind == Outcome::Failed ? kNotTransferred : kProgrammed;
}

} // namespace k274
