// The records of the scanner and of its last card that hosts copy or that the next scan file tells.
// recordLock guards them.
#pragma once

#include "include/k274.h"
#include "src/state/afe_registers.h"
#include "src/state/magstripe_record.h"
#include "src/state/scan_metadata.h"

#include <atomic>
#include <cstdint>

namespace k274 {

struct Records {
    K274_Status status{};      // the monitor thread writes
    K274_Version version{};    // the monitor thread writes
    MagneticRecord magnetic{}; // the monitor thread and the host
    ScanMetadata metadata{};   // what the next scan header tells
    AfeRegisters afe{};        // as last read or written

    std::atomic<uint32_t> transferErrors{0}; // failed block exchanges; the host clears
};
extern Records records;

/// The magnetic record as it stands: the host may clear it at any time. Takes recordLock.
MagneticRecord CopyMagnetic();
/// Empties the magnetic record; the error flags stay. Takes recordLock.
void ClearMagnetic();

} // namespace k274
