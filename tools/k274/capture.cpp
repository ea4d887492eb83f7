// Copies the images and records of a finished scan.
#include "tools/k274/capture.h"

namespace host {

namespace {

constexpr ImageSource kVisible[] = {
    {"front", K274_GetImgNatFr, K274_NAT_WIDTH, K274_NAT_HEIGHT, 3},
    {"back", K274_GetImgNatBk, K274_NAT_WIDTH, K274_NAT_HEIGHT, 3},
    {"edge", K274_GetImgEdge, K274_EDGE_WIDTH, K274_EDGE_HEIGHT, 3},
};

} // namespace

Capture TakeCapture() {
    Capture capture = {};
    for (const ImageSource &source : kVisible) {
        const uint8_t *pixels = source.address();
        const auto count = static_cast<size_t>(source.width) * static_cast<size_t>(source.height) *
                           static_cast<size_t>(source.channels);
        capture.images.push_back({&source, std::vector<uint8_t>(pixels, pixels + count)});
    }
    K274_GetVersion(&capture.version);
    K274_UpdateStatus(&capture.status);
    capture.transferErrors = K274_GefXfrErrs();
    return capture;
}

} // namespace host
