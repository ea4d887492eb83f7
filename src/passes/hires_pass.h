// The 1200-dpi captures: the full one that a host asks for, and the short one in the place of a scan's last
// pass.
#pragma once

namespace k274 {

/// Fetches the lines of the short capture. Monitor thread, device lock held.
/// @return false when too few lines arrived
bool Xfr12S();

/// Makes SliFr and SliBk from the lines that the last short capture brought. Nothing before the first one.
void Process1200S();

/// Captures the full image and saves it as a picture. Takes the device lock for the transfer; not during a
/// scan, which may use the same lines.
void Capture1200F();

} // namespace k274
