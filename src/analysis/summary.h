// Entries at the end of row 6 of the response tables, which the ultraviolet response does not reach: what a
// scan measured, in one byte each.
#pragma once

#include "src/state/scan_measures.h"

#include <initializer_list>

namespace k274 {

constexpr int kSummaryRow = 6;

// Raw response
constexpr int kHighLevelEntry = 2670; // rows 0, 1, 2, 3 and 6, each front and back
constexpr int kProfileScoreEntry = 2680;
constexpr int kLowLevelEntry = 2690; // visible, infrared, ultraviolet
constexpr int kCardEntry = 2695;     // class, variant, code, whether read forward
constexpr int kFormatEntry = 2699;
constexpr int kFormatMark = 15;

// Corrected response
constexpr int kMeanEntry = 2670;
constexpr int kGradeEntry = 2680;

// Both
constexpr int kDipEntry = 2693; // rows 0 and 2

/// Low bytes of the values, from one entry on.
inline void StoreSummary(ResponseTable &table, int entry, std::initializer_list<int32_t> values) {
    for (const int32_t value : values)
        table[kSummaryRow][entry++] = static_cast<uint8_t>(value);
}

} // namespace k274
