// The mark that a scan leaves in its infrared image for programs that see the image alone.
#pragma once

namespace k274 {

/// Writes what track 2 holds into the first bytes of IrFr: 1, 2, 5, the number of its characters, its error
/// flag, and 40 codes. Monitor thread.
void WriteStripeMarker();

} // namespace k274
