#include "platform/sd2/own/linear_codes.h"

#include <algorithm>
#include <array>

namespace sd2::own {
namespace {

constexpr size_t kRuns = 9; // bars and spaces of a character, five and four
constexpr char kCharacters[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ-. $/+%*";
// Which of them are wide, the first in the highest bit.
constexpr uint16_t kWide[] = {
    0x034, 0x121, 0x061, 0x160, 0x031, 0x130, 0x070, 0x025, 0x124, 0x064, 0x109, 0x049, 0x148, 0x019, 0x118,
    0x058, 0x00D, 0x10C, 0x04C, 0x01C, 0x103, 0x043, 0x142, 0x013, 0x112, 0x052, 0x007, 0x106, 0x046, 0x016,
    0x181, 0x0C1, 0x1C0, 0x091, 0x190, 0x0D0, 0x085, 0x184, 0x0C4, 0x0A8, 0x0A2, 0x08A, 0x02A, 0x094,
};
constexpr char kEnd = '*'; // first and last of a code

bool IsWide(uint16_t wide, size_t run) { return wide >> (kRuns - 1 - run) & 1; }

/// What bars and spaces of a code measure: ink grows bars at the cost of spaces, so each kind has its own
/// widths.
struct Measure {
    // In 16ths of the widths' unit; [space][wide].
    std::array<std::array<int, 2>, 2> width{};

    /// From a character that is known.
    Measure(const int *runs, uint16_t wide) {
        std::array<std::array<int, 2>, 2> count{};
        for (size_t k = 0; k < kRuns; ++k) {
            width[k % 2][IsWide(wide, k)] += runs[k] * 16;
            ++count[k % 2][IsWide(wide, k)];
        }
        for (size_t kind = 0; kind < 2; ++kind)
            for (size_t w = 0; w < 2; ++w)
                width[kind][w] /= std::max(1, count[kind][w]);
    }

    /// Squared deviations, in 64ths of the difference between wide and narrow.
    int64_t Deviation(const int *runs, uint16_t wide) const {
        int64_t sum = 0;
        for (size_t k = 0; k < kRuns; ++k) {
            const int64_t difference = width[k % 2][1] - width[k % 2][0];
            const int64_t off =
                (runs[k] * 16 - width[k % 2][IsWide(wide, k)]) * 64 / std::max<int64_t>(1, difference);
            sum += off * off;
        }
        return sum;
    }

    /// Follows the code's widths, which change slowly.
    void Follow(const int *runs, uint16_t wide) {
        for (size_t k = 0; k < kRuns; ++k) {
            int &known = width[k % 2][IsWide(wide, k)];
            known += (runs[k] * 16 - known) / 8;
        }
    }
};

/// Nine elements that are off by a third of the difference each.
constexpr int64_t kMostDeviation = 9 * 21 * 21;

size_t Nearest(const Measure &measure, const int *runs) {
    int64_t least = kMostDeviation;
    size_t nearest = std::size(kWide);
    for (size_t i = 0; i < std::size(kWide); ++i) {
        const int64_t deviation = measure.Deviation(runs, kWide[i]);
        if (deviation < least) {
            least = deviation;
            nearest = i;
        }
    }
    return nearest;
}

/// The characters between start and stop; false when there is no code.
bool TextFrom(const std::vector<int> &widths, size_t first, std::string *text, size_t *end) {
    const uint16_t wideEnd = kWide[std::size(kWide) - 1];
    Measure measure(&widths[first], wideEnd);
    // Wide is at least twice as wide, but blur makes narrow elements look wider.
    for (const auto &width : measure.width)
        if (width[0] <= 0 || width[1] * 3 < width[0] * 4)
            return false;
    if (measure.Deviation(&widths[first], wideEnd) >= kMostDeviation)
        return false;
    int length = 0;
    for (size_t k = 0; k < kRuns; ++k)
        length += widths[first + k];
    text->clear();
    for (size_t at = first + kRuns + 1; at + kRuns <= widths.size(); at += kRuns + 1) {
        // A gap between characters is narrow as a rule; a quiet zone is none.
        if (widths[at - 1] * 2 > length)
            return false;
        const size_t character = Nearest(measure, &widths[at]);
        if (character == std::size(kWide))
            return false;
        if (kCharacters[character] == kEnd) {
            *end = at + kRuns;
            return true;
        }
        *text += kCharacters[character];
        measure.Follow(&widths[at], kWide[character]);
    }
    return false;
}

} // namespace

bool ReadCode39(const std::vector<int> &widths, LineCode *code) {
    for (size_t first = 0; first + kRuns <= widths.size(); first += 2) {
        int length = 0;
        for (size_t k = 0; k < kRuns; ++k)
            length += widths[first + k];
        const auto isQuiet = [&](int width) { return width * 3 >= length; };
        if (first > 0 && !isQuiet(widths[first - 1]))
            continue;
        if (!TextFrom(widths, first, &code->bytes, &code->end) || code->bytes.size() < kMinCode39 ||
            (code->end < widths.size() && !isQuiet(widths[code->end])))
            continue;
        code->first = first;
        return true;
    }
    return false;
}

} // namespace sd2::own
