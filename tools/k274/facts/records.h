// The library's records as JSON, with the key names of docs/k274-command.md.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "include/k274.h"

namespace host {

std::string Dotted(const uint8_t *numbers, int count);
/// The second serial number; JSON numbers do not hold its 64 bits safely, so it travels as text.
std::string SecondSerial(const K274_Version &version);

nlohmann::ordered_json VersionJson(const K274_Version &version);
nlohmann::ordered_json StatusJson(const K274_Status &status);
/// The card's measurements in millimetres.
nlohmann::ordered_json CardJson(const K274_Status &status);

} // namespace host
