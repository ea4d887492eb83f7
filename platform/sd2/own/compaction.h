// From PDF417's codewords to the bytes that they stand for.
#pragma once

#include <string>
#include <vector>

namespace sd2::own {

/// @param words  data codewords, each below 929, the first being their number; padding may be among them
/// @return false where a codeword has no meaning; *bytes is what stood before then
bool DecodeCompaction(const std::vector<int> &words, std::string *bytes);

} // namespace sd2::own
