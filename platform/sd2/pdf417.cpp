#include "platform/sd2/pdf417.h"

#include "platform/sd2/pdf417_rows.h"
#include "platform/sd2/resample.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace sd2 {
namespace {

/// One averaged line per row, with a quiet zone at both ends.
void SampleRows(const GreyImage &image, const SymbolArea &area, const RowLayout &layout, double sharpness,
                SymbolRows &rows) {
    constexpr int kPerModule = SymbolRows::kPerModule, kQuiet = SymbolRows::kQuiet;
    constexpr double kHeart =
        0.6; // share of a row's height that is averaged: its neighbours blur into the rest
    rows.columns = area.columns;
    rows.compact = area.compact;
    rows.lines.Resize(layout.rows, static_cast<int>((area.width + 2 * kQuiet) * kPerModule));
    Grid grid;
    grid.step = 1.0 / kPerModule * area.right;
    const double height = std::abs(layout.pitch) * kHeart;
    grid.taps = std::clamp(static_cast<int>(height * std::hypot(area.down.x, area.down.y)), 1, 12);
    grid.across = height / grid.taps * area.down;
    for (int row = 0; row < layout.rows; ++row) {
        grid.first = area.origin + (layout.first + (row + 0.5) * layout.pitch) * area.down +
                     (0.5 / kPerModule - kQuiet) * area.right;
        SampleLine(image, grid, rows.lines.pixels, rows.lines.Line(row));
    }
    Sharpen(rows.lines, kPerModule, sharpness);
}

void Report(const GreyImage &image, const SymbolArea &area, const RowLayout &layout, const Pdf417Read &read,
            int scale, int attempt, Result *result) {
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
    result->SetPosition(scale * first, scale * last, scale * image.lines);
    result->info[kInfoAccepted] = 1;
    result->info[kInfoRows] = static_cast<uint16_t>(read.rows > 0 ? read.rows : layout.rows);
    result->info[kInfoColumns] = static_cast<uint16_t>(read.columns > 0 ? read.columns : area.columns);
    result->info[kInfoCorrection] = static_cast<uint16_t>(read.correctionLevel);
    result->info[kInfoAttempt] = static_cast<uint16_t>(attempt);
    result->info[kInfoModule] =
        static_cast<uint16_t>(std::lround(10 * scale * std::hypot(area.right.x, area.right.y)));
    result->info[kInfoCorrected] = static_cast<uint16_t>(read.corrected);
}

} // namespace

bool ReadPdf417(const Engine &engine, const GreyImage &image, int scale, std::vector<SymbolArea> areas,
                Attempts &attempts, Result *result) {
    std::stable_sort(areas.begin(), areas.end(),
                     [](const SymbolArea &a, const SymbolArea &b) { return a.support > b.support; });
    constexpr size_t kMaxAreas = 8; // more than any card carries; the rest is chance
    areas.resize(std::min(areas.size(), kMaxAreas));
    Pdf417Read read;
    SymbolRows rows;
    int attempt = 0;
    for (SymbolArea &area : areas) {
        RowLayout layout;
        const auto byRows = [&](double sharpness) {
            layout = RowLayout();
            if (!FindRows(image, area, sharpness, &layout))
                return false;
            SampleRows(image, area, layout, sharpness, rows);
            return engine.readRows(rows, attempts.Watch(), &read);
        };
        std::vector<std::function<bool()>> ways{[&] { return byRows(0.5); }, [&] { return byRows(1.2); }};
        if (engine.readArea)
            ways.push_back([&] { return engine.readArea(image, area, attempts.Watch(), &read); });
        for (const auto &way : ways) {
            if (!attempts.MayStart())
                return false;
            ++attempt;
            if (attempts.Run(way)) {
                Report(image, area, layout, read, scale, attempt, result);
                return true;
            }
        }
    }
    return false;
}

} // namespace sd2
