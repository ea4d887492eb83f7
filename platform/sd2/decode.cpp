#include "platform/sd2/decode.h"

#include "platform/sd2/linear.h"
#include "platform/sd2/pdf417.h"
#include "platform/sd2/resample.h"

#include <algorithm>
#include <utility>

namespace sd2 {
namespace {

/// Images below this size are searched in finer groups.
constexpr int kSmallSide = 1000;

constexpr int kSharpenReach = 3; // pixels: about a module, where it is blurred away

void AverageInto(const GreyImage &image, LineImages (&lines)[2]) {
    const int group = std::min(image.lines, image.pixels) < kSmallSide ? 4 : 8;
    AverageLines(image, group, lines[0]);
    AveragePixels(image, group, lines[1]);
}

/// Last resort: modules that are too wide for the locator, in images of half and a quarter of the size.
bool ReadWide(const Request &request, Attempts &attempts, Result *result) {
    constexpr int kLeastSide = 200, kScales = 2;
    OwnImage smaller[kScales];
    GreyImage image = request.image;
    for (int i = 0; i < kScales && std::min(image.lines, image.pixels) >= 2 * kLeastSide; ++i) {
        if (!attempts.MayStart())
            return false;
        Halve(image, smaller[i]);
        image = smaller[i].View();
        LineImages lines[2];
        AverageInto(image, lines);
        std::vector<SymbolArea> areas;
        Edges edges;
        for (const LineImages &l : lines) {
            FindEdges(l.image, edges);
            LocatePdf417(l, edges, areas);
        }
        if (ReadPdf417(*request.engine, image, 2 << i, std::move(areas), attempts, result))
            return true;
    }
    return false;
}

} // namespace

void Result::SetPosition(double firstLine, double lastLine, int imageLines) {
    const double limit = std::max(1, imageLines - 1);
    const auto hold = [&](double line) { return static_cast<uint16_t>(std::clamp(line, 1.0, limit)); };
    position = {hold(firstLine), hold(lastLine)};
}

bool Decode(const Request &request, Result *result) {
    const Stopwatch watch(request.budgetMs);
    Attempts stacked(watch);
    LineImages lines[2];
    AverageInto(request.image, lines);
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
            if (ReadPdf417(*request.engine, request.image, 1, std::move(areas), stacked, result))
                return true;
        }
        if (request.code128 || request.code39)
            for (int i = 0; i < 2; ++i)
                if (ReadLinear(request, lines[i], edges[i], watch, result))
                    return true;
    }
    return request.pdf417 && ReadWide(request, stacked, result);
}

} // namespace sd2
