// A scan in a few lines for people, from its description.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace host {

/// Tracks, barcodes, and those measures that are not good.
std::vector<std::string> SummaryLines(const nlohmann::ordered_json &description);

struct Verdicts {
    int good = 0, marginal = 0, bad = 0;
};
Verdicts CountVerdicts(const nlohmann::ordered_json &measures);

/// "184 %", with the unit where there is one; "none" for no value.
std::string ValueText(const nlohmann::ordered_json &measure);

} // namespace host
