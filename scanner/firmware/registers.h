// Lamps for the user, and the options that hosts set.
#pragma once

#include "scanner/firmware/handler.h"

namespace scanner {

Handler UvOption, WhiteCardNumber, LogIn, UserLed, LastScanMode, SecondScan, DebugLed, Beep;

} // namespace scanner
