#include "src/maint/options.h"

#include "src/link/packet.h"
#include "src/state/flags.h"
#include "src/state/locks.h"
#include "src/state/settings.h"

namespace k274 {

namespace {

constexpr int32_t kMostLines = 2000;
constexpr uint32_t kUsualLines = 1370;

bool Bit(int32_t flags, int bit) { return (static_cast<uint32_t>(flags) >> bit & 1) != 0; }

void Exchange(CmdPkt &packet) {
    DeviceGuard guard(deviceLock);
    FwCmd(packet);
}

uint32_t LineCount(int32_t lines) {
    if (lines == 0)
        return 0;
    return lines < 2 || lines > kMostLines ? kUsualLines : static_cast<uint32_t>(lines);
}

} // namespace

void SetIllumOpt(int32_t flags) {
    for (int k = 0; k < 4; ++k)
        settings.illumination[k] = Bit(flags, k);
}

void SetUvOpt(int32_t flags) {
    for (int k = 0; k < 3; ++k)
        settings.uvOption[k] = Bit(flags, k);
    CmdPkt packet(command::kUvOption, Bit(flags, 0));
    Exchange(packet);
}

void SecondScan(int32_t value) {
    CmdPkt packet(command::kSecondScan, static_cast<uint8_t>(value));
    Exchange(packet);
}

void LastScan(int32_t mode, int32_t lines) {
    state.lastScanMode = mode;
    CmdPkt packet(command::kLastScan, static_cast<uint8_t>(mode));
    packet.SetDword0(LineCount(lines));
    Exchange(packet);
}

} // namespace k274
