// Reads Code 128 and Code 39 from the edges of the line images: stretches of bars that repeat from line to
// line are handed to the engine.
#pragma once

#include "platform/sd2/budget.h"
#include "platform/sd2/decode.h"
#include "platform/sd2/edges.h"
#include "platform/sd2/line_images.h"

namespace sd2 {

bool ReadLinear(const Request &request, const LineImages &lines, const Edges &edges, const Stopwatch &watch,
                Result *result);

} // namespace sd2
