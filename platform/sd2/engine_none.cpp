// No engine: systems for which no barcode library is packaged.
#include "platform/sd2/engine.h"

namespace sd2 {

bool EngineReadPdf417(const GreyImage &, Levels, bool, EngineRead *) { return false; }
bool EngineReadLinear(const GreyImage &, bool, bool, EngineRead *) { return false; }

} // namespace sd2
