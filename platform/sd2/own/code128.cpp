#include "platform/sd2/own/linear_codes.h"

#include <algorithm>
#include <array>

namespace sd2::own {
namespace {

constexpr size_t kRuns = 6; // bars and spaces of a character
constexpr int kModules = 11;
constexpr int kNoValue = -1;
using Runs = std::array<int, kRuns>;

// A character's bars and spaces in modules, one digit each.
constexpr uint32_t kWidths[] = {
    0x212222, 0x222122, 0x222221, 0x121223, 0x121322, 0x131222, 0x122213, 0x122312, 0x132212, 0x221213,
    0x221312, 0x231212, 0x112232, 0x122132, 0x122231, 0x113222, 0x123122, 0x123221, 0x223211, 0x221132,
    0x221231, 0x213212, 0x223112, 0x312131, 0x311222, 0x321122, 0x321221, 0x312212, 0x322112, 0x322211,
    0x212123, 0x212321, 0x232121, 0x111323, 0x131123, 0x131321, 0x112313, 0x132113, 0x132311, 0x211313,
    0x231113, 0x231311, 0x112133, 0x112331, 0x132131, 0x113123, 0x113321, 0x133121, 0x313121, 0x211331,
    0x231131, 0x213113, 0x213311, 0x213131, 0x311123, 0x311321, 0x331121, 0x312113, 0x312311, 0x332111,
    0x314111, 0x221411, 0x431111, 0x111224, 0x111422, 0x121124, 0x121421, 0x141122, 0x141221, 0x112214,
    0x112412, 0x122114, 0x122411, 0x142112, 0x142211, 0x241211, 0x221114, 0x413111, 0x241112, 0x134111,
    0x111242, 0x121142, 0x121241, 0x114212, 0x124112, 0x124211, 0x411212, 0x421112, 0x421211, 0x212141,
    0x214121, 0x412121, 0x111143, 0x111341, 0x131141, 0x114113, 0x114311, 0x411113, 0x411311, 0x113141,
    0x114131, 0x311141, 0x411131, 0x211412, 0x211214, 0x211232,
};
constexpr int kStartA = 103, kStartC = 105;
constexpr size_t kCharacters = std::size(kWidths);
constexpr Runs kStop{2, 3, 3, 1, 1, 1}; // and one more bar

constexpr std::array<Runs, kCharacters> AllRuns() {
    std::array<Runs, kCharacters> all{};
    for (size_t i = 0; i < kCharacters; ++i)
        for (size_t k = 0; k < kRuns; ++k)
            all[i][k] = static_cast<int>(kWidths[i] >> (4 * (kRuns - 1 - k)) & 15);
    return all;
}
constexpr std::array<Runs, kCharacters> kAllRuns = AllRuns();

/// What the bars of a character look like: widths in this many parts of a module.
constexpr int kPart = 64;
struct Character {
    Runs widths{};
    int bars = 0; // together

    explicit Character(const int *seen) {
        int total = 0;
        for (size_t k = 0; k < kRuns; ++k)
            total += seen[k];
        for (size_t k = 0; k < kRuns; ++k) {
            widths[k] = total > 0 ? static_cast<int>(int64_t{seen[k]} * kModules * kPart / total) : 0;
            if (k % 2 == 0)
                bars += widths[k];
        }
    }

    /// How far bars are wider than they should be if these are the right ones.
    int Growth(const Runs &right) const { return (bars - (right[0] + right[2] + right[4]) * kPart) / 3; }

    /// Squared deviations. Blur and ink move the two edges of a bar apart, but edges of one kind keep their
    /// distance: so pairs of a bar and a space count most.
    int Deviation(const Runs &right, int growth) const {
        int sum = 0;
        for (size_t k = 0; k < kRuns; ++k) {
            const int off = widths[k] - right[k] * kPart - (k % 2 == 0 ? growth : -growth);
            sum += off * off / 2;
            if (k + 1 < kRuns) {
                const int pair = widths[k] + widths[k + 1] - (right[k] + right[k + 1]) * kPart;
                sum += pair * pair;
            }
        }
        return sum;
    }
};

constexpr int kMostDeviation = 5 * (kPart / 2) * (kPart / 2) * 3 / 2;
constexpr int kMostGrowth = kPart * 3 / 4;

int ValueOf(const Character &character, int growth, int first, int last) {
    int least = kMostDeviation, value = kNoValue;
    for (int i = first; i <= last; ++i) {
        const int deviation = character.Deviation(kAllRuns[static_cast<size_t>(i)], growth);
        if (deviation < least) {
            least = deviation;
            value = i;
        }
    }
    return value;
}

/// The characters' values from the start on, check character included; empty when there is no code.
std::vector<int> ValuesFrom(const std::vector<int> &widths, size_t first, size_t *end) {
    const Character begin(&widths[first]);
    std::vector<int> values;
    int growth = 0, least = kMostDeviation;
    for (int start = kStartA; start <= kStartC; ++start) {
        const Runs &runs = kAllRuns[static_cast<size_t>(start)];
        const int grown = begin.Growth(runs), deviation = begin.Deviation(runs, grown);
        if (deviation < least && std::abs(grown) <= kMostGrowth) {
            least = deviation;
            growth = grown;
            values.assign(1, start);
        }
    }
    if (values.empty())
        return {};
    for (size_t at = first + kRuns; at + kRuns < widths.size(); at += kRuns) {
        const Character character(&widths[at]);
        const int value = ValueOf(character, growth, 0, kStartA - 1);
        const int asStop = character.Deviation(kStop, growth);
        if (asStop < (value == kNoValue
                          ? kMostDeviation
                          : character.Deviation(kAllRuns[static_cast<size_t>(value)], growth))) {
            *end = at + kRuns + 1;
            return values;
        }
        if (value == kNoValue)
            return {};
        values.push_back(value);
        // Later characters tell the growth better than the first alone.
        growth = (3 * growth + character.Growth(kAllRuns[static_cast<size_t>(value)])) / 4;
    }
    return {};
}

bool HasRightCheck(const std::vector<int> &values) {
    constexpr int kModulus = 103;
    int sum = values[0];
    for (size_t i = 1; i + 1 < values.size(); ++i)
        sum = (sum + static_cast<int>(i % kModulus) * values[i]) % kModulus;
    return sum % kModulus == values.back();
}

/// The first function character at the beginning, or behind a letter or two digits there, tells what the text
/// is for and is no part of it.
bool MarksApplication(const std::string &before) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    return before.empty() || (before.size() == 1 && isLetter(before[0])) ||
           (before.size() == 2 && isDigit(before[0]) && isDigit(before[1]));
}

std::string TextOf(const std::vector<int> &values) {
    enum Set { kA, kB, kC };
    enum { kFunction3 = 96, kFunction2, kShift, kToC, kToB, kToA, kFunction1 };
    constexpr char kSeparator = 29; // for the first function character
    std::string text;
    int set = values[0] - kStartA;
    bool shifted = false, upper = false, upperNext = false;
    for (size_t i = 1; i + 1 < values.size(); ++i) {
        const int value = values[i];
        const int now = shifted ? kA + kB - set : set;
        shifted = false;
        if (value == kFunction1) {
            if (!MarksApplication(text))
                text += kSeparator;
        } else if (now == kC) {
            if (value == kToB || value == kToA) {
                set = value == kToB ? kB : kA;
            } else {
                text += static_cast<char>('0' + value / 10);
                text += static_cast<char>('0' + value % 10);
            }
        } else if (value < kFunction3) {
            // Set A has control characters in the place of small letters.
            const int code = now == kA && value >= 64 ? value - 64 : value + 32;
            text += static_cast<char>(upper != upperNext ? code + 128 : code);
            upperNext = false;
        } else if (value == kShift) {
            shifted = true;
        } else if (value == kToC) {
            set = kC;
        } else if (value == (now == kA ? kToA : kToB)) {
            // The fourth function character: another half of the byte, for one character, or when doubled for
            // good.
            if (upperNext)
                upper = !upper;
            upperNext = !upperNext;
        } else if (value == kToA || value == kToB) {
            set = value == kToB ? kB : kA;
        }
    }
    return text;
}

} // namespace

bool ReadCode128(const std::vector<int> &widths, LineCode *code) {
    constexpr size_t kLeast = 4 * kRuns + 1; // start, a character, its check character, stop
    constexpr int kQuiet = 5;                // modules
    for (size_t first = 0; first + kLeast <= widths.size(); first += 2) {
        int total = 0;
        for (size_t k = 0; k < kRuns; ++k)
            total += widths[first + k];
        const auto isQuiet = [&](int width) { return int64_t{width} * kModules >= int64_t{kQuiet} * total; };
        if (first > 0 && !isQuiet(widths[first - 1]))
            continue;
        const std::vector<int> values = ValuesFrom(widths, first, &code->end);
        if (values.size() < 3 || !HasRightCheck(values) ||
            (code->end < widths.size() && !isQuiet(widths[code->end])))
            continue;
        code->bytes = TextOf(values);
        code->first = first;
        if (!code->bytes.empty())
            return true;
    }
    return false;
}

} // namespace sd2::own
