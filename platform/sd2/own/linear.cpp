#include "platform/sd2/own/linear_codes.h"

#include <algorithm>
#include <cstdlib>

namespace sd2::own {
namespace {

constexpr int kMaxGap = 3; // lines between two that agree

/// Reads the bars between edges in both directions.
/// @param edge  first turns dark, last light
bool ReadBars(const int32_t *edge, int count, bool code128, bool code39, LinearRead *read) {
    std::vector<int> widths;
    for (int i = 0; i + 1 < count; ++i)
        widths.push_back(edge[i + 1] - edge[i]);
    for (const bool forward : {true, false}) {
        LineCode code;
        if (code128 && ReadCode128(widths, &code))
            read->symbology = kCode128;
        else if (code39 && ReadCode39(widths, &code))
            read->symbology = kCode39;
        else {
            std::reverse(widths.begin(), widths.end());
            continue;
        }
        const int first = static_cast<int>(code.first), end = static_cast<int>(code.end);
        read->bytes = code.bytes;
        read->start = edge[forward ? first : count - 1 - first];
        read->end = edge[forward ? end : count - 1 - end];
        return true;
    }
    return false;
}

bool Agree(const LinearRead &a, const LinearRead &b) {
    const int32_t slack = std::abs(a.end - a.start) / 4;
    return a.symbology == b.symbology && a.bytes == b.bytes && b.line != a.line &&
           b.line - a.line <= kMaxGap && std::abs(a.start - b.start) <= slack &&
           std::abs(a.end - b.end) <= slack;
}

/// Stretches of successive lines that look alike, added up: noise shrinks.
class Stack {
public:
    Stack(const Edges &edges, const Stretch &s) : line_(s.line), lastLine_(s.line) {
        const int32_t *edge = edges.Line(s.line);
        last_.assign(edge + s.first, edge + s.last + 1);
        sum_.assign(last_.size(), 0);
        Add(edge + s.first);
    }

    bool Takes(const Edges &edges, const Stretch &s) const {
        const int32_t *edge = edges.Line(s.line) + s.first;
        if (s.line == lastLine_ || static_cast<size_t>(s.last - s.first) + 1 != last_.size())
            return false;
        // All edges may move, as those of a skewed code do, but they move together.
        const int32_t moved = edge[0] - last_[0], length = last_.back() - last_.front();
        const int32_t slack = length / static_cast<int32_t>(last_.size());
        if (std::abs(moved) > length / 8)
            return false;
        for (size_t i = 1; i < last_.size(); ++i)
            if (std::abs(edge[i] - last_[i] - moved) > slack)
                return false;
        return true;
    }

    void Take(const Edges &edges, const Stretch &s) {
        const int32_t *edge = edges.Line(s.line) + s.first;
        std::copy_n(edge, last_.size(), last_.begin());
        lastLine_ = s.line;
        Add(edge);
    }

    bool IsOver(int line) const { return line - lastLine_ > kMaxGap; }
    int Lines() const { return lines_; }
    int MiddleLine() const { return (line_ + lastLine_) / 2; }
    std::vector<int32_t> Mean() const {
        std::vector<int32_t> mean;
        for (const int64_t sum : sum_)
            mean.push_back(static_cast<int32_t>(sum / lines_));
        return mean;
    }

private:
    void Add(const int32_t *edge) {
        for (size_t i = 0; i < sum_.size(); ++i)
            sum_[i] += edge[i];
        ++lines_;
    }

    int line_, lastLine_, lines_ = 0;
    std::vector<int32_t> last_;
    std::vector<int64_t> sum_;
};

/// Line by line: the text of one line must be that of another near it.
bool ReadSingly(const Edges &edges, const std::vector<Stretch> &stretches, bool code128, bool code39,
                const Stopwatch &watch, LinearRead *read) {
    std::vector<LinearRead> seen; // in the lines before
    for (const Stretch &s : stretches) {
        if (watch.Expired())
            return false;
        read->line = s.line;
        if (!ReadBars(edges.Line(s.line) + s.first, s.last - s.first + 1, code128, code39, read))
            continue;
        if (std::any_of(seen.begin(), seen.end(),
                        [&](const LinearRead &other) { return Agree(other, *read); }))
            return true;
        seen.erase(std::remove_if(seen.begin(), seen.end(),
                                  [&](const LinearRead &other) { return s.line - other.line > kMaxGap; }),
                   seen.end());
        seen.push_back(*read);
    }
    return false;
}

/// Many lines as one.
bool ReadStacked(const Edges &edges, const std::vector<Stretch> &stretches, bool code128, bool code39,
                 const Stopwatch &watch, LinearRead *read) {
    constexpr size_t kMaxStacks = 32; // more are print, not codes
    std::vector<Stack> stacks;
    for (const Stretch &s : stretches) {
        if (watch.Expired())
            return false;
        stacks.erase(std::remove_if(stacks.begin(), stacks.end(),
                                    [&](const Stack &stack) { return stack.IsOver(s.line); }),
                     stacks.end());
        const auto stack = std::find_if(stacks.begin(), stacks.end(),
                                        [&](const Stack &candidate) { return candidate.Takes(edges, s); });
        if (stack == stacks.end()) {
            if (stacks.size() < kMaxStacks)
                stacks.emplace_back(edges, s);
            continue;
        }
        stack->Take(edges, s);
        const std::vector<int32_t> mean = stack->Mean();
        read->line = stack->MiddleLine();
        if (stack->Lines() >= kMinLinearAgreement &&
            ReadBars(mean.data(), static_cast<int>(mean.size()), code128, code39, read))
            return true;
    }
    return false;
}

} // namespace

bool ReadLines(const Edges &edges, const std::vector<Stretch> &stretches, bool code128, bool code39,
               const Stopwatch &watch, LinearRead *read) {
    return ReadSingly(edges, stretches, code128, code39, watch, read) ||
           ReadStacked(edges, stretches, code128, code39, watch, read);
}

} // namespace sd2::own
