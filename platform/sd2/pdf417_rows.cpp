#include "platform/sd2/pdf417_rows.h"

#include "platform/sd2/resample.h"

#include <algorithm>
#include <cmath>
#include <complex>

namespace sd2 {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kSamplesPerModule = 3;
constexpr double kMinLineStep = 0.75; // modules between sampled lines
constexpr int kMaxLines = 480;
constexpr double kMargin = 4; // modules above and below the located area
constexpr int kMinRows = 3, kMaxRows = 90;
constexpr int kMaxCodewords = 928;
constexpr double kMinPitch = 1.2, kMaxPitch = 12; // modules per row

/// What one codeword place of one sampled line showed: cluster 0, 1 or 2, or nothing.
using Vote = int8_t;
constexpr Vote kNoVote = -1;

struct Votes {
    int lines = 0, places = 0; // places: codewords of a row, indicators included
    double lineStep = 0;       // modules
    std::vector<Vote> vote;

    Vote At(int line, int place) const {
        return vote[static_cast<size_t>(line) * static_cast<size_t>(places) + static_cast<size_t>(place)];
    }
    double LinePosition(double line) const { return -kMargin + line * lineStep; }
};

/// The cluster of the codeword that begins at an edge, from the distances of edges of one kind.
Vote ClusterAt(const int32_t *edge) {
    const double unit = (edge[8] - edge[0]) / static_cast<double>(kCodewordModules);
    if (std::abs(unit / (kSamplesPerModule * kEdgeUnit) - 1) > 0.12)
        return kNoVote;
    const auto distance = [&](int i) {
        return static_cast<int>(std::lround((edge[i + 2] - edge[i]) / unit));
    };
    const int cluster = ((distance(0) - distance(1) + distance(4) - distance(5)) % 9 + 9) % 9;
    return cluster % 3 == 0 ? static_cast<Vote>(cluster / 3) : kNoVote;
}

void CollectVotes(const GreyImage &image, const SymbolArea &area, double sharpness, Votes &votes) {
    constexpr int kLead = 2; // modules of quiet zone before the start pattern
    const double height = area.height + 2 * kMargin;
    votes.lineStep = std::max(kMinLineStep, height / kMaxLines);
    votes.lines = static_cast<int>(height / votes.lineStep);
    votes.places = area.columns + (area.compact ? 1 : 2);
    OwnImage upright;
    upright.Resize(votes.lines, static_cast<int>((area.width + 2 * kLead) * kSamplesPerModule));
    Grid grid;
    grid.step = 1.0 / kSamplesPerModule * area.right;
    grid.taps = 3;
    grid.across = votes.lineStep / grid.taps * area.down;
    for (int line = 0; line < votes.lines; ++line) {
        grid.first = area.origin + votes.LinePosition(line) * area.down +
                     (0.5 / kSamplesPerModule - kLead) * area.right;
        SampleLine(image, grid, upright.pixels, upright.Line(line));
    }
    Sharpen(upright, kSamplesPerModule, sharpness);
    Edges edges;
    FindEdges(upright, edges);

    votes.vote.assign(static_cast<size_t>(votes.lines) * static_cast<size_t>(votes.places), kNoVote);
    for (int line = 0; line < votes.lines; ++line) {
        const int32_t *edge = edges.Line(line);
        const int count = edges.Count(line);
        int i = 0;
        for (int place = 0; place < votes.places; ++place) {
            const double begin =
                (kLead + kStartModules + kCodewordModules * place) * kSamplesPerModule * kEdgeUnit;
            constexpr double kNear = 1.0 * kSamplesPerModule * kEdgeUnit;
            while (i < count && edge[i] < begin - kNear)
                i += 2; // even edges turn dark: codewords begin with a bar
            if (i + 8 < count && edge[i] < begin + kNear)
                votes.vote[static_cast<size_t>(line) * static_cast<size_t>(votes.places) +
                           static_cast<size_t>(place)] = ClusterAt(edge + i);
        }
    }
}

using Phasor = std::complex<double>;

/// The votes of some places as a sum of turns at `turns` per line. Row after row the cluster advances by a
/// third of a turn, so the sum is greatest where three rows make one turn; its sign tells the rows' order.
Phasor SumTurns(const std::vector<Phasor> &lineSums, double turns) {
    const Phasor step = std::polar(1.0, -2 * kPi * turns);
    Phasor turn = 1, sum = 0;
    for (const Phasor &line : lineSums) {
        sum += line * turn;
        turn *= step;
    }
    return sum;
}

std::vector<Phasor> LineSums(const Votes &votes, int firstPlace, int lastPlace) {
    static const Phasor kTurn[3] = {1, std::polar(1.0, 2 * kPi / 3), std::polar(1.0, 4 * kPi / 3)};
    std::vector<Phasor> sums(static_cast<size_t>(votes.lines));
    for (int line = 0; line < votes.lines; ++line)
        for (int place = firstPlace; place < lastPlace; ++place)
            if (votes.At(line, place) != kNoVote)
                sums[static_cast<size_t>(line)] += kTurn[votes.At(line, place)];
    return sums;
}

/// Turns per line with the greatest sum.
double BestTurns(const std::vector<Phasor> &sums, double lineStep, double *strength) {
    const double lines = static_cast<double>(sums.size());
    double best = 0, greatest = -1;
    const auto consider = [&](double turns) {
        const double size = std::abs(SumTurns(sums, turns));
        if (size > greatest) {
            greatest = size;
            best = turns;
        }
    };
    constexpr double kMaxTurns = 0.3; // half a turn per line would look the same in either order
    const double low = lineStep / (3 * kMaxPitch), high = std::min(kMaxTurns, lineStep / (3 * kMinPitch));
    const double step = 1 / (4 * lines);
    const int steps = high < low ? -1 : static_cast<int>((high - low) / step);
    for (int i = 0; i <= steps; ++i) {
        consider(low + i * step);
        consider(-(low + i * step));
    }
    // Halving five times comes down to a thirty-second of a step.
    for (int halving = 1; halving <= 5; ++halving) {
        const double fine = step / (1 << halving);
        const double centre = best;
        consider(centre - fine);
        consider(centre + fine);
    }
    *strength = greatest;
    return best;
}

/// Tilts the rows by what the left and right halves of the codewords disagree.
void Straighten(const Votes &votes, double turns, SymbolArea &area) {
    const int half = votes.places / 2;
    const Phasor left = SumTurns(LineSums(votes, 0, half), turns);
    const Phasor right = SumTurns(LineSums(votes, votes.places - half, votes.places), turns);
    if (std::abs(left) < 4 || std::abs(right) < 4)
        return;
    // A pattern further down by d lines turns the sum back by d x turns.
    const double lines = -std::arg(right * std::conj(left)) / (2 * kPi * turns);
    const double distance = (votes.places - half) * kCodewordModules;
    area.right = area.right + lines * votes.lineStep / distance * area.down;
}

/// Extends the area where codewords reach its border: the patterns may have been hidden there.
bool Grow(const Votes &votes, SymbolArea &area) {
    constexpr int kBorder = 4; // lines
    constexpr double kMaxHeight = kMaxRows * kMaxPitch;
    const auto crosses = [&](int firstLine) {
        const auto begin = votes.vote.begin() + static_cast<ptrdiff_t>(firstLine) * votes.places;
        const auto count =
            std::count_if(begin, begin + kBorder * votes.places, [](Vote v) { return v != kNoVote; });
        return 2 * count > kBorder * votes.places;
    };
    if (votes.lines < 2 * kBorder || area.height > kMaxHeight)
        return false;
    const bool above = crosses(0), below = crosses(votes.lines - kBorder);
    const double more = std::max(12.0, area.height);
    if (above)
        area.origin = area.origin - more * area.down;
    area.height += more * (above + below);
    return above || below;
}

} // namespace

bool FindRows(const GreyImage &image, SymbolArea &area, double sharpness, RowLayout *layout) {
    Votes votes;
    double turns = 0, strength = 0;
    std::vector<Phasor> sums;
    constexpr int kMaxRounds = 6;
    for (int round = 0, settled = 0; round < kMaxRounds && settled < 2; ++round) {
        CollectVotes(image, area, sharpness, votes);
        if (Grow(votes, area))
            continue;
        sums = LineSums(votes, 0, votes.places);
        turns = BestTurns(sums, votes.lineStep, &strength);
        if (settled++ == 0)
            Straighten(votes, turns, area);
    }
    if (sums.empty())
        return false;
    const auto given =
        std::count_if(votes.vote.begin(), votes.vote.end(), [](Vote v) { return v != kNoVote; });
    if (given < 6 || strength < 0.4 * static_cast<double>(given))
        return false;

    // In the middle of row k the turns stand at k thirds; row 0 begins half a row before its middle.
    const double pitchLines = 1 / (3 * std::abs(turns));
    const double middleLine =
        -std::arg(SumTurns(sums, turns)) / (2 * kPi * turns); // middle of a row of cluster 0
    const auto rowOf = [&](int line) {
        return static_cast<int>(std::floor((line - middleLine) / pitchLines * (turns > 0 ? 1 : -1) + 0.5));
    };
    // A row is there when its codewords agree with its place, about as often as those of other rows.
    const int reach = votes.lines + 3 * kMaxRows;
    std::vector<int> agree(static_cast<size_t>(2 * reach)), shown(agree.size());
    int firstRow = reach, lastRow = -reach;
    for (int line = 0; line < votes.lines; ++line) {
        const int row = rowOf(line);
        if (row < -reach || row >= reach)
            return false;
        for (int place = 0; place < votes.places; ++place)
            if (votes.At(line, place) != kNoVote) {
                ++shown[static_cast<size_t>(row + reach)];
                agree[static_cast<size_t>(row + reach)] += votes.At(line, place) == (row % 3 + 3) % 3;
            }
    }
    const int most = *std::max_element(agree.begin(), agree.end());
    for (int row = -reach; row < reach; ++row) {
        const size_t i = static_cast<size_t>(row + reach);
        if (agree[i] > most / 4 && 2 * agree[i] > shown[i]) {
            firstRow = std::min(firstRow, row);
            lastRow = row;
        }
    }
    if (firstRow > lastRow)
        return false;
    // The first row is of cluster 0; one that went unseen at the edge counts.
    firstRow -= (firstRow % 3 + 3) % 3;
    layout->rows = lastRow - firstRow + 1;
    const double direction = turns > 0 ? 1 : -1;
    layout->pitch = direction * pitchLines * votes.lineStep;
    layout->first = votes.LinePosition(middleLine) + (firstRow - 0.5) * layout->pitch;
    // A column may have been counted too much where the stop pattern is hidden.
    return layout->rows >= kMinRows && layout->rows <= kMaxRows &&
           layout->rows * (area.columns - 1) <= kMaxCodewords;
}

} // namespace sd2
