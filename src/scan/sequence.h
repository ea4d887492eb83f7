// One scan, from the card's arrival to its last state.
#pragma once

namespace k274 {

/// Runs when the status word says that a card is being scanned. Everything is reported through states and
/// log lines. Monitor thread.
void ScanSequence();

} // namespace k274
