#include "src/decoders/reparse.h"

#include "src/bmp/bmp.h"
#include "src/decoders/barcode.h"
#include "src/state/line_buffers.h"
#include "src/state/notify.h"

#include <cstring>

namespace k274 {

namespace {

constexpr int32_t kGreyFormat = 1;
constexpr char kDumpPath[] = "C:\\K274\\BMP\\K274_RED_REPARSE.bmp";

void TakePicture(const uint8_t *image, int32_t rows, int32_t columns, int bytesPerPixel) {
    const GreyView red0 = Red0();
    std::memset(red0.data, 0, red0.Size());
    for (int32_t i = 0; i < rows; ++i) {
        const uint8_t *from = image + static_cast<ptrdiff_t>(i) * columns * bytesPerPixel + bytesPerPixel - 1;
        uint8_t *to = red0.Row(rows - 1 - i);
        for (int32_t j = 0; j < columns; ++j)
            to[j] = from[j * bytesPerPixel];
    }
}

} // namespace

int32_t ReParse(const uint8_t *image, int32_t rows, int32_t columns, int32_t format) {
    if (!image || rows < 0 || columns < 0 || rows > kSensorRows || columns > kRgbColumns)
        return -1;
    const BarcodeTicket ticket = DrawBarcodeTicket();
    {
        std::lock_guard guard(barcode.lock);
        TakePicture(image, rows, columns, format == kGreyFormat ? 1 : 3);
        ForgetCodes(barcode.record);
        WriteBmp8(Red0(), kDumpPath);
    }
    BarcodeRecord read{};
    BcDecode(BarcodeSource::Red0, ticket, false, read);
    SetScanState(K274_STATE_BARCODE_READY);
    return format == kGreyFormat || read.pdfLength != 0 ? read.pdfLength : read.linearLength;
}

} // namespace k274
