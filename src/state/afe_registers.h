// The register block of the scanner's analogue front end.
#pragma once

#include <cstdint>

namespace k274 {

constexpr int kAfeWords = 26;
struct AfeRegisters {
    uint16_t words[kAfeWords];
};

} // namespace k274
