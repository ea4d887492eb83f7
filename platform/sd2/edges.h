// Second stage: where line images turn from light to dark and back, by a threshold that follows the
// brightness of the neighbourhood.
#pragma once

#include "platform/sd2/image.h"

namespace sd2 {

constexpr int kEdgeUnit = 16; // edge positions are in sixteenths of a pixel

/// The edges of all lines of an image. Each line begins light: its edges turn dark, light, dark, ...
struct Edges {
    std::vector<int32_t> position;
    std::vector<size_t> first; // per line, and one more

    int Lines() const { return static_cast<int>(first.size()) - 1; }
    const int32_t *Line(int line) const { return position.data() + first[static_cast<size_t>(line)]; }
    int Count(int line) const {
        return static_cast<int>(first[static_cast<size_t>(line) + 1] - first[static_cast<size_t>(line)]);
    }
};

void FindEdges(const OwnImage &image, Edges &edges);

} // namespace sd2
