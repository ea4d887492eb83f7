// What the environment says about the virtual scanner, read once.
#pragma once

#include <cstdint>
#include <string>

namespace scanner {

struct Settings {
    double speed = 1;
    uint32_t seed = 1;
    std::string cards; // folder; empty: no cards
    std::string log;   // file; empty: none
};

/// Reads K274_SPEED, K274_SEED, K274_CARDS and K274_SCANNER_LOG. What cannot be used is named on standard
/// error and keeps its default.
Settings ReadEnvironment();

/// A finite number from 0 upwards.
bool UsableSpeed(double factor);

} // namespace scanner
