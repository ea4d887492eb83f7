#include "platform/sd2/zxing/drawing.h"

#include "platform/sd2/resample.h"

#include <algorithm>

namespace sd2::zxing {
namespace {

/// Draws bars and spaces over a line from `x` on, beginning with a bar; the line is light before.
template <size_t kRuns>
void DrawPattern(const int (&runs)[kRuns], int x, int perModule, uint8_t *line) {
    bool dark = true;
    for (const int run : runs) {
        std::fill(line + x, line + x + run * perModule, dark ? uint8_t{0} : uint8_t{255});
        x += run * perModule;
        dark = !dark;
    }
}

int Place(int32_t edge) { return (edge * kLinearScale + kEdgeUnit / 2) / kEdgeUnit; }

} // namespace

void DrawRows(const SymbolRows &rows, OwnImage &out) {
    constexpr int kRowLines = 4; // lines drawn for each row
    constexpr int kPaperLines = 4;
    constexpr int kStopBar[] = {1}; // all that a compact symbol has of the stop pattern
    Edges edges;
    FindEdges(rows.lines, edges);
    out.Resize(rows.lines.lines * kRowLines + 2 * kPaperLines, rows.lines.pixels);
    std::fill(out.grey.begin(), out.grey.end(), uint8_t{255});
    const int first = rows.FirstCodeword(), last = rows.StopPattern();
    for (int row = 0; row < rows.lines.lines; ++row) {
        uint8_t *line = out.Line(kPaperLines + row * kRowLines);
        const int32_t *edge = edges.Line(row);
        const int count = edges.Count(row);
        const auto place = [&](int e) { // the end of the line for the edge behind the last
            return e < count ? std::clamp((edge[e] + kEdgeUnit / 2) / kEdgeUnit, first, last) : last;
        };
        for (int e = 0; e < count; e += 2)
            std::fill(line + place(e), line + place(e + 1), uint8_t{0});
        DrawPattern(kStartRuns, rows.kQuiet * rows.kPerModule, rows.kPerModule, line);
        if (rows.compact)
            DrawPattern(kStopBar, last, rows.kPerModule, line);
        else
            DrawPattern(kStopRuns, last, rows.kPerModule, line);
        for (int k = 1; k < kRowLines; ++k)
            std::copy(line, line + out.pixels, out.Line(kPaperLines + row * kRowLines + k));
    }
}

void DrawArea(const GreyImage &image, const SymbolArea &area, OwnImage &out) {
    constexpr int kPerModule = 3;
    constexpr int kQuiet = 4; // modules
    constexpr double kMargin = 3;
    constexpr double kSharpness = 1.0;
    // The engine takes long over codewords that it cannot read: few lines, four or five for a usual row.
    constexpr double kPerLine = 1.5, kMaxLines = 300; // lines per module; lines
    const double perLine = std::min(kPerLine, kMaxLines / area.height);
    out.Resize(static_cast<int>((area.height + 2 * kMargin) * perLine),
               static_cast<int>((area.width + 2 * kQuiet) * kPerModule));
    Grid grid;
    grid.step = 1.0 / kPerModule * area.right;
    grid.taps = 2;
    grid.across = 1 / perLine / grid.taps * area.down;
    for (int line = 0; line < out.lines; ++line) {
        grid.first = area.origin + ((line + 0.5) / perLine - kMargin) * area.down +
                     (0.5 / kPerModule - kQuiet) * area.right;
        SampleLine(image, grid, out.pixels, out.Line(line));
    }
    Sharpen(out, kPerModule, kSharpness);
}

size_t DrawStretches(const Edges &edges, const std::vector<Stretch> &stretches, size_t begin, OwnImage &out,
                     std::vector<int> &lineOf) {
    constexpr size_t kMaxLines = 256; // the engine skips lines of larger images
    lineOf.clear();
    size_t end = begin;
    int32_t length = 0;
    for (; end < stretches.size(); ++end) {
        const Stretch &s = stretches[end];
        if (lineOf.empty() || lineOf.back() != s.line) {
            if (lineOf.size() == kMaxLines)
                break;
            lineOf.push_back(s.line);
        }
        length = std::max(length, edges.Line(s.line)[s.last]);
    }
    out.Resize(static_cast<int>(lineOf.size()), Place(length) + 2 * kLinearQuiet);
    std::fill(out.grey.begin(), out.grey.end(), uint8_t{255});
    int row = 0;
    for (size_t i = begin; i < end; ++i) {
        const Stretch &s = stretches[i];
        row += s.line != lineOf[static_cast<size_t>(row)];
        const int32_t *edge = edges.Line(s.line);
        uint8_t *line = out.Line(row) + kLinearQuiet;
        for (int e = s.first; e < s.last; e += 2)
            std::fill(line + Place(edge[e]), line + Place(edge[e + 1]), uint8_t{0});
    }
    return end;
}

} // namespace sd2::zxing
