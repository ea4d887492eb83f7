// The link state: a healthy link survives one bad poll, has its port cycled after two in a row and counts as
// gone after three; any good one in between heals it.
#include "src/scan/link_state.h"

#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/maint/ccd_load.h"
#include "src/maint/version.h"
#include "src/state/flags.h"
#include "src/state/locks.h"
#include "src/state/monitor_record.h"
#include "src/state/notify.h"
#include "src/state/records.h"

namespace k274 {

namespace {

void Connected() {
    state.linkState = kLinkOnline;
    {
        DeviceGuard guard(deviceLock);
        LoadCcdTables();
        ReadVersion();
    }
    SetScanState(K274_STATE_CONNECTED);
}

void Disconnected() {
    state.linkState = kLinkDisconnected;
    {
        std::lock_guard guard(recordLock);
        records.version.serialNumber = 0;
    }
    SetScanState(K274_STATE_DISCONNECTED);
}

} // namespace

void LinkStart(bool answered) {
    if (answered)
        Connected();
    else
        Disconnected();
}

void LinkStep(bool sendGood) {
    switch (state.linkState) {
    case kLinkOnline:
        if (!sendGood)
            state.linkState = kLinkFirstError;
        break;
    case kLinkFirstError:
        state.linkState = sendGood ? kLinkOnline : kLinkSecondError;
        if (!sendGood)
            transport.CyclePort();
        break;
    case kLinkSecondError:
        if (sendGood) {
            state.linkState = kLinkOnline;
            log.Usb("Err cleared P3");
        } else {
            log.Usb("DIS event");
            Disconnected();
        }
        break;
    default:
        if (sendGood) {
            log.Usb("CON event");
            Connected();
        }
        break;
    }
}

} // namespace k274
