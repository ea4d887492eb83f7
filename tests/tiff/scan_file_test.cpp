// Assembly against a reference that puts every block in its place plainly, and what saving does to files.
#include "src/tiff/colour_order.h"
#include "tests/tiff/scan_fixture.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace k274::test {
namespace {

Bytes ReadFile(const std::string &path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void Place(Bytes *file, size_t at, const void *data, size_t size, bool colour = false) {
    const auto *bytes = static_cast<const uint8_t *>(data);
    for (size_t i = 0; i < size; ++i)
        (*file)[at + i] = bytes[colour ? i / 3 * 3 + 2 - i % 3 : i];
}

Bytes Reference(const Scan &scan, int variant, const uint8_t (&header)[kScanHeaderBytes]) {
    const size_t lengths[] = {22915520, 36715520, 18964928};
    Bytes file(lengths[variant], 0);
    Place(&file, 0, header, 2304);
    const auto *barcode = reinterpret_cast<const uint8_t *>(&scan.barcode);
    Place(&file, 4096, &scan.magnetic, 384);
    Place(&file, 4864, barcode, 112);
    Place(&file, 5120, barcode + 112, 3056);
    Place(&file, 8192, scan.responses[0], 18900);
    Place(&file, 27136, scan.responses[1], 18900);
    Place(&file, 46080, scan.responses[2], 18900);
    Place(&file, 131072, scan.images.MsBl, 256000);
    Place(&file, 387072, scan.images.NatFr, 6655200, true);
    Place(&file, 7042272, scan.images.NatBk, 6655200, true);
    Place(&file, 13697472, scan.images.IrFr, 2633728);
    Place(&file, 16331200, scan.images.IrBk, 2633728);
    if (variant == 0) {
        Place(&file, 18964928, scan.images.UvFr, 1975296, true);
        Place(&file, 20940224, scan.images.UvBk, 1975296, true);
    } else if (variant == 1) {
        Place(&file, 22915520, scan.images.SliFr, 6900000, true);
        Place(&file, 29815520, scan.images.SliBk, 6900000, true);
    }
    return file;
}

TEST(ScanFile, EveryByteOfEveryVariant) {
    auto scan = MakeScan(2);
    auto file = MakeUsedBuffer();
    uint8_t header[kScanHeaderBytes];
    BuildHeader(kMetadata, kTime, header);
    // Modes of the last pass, as the host sets them, and the variant of each.
    const struct { int mode, variant; } cases[] = {{0, 0}, {1, 1}, {2, 2}, {-1, 2}, {65536, 2}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.mode);
        SetVariant(VariantOfLastScan(c.mode), header);
        ASSERT_EQ(header[56], c.variant);
        const Bytes expected = Reference(*scan, c.variant, header);
        const size_t size =
            AssembleScanFile(header, scan->Contents(), VariantOfLastScan(c.mode), file->bytes);
        ASSERT_EQ(size, expected.size());
        EXPECT_EQ(std::memcmp(file->bytes, expected.data(), size), 0);
    }
}

TEST(ScanFile, ColoursAreReversedAtAnyLengthAndPlace) {
    auto scan = MakeScan(3);
    for (size_t pixels = 0; pixels < 70; ++pixels)
        for (size_t shift = 0; shift < 3; ++shift) {
            // No longer than its pixels, so that a sanitizer sees a byte read beyond.
            const Bytes from(scan->images.NatFr, scan->images.NatFr + 3 * pixels);
            Bytes expected(256, 0xEE), copied(256, 0xEE);
            Place(&expected, shift, from.data(), from.size(), true);
            CopyColoursReversed(from.data(), copied.data() + shift, pixels);
            ASSERT_EQ(copied, expected) << pixels << " pixels at " << shift;
        }
}

TEST(ScanFile, SavingReplacesAFileWholeOrNotAtAll) {
    auto scan = MakeScan(4);
    auto file = MakeUsedBuffer();
    uint8_t header[kScanHeaderBytes];
    BuildHeader(kMetadata, kTime, header);
    const auto save = [&](const std::string &path) {
        return SaveScanFile(path.c_str(), header, scan->Contents(), ScanVariant::NoImage, file->bytes);
    };
    const std::filesystem::path folder = testing::TempDir() + "k274_save";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directory(folder);
    const std::string path = (folder / "scan.tif").string();
    std::ofstream(path) << "an earlier, longer or shorter file";

    EXPECT_EQ(save(path), kSaved);
    const Bytes written = ReadFile(path);
    ASSERT_EQ(written.size(), 18964928u);
    EXPECT_EQ(std::memcmp(written.data(), file->bytes, written.size()), 0);

    EXPECT_EQ(save((folder / "absent" / "scan.tif").string()), kNotCreated);
    EXPECT_EQ(save(folder.string()), kNotCreated);
    EXPECT_EQ(save(""), kNotCreated);
    if (std::filesystem::exists("/dev/full")) {
        EXPECT_EQ(save("/dev/full"), kNotComplete);
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1) << "a file was left beside";
    std::filesystem::remove_all(folder);
}

} // namespace
} // namespace k274::test
