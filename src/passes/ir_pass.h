// The infrared pass: fetches every line, corrects the image and cuts the card out of it.
#pragma once

namespace k274 {

/// Monitor thread, device lock held.
/// @return whether enough lines arrived
bool XfrIR();

} // namespace k274
