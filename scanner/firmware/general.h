// Commands about the scanner as a whole: who it is, a host's coming and going, clear, eject, reset.
#pragma once

#include "scanner/firmware/handler.h"
#include "scanner/virtual_scanner.h"

namespace scanner {

extern const VS_Identity kFactoryIdentity;

Handler Handshake, CloseSession, ClearLastScan, EjectCard, ResetScanner, GuiScan, Information;

} // namespace scanner
