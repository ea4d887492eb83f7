// Fills the page's templates, which are written in Mustache.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace host {

/// @param values what the templates name; texts are escaped where a template does not say otherwise, and null
/// and
///     false leave a section out
std::string RenderPage(const nlohmann::ordered_json &values);

} // namespace host
