// The scanner's data areas: records, flash blocks, parameters, registers of the analog front end.
#pragma once

#include "scanner/firmware/handler.h"

namespace scanner {

Handler FactoryData, UserData, FlashBlock, ParameterExchange, AfeExchange;

} // namespace scanner
