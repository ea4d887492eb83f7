// Which files are taken, and what of the live buffers a taken file replaces.
#include "tests/tiff/scan_fixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>

namespace k274::test {
namespace {

constexpr size_t kWholeFile = 22915520;
constexpr size_t kShorterFile = 22418936;
constexpr size_t kUvBackAt = 20940224;

class ScanReader : public testing::Test {
protected:
    ScanReader() {
        BuildHeader(kMetadata, kTime, header);
        AssembleScanFile(header, saved->Contents(), ScanVariant::Ultraviolet, file->bytes);
    }

    /// Loads the buffer as if the file had that length.
    OpenedFile Load(size_t length) {
        const OpenedFile opened = CheckScanFile(file->bytes, length);
        EXPECT_TRUE(opened.loadable);
        LoadScan(file->bytes, opened, live->Contents(), liveHeader);
        return opened;
    }

    std::unique_ptr<Scan> saved = MakeScan(5), live = MakeScan(6), before = MakeScan(6);
    std::unique_ptr<ScanFile> file = MakeUsedBuffer();
    uint8_t header[kScanHeaderBytes], liveHeader[kScanHeaderBytes] = {};
};

template <size_t Size>
bool Same(const uint8_t (&a)[Size], const uint8_t (&b)[Size]) {
    return std::memcmp(a, b, Size) == 0;
}

template <size_t Size>
bool Cleared(const uint8_t (&bytes)[Size]) {
    return std::all_of(bytes, bytes + Size, [](uint8_t byte) { return byte == 0; });
}

TEST_F(ScanReader, TakesWholeFilesOfItsOwnKindAlone) {
    const struct {
        const char *name;
        size_t length, at;
        const char *bytes;
        OpenResult result;
        int variant;
        bool loadable;
    } cases[] = {
        {"as saved", kWholeFile, 240, "T", kOpened, 0, true},
        {"the shorter kind", kShorterFile, 240, "T", kOpened, 0, true},
        {"one byte less", kWholeFile - 1, 240, "T", kOpened, 0, false},
        {"one byte more", kWholeFile + 1, 240, "T", kOpened, 0, false},
        {"high resolution", kMaxScanFileBytes, 56, "\x01", kOpened, 1, false},
        {"no image", 18964928, 56, "\x02", kOpened, 2, false},
        {"shortest", 4194304, 240, "T", kOpened, 0, false},
        {"too short", 4194303, 56, "\x34\x12", kTooShort, 0x1234, false},
        {"ends behind the variant", 58, 56, "\x34\x12", kTooShort, 0x1234, false},
        {"ends within the variant", 57, 56, "\x34\x12", kTooShort, 0, false},
        {"empty", 0, 56, "\x34\x12", kTooShort, 0, false},
        {"other byte order", kWholeFile, 0, "M", kNotAccepted, 0, false},
        {"second I alone does not count", kWholeFile, 1, "M", kOpened, 0, true},
        {"not 42", kWholeFile, 2, "\x2B", kNotAccepted, 0, false},
        {"not 42 in the high byte", kWholeFile, 3, "\x01", kNotAccepted, 0, false},
        {"other make", kWholeFile, 128, "norvex", kNotAccepted, 0, false},
        {"longer make", kWholeFile, 128, "Norvexx", kNotAccepted, 0, false},
        {"behind the make's end", kWholeFile, 135, "x", kOpened, 0, true},
        {"other model", kWholeFile, 144, "K275", kNotAccepted, 0, false},
        {"longer model", kWholeFile, 144, "K2741", kNotAccepted, 0, false},
        {"another version 2", kWholeFile, 160, "2.9", kOpened, 0, true},
        {"version 3", kWholeFile, 160, "3.1", kNotAccepted, 0, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        std::memcpy(file->bytes, header, sizeof header);
        std::memcpy(file->bytes + c.at, c.bytes, std::strlen(c.bytes));
        const OpenedFile opened = CheckScanFile(file->bytes, c.length);
        EXPECT_EQ(opened.result, c.result);
        EXPECT_EQ(opened.variant, c.variant);
        EXPECT_EQ(opened.loadable, c.loadable);
    }
}

TEST_F(ScanReader, AFileSavedOpenedAndSavedAgainIsTheSame) {
    const std::string path = testing::TempDir() + "k274_round_trip.tif";
    ASSERT_EQ(SaveScanFile(path.c_str(), header, saved->Contents(), ScanVariant::Ultraviolet, file->bytes),
              kSaved);
    auto buffer = MakeUsedBuffer();
    const OpenedFile opened = ReadScanFile(path.c_str(), buffer->bytes);
    ASSERT_EQ(opened.length, kWholeFile);
    ASSERT_TRUE(opened.loadable);
    LoadScan(buffer->bytes, opened, live->Contents(), liveHeader);
    // The decoder's own fields and the images that no such file holds stay.
    EXPECT_EQ(live->barcode.decoderMajor, before->barcode.decoderMajor);
    EXPECT_EQ(std::memcmp(live->barcode.pdfText, saved->barcode.pdfText, 3032), 0);
    EXPECT_TRUE(Same(live->images.SliFr, before->images.SliFr));
    EXPECT_TRUE(Same(live->images.IrbFr, before->images.IrbFr));
    EXPECT_TRUE(Same(live->images.Edge, before->images.Edge));

    auto again = MakeUsedBuffer();
    ASSERT_EQ(AssembleScanFile(liveHeader, live->Contents(), ScanVariant::Ultraviolet, again->bytes),
              kWholeFile);
    EXPECT_EQ(std::memcmp(again->bytes, file->bytes, kWholeFile), 0);
    std::remove(path.c_str());
}

TEST_F(ScanReader, ReadsNoFurtherThanItsBuffer) {
    EXPECT_EQ(ReadScanFile((testing::TempDir() + "k274_absent.tif").c_str(), file->bytes).result,
              kNotAccepted);

    const std::string path = testing::TempDir() + "k274_long.tif";
    std::ofstream stream(path, std::ios::binary);
    stream.write(reinterpret_cast<const char *>(header), sizeof header);
    stream.seekp(kMaxScanFileBytes + 100);
    stream.put('x');
    stream.close();
    const OpenedFile opened = ReadScanFile(path.c_str(), file->bytes);
    EXPECT_EQ(opened.result, kOpened);
    EXPECT_EQ(opened.length, kMaxScanFileBytes);
    EXPECT_FALSE(opened.loadable);
    std::remove(path.c_str());
}

TEST_F(ScanReader, WhatAFileDoesNotHoldIsCleared) {
    Load(kShorterFile);
    EXPECT_TRUE(Same(live->images.UvFr, saved->images.UvFr));
    const size_t held = kShorterFile - kUvBackAt;
    const uint8_t(&back)[kUvBytes] = live->images.UvBk;
    EXPECT_EQ(std::memcmp(back, saved->images.UvBk, held), 0);
    EXPECT_TRUE(std::all_of(back + held, std::end(back), [](uint8_t byte) { return byte == 0; }));
}

TEST_F(ScanReader, OtherVariantsOfAnAcceptedLength) {
    file->bytes[56] = 1; // their pages lie behind the end
    EXPECT_EQ(Load(kWholeFile).variant, 1);
    EXPECT_TRUE(Cleared(live->images.SliFr) && Cleared(live->images.SliBk));
    EXPECT_TRUE(Same(live->images.UvFr, before->images.UvFr));
    EXPECT_TRUE(Same(live->images.NatBk, saved->images.NatBk));

    live = MakeScan(6);
    file->bytes[57] = 1;
    EXPECT_EQ(Load(kWholeFile).variant, 257);
    EXPECT_TRUE(Cleared(live->images.SliFr) && Cleared(live->images.SliBk));
    EXPECT_TRUE(Cleared(live->images.UvFr) && Cleared(live->images.UvBk));
    EXPECT_TRUE(Same(live->images.MsBl, saved->images.MsBl));
}

} // namespace
} // namespace k274::test
