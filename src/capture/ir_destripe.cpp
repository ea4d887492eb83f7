// The sensor reads even and odd pixels through two amplifiers; where one is weaker the image shows stripes.
#include "src/capture/ir_destripe.h"

namespace k274 {

namespace {

constexpr int kSampleRowStep = 5;

} // namespace

void IrDestripe(GreyView image) {
    uint32_t even = 0, odd = 0;
    for (int row = 0; row < image.rows; row += kSampleRowStep) {
        const uint8_t *bytes = image.Row(row);
        for (int column = 0; column < image.columns; column += 2) {
            even += bytes[column];
            odd += bytes[column + 1];
        }
    }
    // Pairs of a good byte and one to replace, the next pair's good byte being its other neighbour. The
    // first and the last column stay. Good bytes are stored, too, so that whole vectors are.
    const int pairs = image.columns / 2 - 1;
    for (int row = 0; row < image.rows; row++) {
        uint8_t *bytes = image.Row(row) + (odd <= even ? 0 : 1);
        for (int i = 0; i < pairs; i++) {
            const uint8_t good = bytes[2 * i];
            bytes[2 * i + 1] = static_cast<uint8_t>((good + bytes[2 * i + 2]) >> 1);
            bytes[2 * i] = good;
        }
    }
}

} // namespace k274
