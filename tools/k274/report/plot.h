// A set of response curves for the template of a drawing.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "tools/k274/facts/curves.h"

namespace host {

/// @param title what the curves show, for a caption and for readers that do not see them
nlohmann::ordered_json Plot(const std::vector<Curve> &curves, const std::string &title);

/// Whether any of them has a value.
bool HasValues(const std::vector<Curve> &curves);

} // namespace host
