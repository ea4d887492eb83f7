// The magnetic-stripe pass.
#pragma once

namespace k274 {

/// Fetches the stripe's image and the tracks; what does not arrive keeps its old value. Monitor thread,
/// device lock held.
void XfrMS();

} // namespace k274
