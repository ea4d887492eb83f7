#include "platform/sd2/linear.h"

#include "platform/sd2/engine.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace sd2 {
namespace {

// The shortest code of either kind: Code 128 with one character, its check character, start and stop.
constexpr int kMinRuns = 25;
/// Splits a line at runs that are much longer than those before them.
void FindStretches(const int32_t *edge, int count, int line, std::vector<Stretch> &out) {
    constexpr int kMemory = 8;                      // runs that set the measure
    constexpr double kLongAtFirst = 5.5, kLong = 4; // times their mean
    const auto close = [&](int first, int last) {
        if (last - first >= kMinRuns)
            out.push_back({line, first, last});
    };
    int first = 0;
    for (int i = 1; i + 1 < count; ++i) {
        const int run = edge[i + 1] - edge[i];
        const int known = std::min(i - first, kMemory);
        if (known <= 0 ||
            run <= (known < kMemory ? kLongAtFirst : kLong) * (edge[i] - edge[i - known]) / known)
            continue;
        // A long light run lies between stretches; a long dark one, too, with the light runs beside it.
        const bool light = i & 1;
        close(first, light ? i : i - 1);
        first = light ? i + 1 : i + 2;
    }
    close(first, (count & 1) ? count - 2 : count - 1); // to the last edge that turns light
}

/// Where a code ends: a line image and a place along it.
struct Corner {
    int line;
    int32_t at;
};

constexpr int kFollowed = 7; // edges

/// Follows a few bars from line to line as long as they go on.
/// @param edge    index of the first of kFollowed edges
/// @param corner  which of them is the code's end
/// @param step    1 or -1
Corner Follow(const Edges &edges, int line, int edge, int corner, int step) {
    constexpr int kSlack = 4 * kEdgeUnit; // along, from line to line
    constexpr int kMaxGap = 2;            // lines without them
    int32_t reference[kFollowed];
    std::copy_n(edges.Line(line) + edge, kFollowed, reference);
    const int length = reference[kFollowed - 1] - reference[0];
    Corner last{line, reference[corner]};
    int32_t at = reference[0];
    for (int next = line + step; next >= 0 && next < edges.Lines() && std::abs(next - last.line) <= kMaxGap;
         next += step) {
        const int32_t *candidates = edges.Line(next);
        const int count = edges.Count(next);
        const int32_t *found = std::lower_bound(candidates, candidates + count, at - kSlack);
        for (int e = static_cast<int>(found - candidates);
             e + kFollowed <= count && candidates[e] <= at + kSlack; ++e) {
            if ((e & 1) != (edge & 1))
                continue;
            bool same = true;
            for (int k = 1; k < kFollowed && same; ++k) {
                const int moved = (candidates[e + k] - candidates[e]) - (reference[k] - reference[0]);
                same = std::abs(moved) * 12 < length;
            }
            if (same) {
                at = candidates[e];
                last = {next, candidates[e + corner]};
                break;
            }
        }
    }
    return last;
}

/// The code's first and last line in the caller's image.
void FindPosition(const Request &request, const LineImages &lines, const Edges &edges, int line, double from,
                  double to, Result *result) {
    const int32_t *edge = edges.Line(line);
    const int count = edges.Count(line);
    const auto nearest = [&](double at) {
        const auto further = [&](int32_t a, int32_t b) { return std::abs(a - at) < std::abs(b - at); };
        return static_cast<int>(std::min_element(edge, edge + count, further) - edge);
    };
    const int first = std::min(nearest(from), count - kFollowed), last = std::max(nearest(to), kFollowed - 1);
    const Corner corners[] = {Follow(edges, line, first, 0, -1), Follow(edges, line, first, 0, 1),
                              Follow(edges, line, last - kFollowed + 1, kFollowed - 1, -1),
                              Follow(edges, line, last - kFollowed + 1, kFollowed - 1, 1)};
    double top = 1e9, bottom = 0;
    for (const Corner &c : corners) {
        const bool along = lines.axis == Axis::kAlongLines;
        const double at = c.at / static_cast<double>(kEdgeUnit);
        top = std::min(top, along ? at : c.line * lines.group);
        bottom = std::max(bottom, along ? at : (c.line + 1) * lines.group - 1);
    }
    result->SetPosition(top, bottom, request.image.lines);
}

} // namespace

bool ReadLinear(const Request &request, const LineImages &lines, const Edges &edges, const Stopwatch &watch,
                Result *result) {
    std::vector<Stretch> stretches;
    for (int line = 0; line < edges.Lines(); ++line)
        FindStretches(edges.Line(line), edges.Count(line), line, stretches);
    LinearRead read;
    if (stretches.empty() ||
        !request.engine->readLinear(edges, stretches, request.code128, request.code39, watch, &read))
        return false;
    result->symbology = read.symbology;
    result->text = read.bytes;
    result->orientation = read.start <= read.end ? 1 : 2;
    result->info[kInfoAccepted] = 1;
    FindPosition(request, lines, edges, read.line, std::min(read.start, read.end),
                 std::max(read.start, read.end), result);
    return true;
}

} // namespace sd2
