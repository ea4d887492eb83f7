// Error correction of PDF417: Reed-Solomon over the integers modulo 929, for wrong codewords in unknown
// places and for unreadable ones in known places.
#pragma once

#include "platform/sd2/budget.h"

#include <cstdint>
#include <vector>

namespace sd2::own {

constexpr int kField = 929;
constexpr int kMaxWords = 928;

class Correction {
public:
    /// @param words       at most kMaxWords, each below kField; the last `correction` of them protect the
    /// rest
    /// @param correction  1 to 512, less than there are words
    Correction(const std::vector<int> &words, int correction);

    /// Corrects the words. One wrong word costs two of the `correction` words, one unreadable word one; two
    /// more stay unused, so that what is not a symbol is not taken for one.
    /// @param unreadable  places of words, each once; their values do not matter
    /// @param corrected   becomes the number of words that have another value now
    /// @return false when that is not possible or the time is over; the words are as before then
    bool Correct(const std::vector<int> &unreadable, const Stopwatch &watch, std::vector<int> &words,
                 int *corrected) const;

private:
    int correction_;
    std::vector<uint32_t> syndromes_;
};

} // namespace sd2::own
