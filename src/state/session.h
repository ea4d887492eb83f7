// The device session: what the library keeps of the scanner and of the scan under way.
#pragma once

#include "include/k274.h"
#include "src/capture/card_search.h"
#include "src/capture/measure.h"
#include "src/state/afe_registers.h"
#include "src/state/magstripe_record.h"
#include "src/state/scan_metadata.h"

#include <atomic>
#include <cstdint>

namespace k274 {

struct DeviceSession {
    K274_Status status{};      // recordLock; the monitor thread writes
    K274_Version version{};    // recordLock; the monitor thread writes
    MagneticRecord magnetic{}; // recordLock; the monitor thread and the host
    ScanMetadata metadata{};   // recordLock; what the next scan header tells
    AfeRegisters afe{};        // recordLock; as last read or written

    std::atomic<uint32_t> transferErrors{0}; // failed block exchanges; the host clears

    // Of the last scan; monitor thread alone.
    bool rgbOk = false, irOk = false, uvOk = false; // pass flags: enough lines arrived
    Levels rgbLevels{}, irLevels{}, uvLevels{};
    CardPosition position{};
    CardMeasure measure{};
    LengthResults length{}; // a check of the visible pass alone leaves the others
    int32_t uvLampWarnings = 0;

    /// Clears the capture state.
    DeviceSession();

    /// Empties the magnetic record; the error flags stay.
    void ClearMagnetic();

    /// Before a capture: pass flags off, raw line buffers filled with their resting value.
    void ClearCapture();
};
extern DeviceSession session;

} // namespace k274
