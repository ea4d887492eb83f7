// Options that decide how the library processes a scan's lines.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace host {

struct Processing {
    std::string uvEnhance, irEnhance; // "on", "off", or empty: as the library has it
    std::optional<int> uvOptions, illumination, stripeTone;
};

void AddProcessingOptions(CLI::App &command, Processing &processing);

/// Hands to the library what was given. While the scanner is connected.
void Apply(const Processing &processing);

/// What was given.
void Describe(const Processing &processing, nlohmann::ordered_json &options);

} // namespace host
