// The header block, field by field.
#include "tests/tiff/scan_fixture.h"

#include <gtest/gtest.h>

namespace k274::test {
namespace {

using namespace std::string_literals;

struct Field {
    size_t at;
    std::string bytes;
};

std::string Block(const std::vector<Field> &fields) {
    std::string block(kScanInfoBytes, '\0');
    for (const Field &field : fields)
        block.replace(field.at, field.bytes.size(), field.bytes);
    return block;
}

std::string InfoOf(const uint8_t (&area)[kScanHeaderBytes]) {
    return {reinterpret_cast<const char *>(area), kScanInfoBytes};
}

const std::vector<Field> kFields = {
    {0, "II\x2A\x00\x00\x01\x00\x00"s},
    {8, "\x11"},
    {12, "QRST"},
    {16, "ABCDEFGH"},
    {24, "\x11\x12\x13\x14\x15\x16\x17\x18"},
    {32, "\x02\x03\x07"},
    {35, "\x21\x22\x23\x31\x32"},
    {48, "abcd"},
    {52, "qrst"},
    {58, "\x82\x01"},
    {64, "\x00\x00\x40\x3F"s},
    {68, "\x00\x00\x00\x3F"s},
    {76, "\x00\x00\xA0\x3F"s},
    {80, "\x58\x02\x00\x00\x01\x00\x00\x00"s},
    {88, "\x2C\x01\x00\x00\x01\x00\x00\x00"s},
    {96, "\xB7\x00\x00\x00\x01\x00\x00\x00"s},
    {104, "\x26\x02\x00\x00\x01\x00\x00\x00"s},
    {112, "\x08\x00\x08\x00\x08\x00"s},
    {128, "Norvex"},
    {144, "K274"},
    {160, "2.1"},
    {192, "2024.03.07 09:05:02"},
    {240, "Tiff Header"},
};

TEST(ScanHeader, EveryByteOfTheBlock) {
    uint8_t area[kScanHeaderBytes];
    std::memset(area, 0xEE, sizeof area);
    BuildHeader(kMetadata, kTime, area);
    EXPECT_EQ(InfoOf(area), Block(kFields));
}

TEST(ScanHeader, LaterChangesKeepToTheirFields) {
    uint8_t area[kScanHeaderBytes];
    BuildHeader(kMetadata, kTime, area);
    std::vector<Field> fields = kFields;

    StampTime(-2, area);
    fields.push_back({24, "\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFF"});
    SetVariant(ScanVariant::HighResolution, area);
    fields.push_back({56, "\x01"});
    fields.push_back({88, "\xB0\x04"s});
    EXPECT_EQ(InfoOf(area), Block(fields));

    uint8_t info[kScanInfoBytes];
    std::memcpy(info, area, sizeof info);
    StampCardWidth(0x04030201, info);
    fields.push_back({44, "\x01\x02\x03\x04"});
    EXPECT_EQ(std::string(info, info + sizeof info), Block(fields));
}

TEST(ScanHeader, ADateOutOfRangeKeepsItsPlace) {
    uint8_t area[kScanHeaderBytes];
    BuildHeader(kMetadata, {0, {12345, -1, 100, 0, 7, 8, 9, 0}}, area);
    EXPECT_STREQ(reinterpret_cast<char *>(area + 192), "2345.00.00 07:08:09");
}

TEST(ScanHeader, AScansValuesComeBackWithoutTheScanners) {
    uint8_t area[kScanHeaderBytes];
    BuildHeader(kMetadata, kTime, area);
    ScanMetadata metadata = {};
    metadata.parameter1 = 5;
    TakeScanValues(area, &metadata);
    EXPECT_EQ(metadata.dustCount, kMetadata.dustCount);
    EXPECT_EQ(metadata.contrastRatio, kMetadata.contrastRatio);
    EXPECT_EQ(metadata.uvWhiteRatio, kMetadata.uvWhiteRatio);
    EXPECT_EQ(metadata.uvGain, kMetadata.uvGain);
    EXPECT_EQ(metadata.parameter1, 5u);
    EXPECT_EQ(metadata.hardware, 0);
}

} // namespace
} // namespace k274::test
