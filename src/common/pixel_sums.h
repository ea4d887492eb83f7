// Sums over evenly spaced pixels of one row, the inner loop of every mean and profile.
#pragma once

#include <cstddef>
#include <cstdint>

namespace k274 {

struct PixelSums {
    int32_t channel[3];
};

/// Channel sums of `count` pixels, every `step`-th from the first on. Kept in registers: sums added up in
/// a table would be stored for every sample.
/// @param ahead  bytes to the pixels that are summed next, which are fetched meanwhile: they lie in
///               another page, where the processor does not fetch ahead by itself
inline PixelSums SumPixels(const uint8_t *first, int step, int count, ptrdiff_t ahead = 0) {
    int32_t sum0 = 0, sum1 = 0, sum2 = 0;
    for (int i = 0; i < count; i++) {
        const uint8_t *pixel = first + static_cast<ptrdiff_t>(3) * step * i;
        if (ahead != 0)
            __builtin_prefetch(pixel + ahead);
        sum0 += pixel[0];
        sum1 += pixel[1];
        sum2 += pixel[2];
    }
    return {{sum0, sum1, sum2}};
}

/// Fetches bytes that are summed next, for rows that lie in pages of their own.
inline void FetchAhead(const uint8_t *bytes, int count) {
    constexpr int kCacheLine = 64;
    for (int i = 0; i < count; i += kCacheLine)
        __builtin_prefetch(bytes + i);
}

/// Sum of `count` bytes, every Step-th from the first on.
template <int Step>
int32_t SumBytes(const uint8_t *first, int count) {
    int32_t sum = 0;
    for (int i = 0; i < count; i++)
        sum += first[static_cast<ptrdiff_t>(Step) * i];
    return sum;
}

/// Adds a row's bytes to sums of their own; 257 rows fit.
inline void AddBytes(const uint8_t *bytes, int count, uint16_t *sums) {
    for (int i = 0; i < count; i++)
        sums[i] = static_cast<uint16_t>(sums[i] + bytes[i]);
}

} // namespace k274
