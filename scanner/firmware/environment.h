// What the environment says about the virtual scanner, read once.
#pragma once

#include <cstdint>
#include <string>

namespace scanner {

struct Settings {
    double speed = 1;
    uint32_t seed = 1;
    double jitter = 0; // columns
    std::string cards; // folder; empty: no cards
    std::string log;   // file; empty: none
    std::string flash; // file; empty: the flash is forgotten with the process
};

/// Reads K274_SPEED, K274_SEED, K274_JITTER, K274_CARDS, K274_SCANNER_LOG and K274_FLASH. What cannot be used
/// is named on standard error and keeps its default.
Settings ReadEnvironment();

/// A finite number from 0 upwards.
bool UsableSpeed(double factor);

/// From 0 to 16 columns.
bool UsableJitter(double columns);
/// In 1/65536 columns, for a usable jitter.
int32_t JitterOf(double columns);

} // namespace scanner
