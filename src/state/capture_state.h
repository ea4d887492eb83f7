// What the line corrections keep from scan to scan, and the image merge from call to call.
#pragma once

#include "src/capture/ccd_pix.h"
#include "src/capture/merge.h"

namespace k274 {

extern CcdPix ccdPix;
extern MergeHistory mergeHistory;

} // namespace k274
