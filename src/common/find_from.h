// Linear search along rows or columns, the shape of every edge search.
#pragma once

namespace k274 {

/// First position from `from` towards `none`, upwards or downwards, at which the test holds; `none`, which
/// is not tried, when there is no such position.
template <typename Test>
int FindFrom(int from, int none, Test test) {
    const int step = none < from ? -1 : 1;
    int position = from;
    while (position != none && !test(position))
        position += step;
    return position;
}

} // namespace k274
