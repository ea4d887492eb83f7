// The packaged engine, zxing-cpp 1.4. One result is asked for and no scaling down: with more of either it can
// end the process by an assertion. Texts are taken as bytes, since its texts are re-encoded. A call of it
// cannot be interrupted.
#define ZX_USE_UTF8
#include "platform/sd2/zxing/drawing.h"

#include <ZXing/ReadBarcode.h>

#include <algorithm>
#include <exception>

namespace sd2 {
namespace {

ZXing::Result Read(const OwnImage &image, ZXing::BarcodeFormats formats, ZXing::Binarizer binarizer) try {
    // Its pattern buffers count pixels in 16 bits.
    constexpr int kMaxSide = 65535;
    if (image.lines < 1 || image.pixels < 1 || image.lines > kMaxSide || image.pixels > kMaxSide)
        return {};
    const auto hints = ZXing::DecodeHints()
                           .setFormats(formats)
                           .setMaxNumberOfSymbols(1)
                           .setTryDownscale(false)
                           .setTryRotate(false)
                           .setTryHarder(true)
                           .setMinLineCount(kMinLinearAgreement)
                           .setBinarizer(binarizer);
    return ZXing::ReadBarcode({image.grey.data(), image.pixels, image.lines, ZXing::ImageFormat::Lum}, hints);
} catch (const std::exception &) {
    // Damaged symbols can end inside the engine in many ways; none of them is a read.
    return {};
}

bool IsRead(const ZXing::Result &result) { return result.isValid() && !result.bytes().empty(); }

bool ReadPdf417(const OwnImage &image, ZXing::Binarizer binarizer, Pdf417Read *read) {
    const ZXing::Result result = Read(image, ZXing::BarcodeFormat::PDF417, binarizer);
    if (!IsRead(result))
        return false;
    read->bytes.assign(result.bytes().begin(), result.bytes().end());
    const std::string level = result.ecLevel();
    read->correctionLevel = level.size() == 1 && level[0] >= '0' && level[0] <= '8' ? level[0] - '0' : 0;
    return true;
}

bool ReadRows(const SymbolRows &rows, const Stopwatch &, Pdf417Read *read) {
    OwnImage drawn;
    zxing::DrawRows(rows, drawn);
    return ReadPdf417(drawn, ZXing::Binarizer::FixedThreshold, read);
}

bool ReadArea(const GreyImage &image, const SymbolArea &area, const Stopwatch &, Pdf417Read *read) {
    OwnImage drawn;
    zxing::DrawArea(image, area, drawn);
    return ReadPdf417(drawn, ZXing::Binarizer::LocalAverage, read);
}

bool ReadLinear(const Edges &edges, const std::vector<Stretch> &stretches, bool code128, bool code39,
                const Stopwatch &watch, LinearRead *read) {
    ZXing::BarcodeFormats formats;
    if (code128)
        formats |= ZXing::BarcodeFormat::Code128;
    if (code39)
        formats |= ZXing::BarcodeFormat::Code39;
    Attempts attempts(watch);
    OwnImage drawn;
    std::vector<int> lineOf; // of each line drawn
    for (size_t next = 0; next < stretches.size() && attempts.MayStart();) {
        next = zxing::DrawStretches(edges, stretches, next, drawn, lineOf);
        ZXing::Result result;
        attempts.Run([&] {
            result = Read(drawn, formats, ZXing::Binarizer::FixedThreshold);
            return IsRead(result);
        });
        const bool is39 = result.format() == ZXing::BarcodeFormat::Code39;
        if (!IsRead(result) || (is39 && result.bytes().size() < kMinCode39))
            continue;
        const auto along = [](int x) { return (x - zxing::kLinearQuiet) * kEdgeUnit / zxing::kLinearScale; };
        const ZXing::PointI left = result.position().topLeft(), right = result.position().topRight();
        read->symbology = is39 ? kCode39 : kCode128;
        read->bytes.assign(result.bytes().begin(), result.bytes().end());
        read->line = lineOf[static_cast<size_t>(std::clamp(left.y, 0, drawn.lines - 1))];
        read->start = along(left.x);
        read->end = along(right.x);
        return true;
    }
    return false;
}

} // namespace

const Engine kZxingEngine{"zxing", ReadRows, ReadArea, ReadLinear};

} // namespace sd2
