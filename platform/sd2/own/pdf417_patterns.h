// How PDF417's codewords look. The bars are data: see derive_patterns.py.
#pragma once

#include <array>
#include <cstdint>

namespace sd2::own {

constexpr int kCodewords = 929, kClusters = 3;

/// Of each codeword the modules after the first: the highest bit first, 1 is dark. The first module of all is
/// dark, the last light.
using Cluster = std::array<uint16_t, kCodewords>;
extern const std::array<Cluster, kClusters> kPatterns;

} // namespace sd2::own
