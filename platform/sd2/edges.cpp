#include "platform/sd2/edges.h"

#include <algorithm>
#include <array>

namespace sd2 {
namespace {

// The threshold lies midway between the extremes of a block and its neighbours: long enough to hold a light
// and a dark element, short enough not to see the card's edge from inside a start pattern.
constexpr int kBlock = 16;
// Neighbourhoods with less contrast than this hold no bars; the threshold before them stays in force, so
// that wide bars stay dark.
constexpr int kMinContrast = 20;
// Shorter runs are noise on a slope: the line did not turn at all.
constexpr int kMinRun = kEdgeUnit / 4;

struct Extremes {
    uint8_t low, high;
};

Extremes BlockExtremes(const uint8_t *grey, int count) {
    uint8_t low = 255, high = 0;
    for (int i = 0; i < count; ++i) {
        low = std::min(low, grey[i]);
        high = std::max(high, grey[i]);
    }
    return {low, high};
}

/// Position of the crossing between pixels i - 1 and i, pixel values standing for pixel centres.
int32_t Crossing(int i, int before, int after, int threshold) {
    const int step = after - before;
    int part = step == 0 ? kEdgeUnit / 2 : (threshold - before) * kEdgeUnit / step;
    // A threshold that changed between the two pixels may lie outside both.
    part = std::clamp(part, 0, kEdgeUnit);
    return (i - 1) * kEdgeUnit + kEdgeUnit / 2 + part;
}

void FindLineEdges(const uint8_t *grey, int length, std::vector<Extremes> &blocks,
                   std::vector<int32_t> &out) {
    const int count = (length + kBlock - 1) / kBlock;
    blocks.resize(static_cast<size_t>(count) + 2);
    for (int b = 0; b < count; ++b)
        blocks[static_cast<size_t>(b) + 1] =
            BlockExtremes(grey + b * kBlock, std::min(kBlock, length - b * kBlock));
    blocks.front() = blocks[1];
    blocks.back() = blocks[static_cast<size_t>(count)];

    const size_t begin = out.size();
    int threshold = 0;
    bool dark = false;
    for (int b = 0; b < count; ++b) {
        const Extremes *around = &blocks[static_cast<size_t>(b)];
        const int low = std::min({around[0].low, around[1].low, around[2].low});
        const int high = std::max({around[0].high, around[1].high, around[2].high});
        if (high - low >= kMinContrast)
            threshold = (low + high + 1) / 2;
        else if (dark ? around[1].high < threshold : around[1].low >= threshold)
            continue; // nothing crosses here
        const int end = std::min((b + 1) * kBlock, length);
        for (int i = b * kBlock; i < end; ++i)
            if ((grey[i] < threshold) != dark) {
                dark = !dark;
                const int32_t edge = i == 0 ? 0 : Crossing(i, grey[i - 1], grey[i], threshold);
                if (out.size() > begin && edge - out.back() < kMinRun)
                    out.pop_back();
                else
                    out.push_back(edge);
            }
    }
}

} // namespace

void FindEdges(const OwnImage &image, Edges &edges) {
    edges.position.clear();
    edges.first.assign(1, 0);
    std::vector<Extremes> blocks;
    for (int line = 0; line < image.lines; ++line) {
        if (image.pixels > 0)
            FindLineEdges(image.Line(line), image.pixels, blocks, edges.position);
        edges.first.push_back(edges.position.size());
    }
}

} // namespace sd2
