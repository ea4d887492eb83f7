// The engine is zxing-cpp 1.4. One result is asked for and no scaling down: with more of either it can end
// the process by an assertion. Texts are taken as bytes, since its texts are re-encoded.
#define ZX_USE_UTF8
#include "platform/sd2/engine.h"

#include <ZXing/ReadBarcode.h>

#include <exception>

namespace sd2 {
namespace {

Point ToPoint(const ZXing::PointI &p) { return {static_cast<double>(p.x), static_cast<double>(p.y)}; }

ZXing::DecodeHints HintsFor(ZXing::BarcodeFormats formats) {
    return ZXing::DecodeHints()
        .setFormats(formats)
        .setMaxNumberOfSymbols(1)
        .setTryDownscale(false)
        .setTryRotate(false)
        .setTryHarder(true);
}

bool Read(const GreyImage &image, const ZXing::DecodeHints &hints, EngineRead *read) try {
    // Its pattern buffers count pixels in 16 bits.
    constexpr int kMaxSide = 65535;
    if (image.lines < 1 || image.pixels < 1 || image.lines > kMaxSide || image.pixels > kMaxSide)
        return false;
    const ZXing::ImageView view(image.data, image.pixels, image.lines, ZXing::ImageFormat::Lum,
                                static_cast<int>(image.stride));
    const ZXing::Result result = ZXing::ReadBarcode(view, hints);
    if (!result.isValid() || result.bytes().empty())
        return false;
    switch (result.format()) {
    case ZXing::BarcodeFormat::PDF417:
        read->symbology = kPdf417;
        break;
    case ZXing::BarcodeFormat::Code128:
        read->symbology = kCode128;
        break;
    case ZXing::BarcodeFormat::Code39:
        read->symbology = kCode39;
        break;
    default:
        return false;
    }
    read->bytes.assign(result.bytes().begin(), result.bytes().end());
    const std::string level = result.ecLevel();
    read->correctionLevel = level.size() == 1 && level[0] >= '0' && level[0] <= '8' ? level[0] - '0' : 0;
    const ZXing::Position &position = result.position();
    read->topLeft = ToPoint(position.topLeft());
    read->topRight = ToPoint(position.topRight());
    read->bottomLeft = ToPoint(position.bottomLeft());
    read->bottomRight = ToPoint(position.bottomRight());
    return true;
} catch (const std::exception &) {
    return false; // damaged symbols can end inside the engine in many ways; none of them is a read
}

} // namespace

bool EngineReadPdf417(const GreyImage &image, Levels levels, bool turned, EngineRead *read) {
    return Read(image,
                HintsFor(ZXing::BarcodeFormat::PDF417)
                    .setTryRotate(turned)
                    .setBinarizer(levels == Levels::kTwo ? ZXing::Binarizer::FixedThreshold
                                                         : ZXing::Binarizer::LocalAverage),
                read);
}

bool EngineReadLinear(const GreyImage &image, bool code128, bool code39, EngineRead *read) {
    ZXing::BarcodeFormats formats;
    if (code128)
        formats |= ZXing::BarcodeFormat::Code128;
    if (code39)
        formats |= ZXing::BarcodeFormat::Code39;
    return Read(image, HintsFor(formats).setBinarizer(ZXing::Binarizer::FixedThreshold), read);
}

} // namespace sd2
