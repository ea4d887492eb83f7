#include "src/state/renew.h"

#include "src/link/attach.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/state/barcode_state.h"
#include "src/state/capture_state.h"
#include "src/state/flags.h"
#include "src/state/image_set.h"
#include "src/state/maint_record.h"
#include "src/state/measures.h"
#include "src/state/monitor_record.h"
#include "src/state/notify.h"
#include "src/state/pass_results.h"
#include "src/state/records.h"
#include "src/state/settings.h"
#include "src/state/white_card_record.h"

#include <cstring>
#include <new>

namespace k274 {

namespace {

// Locks and atomic values cannot be assigned; objects that hold some are built anew where they are.
template <typename Object>
void Renew(Object &object) {
    object.~Object();
    new (&object) Object;
}

} // namespace

void RenewSession() { monitor = Monitor{}; }

void RenewState() {
    RenewSession();
    raisedStates = RaisedStates{};
    Renew(state);
    Renew(barcode);
    Renew(deviceLink);
    Renew(ccdPix);
    Renew(measures);
    Renew(calibration);
    std::memset(CcdRawResp, 0, sizeof CcdRawResp);
    std::memset(CcdCorResp, 0, sizeof CcdCorResp);
    Renew(records);
    Renew(passResults);
    Renew(transport);
    Renew(log);
    Renew(settings);
    Renew(rig);
    whiteCard.factoryCountdown = 0;
    focusCount = 0;
    ClearImages(0);
}

} // namespace k274
