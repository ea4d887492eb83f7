#include "platform/sd2/own/pdf417_symbol.h"

#include "platform/sd2/own/compaction.h"
#include "platform/sd2/own/reed_solomon.h"

#include <algorithm>
#include <map>

namespace sd2::own {
namespace {

constexpr int kMinRows = 3, kMaxRows = 90, kLevels = 9;
constexpr int kGroup = 3; // rows, of whose indicators each tells something else

/// Collects what indicators say; the answer is what was said with most confidence.
class Ballot {
public:
    void Vote(int value, int weight) { weights_[value] += weight; }
    void Add(const Ballot &other) {
        for (const auto &[value, weight] : other.weights_)
            Vote(value, weight);
    }
    int Answer(int otherwise) const {
        const auto most = std::max_element(weights_.begin(), weights_.end(),
                                           [](const auto &a, const auto &b) { return a.second < b.second; });
        return most == weights_.end() ? otherwise : most->first;
    }
    int Weight(int value) const {
        const auto found = weights_.find(value);
        return found == weights_.end() ? 0 : found->second;
    }

private:
    std::map<int, int> weights_;
};

/// What the indicators of one side say.
struct Indicators {
    Ballot group; // of the symbol that the grid's first three lines are; not 0 when rows went unseen
    Ballot groups, levelAndRest, columns;

    Indicators(const CodewordGrid &grid, int place, bool left) {
        constexpr int kPerGroup = 30;
        for (int line = 0; line < grid.rows; ++line) {
            const Codeword &indicator = grid.At(line, place);
            const int weight = std::min(indicator.confidence, kSureOfCodeword);
            if (weight <= 0)
                continue;
            group.Vote(indicator.value / kPerGroup - line / kGroup, weight);
            const int told = (line + (left ? 0 : 2)) % kGroup;
            (told == 0   ? groups
             : told == 1 ? levelAndRest
                         : columns)
                .Vote(indicator.value % kPerGroup, weight);
        }
    }
};

struct Shape {
    int rows = 0, columns = 0;
    int level = -1;      // -1 when no indicator could be read
    int firstLine = 0;   // line of the grid that is row 0; may lie outside
    int firstColumn = 1; // place of the first data column
};

Shape ShapeOf(const CodewordGrid &grid, int columnsSeen) {
    const int last = grid.places - 1;
    const Indicators left(grid, 0, true), right(grid, last, false);
    Ballot group = left.group, groups = left.groups, levelAndRest = left.levelAndRest, columns = left.columns;
    group.Add(right.group);
    groups.Add(right.groups);
    levelAndRest.Add(right.levelAndRest);
    columns.Add(right.columns);

    Shape shape;
    const int firstGroup = group.Answer(0);
    shape.firstLine = -firstGroup * kGroup;
    shape.columns = columns.Answer(columnsSeen - 1) + 1;
    // A place may have been counted too much where one of the ends is hidden; then the other end counts.
    if (right.group.Weight(firstGroup) > left.group.Weight(firstGroup))
        shape.firstColumn = last - shape.columns;
    const int lines = grid.rows - shape.firstLine;
    const int told = levelAndRest.Answer(-1);
    const int rest = told >= 0 ? told % kGroup : (lines - 1) % kGroup;
    shape.rows = groups.Answer((lines - 1) / kGroup) * kGroup + rest + 1;
    shape.level = told >= 0 ? told / kGroup : -1;
    return shape;
}

/// A symbol's words, and how sure of each we are.
struct Words {
    std::vector<int> value, confidence;
};

Words WordsOf(const CodewordGrid &grid, const Shape &shape) {
    Words words;
    for (int row = 0; row < shape.rows; ++row)
        for (int column = 0; column < shape.columns; ++column) {
            const int line = shape.firstLine + row, place = shape.firstColumn + column;
            const bool seen = line >= 0 && line < grid.rows && place >= 0 && place < grid.places;
            const Codeword codeword = seen ? grid.At(line, place) : Codeword();
            words.value.push_back(codeword.value);
            words.confidence.push_back(codeword.confidence);
        }
    return words;
}

/// Corrects the words, those below more and more confidence being taken for unreadable.
bool Correct(Words &words, int correction, const Stopwatch &watch, int *corrected) {
    constexpr int kUnreadable[] = {1, kSureOfCodeword / 4, kSureOfCodeword / 2, kSureOfCodeword * 3 / 4};
    const Correction code(words.value, correction);
    std::vector<int> unreadable;
    size_t before = words.value.size() + 1;
    for (const int limit : kUnreadable) {
        unreadable.clear();
        for (size_t i = 0; i < words.confidence.size(); ++i)
            if (words.confidence[i] < limit)
                unreadable.push_back(static_cast<int>(i));
        if (unreadable.size() == before)
            continue;
        before = unreadable.size();
        // The number of data codewords stands first: a check of its own.
        std::vector<int> result = words.value;
        if (code.Correct(unreadable, watch, result, corrected) &&
            result[0] == static_cast<int>(result.size()) - correction) {
            words.value = std::move(result);
            return true;
        }
        if (watch.Expired())
            return false;
    }
    return false;
}

} // namespace

bool ReadSymbol(const CodewordGrid &grid, int columnsSeen, const Stopwatch &watch, Pdf417Read *read) {
    const Shape shape = ShapeOf(grid, columnsSeen);
    const int count = shape.rows * shape.columns;
    if (shape.rows < kMinRows || shape.rows > kMaxRows || shape.columns > kMaxDataColumns ||
        count > kMaxWords)
        return false;
    const Words words = WordsOf(grid, shape);
    for (int level = 0; level < kLevels; ++level) {
        const int correction = 2 << level;
        if (watch.Expired())
            return false;
        if ((shape.level >= 0 && level != shape.level) || correction >= count)
            continue;
        Words tried = words;
        if (!Correct(tried, correction, watch, &read->corrected))
            continue;
        tried.value.resize(static_cast<size_t>(count - correction));
        if (!DecodeCompaction(tried.value, &read->bytes) || read->bytes.empty())
            continue;
        read->correctionLevel = level;
        read->rows = shape.rows;
        read->columns = shape.columns;
        return true;
    }
    return false;
}

} // namespace sd2::own
