// One image composed of the last four.
#include "src/capture/merge.h"

#include <algorithm>
#include <cstring>

namespace k274 {

namespace {

constexpr int kImages = 4;

// Rows. Above and below the bands the image shows itself.
constexpr int kFirstBand = 150, kBandRows = 75; // of the call before; those before it below
constexpr int kBands = 3;
constexpr int kMeanRow = 450, kMeanEnd = 700;
constexpr int kScaleEnd = 490;
constexpr int kSeparators[] = {150, 225, 300, 375, 700};

constexpr uint8_t kScaleGround = 222;
constexpr int kScaleMarks = 48, kScaleFirst = 58; // pixels
constexpr float kScalePitch = 39.74F;
constexpr uint8_t kMark[] = {176, 80, 16, 0, 0, 16, 80, 176}; // a dark line with soft edges

size_t Offset(int row) { return static_cast<size_t>(row) * kMergeStride; }

/// The image of so many calls before the present one.
const uint8_t *Earlier(const MergeHistory &history, int calls) {
    return history.images[(history.newest + kImages - calls) % kImages];
}

void DrawScale(uint8_t *image) {
    uint8_t line[kMergeStride];
    std::memset(line, kScaleGround, sizeof line);
    for (int k = 0; k < kScaleMarks; k++) {
        // The last mark ends at pixel 1932.
        uint8_t *to = line + 3 * (kScaleFirst + static_cast<int>(static_cast<float>(k) * kScalePitch));
        for (const uint8_t level : kMark) {
            std::fill(to, to + 3, level);
            to += 3;
        }
    }
    for (int row = kMeanRow; row < kScaleEnd; row++)
        std::memcpy(image + Offset(row), line, sizeof line);
}

} // namespace

void MergeImage(MergeHistory &history, uint8_t *image) {
    history.newest = (history.newest + 1) % kImages;
    std::memcpy(history.images[history.newest], image, kMergeBytes);

    for (int band = 0; band < kBands; band++) {
        const size_t at = Offset(kFirstBand + band * kBandRows);
        std::memcpy(image + at, Earlier(history, band + 1) + at, Offset(kBandRows));
    }
    for (size_t i = Offset(kMeanRow); i < Offset(kMeanEnd); i++) {
        int sum = 0;
        for (const auto &each : history.images)
            sum += each[i] >> 2; // cut before they are added
        image[i] = static_cast<uint8_t>(sum);
    }
    DrawScale(image);
    for (const int row : kSeparators)
        for (size_t i = Offset(row); i < Offset(row + 1); i++)
            image[i] = static_cast<uint8_t>(image[i] * 4 / 5);
}

} // namespace k274
