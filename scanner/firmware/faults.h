// Faults that tests have armed, the transfers that meet them, and what becomes of these.
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

/// What becomes of a transfer that a fault has met.
enum class Fate { TakesPlace, Fails /* with the fault's value for a status */, Unplugs, Hangs };
Fate FateOf(const VS_Fault &fault);

/// Leaves of the bytes that pass what the fault does: fewer of them, or noise.
void Spoil(const VS_Fault &fault, std::vector<uint8_t> *bytes);

/// Noise in place of data.
void FillWithNoise(uint32_t seed, uint8_t *bytes, size_t count);

} // namespace scanner
