// Every global object of the library, in the order in which they are built at load. None has anything to
// release at unload, so that a thread which outlives the unloading host finds them whole.
#include "src/common/running.h"
#include "src/link/attach.h"
#include "src/link/driver_record.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/state/barcode_state.h"
#include "src/state/capture_state.h"
#include "src/state/flags.h"
#include "src/state/image_set.h"
#include "src/state/life_cycle.h"
#include "src/state/line_buffers.h"
#include "src/state/locks.h"
#include "src/state/maint_record.h"
#include "src/state/measures.h"
#include "src/state/monitor_record.h"
#include "src/state/notify.h"
#include "src/state/pass_results.h"
#include "src/state/records.h"
#include "src/state/scan_file_record.h"
#include "src/state/settings.h"
#include "src/state/white_card_record.h"

namespace k274 {

// Plain values and buffers, which need no building.
std::atomic<bool> running{false};
os::RecursiveLock deviceLock, callbackLock;
std::mutex recordLock, imageLock;
State state;
LifeCycle lifeCycle;
DeviceLink deviceLink;
DriverRecord driverRecord;
Monitor monitor;
MonitorTurn monitorTurn;
RaisedStates raisedStates;
BarcodeState barcode;
ContrastTable contrastTable;
uint8_t RGBr[kSensorRows * kRgbColumns * 3];
uint8_t RGBc[kSensorRows * kRgbColumns * 3];
uint8_t IRr[kSensorRows * kIrColumns];
uint8_t IRc[kSensorRows * kIrColumns];
uint8_t UVr[kUvLines * kUvPixels * 3];
uint8_t UVc[kUvLines * kUvPixels * 3];
uint8_t MSIr[K274_MSIR_HEIGHT * K274_MSIR_WIDTH];
uint8_t RED0[kSensorRows * kRgbColumns];
uint8_t RED1[kSensorRows * kRgbColumns];
std::atomic<uint8_t *> hiresStore{nullptr};
MergeHistory mergeHistory;
WhiteCardRecord whiteCard;
StillImageRecord still;
Rig rig;
int32_t focusCount = 0;
ScanFileRecord scanFile;
ResponseTable CcdRawResp, CcdCorResp;
Calibration calibration;

// Objects that are built, in this order.
CcdPix ccdPix;
ScanMeasures measures;
Records records;
PassResults passResults;
Transport transport;
Log log;
ImageSet imageSet;
CmdPkt deviceInfoPacket;
Settings settings;

} // namespace k274
