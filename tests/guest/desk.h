// What a guest wants done to the scanner on the desk outside: a note goes there over a serial line, and comes
// back with what it has come to.
#pragma once

#include "scanner/virtual_scanner.h"

#include <cstdint>

namespace guest {

enum class Wish { InsertCard, CardWaiting, SetSeed, PressEject, PlugIn, ArmFault, ClearFaults, GetObserved };

/// The same on both machines.
struct Note {
    Wish wish{};
    int32_t result = 0;  // of the function, and its text
    char text[256] = ""; // the card's folder, on the way there
    uint32_t seed = 0;
    VS_Fault fault{};
    VS_Observed observed{};
};

} // namespace guest
