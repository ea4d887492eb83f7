// Faults that tests have armed, and the transfers that meet them.
#pragma once

#include "scanner/virtual_scanner.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace scanner {

class FaultList {
public:
    /// False for a fault with a value outside its list.
    bool Arm(const VS_Fault &fault);
    void Clear() { armed_.clear(); }
    /// The fault that the next transfer of this command and direction meets: of several the one armed first.
    /// Every armed fault counts the transfer, whichever applies.
    std::optional<VS_Fault> Next(unsigned command, unsigned direction);

private:
    struct Armed {
        VS_Fault fault;
        uint64_t seen;
    };
    std::vector<Armed> armed_;
};

/// Noise in place of data.
void FillWithNoise(uint32_t seed, uint8_t *bytes, size_t count);

} // namespace scanner
