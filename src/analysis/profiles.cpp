// Response profiles of the infrared and ultraviolet passes, and the dust on the sensor's glass.
#include "src/state/measures.h"

#include "src/common/find_from.h"
#include "src/common/pixel_sums.h"

#include <algorithm>
#include <array>

namespace k274 {

namespace {

// ---- Infrared

constexpr int kIrRow = 3;
constexpr int kIrColumn = 500, kIrColumnStep = 4, kIrSamples = 250;

void SumColumns(ConstGreyView image, int32_t (&sums)[kSensorRows]) {
    for (int row = 0; row < kSensorRows; row++) {
        FetchAhead(image.Pixel(std::min(row + 1, kSensorRows - 1), kIrColumn), kIrColumnStep * kIrSamples);
        sums[row] = SumBytes<kIrColumnStep>(image.Pixel(row, kIrColumn), kIrSamples);
    }
}

// ---- Ultraviolet

constexpr int kUvPositions = 1350, kUvBytes = 3 * kUvPositions;
constexpr int kLeadFirstLine = 50, kLeadEndLine = 200, kLeadPixels[2] = {100, 200}, kLeadMin = 15;
constexpr int kRawLineOffset = 350, kRawLineStep = 2, kRawSamples = 250;
constexpr int kCorLine = 250, kCorLineStep = 5, kCorSamples = 100;
constexpr int kMaxGainClass = 19, kMinGainNumber = 100; // cards whose number is a gain

using LineSums = std::array<uint16_t, kUvBytes>;

LineSums SumLines(ConstColourView image, int firstLine, int step, int count) {
    LineSums sums{};
    for (int i = 0; i < count; i++)
        AddBytes(image.Row(firstLine + i * step), kUvBytes, sums.data());
    return sums;
}

int CardLine(ConstColourView uvr) {
    return FindFrom(kLeadFirstLine, kLeadEndLine, [&](int line) {
        return uvr.Pixel(line, kLeadPixels[0])[0] > kLeadMin && uvr.Pixel(line, kLeadPixels[1])[0] > kLeadMin;
    });
}

uint8_t ScaledMean(int sum, float gain, float samples) {
    return static_cast<uint8_t>(std::min(static_cast<float>(sum) * gain / samples, 255.0F));
}

// ---- Dust

constexpr int kDustRows[2][2] = {{80, 1125}, {1400, 2500}}; // front and back, ends excluded
constexpr int kDustColumn = 50, kDustColumns = 50;
constexpr int kDustBlack = 2, kDustWhite = 24; // dust lies strictly between
constexpr int kDustSum = 100;                  // what a row must exceed

int DustOf(uint8_t value) { return value > kDustBlack && value < kDustWhite ? value : 0; }

} // namespace

void ImageProcessor::IrResp(ConstGreyView irr, ConstGreyView irc, ResponseTable &raw,
                            ResponseTable &corrected) {
    int32_t(&sums)[kSensorRows] = responseSums[kIrRow];
    SumColumns(irr, sums);
    // The entries at both ends keep what they hold.
    for (int row = 1; row < kSensorRows - 1; row++)
        raw[kIrRow][row] =
            static_cast<uint8_t>((sums[row - 1] + 2 * sums[row] + sums[row + 1]) / (4 * kIrSamples));
    SumColumns(irc, sums);
    for (int row = 0; row < kSensorRows; row++)
        corrected[kIrRow][row] = static_cast<uint8_t>(sums[row] / kIrSamples);
}

int32_t ImageProcessor::DustCheck(ConstColourView rgbr, ConstGreyView irr) {
    std::fill(std::begin(dustPerChannel), std::end(dustPerChannel), 0);
    for (const auto &rows : kDustRows)
        for (int row = rows[0]; row < rows[1]; row++) {
            const uint8_t *colours = rgbr.Pixel(row, kDustColumn), *infrared = irr.Pixel(row, kDustColumn);
            // Some rows further on; the last ones are still within the image.
            constexpr int kRowsAhead = 8;
            FetchAhead(rgbr.Pixel(row + kRowsAhead, kDustColumn), 3 * kDustColumns);
            FetchAhead(irr.Pixel(row + kRowsAhead, kDustColumn), kDustColumns);
            int sums[4] = {};
            for (int i = 0; i < kDustColumns; i++) {
                for (int k = 0; k < 3; k++)
                    sums[k] += DustOf(colours[3 * i + k]);
                sums[3] += DustOf(infrared[i]);
            }
            for (int k = 0; k < 4; k++)
                dustPerChannel[k] += sums[k] > kDustSum;
        }
    for (int32_t &count : dustPerChannel)
        count = std::min(count, 255);
    dustCount = *std::max_element(std::begin(dustPerChannel), std::end(dustPerChannel));
    return dustCount;
}

void ImageProcessor::UvResp(ConstColourView uvr, ConstColourView uvc, ResponseTable &raw,
                            ResponseTable &corrected) {
    const float gain = cardClass <= kMaxGainClass && cardNumber >= kMinGainNumber
                           ? static_cast<float>(cardNumber) / 100.0F
                           : 1.0F;
    // At most line 1049 is read, whatever the leading edge.
    const LineSums rawSums = SumLines(uvr, CardLine(uvr) + kRawLineOffset, kRawLineStep, kRawSamples);
    const LineSums corSums = SumLines(uvc, kCorLine, kCorLineStep, kCorSamples);
    for (int channel = 0; channel < 3; channel++) {
        const int row = 6 - channel;
        const auto sumAt = [&](const LineSums &sums, int p) {
            return int{sums[static_cast<size_t>(3 * p + channel)]};
        };
        // The entries at both ends keep what they hold.
        for (int p = 1; p < kUvPositions - 1; p++)
            raw[row][p] = ScaledMean(sumAt(rawSums, p - 1) + sumAt(rawSums, p) + sumAt(rawSums, p + 1), gain,
                                     3 * kRawSamples);
        for (int p = 0; p < kUvPositions; p++)
            corrected[row][p] = ScaledMean(sumAt(corSums, p), gain, kCorSamples);
    }
}

} // namespace k274
