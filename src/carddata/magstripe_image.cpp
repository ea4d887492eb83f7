// Contrast and bleed image of the stripe.
#include "src/carddata/magstripe_image.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace k274 {

namespace {

using ToneTable = std::array<uint8_t, 256>;

/// Values of consecutive inputs, each `step` above the one before.
struct ToneRun {
    int count, first, step;
};

template <size_t Runs>
constexpr ToneTable ExpandTones(const ToneRun (&runs)[Runs]) {
    ToneTable table{};
    size_t input = 0;
    for (const ToneRun &run : runs)
        for (int i = 0; i < run.count; ++i)
            table[input++] = static_cast<uint8_t>(run.first + i * run.step);
    return table;
}

template <size_t Runs>
constexpr int Inputs(const ToneRun (&runs)[Runs]) {
    int inputs = 0;
    for (const ToneRun &run : runs)
        inputs += run.count;
    return inputs;
}

constexpr ToneRun kNoTones[] = {{256, 0, 1}};
constexpr ToneRun kTones1[] = {{18, 0, 8},   {12, 160, 8}, {34, 251, 0}, {36, 252, 0}, {1, 251, 0},
                               {27, 252, 0}, {64, 253, 0}, {63, 254, 0}, {1, 255, 0}};
constexpr ToneRun kTones2[] = {
    {1, 0, 0},   {3, 1, 0},   {2, 2, 0},    {2, 3, 0},   {5, 4, 2},    {4, 13, 1},   {8, 18, 2},
    {8, 36, 4},  {20, 72, 8}, {4, 226, 2},  {8, 233, 1}, {3, 240, 0},  {4, 241, 0},  {4, 242, 0},
    {4, 243, 0}, {8, 244, 0}, {8, 245, 0},  {8, 246, 0}, {8, 247, 0},  {4, 248, 0},  {4, 249, 0},
    {4, 250, 0}, {4, 251, 0}, {29, 252, 0}, {3, 249, 0}, {32, 253, 0}, {63, 254, 0}, {1, 255, 0}};
static_assert(Inputs(kNoTones) == 256 && Inputs(kTones1) == 256 && Inputs(kTones2) == 256,
              "a tone table has 256 entries");

constexpr ToneTable kNoTable = ExpandTones(kNoTones);
constexpr ToneTable kTable1 = ExpandTones(kTones1);
constexpr ToneTable kTable2 = ExpandTones(kTones2);

// Lines at which the stripe's edge is sampled.
constexpr int kFirstSample = 100;
constexpr int kLastSample = 550;
constexpr int kSampleStep = 50;
constexpr int kSamples = 10;

/// A sum down one pixel column, over the sampled lines.
template <typename Value>
int SumOfSamples(ConstGreyView stripe, int pixel, Value value) {
    int sum = 0;
    for (int line = kFirstSample; line <= kLastSample; line += kSampleStep)
        sum += value(*stripe.Pixel(line, pixel));
    return sum;
}

/// Half the mean inside the stripe.
int Threshold(ConstGreyView stripe) {
    const int sum = SumOfSamples(stripe, 375, [](int pixel) { return pixel; });
    return (sum + kSamples / 2) / kSamples / 2;
}

/// First pixel beyond the stripe's edge, 384 to 401.
int StripeEdge(ConstGreyView stripe, int threshold) {
    for (int pixel = 400; pixel >= 384; --pixel)
        if (SumOfSamples(stripe, pixel, [&](int sample) { return sample > threshold; }) > kSamples / 2)
            return pixel + 1;
    return 384;
}

/// Line before the first bright one, 0 to 11.
int FirstLine(ConstGreyView stripe, int threshold) {
    for (int line = 0; line < 12; ++line) {
        int bright = 0;
        for (int pixel = 50; pixel <= 340; pixel += 10)
            bright += *stripe.Pixel(line, pixel) > threshold;
        if (bright > 10)
            return std::max(line - 1, 0);
    }
    return 11;
}

/// Truncated mean of a sparse sample beginning at a pixel.
int MeanFrom(ConstGreyView stripe, int firstPixel) {
    int sum = 0, count = 0;
    for (int line = 50; line <= 580; line += 10)
        for (int pixel = firstPixel; pixel <= firstPixel + 296; pixel += 4, ++count)
            sum += *stripe.Pixel(line, pixel);
    return sum / count;
}

} // namespace

float StripeContrast(ConstGreyView stripe) {
    const int stripeMean = MeanFrom(stripe, 50);
    const int otherMean = MeanFrom(stripe, 550);
    return otherMean == 0 ? 0.0f : static_cast<float>(stripeMean) / static_cast<float>(otherMean);
}

void BuildBleedImage(ConstGreyView stripe, int32_t toneOption, GreyView bleed) {
    const ToneTable &tones = toneOption == 1 ? kTable1 : toneOption == 2 ? kTable2 : kNoTable;
    const int threshold = Threshold(stripe);
    const int edge = StripeEdge(stripe, threshold);
    const int firstLine = FirstLine(stripe, threshold);
    const int rows =
        std::min(edge + 1, bleed.rows); // pixels from the edge down to 0, as far as there are rows
    const int columns = stripe.rows - 2 * firstLine;
    std::memset(bleed.data, 0, bleed.Size());
    for (int row = 0; row < rows; ++row) {
        uint8_t *out = bleed.Row(row);
        for (int column = 0; column < columns; ++column)
            out[column] = tones[*stripe.Pixel(firstLine + column, edge - row)];
    }
}

} // namespace k274
