#include "src/analysis/ft_profile.h"

#include "src/analysis/summary.h"
#include "src/common/pixel_sums.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

namespace k274 {

namespace {

constexpr int kSamples = 100; // of every mean

// ---- Means across the travel, front and back

constexpr int kColumnStep = 4, kLineStep = 2;
constexpr int kRgbMeans = kRgbColumns / kColumnStep, kIrMeans = kIrColumns / kColumnStep,
              kUvMeans = kUvLines / kLineStep;

struct ColumnMeans {
    uint8_t rgb[2][kRgbMeans][3];
    uint8_t ir[2][kIrMeans];
    uint8_t uv[2][kUvMeans][2];
};

void MeanColumns(ConstColourView rgbr, int firstRow, uint8_t (&means)[kRgbMeans][3]) {
    std::array<uint16_t, 3 * kRgbColumns> sums{};
    for (int i = 0; i < kSamples; i++)
        AddBytes(rgbr.Row(firstRow + i), 3 * kRgbColumns, sums.data());
    for (int k = 0; k < kRgbMeans; k++)
        for (int channel = 0; channel < 3; channel++)
            means[k][channel] =
                static_cast<uint8_t>(sums[static_cast<size_t>(3 * kColumnStep * k + channel)] / kSamples);
}

void MeanColumns(ConstGreyView irr, const int (&firstRows)[2], uint8_t (&means)[kIrMeans]) {
    std::array<uint16_t, kIrColumns> sums{};
    for (const int firstRow : firstRows)
        for (int i = 0; i < kSamples / 2; i++)
            AddBytes(irr.Row(firstRow + 2 * i), kIrColumns, sums.data());
    for (int k = 0; k < kIrMeans; k++)
        means[k] = static_cast<uint8_t>(sums[static_cast<size_t>(kColumnStep * k)] / kSamples);
}

void MeanLines(ConstColourView uvr, const int (&firstPixels)[2], uint8_t (&means)[kUvMeans][2]) {
    for (int k = 0; k < kUvMeans; k++) {
        const PixelSums one = SumPixels(uvr.Pixel(kLineStep * k, firstPixels[0]), 1, kSamples / 2);
        const PixelSums other = SumPixels(uvr.Pixel(kLineStep * k, firstPixels[1]), 1, kSamples / 2);
        for (int channel = 0; channel < 2; channel++)
            means[k][channel] =
                static_cast<uint8_t>((one.channel[channel] + other.channel[channel]) / kSamples);
    }
}

ColumnMeans MeasureColumns(const ScanImages &images) {
    ColumnMeans means;
    MeanColumns(images.rgbr, 50, means.rgb[0]);
    MeanColumns(images.rgbr, 1450, means.rgb[1]);
    MeanColumns(images.irr, {100, 1000}, means.ir[0]);
    MeanColumns(images.irr, {1400, 2300}, means.ir[1]);
    MeanLines(images.uvr, {50, 475}, means.uv[0]);
    MeanLines(images.uvr, {825, 1200}, means.uv[1]);
    return means;
}

// ---- Profile

constexpr int kIrPlane = 3, kUvPlane = 4;
constexpr int kBackPoint = 500, kSidePoints = 499; // the last point of each side stays 0

// The positions lie within the means for every point.
void BuildFtProfile(const ColumnMeans &means, FtProfile &profile) {
    std::memset(profile, 0, sizeof profile);
    for (int side = 0; side < 2; side++)
        for (int k = 0; k < kSidePoints; k++) {
            const int i = side * kBackPoint + k;
            const auto point = static_cast<float>(i);
            const int rgb = side == 0 ? i + 40 : i - 465;
            const int ir = static_cast<int>(side == 0 ? point * 1.08F + 30.0F : point * 1.08F - 510.0F);
            const int uv = static_cast<int>(side == 0 ? 565.0F - point * 1.092F : point * 1.092F - 525.0F);
            for (int channel = 0; channel < 3; channel++)
                profile[channel][i] = means.rgb[side][rgb][channel];
            profile[kIrPlane][i] = means.ir[side][ir];
            for (int channel = 0; channel < 2; channel++)
                profile[kUvPlane + channel][i] = means.uv[side][uv][channel];
        }
}

// ---- Scores

int Roughness(const uint8_t *points) {
    int sum = 0;
    for (int j = 0; j < 4; j++)
        sum += std::abs(points[j] - points[j + 1]);
    return sum;
}

int32_t StreakScore(const FtProfile &profile) {
    constexpr struct {
        int plane, allowed[2]; // front, back
    } kPlanes[] = {{0, {4, 3}}, {kIrPlane, {5, 4}}, {kUvPlane, {5, 5}}};
    constexpr int kFirstPoint[2] = {300, 640}, kPoints = 60;
    int most = 0;
    for (const auto &p : kPlanes)
        for (int side = 0; side < 2; side++) {
            int total = 0;
            for (int i = 0; i < kPoints; i++)
                total += std::max(0, Roughness(profile[p.plane] + kFirstPoint[side] + i) - p.allowed[side]);
            most = std::max(most, total / 10);
        }
    return std::clamp(most - 2, 0, 50);
}

int WindowMean(const uint8_t *points) {
    constexpr int kPoints = 20;
    int sum = 0;
    for (int i = 0; i < kPoints; i++)
        sum += points[i];
    return sum / kPoints;
}

int32_t Ratio(int32_t step, int32_t level) {
    return static_cast<int32_t>(static_cast<float>(step) / static_cast<float>(level + 1) * 80.0F);
}

} // namespace

void ProfileAnalysis(const ScanImages &images, ScanMeasures &measures, ResponseTable &raw) {
    FtProfile &ftProfile = measures.ftProfile;
    auto &ratios = measures.ratios;
    BuildFtProfile(MeasureColumns(images), ftProfile);
    measures.streakScore = StreakScore(ftProfile);

    constexpr int kWindows[6] = {130, 230, 330, 650, 750, 850};
    for (int plane = 0; plane < kFtPlanes; plane++) {
        int32_t(&means)[6] = measures.windowMeans[plane];
        for (int i = 0; i < 6; i++)
            means[i] = WindowMean(ftProfile[plane] + kWindows[i]);
        for (int side = 0; side < 2; side++) {
            const int32_t *side3 = means + 3 * side;
            measures.stepMaxima[plane][side] =
                std::max(std::abs(side3[0] - side3[1]), std::abs(side3[1] - side3[2]));
            // The front's level serves both sides.
            ratios[plane][side] = Ratio(measures.stepMaxima[plane][side], means[1]);
        }
        ratios[plane][2] = std::max(ratios[plane][0], ratios[plane][1]);
    }
    const int32_t unevenness =
        std::max({ratios[0][2], ratios[kIrPlane][2] * 8 / 10, ratios[kUvPlane][2] * 7 / 10});
    measures.profileScore = unevenness >= 6 ? (unevenness - 5) * 19 / 10 : 0;

    for (int plane = 0; plane < kFtPlanes; plane++)
        ftProfile[plane][0] = static_cast<uint8_t>(ratios[plane][2]);
    StoreSummary(raw, kProfileScoreEntry, {measures.profileScore + measures.streakScore});
}

} // namespace k274
