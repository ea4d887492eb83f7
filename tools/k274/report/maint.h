// What maintenance commands left beside a scan, as a section of its report.
#pragma once

#include <nlohmann/json_fwd.hpp>

namespace host {

/// @param results what still.json, jitter.json and calibration.json say, each by its name when it is there
/// @return nothing when none is
/// Null when there is nothing.
nlohmann::ordered_json MaintSection(const nlohmann::ordered_json &results);

} // namespace host
