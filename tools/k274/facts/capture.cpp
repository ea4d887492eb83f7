// Copies the images and records of a scan.
#include "tools/k274/facts/capture.h"

#include <cstring>

namespace host {

namespace {

enum Where : unsigned { kInVisible = 1, kInFull = 2, kInFile = 4, kInShortFile = 8 };

constexpr struct {
    ImageSource source;
    unsigned where;
} kImages[] = {
    {{"front", K274_GetImgNatFr, K274_NAT_WIDTH, K274_NAT_HEIGHT, 3},
     kInVisible | kInFull | kInFile | kInShortFile},
    {{"back", K274_GetImgNatBk, K274_NAT_WIDTH, K274_NAT_HEIGHT, 3},
     kInVisible | kInFull | kInFile | kInShortFile},
    {{"ir-front", K274_GetImgIrFr, K274_IR_WIDTH, K274_IR_HEIGHT, 1}, kInFull | kInFile | kInShortFile},
    {{"ir-back", K274_GetImgIrBk, K274_IR_WIDTH, K274_IR_HEIGHT, 1}, kInFull | kInFile | kInShortFile},
    {{"uv-front", K274_GetImgUvFr, K274_UV_WIDTH, K274_UV_HEIGHT, 3}, kInFull | kInFile},
    {{"uv-back", K274_GetImgUvBk, K274_UV_WIDTH, K274_UV_HEIGHT, 3}, kInFull | kInFile},
    {{"edge", K274_GetImgEdge, K274_EDGE_WIDTH, K274_EDGE_HEIGHT, 3}, kInVisible | kInFull},
    {{"stripe", K274_GetImgMsIr, K274_MSIR_WIDTH, K274_MSIR_HEIGHT, 1}, kInVisible | kInFull},
    {{"stripe-bleed", K274_GetImgMsBl, K274_MSBL_WIDTH, K274_MSBL_HEIGHT, 1},
     kInVisible | kInFull | kInFile | kInShortFile},
};

unsigned Bit(Extent extent) {
    switch (extent) {
    case Extent::kVisible:
        return kInVisible;
    case Extent::kFull:
        return kInFull;
    case Extent::kFile:
        return kInFile;
    case Extent::kFileNoLast:
        return kInShortFile;
    }
    return 0;
}

void CopyTable(ResponseTable &to, const uint8_t *from) { std::memcpy(to.data(), from, sizeof to); }

} // namespace

Capture TakeCapture(Extent extent) {
    Capture capture = {};
    capture.extent = extent;
    for (const auto &image : kImages) {
        if ((image.where & Bit(extent)) == 0)
            continue;
        const ImageSource &source = image.source;
        const uint8_t *pixels = source.address();
        const auto count = static_cast<size_t>(source.width) * static_cast<size_t>(source.height) *
                           static_cast<size_t>(source.channels);
        capture.images.push_back({&source, std::vector<uint8_t>(pixels, pixels + count)});
    }
    K274_GetVersion(&capture.version);
    K274_UpdateStatus(&capture.status);
    K274_GetMag(&capture.stripe);
    K274_GetBC(&capture.barcode);
    K274_GetInfo(capture.information.data());
    CopyTable(capture.rawResponse, K274_GetCcdRawResp());
    CopyTable(capture.correctedResponse, K274_GetCcdCorResp());
    capture.transferErrors = K274_GefXfrErrs();
    return capture;
}

} // namespace host
