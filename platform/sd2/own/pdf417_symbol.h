// From the codewords of a PDF417 symbol to its text: the indicators at both sides say how many rows and
// columns there are and how much of it is correction.
#pragma once

#include "platform/sd2/own/codewords.h"

namespace sd2::own {

/// @param columnsSeen  what the locator counted, should no indicator tell
bool ReadSymbol(const CodewordGrid &grid, int columnsSeen, const Stopwatch &watch, Pdf417Read *read);

} // namespace sd2::own
