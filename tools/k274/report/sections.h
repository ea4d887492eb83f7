// The sections of a report's page as values for its template, made from a scan's description. Only the values
// that are called "content" are HTML.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace host {

/// @param grade "good", "marginal" or "bad"
nlohmann::ordered_json Verdict(const std::string &grade, const std::string &text);

nlohmann::ordered_json Measures(const nlohmann::ordered_json &scan);

/// Adds title, verdicts, facts, tracks, barcodes, measures and the course of the scan.
void AddSections(const nlohmann::ordered_json &scan, const std::string &log, nlohmann::ordered_json &page);

} // namespace host
