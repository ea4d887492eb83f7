// The version block, read from the scanner.
#pragma once

namespace k274 {

/// Fills the version block from the scanner; its serial number is 0 when that fails. The caller holds the
/// device lock.
bool ReadVersion();

} // namespace k274
