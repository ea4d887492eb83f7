// The library's own measures, from scan to scan.
#pragma once

#include "src/state/scan_measures.h"

namespace k274 {

extern ScanMeasures measures;
extern Calibration calibration;

/// Responses of the last scan's raw and corrected images; hosts read them by address.
extern ResponseTable CcdRawResp, CcdCorResp;

} // namespace k274
