// Measures and scores the colour fringes of a band, and keeps the series of scores.
#include "src/analysis/jitter.h"

#include "src/analysis/jitter_chart.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace k274 {

namespace {

// ---- Band

constexpr char kCardText[] = "Jitter Test Card";
static_assert(sizeof kCardText - 1 == kJitterTextLength);

constexpr JitterBand kTestCardBand = {100, 1775, 130, 630, 744, 4};
constexpr JitterBand kUprightBand = {100, 1775, 650, 900, 1105, 4}; // of a code whose place is not known

// The band reaches from above a barcode to below it, counted from the image's lower edge.
constexpr int kBarcodeX0 = 60, kBarcodeX1 = 1820, kBarcodeDivisor = 8;
constexpr int kTopFrom = 1180, kBottomFrom = 1160;
constexpr int kChartBelow = 120, kChartAbove = 60; // rows between the band and the chart's base
constexpr int kRoomBelow = 1005;                   // from here on the chart stands above the band

// ---- Fringes

constexpr int kFirstColumn = 50, kEndColumn = 1830;
constexpr int kBins = 256;
constexpr int kBlack = 33, kWhite = 99; // both bytes below, both above: no edge
constexpr int kWhiteBin = 15, kLeastFringe = 8;

int FringeBin(const uint8_t *pixel) {
    const int first = pixel[0], third = pixel[2];
    if (first < kBlack && third < kBlack)
        return 0;
    if (first > kWhite && third > kWhite)
        return kWhiteBin;
    return std::max(kLeastFringe, std::abs(first - third));
}

// Rows outside the image are not counted, though they are in the limit.
int ColumnLevel(ConstColourView natBk, int column, const JitterBand &band) {
    int counts[kBins] = {};
    for (int row = std::max(0, band.y0); row < std::min(natBk.rows, band.y1); row++)
        counts[FringeBin(natBk.Pixel(row, column))]++;
    const int limit = (band.y1 - band.y0) / band.divisor;
    int total = 0;
    for (int bin = kBins - 1; bin >= 1; bin--) {
        total += counts[bin];
        if (total > limit)
            return bin;
    }
    return 0;
}

// ---- Score

// Weight 2 begins at level 60, 3 at 70 and so on; from 180 on every level has its own.
constexpr uint8_t kWeightFirst[] = {60,  70,  80,  85,  90,  95,  100, 105, 110, 115, 120, 125, 130, 135,
                                    140, 144, 147, 150, 154, 157, 160, 164, 167, 170, 172, 174, 176, 178};
constexpr int kOwnWeights = 180, kOwnWeightOffset = 150;
constexpr int kBeyondWeights = 200, kScoreBeyond = 300;

int Weight(int level) {
    if (level >= kOwnWeights)
        return level - kOwnWeightOffset;
    const auto begun = std::upper_bound(std::begin(kWeightFirst), std::end(kWeightFirst), level);
    const auto count = static_cast<int>(begun - std::begin(kWeightFirst));
    return count == 0 ? 0 : count + 1;
}

// Columns of notable levels, which add to the score when there are many.
struct Notable {
    int low = 0, middle = 0, high = 0; // from levels 50, 60 and 100 on; none from 140 on
    int Weighted() const { return middle / 2 + high + low / 3; }

    void Count(int level) {
        if (level >= 100 && level < 140)
            high++;
        else if (level >= 60 && level < 100)
            middle++;
        else if (level >= 50 && level < 60)
            low++;
    }
};
constexpr int kNotableAllowed = 30, kNotableWeight = 5;
constexpr int kPeakAllowed = 100, kPeakMost = 200;

} // namespace

bool IsJitterCard(const BarcodeRecord &read) {
    return read.pdfLength == kJitterTextLength &&
           std::memcmp(read.pdfText, kCardText, kJitterTextLength) == 0;
}

std::optional<JitterBand> ChooseJitterBand(const BarcodeRecord &read) {
    if (IsJitterCard(read))
        return kTestCardBand;
    if (read.position[0] > 0 && read.position[1] > 0) {
        const int y0 = kTopFrom - read.position[1], y1 = kBottomFrom - read.position[0];
        if (y1 <= y0)
            return std::nullopt;
        const int chartRow = y1 < kRoomBelow ? y1 + kChartBelow : y0 - kChartAbove;
        return JitterBand{kBarcodeX0, kBarcodeX1, y0, y1, chartRow, kBarcodeDivisor};
    }
    if (read.orientation != 0)
        return kUprightBand;
    return std::nullopt;
}

FringeLevels MeasureFringes(ConstColourView natBk, const JitterBand &band) {
    FringeLevels levels{}, smoothed{};
    for (int column = kFirstColumn; column < kEndColumn; column++)
        levels[static_cast<size_t>(column)] = ColumnLevel(natBk, column, band);
    for (size_t column = kFirstColumn; column < kEndColumn; column++)
        smoothed[column] = (levels[column - 1] + levels[column] + levels[column + 1]) / 3;
    return smoothed;
}

int32_t JitterScore(const FringeLevels &levels, const JitterBand &band) {
    int score = 0, largest = 0;
    Notable notable;
    for (int column = FirstChartColumn(band); column < EndChartColumn(band); column++) {
        const int level = levels[static_cast<size_t>(column)];
        score += level < kBeyondWeights ? 2 * Weight(level) : kScoreBeyond;
        notable.Count(level);
        largest = std::max(largest, level);
    }
    score += kNotableWeight * std::max(0, notable.Weighted() - kNotableAllowed);
    score += std::min(kPeakMost, std::max(0, largest - kPeakAllowed) * 5 / 2);
    score = score > 80 ? score - 60 : score / 4;
    return score / 10;
}

} // namespace k274
