#include "src/maint/rig.h"

#include "platform/labjack/labjackud.h"
#include "platform/os/os.h"
#include "src/common/text.h"
#include "src/log/log.h"
#include "src/state/maint_record.h"

namespace k274 {

namespace {

constexpr int32_t kDeviceU3 = 3;
constexpr int32_t kConnectionUsb = 1;

} // namespace

void LabJackOpen() {
    void *module = os::LoadModule("labjackud");
    if (!module)
        return;
    const auto open = reinterpret_cast<labjack::OpenLabJackFunction>(os::ModuleSymbol(module, "OpenLabJack"));
    if (!open) {
        log.Write("Can't Get ProcAddress of OpenLabJack");
        return;
    }
    int32_t handle = 0;
    if (open(kDeviceU3, kConnectionUsb, "5", 0, &handle) != 0)
        return;
    log.Write("Opened LabJack");
    rig.setLine = reinterpret_cast<labjack::EDoFunction>(os::ModuleSymbol(module, "eDO"));
    rig.handle = handle;
}

void LabJackSet(int32_t channel, int32_t action) {
    const labjack::EDoFunction set = rig.setLine;
    const int32_t handle = rig.handle;
    if (!set || handle == 0)
        return;
    switch (action) {
    case kRigLow:
        set(handle, channel, 0);
        break;
    case kRigHigh:
        set(handle, channel, 1);
        break;
    case kRigHighPulse:
        set(handle, channel, 1);
        set(handle, channel, 0);
        break;
    case kRigLowPulse:
        set(handle, channel, 0);
        set(handle, channel, 1);
        break;
    default:
        break;
    }
}

void LabJack(int32_t channel, int32_t action) {
    // On the rig's first line 0 is on.
    if (channel == 0 && action == kRigLow)
        log.Write(Format("LabJack %d,%d - ON --------", channel, action));
    else if (channel == 0 && action == kRigHigh)
        log.Write(Format("LabJack %d,%d - OFF", channel, action));
    else
        log.Write(Format("LabJack %d,.%d", channel, action));
    LabJackSet(channel, action);
}

} // namespace k274
