#include "platform/sd2/pdf417_locator.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace sd2 {
namespace {

// Modules of a symbol besides its data columns.
constexpr int kFullModules = kStartModules + 2 * kCodewordModules + kStopModules;
constexpr int kCompactModules = kStartModules + kCodewordModules + 1;

/// One line's sight of a pattern.
struct Hit {
    int line;
    int edge;      // index of the outer edge in the line
    double at;     // position of the pattern's outer edge, pixels
    double module; // pixels along the line
};

struct Track {
    bool start, forward;
    std::vector<Hit> hits;
    // Outer edge at `across` pixels: offset + slope x across.
    double offset = 0, slope = 0, module = 0;
    bool used = false;
};

/// Compares runs with a pattern, both from the first edge on.
/// @param step  1, or -1 to walk the edges backwards
template <size_t kRuns>
bool Matches(const int32_t *edge, int step, const int (&runs)[kRuns], double *module) {
    // The cheap tests that almost every place fails come first.
    const int first = std::abs(edge[step] - edge[0]), second = std::abs(edge[2 * step] - edge[step]);
    if (first < 3 * second)
        return false;
    int total = 0;
    for (const int run : runs)
        total += run;
    const double span = std::abs(edge[static_cast<int>(kRuns) * step] - edge[0]);
    const double unit = span / total;
    if (unit < kEdgeUnit)
        return false;
    for (int i = 0; i < static_cast<int>(kRuns); ++i) {
        const double width = std::abs(edge[(i + 1) * step] - edge[i * step]) / unit;
        if (std::abs(width - runs[i]) > (runs[i] > 6 ? 1.3 : 0.85))
            return false;
        // Blur moves the two edges of a bar apart; edges of one kind keep their distance.
        if (i + 1 < static_cast<int>(kRuns)) {
            const double pair = std::abs(edge[(i + 2) * step] - edge[i * step]) / unit;
            if (std::abs(pair - runs[i] - runs[i + 1]) > 0.75)
                return false;
        }
    }
    *module = unit / kEdgeUnit;
    return true;
}

class TrackBuilder {
public:
    explicit TrackBuilder(int group) : group_(group) {}

    void Add(bool start, bool forward, const Hit &hit) {
        constexpr double kMaxSlope = 0.16; // skew moves a pattern by at most a sixth of the way
        Track *best = nullptr;
        double nearest = 1e9;
        for (Track &track : open_) {
            const Hit &last = track.hits.back();
            const int gap = hit.line - last.line;
            if (track.start != start || track.forward != forward || gap < 1)
                continue;
            const double distance = std::abs(hit.at - last.at);
            if (distance > 2 + kMaxSlope * gap * group_ || std::abs(hit.module / last.module - 1) > 0.2)
                continue;
            if (distance < nearest) {
                nearest = distance;
                best = &track;
            }
        }
        if (best)
            best->hits.push_back(hit);
        else if (open_.size() < kMaxOpen)
            open_.push_back({start, forward, {hit}});
    }

    /// Puts away the tracks that ended before this line; those with a single hit were chance.
    void Advance(int line) {
        constexpr int kMaxGap = 12; // lines; damage may hide a pattern for some
        const auto ended = std::partition(open_.begin(), open_.end(), [&](const Track &track) {
            return line - track.hits.back().line <= kMaxGap;
        });
        std::copy_if(std::make_move_iterator(ended), std::make_move_iterator(open_.end()),
                     std::back_inserter(done_),
                     [](const Track &track) { return track.hits.size() >= kMinHits; });
        open_.erase(ended, open_.end());
        if (done_.size() > kMaxDone) {
            std::sort(done_.begin(), done_.end(), MoreHits);
            done_.resize(kMaxDone / 2);
        }
    }

    /// All tracks, those with most hits first.
    std::vector<Track> Finish() {
        Advance(std::numeric_limits<int>::max());
        std::stable_sort(done_.begin(), done_.end(), MoreHits);
        return std::move(done_);
    }

private:
    static constexpr size_t kMinHits = 2;
    // Far more than any card shows; images full of patterns must not take long.
    static constexpr size_t kMaxOpen = 64, kMaxDone = 128;

    static bool MoreHits(const Track &a, const Track &b) { return a.hits.size() > b.hits.size(); }

    int group_;
    std::vector<Track> open_, done_;
};

double Median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double Across(const Hit &hit, int group) { return (hit.line + 0.5) * group; }

/// Straight line through the hits, once more without those that lie off it.
void Fit(Track &track, int group) {
    std::vector<double> modules;
    for (const Hit &hit : track.hits)
        modules.push_back(hit.module);
    track.module = Median(std::move(modules));
    for (int round = 0; round < 3; ++round) {
        double n = 0, sx = 0, sy = 0, sxx = 0, sxy = 0;
        for (const Hit &hit : track.hits) {
            const double x = Across(hit, group);
            n += 1, sx += x, sy += hit.at, sxx += x * x, sxy += x * hit.at;
        }
        const double spread = n * sxx - sx * sx;
        track.slope = spread > 0 ? (n * sxy - sx * sy) / spread : 0;
        track.offset = (sy - track.slope * sx) / n;
        const auto off = [&](const Hit &hit) {
            return std::abs(hit.at - track.offset - track.slope * Across(hit, group)) >
                   0.6 * track.module + 0.5;
        };
        if (n < 4 || round == 2 || std::none_of(track.hits.begin(), track.hits.end(), off))
            break;
        std::vector<Hit> kept;
        std::remove_copy_if(track.hits.begin(), track.hits.end(), std::back_inserter(kept), off);
        if (kept.size() < 3)
            break;
        track.hits = std::move(kept);
    }
}

/// The symbol's frame of reference: reading direction and across, in (along, across) coordinates of the
/// lines.
struct Axes {
    Point right, down; // unit vectors
};

Axes AxesOf(double slope, bool forward) {
    const double n = std::hypot(1, slope);
    const double sign = forward ? 1 : -1;
    return {{sign / n, -sign * slope / n}, {slope / n, 1 / n}};
}

Point OnTrack(const Track &track, double across) { return {track.offset + track.slope * across, across}; }

double MiddleAcross(const Track &track, int group) {
    return (Across(track.hits.front(), group) + Across(track.hits.back(), group)) / 2;
}

/// From a pattern's outer edge towards the other end of the symbol: the last edge before a light run that is
/// too long for a symbol. Returns the distance in pixels along the line.
double Extent(const Edges &edges, const Hit &hit, int step, double module) {
    const int32_t *line = edges.Line(hit.line);
    const int count = edges.Count(hit.line);
    constexpr double kQuiet = 7.5; // modules; the longest light run inside a symbol has six
    for (int i = hit.edge + step;; i += step) {
        // Edges with an odd index turn light; seen backwards, those with an even one.
        const bool turnsLight = (i & 1) == (step > 0 ? 1 : 0);
        const int next = i + step;
        if (i < 0 || i >= count)
            return std::abs(line[i - step] - line[hit.edge]) / static_cast<double>(kEdgeUnit);
        if (turnsLight &&
            (next < 0 || next >= count || std::abs(line[next] - line[i]) > kQuiet * module * kEdgeUnit))
            return std::abs(line[i] - line[hit.edge]) / static_cast<double>(kEdgeUnit);
    }
}

class AreaBuilder {
public:
    AreaBuilder(const LineImages &lines, const Edges &edges) : lines_(lines), edges_(edges) {}

    /// An area from a start and a stop track that fit each other; false when they do not.
    bool Pair(const Track &start, const Track &stop, SymbolArea *area, double *mismatch) const {
        if (start.forward != stop.forward || std::abs(start.module / stop.module - 1) > 0.15 ||
            std::abs(start.slope - stop.slope) > 0.06)
            return false;
        const double n1 = static_cast<double>(start.hits.size()), n2 = static_cast<double>(stop.hits.size());
        const double slope = (n1 * start.slope + n2 * stop.slope) / (n1 + n2);
        const Axes axes = AxesOf(slope, start.forward);
        const Point a = OnTrack(start, MiddleAcross(start, lines_.group));
        const Point b = OnTrack(stop, MiddleAcross(stop, lines_.group));
        const double width = Dot(b - a, axes.right);
        const double module = (n1 * start.module + n2 * stop.module) / (n1 + n2) * axes.down.y;
        const double columns = (width / module - kFullModules) / kCodewordModules;
        const int whole = static_cast<int>(std::lround(columns));
        if (whole < 1 || whole > kMaxDataColumns || std::abs(columns - whole) > 0.4)
            return false;
        double top = 1e9, bottom = -1e9;
        Cover(start, axes, &top, &bottom);
        const double startTop = top, startBottom = bottom;
        double stopTop = 1e9, stopBottom = -1e9;
        Cover(stop, axes, &stopTop, &stopBottom);
        if (std::min(startBottom, stopBottom) - std::max(startTop, stopTop) <
            0.4 * std::min(startBottom - startTop, stopBottom - stopTop))
            return false;
        *mismatch = std::abs(columns - whole) + std::abs(start.slope - stop.slope) + whole * 0.05;
        area->columns = whole;
        area->support = static_cast<int>(start.hits.size() + stop.hits.size());
        area->width = kFullModules + kCodewordModules * whole;
        Place(a, axes, width / area->width, std::min(top, stopTop), std::max(bottom, stopBottom),
              start.forward, area);
        return true;
    }

    /// An area from one track; how far it reaches is taken from the edges.
    /// @param more  columns to add to what the edges show
    bool Single(const Track &track, int more, SymbolArea *area) const {
        const Axes axes = AxesOf(track.slope, track.forward);
        const double module = track.module * axes.down.y;
        const int step = track.start == track.forward ? 1 : -1;
        std::vector<double> extents;
        for (const Hit &hit : track.hits)
            extents.push_back(Extent(edges_, hit, step, track.module));
        const double width = Median(std::move(extents)) * axes.down.y;
        // Seen from the start, what has no stop pattern is a compact symbol: it has no right indicator and a
        // single bar at the end. A full symbol without its end passes for one with a column more.
        area->compact = track.start;
        const int others = track.start ? kCompactModules : kFullModules;
        area->columns = more + static_cast<int>(std::lround((width / module - others) / kCodewordModules));
        if (area->columns < 1 || area->columns > kMaxDataColumns)
            return false;
        area->width = others + kCodewordModules * area->columns;
        area->support = static_cast<int>(track.hits.size());
        double top = 1e9, bottom = -1e9;
        Cover(track, axes, &top, &bottom);
        Point a = OnTrack(track, MiddleAcross(track, lines_.group));
        if (!track.start)
            a = a - area->width * module * axes.right;
        Place(a, axes, module, top, bottom, track.forward, area);
        return true;
    }

private:
    void Cover(const Track &track, const Axes &axes, double *top, double *bottom) const {
        for (const Hit &hit : {track.hits.front(), track.hits.back()}) {
            const double v = Dot(OnTrack(track, Across(hit, lines_.group)), axes.down);
            *top = std::min(*top, v - lines_.group / 2.0);
            *bottom = std::max(*bottom, v + lines_.group / 2.0);
        }
    }

    void Place(Point onStart, const Axes &axes, double module, double top, double bottom, bool forward,
               SymbolArea *area) const {
        const Point origin = onStart + (top - Dot(onStart, axes.down)) * axes.down;
        area->origin = ToImage(origin);
        area->right = ToImage(module * axes.right);
        area->down = ToImage(module * axes.down);
        area->height = (bottom - top) / module;
        area->forward = forward;
    }

    Point ToImage(Point p) const { return lines_.axis == Axis::kAlongPixels ? p : Point{p.y, p.x}; }

    const LineImages &lines_;
    const Edges &edges_;
};

} // namespace

void LocatePdf417(const LineImages &lines, const Edges &edges, std::vector<SymbolArea> &areas) {
    constexpr int kStart = 8, kStop = 9; // runs
    TrackBuilder builder(lines.group);
    for (int line = 0; line < edges.Lines(); ++line) {
        builder.Advance(line);
        const int32_t *edge = edges.Line(line);
        const int count = edges.Count(line);
        const auto add = [&](bool start, bool forward, int at, double module) {
            builder.Add(start, forward, {line, at, edge[at] / static_cast<double>(kEdgeUnit), module});
        };
        double module = 0;
        for (int i = 0; i < count; i += 2) { // even edges turn dark
            if (i + kStart < count && Matches(edge + i, 1, kStartRuns, &module))
                add(true, true, i, module);
            if (i + kStop < count && Matches(edge + i + kStop, -1, kStopRuns, &module))
                add(false, false, i, module);
        }
        for (int i = 1; i < count; i += 2) { // odd edges turn light: patterns that end here
            if (i >= kStart && Matches(edge + i, -1, kStartRuns, &module))
                add(true, false, i, module);
            if (i >= kStop && Matches(edge + i - kStop, 1, kStopRuns, &module))
                add(false, true, i, module);
        }
    }

    std::vector<Track> tracks = builder.Finish();
    for (Track &track : tracks)
        Fit(track, lines.group);

    const AreaBuilder builds(lines, edges);
    for (Track &start : tracks) {
        if (!start.start)
            continue;
        Track *partner = nullptr;
        SymbolArea best, area;
        double least = 1e9, mismatch = 0;
        for (Track &stop : tracks)
            if (!stop.start && !stop.used && builds.Pair(start, stop, &area, &mismatch) && mismatch < least) {
                least = mismatch;
                best = area;
                partner = &stop;
            }
        if (partner) {
            start.used = partner->used = true;
            areas.push_back(best);
        }
    }
    for (const Track &track : tracks) {
        constexpr size_t kMinSingle = 3; // hits
        if (track.used || track.hits.size() < kMinSingle)
            continue;
        SymbolArea area;
        if (builds.Single(track, 0, &area))
            areas.push_back(area);
        // Without a start pattern the edges may have led to where it was, or only to the indicator after it.
        if (!track.start && builds.Single(track, 1, &area))
            areas.push_back(area);
    }
}

} // namespace sd2
