#include "src/analysis/calibration.h"

#include "src/analysis/response_levels.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace k274 {

namespace {

constexpr int kIrRow = 3, kUvRow = 6;
constexpr int kFront = 0, kBack = 1;

// Words of the AFE block: gains, and exposures of the front with those of the back behind them.
constexpr int kRow2Gain = 0, kRow1Gain = 1, kRow0Gain = 2, kIrGain = 3;
constexpr int kUvGainSecond = 6, kUvGainThird = 7, kUvGain = 8;
constexpr int kRgbExposure = 9, kIrExposure = 11, kUvExposure = 13;

// What the front is exposed for, and the most that the back may be.
struct Exposure {
    int word;
    uint16_t front, mostBack;
};
constexpr Exposure kRgb{kRgbExposure, 300, 379}, kIr{kIrExposure, 300, 379}, kUv{kUvExposure, 700, 799};

constexpr float kAim = 224.0F; // for the high levels

constexpr int32_t Flag(int bit, bool set) { return set ? 1 << bit : 0; }
constexpr bool Outside(int32_t value, int32_t least, int32_t most) { return value < least || value > most; }

// A level or an exposure of 0 is taken as one that runs to 0: the quotient lies beyond every limit, yet is
// small enough for further products to stay finite.
float Quotient(float dividend, float divisor) {
    constexpr float kBeyondLimits = 1e9F;
    return divisor == 0.0F ? kBeyondLimits : dividend / divisor;
}

// Truncated; the limit comes first, so that every value fits.
uint16_t Word(float value, float least, float most) {
    return static_cast<uint16_t>(std::clamp(value, least, most));
}

// The back is exposed as much longer than the front as it was, times the front's lead in brightness.
void SetExposures(const AfeRegisters &current, const Exposure &exposure, float lead, AfeRegisters &next) {
    const float front = current.words[exposure.word], back = current.words[exposure.word + 1];
    next.words[exposure.word] = exposure.front;
    next.words[exposure.word + 1] = Word(Quotient(back, front) * exposure.front * lead, 0, exposure.mostBack);
}

int32_t ReasonsToWrite(const ScanMeasures &measures, const AfeRegisters &current, const AfeRegisters &next) {
    const auto dim = [&](int row, int32_t least) {
        return std::min(measures.respHigh[kFront][row], measures.respHigh[kBack][row]) < least;
    };
    const auto changed = [&](int word, int by) {
        return std::abs(next.words[word] - current.words[word]) > by;
    };
    const int32_t visible = std::min(measures.visibleMax[kFront], measures.visibleMax[kBack]);
    return Flag(0, visible < 200 || changed(kRgbExposure, 16) || changed(kRgbExposure + 1, 16)) |
           Flag(1, dim(kIrRow, 200) || changed(kIrExposure, 20) || changed(kIrExposure + 1, 20)) |
           Flag(2, dim(kUvRow, 170) || changed(kUvExposure, 40) || changed(kUvExposure + 1, 40)) |
           Flag(4, changed(kRow0Gain, 9) || changed(kRow1Gain, 9) || changed(kRow2Gain, 12)) |
           Flag(5, changed(kIrGain, 14)) |
           Flag(7, changed(kRgbExposure, 0) || changed(kIrExposure, 0) || changed(kUvExposure, 0));
}

} // namespace

void AfeCalibrate(const AfeRegisters &current, const ResponseTable &raw, ScanMeasures &measures,
                  Calibration &calibration) {
    ResponseLevels(raw, measures);
    const auto front = [&](int row) { return static_cast<float>(measures.respHigh[kFront][row]); };
    const auto back = [&](int row) { return static_cast<float>(measures.respHigh[kBack][row]); };
    const auto lead = [&](int row) { return Quotient(front(row), back(row)); };
    const float meanFront = (front(1) + front(2)) / 2.0F, meanBack = (back(1) + back(2)) / 2.0F;

    AfeRegisters next = current;
    SetExposures(current, kRgb, Quotient(front(1), meanBack), next);
    SetExposures(current, kIr, lead(kIrRow), next);
    SetExposures(current, kUv, lead(kUvRow), next);

    // Row 0 is raised on its brighter side to a little above the mean of the other two.
    const float gain = Quotient(kAim, meanFront);
    const float row0 = front(0) >= back(0) ? Quotient((meanFront + 3.0F) * gain, front(0))
                                           : Quotient((meanBack + 3.0F) * gain, back(0));
    const auto exposedGain = [&](int row, const Exposure &exposure) {
        return Quotient(kAim, front(row)) *
               (static_cast<float>(current.words[exposure.word]) / exposure.front);
    };
    const float gains[5] = {row0, gain, gain, exposedGain(kIrRow, kIr), exposedGain(kUvRow, kUv)};
    std::copy(std::begin(gains), std::end(gains), calibration.gains);

    const struct {
        int word, gain;
        float least, most;
    } gainWords[] = {
        {kRow2Gain, 2, 70, 260}, {kRow1Gain, 1, 70, 170}, {kRow0Gain, 0, 70, 130},
        {kIrGain, 3, 70, 250},   {kUvGain, 4, 90, 475},
    };
    for (const auto &g : gainWords)
        next.words[g.word] = Word(current.words[g.word] * gains[g.gain], g.least, g.most);
    next.words[kUvGainThird] = static_cast<uint16_t>(next.words[kUvGain] * 1.5F);
    next.words[kUvGainSecond] = static_cast<uint16_t>(next.words[kUvGain] * 1.46F);

    calibration.newAfe = next;
    calibration.calFlags = ReasonsToWrite(measures, current, next);
}

int32_t CheckMeans(const ScanMeasures &measures) {
    const int32_t(&means)[6] = measures.correctedMeans;
    const int32_t row2 = means[0], row1 = means[1], row0 = means[2];
    const int32_t spread = std::abs(row1 - row2) + std::abs(row1 - row0) + std::abs(row2 - row0);
    return Flag(0, Outside(row2, 196, 250)) | Flag(1, Outside(row1, 204, 240)) |
           Flag(2, Outside(row0, 204, 240)) | Flag(4, Outside(means[3], 200, 250)) |
           Flag(5, Outside(means[4], 196, 250)) | Flag(6, spread > 33);
}

void FactoryCalibrate(const AfeRegisters &current, const ResponseTable &raw, ScanMeasures &measures,
                      Calibration &calibration) {
    if (measures.forwardRead != 1)
        return;
    AfeCalibrate(current, raw, measures, calibration);
    calibration.calCheckFlags = CheckMeans(measures);
}

void ShiftForS(ResponseTable &raw) {
    // The entries that the move uncovers take the first one that lies behind the edge.
    constexpr int kShift = 24, kFirst = kBackFirstRow, kLast = kSensorRows - 1, kEdge = 1354, kMoved = 1379;
    for (int row = 0; row <= kIrRow; row++) {
        const uint8_t edge = raw[row][kEdge];
        std::memmove(raw[row] + kMoved, raw[row] + kMoved - kShift, kLast - kMoved + 1);
        std::fill(raw[row] + kFirst, raw[row] + kMoved, edge);
    }
}

int32_t FlatnessCheck(const ScanMeasures &measures) {
    const int32_t(&means)[6] = measures.correctedMeans;
    const int32_t(&grades)[5] = measures.gradeSums;
    const bool visible = std::any_of(means, means + 3, [](int32_t mean) { return Outside(mean, 205, 235); });
    return Flag(0, visible) | Flag(1, Outside(means[3], 200, 235)) | Flag(2, Outside(means[4], 200, 235)) |
           Flag(4, *std::max_element(grades, grades + 3) > 8) | Flag(5, grades[3] > 12) |
           Flag(6, grades[4] > 15);
}

} // namespace k274
