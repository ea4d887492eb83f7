// A set of response curves as an SVG drawing with axes and legend.
#pragma once

#include <string>
#include <vector>

#include "tools/k274/curves.h"

namespace host {

/// @param title what the curves show, for a caption and for readers that do not see them
std::string PlotCurves(const std::vector<Curve> &curves, const std::string &title);

/// Whether any of them has a value.
bool HasValues(const std::vector<Curve> &curves);

} // namespace host
