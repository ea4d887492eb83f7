// The measures of a scan with their limits and verdicts.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "tools/k274/facts/capture.h"

namespace host {

/// A list of objects: key, name, value, unit, limits (a text, empty when there are none) and grade: "good",
/// "marginal", "bad", or null where there is nothing to judge by.
nlohmann::ordered_json MeasuresJson(const Capture &capture);

/// What the card was taken for: kind, and for a maintenance card its class, letters and direction.
nlohmann::ordered_json CardKindJson(const Capture &capture);

/// The scan information, the head of the scan file.
nlohmann::ordered_json InformationJson(const Capture &capture);

/// The scan variant of a loaded file.
int VariantOf(const Capture &capture);

} // namespace host
