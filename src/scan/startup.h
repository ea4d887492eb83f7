// What the monitor thread checks once at its start, and what it reads again after a reset of the scanner.
#pragma once

namespace k274 {

/// Barcode library, AFE registers, versions, in that order. The caller holds the device lock and delivers the
/// states that were raised afterwards.
void StartupChecks();

/// After a reset: programs the carried firmware into a scanner that asks for it, and otherwise makes the
/// checks of the start. The caller holds the device lock.
/// @return whether programming was started
bool SyncFirmware();

/// The scanner says that it has been reset: tells the host, reads versions and tables again, brings the
/// firmware up to date. Part of a poll, so the device lock is held.
void HandleReset();

} // namespace k274
