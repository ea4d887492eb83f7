#include "src/decoders/barcode.h"

#include "platform/sd2/sd2.h"
#include "src/carddata/decode.h"
#include "src/common/text.h"
#include "src/log/log.h"
#include "src/state/flags.h"
#include "src/state/line_buffers.h"

#include <algorithm>
#include <cstring>

namespace k274 {

namespace {

constexpr int32_t kMostPdf = 2000, kMostLinear = 90;
constexpr uint16_t kCode128 = 4, kCode39 = 5, kPdf417 = 12;
constexpr uint16_t kBackLine = 1350; // lines beyond this one show the back
constexpr int32_t kWhiteCardLength = 7;

class TakenImage {
public:
    TakenImage() {
        for (DecoderImage &slot : barcode.images) {
            if (!slot.taken.exchange(true)) {
                slot_ = &slot;
                return;
            }
        }
    }
    ~TakenImage() {
        if (slot_)
            slot_->taken = false;
    }
    TakenImage(const TakenImage &) = delete;
    TakenImage &operator=(const TakenImage &) = delete;

    void Copy(const uint8_t *from) {
        if (slot_)
            std::memcpy(slot_->pixels, from, sizeof slot_->pixels);
    }
    Decoded Decode() const {
        return slot_ ? DecodeImage({slot_->pixels, kDecodedLines, kRgbColumns}, Symbologies::All) : Decoded();
    }

private:
    DecoderImage *slot_ = nullptr;
};

int32_t DecoderNumber(BarcodeSource source) {
    switch (source) {
    case BarcodeSource::Red1:
        return 1;
    case BarcodeSource::Infrared:
        return 3;
    case BarcodeSource::Red0:
        break;
    }
    return 2;
}

void StartRecord(BarcodeRecord &record, int32_t decoder) {
    std::memset(&record, 0, offsetof(BarcodeRecord, decoderMajor));
    record.orientation = 0;
    record.decoder = decoder;
}

// Which side, and which way round the code stands on it.
int32_t OrientationCode(const Decoded &decoded) {
    const uint16_t line = decoded.position[1];
    if ((decoded.orientation != 1 && decoded.orientation != 2) || line == kBackLine)
        return 0;
    return decoded.orientation + (line > kBackLine ? 0 : 2);
}

uint8_t Byte(uint16_t word) { return static_cast<uint8_t>(std::min<uint16_t>(word, 255)); }

void FillPdf(BarcodeRecord &record, const Decoded &decoded) {
    record.pdfCode = kPdf417;
    record.pdfInfo = decoded.info[SD_INFO_ACCEPTED];
    record.pdfLength = static_cast<int16_t>(record.pdfInfo ? std::min(decoded.length, kMostPdf) : 0);
    record.rows = Byte(decoded.info[SD_INFO_ROWS]);
    record.columns = Byte(decoded.info[SD_INFO_COLUMNS]);
    record.correctionLevel = Byte(decoded.info[SD_INFO_CORRECTION]);
    record.moduleWidth = Byte(decoded.info[SD_INFO_MODULE]);
    record.attempt = Byte(decoded.info[SD_INFO_ATTEMPT]);
    record.orientation = OrientationCode(decoded);
    std::memcpy(record.pdfText, decoded.text, static_cast<size_t>(record.pdfLength));
}

void FillRecord(BarcodeRecord &record, const Decoded &decoded) {
    record.position[0] = decoded.position[0];
    record.position[1] = decoded.position[1];
    record.duration = decoded.milliseconds;
    if (decoded.position[0] > 0 && decoded.position[1] > 0)
        record.orientation = OrientationCode(decoded);
    if (decoded.symbology == SD_PDF417) {
        FillPdf(record, decoded);
    } else if (decoded.symbology == SD_CODE_128 || decoded.symbology == SD_CODE_39) {
        record.linearCode = decoded.symbology == SD_CODE_128 ? kCode128 : kCode39;
        record.linearInfo = decoded.info[SD_INFO_ACCEPTED];
        record.linearLength = static_cast<int16_t>(std::min(decoded.length, kMostLinear));
        std::memcpy(record.linearText, decoded.text, static_cast<size_t>(record.linearLength));
    }
}

const char *SymbologyName(int32_t symbology) {
    switch (symbology) {
    case SD_CODE_128:
        return "128";
    case SD_CODE_39:
        return "C39";
    case SD_PDF417:
        return "PDF";
    default:
        return "xxx";
    }
}

auto ResultLine(const BarcodeRecord &record, int32_t symbology) {
    const int scan = state.scanCounter + 1;
    const char *name = SymbologyName(symbology);
    if (record.pdfLength > 0)
        return Format("SD2%d,    %05d, %s  dur:%03d, ori:%d, rc:%02d.%02d, m:%03d, w:%03d, l:%03d",
                      record.decoder, scan, name, record.duration, record.orientation, record.rows,
                      record.columns, record.attempt, record.moduleWidth, record.pdfLength);
    if (record.linearLength > 0)
        return Format("SD2%d,    %05d, %s  dur:%03d, ori:%d, l:%03d", record.decoder, scan, name,
                      record.duration, record.orientation, record.linearLength);
    return Format("SD2%d,    %05d, %s  dur:%03d, ori:%d", record.decoder, scan, name, record.duration,
                  record.orientation);
}

} // namespace

void SdVersion() {
    void *decoder = SD_Create();
    if (!decoder)
        return;
    char text[17] = ""; // the library writes at most 16 bytes; one more ends whatever it wrote
    DecoderVersion version{};
    SD_Get(decoder, SD_PROP_VERSION_TEXT, text);
    SD_Get(decoder, SD_PROP_VERSION_MAJOR, &version.major);
    SD_Get(decoder, SD_PROP_VERSION_MINOR, &version.minor);
    SD_Destroy(decoder);
    std::lock_guard guard(barcode.lock);
    barcode.record.decoderMajor = version.major;
    barcode.record.decoderMinor = version.minor;
    CopyText(barcode.record.decoderText, sizeof barcode.record.decoderText, text);
}

DecoderVersion BarcodeLibraryVersion() {
    std::lock_guard guard(barcode.lock);
    return {barcode.record.decoderMajor, barcode.record.decoderMinor};
}

void SetDecodeMode(int32_t mode) {
    barcode.decodeMode = mode;
    barcode.dec1Count = 0;
    barcode.dec2Count = 0;
    barcode.decKCount = 0;
}

bool BcDecode(BarcodeSource source, BarcodeTicket ticket, bool endsFirst, BarcodeRecord &read) {
    TakenImage image;
    {
        std::lock_guard guard(barcode.lock);
        if (ticket != barcode.ticket)
            return false;
        image.Copy(source == BarcodeSource::Red0 ? RED0 : RED1);
        StartRecord(barcode.record, DecoderNumber(source));
    }
    const Decoded decoded = image.Decode();
    std::lock_guard guard(barcode.lock);
    if (ticket != barcode.ticket)
        return false;
    FillRecord(barcode.record, decoded);
    log.DeferDecoder(source == BarcodeSource::Red1 ? Log::DecoderSlot::First : Log::DecoderSlot::Second,
                     ResultLine(barcode.record, decoded.symbology));
    if (endsFirst)
        barcode.firstRunning = false;
    read = barcode.record;
    return true;
}

void DecodeWhiteCard(ConstGreyView region) {
    {
        std::lock_guard guard(barcode.lock);
        std::memset(barcode.record.pdfText, 0, sizeof barcode.record.pdfText);
        barcode.record.orientation = 0;
        barcode.record.pdfLength = 0;
    }
    const Decoded decoded = DecodeImage(region, Symbologies::Pdf417);
    std::lock_guard guard(barcode.lock);
    barcode.record.duration = decoded.milliseconds;
    if (decoded.symbology == SD_PDF417 && decoded.length == kWhiteCardLength) {
        barcode.record.pdfLength = kWhiteCardLength;
        std::memcpy(barcode.record.pdfText, decoded.text, kWhiteCardLength);
    }
}

} // namespace k274
