// The last scan's lines once more.
#pragma once

namespace k274 {

/// Fetches all lines again and processes them with the options now in force. Waits for no stage and ends only
/// with state 8, whatever fails. Monitor thread.
void ResendLastScan();

} // namespace k274
