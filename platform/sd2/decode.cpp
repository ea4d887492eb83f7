#include "platform/sd2/decode.h"

#include "platform/sd2/engine.h"
#include "platform/sd2/linear.h"
#include "platform/sd2/pdf417.h"
#include "platform/sd2/resample.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace sd2 {
namespace {

/// Images below this size are searched in finer groups, and whole by the engine.
constexpr int kSmallSide = 1000;

constexpr int kSharpenReach = 3; // pixels: about a module, where it is blurred away

bool IsSmall(const GreyImage &image) { return std::min(image.lines, image.pixels) < kSmallSide; }

/// Last resort: the engine's own search, for what the locator does not know how to see.
bool ReadWhole(const Request &request, Attempts &attempts, Result *result) {
    if (!attempts.MayStart())
        return false;
    OwnImage half;
    GreyImage image = request.image;
    int scale = 1;
    if (!IsSmall(image)) {
        Halve(image, half);
        image = half.View();
        scale = 2;
    }
    EngineRead read;
    if (!attempts.Run([&] { return EngineReadPdf417(image, Levels::kGrey, true, &read); }))
        return false;
    result->symbology = kPdf417;
    result->text = read.bytes;
    // The engine marks a side that it did not see by one point for both of its corners. It takes a mirrored
    // symbol for one that is turned, so the reading direction is always a quarter turn from the way down.
    double first = 1e9, last = 0;
    Point down;
    for (const auto &[top, bottom] :
         {std::pair(read.topLeft, read.bottomLeft), {read.topRight, read.bottomRight}}) {
        if (Dot(bottom - top, bottom - top) == 0)
            continue;
        down = bottom - top;
        first = std::min({first, top.y, bottom.y});
        last = std::max({last, top.y, bottom.y});
    }
    const Point reading{down.y, -down.x};
    result->orientation = (std::abs(reading.x) >= std::abs(reading.y) ? reading.x : reading.y) >= 0 ? 1 : 2;
    if (first > last) { // neither side was seen: somewhere in the image
        first = 0;
        last = image.lines;
    }
    result->SetPosition(scale * first, scale * last, request.image.lines);
    result->info[kInfoAccepted] = 1;
    result->info[kInfoCorrection] = static_cast<uint16_t>(read.correctionLevel);
    return true;
}

} // namespace

void Result::SetPosition(double firstLine, double lastLine, int imageLines) {
    const double limit = std::max(1, imageLines - 1);
    const auto hold = [&](double line) { return static_cast<uint16_t>(std::clamp(line, 1.0, limit)); };
    position = {hold(firstLine), hold(lastLine)};
}

bool Decode(const Request &request, Result *result) {
    const Stopwatch watch(request.budgetMs);
    Attempts stacked(watch), linear(watch);
    const int group = IsSmall(request.image) ? 4 : 8;
    LineImages lines[2];
    AverageLines(request.image, group, lines[0]);
    AveragePixels(request.image, group, lines[1]);
    for (const bool sharpened : {false, true}) {
        if (sharpened && 2 * watch.ElapsedMs() > watch.LimitMs())
            break;
        Edges edges[2];
        for (int i = 0; i < 2; ++i) {
            if (sharpened)
                Sharpen(lines[i].image, kSharpenReach, 1);
            FindEdges(lines[i].image, edges[i]);
        }
        if (request.pdf417) {
            std::vector<SymbolArea> areas;
            for (int i = 0; i < 2; ++i)
                LocatePdf417(lines[i], edges[i], areas);
            if (ReadPdf417(request.image, std::move(areas), stacked, result))
                return true;
        }
        if (request.code128 || request.code39)
            for (int i = 0; i < 2; ++i)
                if (ReadLinear(request, lines[i], edges[i], linear, result))
                    return true;
    }
    return request.pdf417 && ReadWhole(request, stacked, result);
}

} // namespace sd2
