#include "platform/sd2/own/pdf417_patterns.h"

namespace sd2::own {

// clang-format off
const std::array<Cluster, kClusters> kPatterns{{
#include "platform/sd2/own/pdf417_patterns.inc"
}};
// clang-format on

} // namespace sd2::own
