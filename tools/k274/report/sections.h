// The parts of a report's page that are made from a scan's description, as HTML. All texts in it are escaped.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace host {

std::string TitleLine(const nlohmann::ordered_json &scan); // not escaped yet
std::string VerdictLine(const nlohmann::ordered_json &scan);
std::string FactItems(const nlohmann::ordered_json &scan);
std::string StripeSection(const nlohmann::ordered_json &scan);
std::string BarcodeSection(const nlohmann::ordered_json &scan);
std::string MeasureRows(const nlohmann::ordered_json &scan);
std::string MeasuresNote(const nlohmann::ordered_json &scan);
std::string CourseSection(const nlohmann::ordered_json &scan, const std::string &log);

} // namespace host
