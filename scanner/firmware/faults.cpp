// Counts transfers for the armed faults.
#include "scanner/firmware/faults.h"

#include <algorithm>

namespace scanner {

bool FaultList::Arm(const VS_Fault &fault) {
    const bool known = (fault.command <= 0xFF || fault.command == VS_ANY_COMMAND) &&
                       (fault.direction == VS_OUT || fault.direction == VS_IN) && fault.first >= 1 &&
                       fault.action >= VS_FAULT_STATUS && fault.action <= VS_FAULT_UNPLUG;
    if (known)
        armed_.push_back({fault, 0});
    return known;
}

std::optional<VS_Fault> FaultList::Next(unsigned command, unsigned direction) {
    std::optional<VS_Fault> met;
    for (Armed &entry : armed_) {
        const VS_Fault &fault = entry.fault;
        if (fault.direction != direction || (fault.command != command && fault.command != VS_ANY_COMMAND))
            continue;
        entry.seen++;
        const bool due =
            entry.seen >= fault.first && (fault.count == 0 || entry.seen - fault.first < fault.count);
        if (due && !met)
            met = fault;
    }
    return met;
}

Fate FateOf(const VS_Fault &fault) {
    switch (fault.action) {
    case VS_FAULT_STATUS:
        return Fate::Fails;
    case VS_FAULT_UNPLUG:
        return Fate::Unplugs;
    case VS_FAULT_STALL:
        return Fate::Hangs;
    default:
        return Fate::TakesPlace;
    }
}

void Spoil(const VS_Fault &fault, std::vector<uint8_t> *bytes) {
    if (fault.action == VS_FAULT_SHORT || fault.action == VS_FAULT_STALL)
        bytes->resize(std::min<size_t>(bytes->size(), fault.value));
    else if (fault.action == VS_FAULT_GARBAGE)
        FillWithNoise(fault.value, bytes->data(), bytes->size());
}

void FillWithNoise(uint32_t seed, uint8_t *bytes, size_t count) {
    uint32_t state = seed;
    for (size_t k = 0; k < count; k++) {
        // Multiplicative mixing of a counter: good enough to look like nothing, and the same everywhere.
        uint32_t x = state += 0x9E3779B9u;
        x = (x ^ x >> 16) * 0x85EBCA6Bu;
        x = (x ^ x >> 13) * 0xC2B2AE35u;
        bytes[k] = static_cast<uint8_t>(x >> 16);
    }
}

} // namespace scanner
