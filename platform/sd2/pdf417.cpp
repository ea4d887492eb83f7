#include "platform/sd2/pdf417.h"

#include "platform/sd2/engine.h"
#include "platform/sd2/pdf417_rows.h"
#include "platform/sd2/resample.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace sd2 {
namespace {

constexpr int kQuiet = 4;    // modules of paper drawn around a symbol
constexpr int kRowLines = 4; // lines drawn for each row

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

/// The symbol with one averaged line per row, drawn kRowLines times. Its ends are drawn as they should be:
/// the engine finds a symbol by them.
void DrawRows(const GreyImage &image, const SymbolArea &area, const RowLayout &layout, double sharpness,
              OwnImage &out) {
    constexpr int kPerModule = 4;
    constexpr double kHeart =
        0.6; // share of a row's height that is averaged: its neighbours blur into the rest
    OwnImage rows;
    rows.Resize(layout.rows, static_cast<int>((area.width + 2 * kQuiet) * kPerModule));
    Grid grid;
    grid.step = 1.0 / kPerModule * area.right;
    const double height = std::abs(layout.pitch) * kHeart;
    grid.taps = std::clamp(static_cast<int>(height * std::hypot(area.down.x, area.down.y)), 1, 12);
    grid.across = height / grid.taps * area.down;
    for (int row = 0; row < layout.rows; ++row) {
        grid.first = area.origin + (layout.first + (row + 0.5) * layout.pitch) * area.down +
                     (0.5 / kPerModule - kQuiet) * area.right;
        SampleLine(image, grid, rows.pixels, rows.Line(row));
    }
    Sharpen(rows, kPerModule, sharpness);
    Edges edges;
    FindEdges(rows, edges);

    constexpr int kPaperLines = 4;
    out.Resize(layout.rows * kRowLines + 2 * kPaperLines, rows.pixels);
    std::fill(out.grey.begin(), out.grey.end(), uint8_t{255});
    constexpr int kStopBar[] = {1}; // all that a compact symbol has of the stop pattern
    const int first = (kQuiet + kStartModules) * kPerModule;
    const int last = (kQuiet + static_cast<int>(area.width) - (area.compact ? 1 : kStopModules)) * kPerModule;
    for (int row = 0; row < layout.rows; ++row) {
        uint8_t *line = out.Line(kPaperLines + row * kRowLines);
        const int32_t *edge = edges.Line(row);
        const int count = edges.Count(row);
        const auto place = [&](int e) { // the end of the line for the edge behind the last
            return e < count ? std::clamp((edge[e] + kEdgeUnit / 2) / kEdgeUnit, first, last) : last;
        };
        for (int e = 0; e < count; e += 2)
            std::fill(line + place(e), line + place(e + 1), uint8_t{0});
        DrawPattern(kStartRuns, kQuiet * kPerModule, kPerModule, line);
        if (area.compact)
            DrawPattern(kStopBar, last, kPerModule, line);
        else
            DrawPattern(kStopRuns, last, kPerModule, line);
        for (int k = 1; k < kRowLines; ++k)
            std::copy(line, line + out.pixels, out.Line(kPaperLines + row * kRowLines + k));
    }
}

/// The symbol as it is, without knowledge of its rows.
void DrawArea(const GreyImage &image, const SymbolArea &area, double sharpness, OwnImage &out) {
    constexpr int kPerModule = 3;
    constexpr double kMargin = 3;
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
    Sharpen(out, kPerModule, sharpness);
}

void Report(const GreyImage &image, const SymbolArea &area, const RowLayout &layout, const EngineRead &read,
            int attempt, Result *result) {
    result->symbology = kPdf417;
    result->text = read.bytes;
    result->orientation = area.forward ? 1 : 2;
    // The corners; rows when they are known are more exact than the patterns' reach.
    double top = 0, bottom = area.height;
    if (layout.rows > 0) {
        top = layout.first;
        bottom = layout.first + layout.rows * layout.pitch;
    }
    double first = 1e9, last = 0;
    for (const double v : {top, bottom})
        for (const double u : {0.0, area.width}) {
            const double y = (area.origin + u * area.right + v * area.down).y;
            first = std::min(first, y);
            last = std::max(last, y);
        }
    result->SetPosition(first, last, image.lines);
    result->info[kInfoAccepted] = 1;
    result->info[kInfoRows] = static_cast<uint16_t>(layout.rows);
    result->info[kInfoColumns] = static_cast<uint16_t>(area.columns);
    result->info[kInfoCorrection] = static_cast<uint16_t>(read.correctionLevel);
    result->info[kInfoAttempt] = static_cast<uint16_t>(attempt);
    result->info[kInfoModule] =
        static_cast<uint16_t>(std::lround(10 * std::hypot(area.right.x, area.right.y)));
}

} // namespace

bool ReadPdf417(const GreyImage &image, std::vector<SymbolArea> areas, Attempts &attempts, Result *result) {
    std::stable_sort(areas.begin(), areas.end(),
                     [](const SymbolArea &a, const SymbolArea &b) { return a.support > b.support; });
    constexpr size_t kMaxAreas = 8; // more than any card carries; the rest is chance
    areas.resize(std::min(areas.size(), kMaxAreas));
    EngineRead read;
    OwnImage drawn;
    int attempt = 0;
    for (SymbolArea &area : areas) {
        RowLayout layout;
        const auto byRows = [&](double sharpness) {
            layout = RowLayout();
            if (!FindRows(image, area, sharpness, &layout))
                return false;
            DrawRows(image, area, layout, sharpness, drawn);
            return EngineReadPdf417(drawn.View(), Levels::kTwo, false, &read);
        };
        const auto asItIs = [&](double sharpness) {
            DrawArea(image, area, sharpness, drawn);
            return EngineReadPdf417(drawn.View(), Levels::kGrey, false, &read);
        };
        const std::function<bool()> ways[] = {[&] { return byRows(0.5); }, [&] { return byRows(1.2); },
                                              [&] { return asItIs(1.0); }};
        for (const auto &way : ways) {
            if (!attempts.MayStart())
                return false;
            ++attempt;
            if (attempts.Run(way)) {
                Report(image, area, layout, read, attempt, result);
                return true;
            }
        }
    }
    return false;
}

} // namespace sd2
