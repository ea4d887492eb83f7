// Dips of the responses: entries that lie below their neighbours. Their counts go into the summaries.
#pragma once

#include "src/state/measures.h"

namespace k274 {

void RawDips(ResponseTable &raw);
void CorDips(ResponseTable &corrected);

} // namespace k274
