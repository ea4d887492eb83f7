#include "platform/sd2/own/codewords.h"

#include "platform/sd2/own/pdf417_patterns.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace sd2::own {
namespace {

constexpr int kPerModule = SymbolRows::kPerModule;
constexpr int kMaxShift = 3; // samples that a codeword may lie beside its place
constexpr int kMinContrast = 12;

/// How dark the modules of a codeword are: kModuleWeight for one as dark as any, minus that for light.
using Modules = std::array<int, kCodewordModules>;

/// One row, smoothed so that the value between samples i - 1 and i stands for a module centred there.
std::vector<int> Smooth(const uint8_t *grey, int count) {
    std::vector<int> smooth(static_cast<size_t>(count) + 1);
    const auto at = [&](int i) { return static_cast<int>(grey[std::clamp(i, 0, count - 1)]); };
    for (int i = 0; i <= count; ++i)
        smooth[static_cast<size_t>(i)] = at(i - 2) + 2 * at(i - 1) + 2 * at(i) + at(i + 1);
    return smooth;
}

/// @param begin  sample at which the codeword begins
/// @return false where there is no contrast
bool ModulesAt(const std::vector<int> &row, int begin, Modules &modules) {
    constexpr int kAround = 4 * kPerModule; // samples whose extremes count, too
    constexpr int kWeightOfSmooth = 6;
    const int size = static_cast<int>(row.size());
    // Places outside the row have no codeword.
    if (begin < 0 || begin + kCodewordModules * kPerModule >= size)
        return false;
    const auto from = row.begin() + std::max(begin - kAround, 0);
    const auto to = row.begin() + std::min(begin + kCodewordModules * kPerModule + kAround, size);
    const auto [low, high] = std::minmax_element(from, to);
    const int contrast = *high - *low, middle = *high + *low;
    if (contrast < kMinContrast * kWeightOfSmooth)
        return false;
    for (int i = 0; i < kCodewordModules; ++i) {
        const int grey = row[static_cast<size_t>(begin + i * kPerModule + kPerModule / 2)];
        modules[static_cast<size_t>(i)] = (middle - 2 * grey) * kModuleWeight / contrast;
    }
    return true;
}

/// Sum over the modules that are dark in the pattern, less those that are light.
Codeword Match(const Modules &modules, const Cluster &cluster, int *fit) {
    // A pattern's two bytes are looked up in the sums of all that eight modules can show.
    std::array<int, 256> high{}, low{};
    for (int bit = 0; bit < 8; ++bit) {
        const size_t half = size_t{1} << bit;
        const int upper = 2 * modules[static_cast<size_t>(8 - bit)],
                  lower = 2 * modules[static_cast<size_t>(16 - bit)];
        for (size_t i = 0; i < half; ++i) {
            high[half + i] = high[i] + upper;
            low[half + i] = low[i] + lower;
        }
    }
    int light = modules[0];
    for (size_t i = 1; i < modules.size(); ++i)
        light -= modules[i];
    int best = -1000000, second = best;
    size_t value = 0;
    for (size_t i = 0; i < cluster.size(); ++i) {
        const int sum = high[cluster[i] >> 8] + low[cluster[i] & 255];
        if (sum > second) {
            if (sum > best) {
                second = best;
                best = sum;
                value = i;
            } else {
                second = sum;
            }
        }
    }
    *fit = best + light;
    return {static_cast<int>(value), best - second};
}

} // namespace

bool SampleCodewords(const SymbolRows &rows, const Stopwatch &watch, CodewordGrid *grid) {
    grid->rows = rows.lines.lines;
    grid->places = rows.columns + (rows.compact ? 1 : 2);
    grid->codeword.assign(static_cast<size_t>(grid->rows) * static_cast<size_t>(grid->places), {});
    Codeword *codeword = grid->codeword.data();
    for (int line = 0; line < grid->rows; ++line) {
        if (watch.Expired())
            return false;
        const std::vector<int> row = Smooth(rows.lines.Line(line), rows.lines.pixels);
        const Cluster &cluster = kPatterns[static_cast<size_t>(line % kClusters)];
        int shift = 0; // of the codeword before: neighbours are displaced alike
        for (int place = 0; place < grid->places; ++place, ++codeword) {
            int bestFit = 0, bestShift = shift;
            for (int s = std::max(shift - 1, -kMaxShift); s <= std::min(shift + 1, kMaxShift); ++s) {
                Modules modules;
                int fit = 0;
                if (!ModulesAt(row, rows.FirstCodeword() + place * kCodewordModules * kPerModule + s,
                               modules))
                    continue;
                const Codeword read = Match(modules, cluster, &fit);
                if (fit > bestFit) {
                    bestFit = fit;
                    bestShift = s;
                    *codeword = read;
                }
            }
            shift = bestShift;
        }
    }
    return true;
}

} // namespace sd2::own
