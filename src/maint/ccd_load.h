// Fetches the white-card response from the scanner into the CCD tables.
#pragma once

namespace k274 {

/// The caller holds the device lock. An unsound reply leaves the tables of the last good one in force.
/// @return false when the request was not written or the reply not read
bool LoadCcdTables();

} // namespace k274
