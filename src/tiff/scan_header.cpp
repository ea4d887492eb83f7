// Builds the header block and the directories of a scan file, byte for byte.
#include "src/tiff/scan_header.h"

#include "wire/bytes.h"
#include "wire/version.h"

#include <cstring>

namespace k274 {

namespace {

constexpr size_t kTimeAt = 24;
constexpr size_t kCardWidthAt = 44;
constexpr size_t kDustCountAt = 58;
constexpr size_t kContrastRatioAt = 64;
constexpr size_t kUvWhiteRatioAt = 68;
constexpr size_t kUvGainAt = 76;
constexpr size_t kDateAt = 192;
constexpr size_t kDateBytes = 20;

// Rationals that the directories point to.
constexpr uint32_t kIrResolutionAt = 80;
constexpr uint32_t kLastResolutionAt = 88; // pages 5 and 6
constexpr uint32_t kBleedResolutionAt = 96;
constexpr uint32_t kRgbResolutionAt = 104;
constexpr uint32_t kColourBitsAt = 112;

constexpr uint32_t kFirstDirectoryAt = 256;
constexpr uint32_t kDirectoryBytes = 256;
constexpr uint32_t kPageNameAt = 240; // within a directory
constexpr uint32_t kPages = 8;

enum Type : uint16_t { kByte = 1, kAscii = 2, kShort = 3, kLong = 4, kRational = 5 };

struct Entry {
    uint16_t tag;
    Type type;
    uint32_t count;
    uint32_t value; // or offset; a SHORT lies in the low half
};

struct Page {
    const char *name;
    uint32_t number;
    uint32_t width, height, samples;
    uint32_t dataAt, resolutionAt;
};

constexpr Page kImagePages[] = {
    {"RGB Front", 1, K274_NAT_WIDTH, K274_NAT_HEIGHT, 3, kNatFrAt, kRgbResolutionAt},
    {"RGB Back", 2, K274_NAT_WIDTH, K274_NAT_HEIGHT, 3, kNatBkAt, kRgbResolutionAt},
    {"IR  Front", 3, K274_IR_WIDTH, K274_IR_HEIGHT, 1, kIrFrAt, kIrResolutionAt},
    {"IR  Back", 4, K274_IR_WIDTH, K274_IR_HEIGHT, 1, kIrBkAt, kIrResolutionAt},
    {"Mag Bleed", 7, K274_MSBL_WIDTH, K274_MSBL_HEIGHT, 1, kBleedAt, kBleedResolutionAt},
};

struct LastPages {
    Page pages[2];
    uint32_t resolution;
};

constexpr LastPages kLastPages[] = {
    {{{"UV  Front", 5, K274_UV_WIDTH, K274_UV_HEIGHT, 3, kUvFrAt, kLastResolutionAt},
      {"UV  Back", 6, K274_UV_WIDTH, K274_UV_HEIGHT, 3, kUvBkAt, kLastResolutionAt}},
     300},
    {{{"SL  Front", 5, K274_SLI_WIDTH, K274_SLI_HEIGHT, 3, kSliFrAt, kLastResolutionAt},
      {"SL  Back", 6, K274_SLI_WIDTH, K274_SLI_HEIGHT, 3, kSliBkAt, kLastResolutionAt}},
     1200},
    {{{"No image", 5, 0, 0, 3, kUvFrAt, kLastResolutionAt},
      {"No image", 6, 0, 0, 3, kUvBkAt, kLastResolutionAt}},
     0},
};

constexpr uint32_t DirectoryAt(uint32_t page) { return kFirstDirectoryAt + (page - 1) * kDirectoryBytes; }

constexpr uint32_t PageNumber(uint32_t page) { return page | kPages << 16; }

constexpr char kMetaName[] = "Meta data";
constexpr uint32_t kMetaPage = kPages;

constexpr Entry kMetaEntries[] = {
    {254, kLong, 1, 0},                                                    // NewSubfileType
    {269, kAscii, 1, 176},                                                 // DocumentName
    {271, kAscii, sizeof kMake, kMakeAt},                                  // Make
    {272, kAscii, sizeof kModel, kModelAt},                                // Model
    {285, kAscii, sizeof kMetaName, DirectoryAt(kMetaPage) + kPageNameAt}, // PageName
    {297, kShort, 2, PageNumber(kMetaPage)},                               // PageNumber
    {305, kAscii, sizeof kSoftware, kSoftwareAt},                          // Software
    {306, kAscii, kDateBytes, kDateAt},                                    // DateTime
    {65000, kByte, 0, kMagneticAt},                                        // the stripe
    {65001, kByte, 0, kLinearCodeAt},                                      // the linear code
    {65002, kByte, 0, kPdfCodeAt},                                         // the PDF417 code
    {65003, kByte, 768, kMagneticAt},
};

void Store64(uint8_t *at, uint64_t value) {
    wire::Store32(at, static_cast<uint32_t>(value & 0xFFFFFFFF));
    wire::Store32(at + 4, static_cast<uint32_t>(value >> 32));
}

void StoreFloat(uint8_t *at, float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    wire::Store32(at, bits);
}

float LoadFloat(const uint8_t *at) {
    const uint32_t bits = wire::Load32(at);
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

void PutRational(uint8_t *at, uint32_t numerator) {
    wire::Store32(at, numerator);
    wire::Store32(at + 4, 1);
}

/// With its terminator.
void PutText(uint8_t *at, const char *text) { std::memcpy(at, text, std::strlen(text) + 1); }

void PutDirectory(uint32_t page, const char *name, const Entry *entries, uint16_t count, uint8_t *area) {
    uint8_t *at = area + DirectoryAt(page);
    PutText(at + kPageNameAt, name);
    wire::Store16(at, count);
    at += 2;
    for (const Entry *entry = entries; entry != entries + count; ++entry, at += 12) {
        wire::Store16(at, entry->tag);
        wire::Store16(at + 2, entry->type);
        wire::Store32(at + 4, entry->count);
        wire::Store32(at + 8, entry->value);
    }
    wire::Store32(at, page < kPages ? DirectoryAt(page + 1) : 0);
}

void PutImageDirectory(const Page &page, uint8_t *area) {
    const bool colour = page.samples == 3;
    const auto nameBytes = static_cast<uint32_t>(std::strlen(page.name) + 1);
    const Entry entries[] = {
        {254, kLong, 1, 2},                                               // NewSubfileType: one page of many
        {256, kShort, 1, page.width},                                     // ImageWidth
        {257, kShort, 1, page.height},                                    // ImageLength
        {258, kShort, page.samples, colour ? kColourBitsAt : 8},          // BitsPerSample
        {259, kShort, 1, 1},                                              // Compression: none
        {262, kShort, 1, colour ? 2u : 1u},                               // PhotometricInterpretation
        {273, kLong, 1, page.dataAt},                                     // StripOffsets
        {274, kShort, 1, 1},                                              // Orientation
        {277, kShort, 1, page.samples},                                   // SamplesPerPixel
        {278, kShort, 1, page.height},                                    // RowsPerStrip
        {279, kLong, 1, page.width * page.height * page.samples},         // StripByteCounts
        {282, kRational, 1, page.resolutionAt},                           // XResolution
        {283, kRational, 1, page.resolutionAt},                           // YResolution
        {285, kAscii, nameBytes, DirectoryAt(page.number) + kPageNameAt}, // PageName
        {296, kShort, 1, 2},                                              // ResolutionUnit: inch
        {297, kShort, 2, PageNumber(page.number)},                        // PageNumber
    };
    PutDirectory(page.number, page.name, entries, sizeof entries / sizeof entries[0], area);
}

/// Digits from the right, so that a time out of range cannot leave its place.
void PutDigits(uint8_t *at, int digits, int value) {
    for (unsigned rest = value < 0 ? 0 : static_cast<unsigned>(value); digits > 0; rest /= 10)
        at[--digits] = static_cast<uint8_t>('0' + rest % 10);
}

/// "2024.01.31 13:05:09"
void PutDate(uint8_t *at, const os::LocalTime &time) {
    PutText(at, "0000.00.00 00:00:00");
    PutDigits(at, 4, time.year);
    PutDigits(at + 5, 2, time.month);
    PutDigits(at + 8, 2, time.day);
    PutDigits(at + 11, 2, time.hour);
    PutDigits(at + 14, 2, time.minute);
    PutDigits(at + 17, 2, time.second);
}

} // namespace

void BuildHeader(const ScanMetadata &metadata, const ScanTime &time, uint8_t (&area)[kScanHeaderBytes]) {
    std::memset(area, 0, sizeof area);
    PutText(area, "II");
    wire::Store16(area + 2, 42);
    wire::Store32(area + 4, kFirstDirectoryAt);
    area[8] = metadata.hardware;
    wire::Store32(area + 12, metadata.parameter0);
    Store64(area + 16, metadata.serialNumber2);
    StampTime(time.seconds, area);
    std::memcpy(area + 32, wire::kVersion, sizeof wire::kVersion);
    std::memcpy(area + 35, metadata.firmware, sizeof metadata.firmware);
    std::memcpy(area + 38, metadata.fpga, sizeof metadata.fpga);
    wire::Store32(area + 48, metadata.parameter1);
    wire::Store32(area + 52, metadata.parameter3);
    wire::Store16(area + kDustCountAt, metadata.dustCount);
    StoreFloat(area + kContrastRatioAt, metadata.contrastRatio);
    StoreFloat(area + kUvWhiteRatioAt, metadata.uvWhiteRatio);
    StoreFloat(area + kUvGainAt, metadata.uvGain);
    PutRational(area + kIrResolutionAt, 600);
    PutRational(area + kBleedResolutionAt, 183);
    PutRational(area + kRgbResolutionAt, 550);
    for (size_t sample = 0; sample < 3; ++sample)
        wire::Store16(area + kColourBitsAt + 2 * sample, 8);
    PutText(area + kMakeAt, kMake);
    PutText(area + kModelAt, kModel);
    PutText(area + kSoftwareAt, kSoftware);
    PutDate(area + kDateAt, time.local);
    PutText(area + 240, "Tiff Header");
    SetVariant(ScanVariant::Ultraviolet, area);
}

void StampTime(int64_t seconds, uint8_t (&area)[kScanHeaderBytes]) {
    Store64(area + kTimeAt, static_cast<uint64_t>(seconds));
}

void StampCardWidth(uint32_t width, uint8_t (&info)[kScanInfoBytes]) {
    wire::Store32(info + kCardWidthAt, width);
}

void SetVariant(ScanVariant variant, uint8_t (&area)[kScanHeaderBytes]) {
    const LastPages &last = kLastPages[static_cast<size_t>(variant)];
    wire::Store16(area + kVariantAt, static_cast<uint16_t>(variant));
    PutRational(area + kLastResolutionAt, last.resolution);
    std::memset(area + kScanInfoBytes, 0, kScanHeaderBytes - kScanInfoBytes);
    for (const Page &page : kImagePages)
        PutImageDirectory(page, area);
    for (const Page &page : last.pages)
        PutImageDirectory(page, area);
    PutDirectory(kMetaPage, kMetaName, kMetaEntries, sizeof kMetaEntries / sizeof kMetaEntries[0], area);
}

void TakeScanValues(const uint8_t (&area)[kScanHeaderBytes], ScanMetadata *metadata) {
    metadata->dustCount = wire::Load16(area + kDustCountAt);
    metadata->contrastRatio = LoadFloat(area + kContrastRatioAt);
    metadata->uvWhiteRatio = LoadFloat(area + kUvWhiteRatioAt);
    metadata->uvGain = LoadFloat(area + kUvGainAt);
}

} // namespace k274
