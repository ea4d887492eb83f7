// Scan files: header and directories (header.txt) and as a TIFF library reads them (directories.txt), every
// byte of every variant, what saving does to files, and what loading leaves.
#include "src/tiff/scan_file.h"
#include "tests/support/data.h"
#include "tests/support/images.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <tuple>

namespace k274::test {
namespace {

using Bytes = std::vector<uint8_t>;

struct Scan {
    ImageSet images;
    MagneticRecord magnetic;
    BarcodeRecord barcode;
    uint8_t responses[3][kResponseBytes];
};

struct ScanFileTest : testing::Test {
    ScanFileTest() {
        FillRandom(memory, 5);
        const ScanMetadata metadata = {0x11,         {0x21, 0x22, 0x23},
                                       {0x31, 0x32}, 0x4847464544434241,
                                       0x54535251,   0x64636261,
                                       0x74737271,   0x0182,
                                       0.75f,        0.5f,
                                       1.25f};
        BuildHeader(metadata, {0x1817161514131211, {2024, 3, 7, 4, 9, 5, 2, 87}}, header);
    }

    size_t Assemble(ScanVariant variant) {
        const ScanContents contents = {&saved.images,      &saved.magnetic,    &saved.barcode,
                                       saved.responses[0], saved.responses[1], saved.responses[2]};
        return AssembleScanFile(header, contents, variant, file);
    }

    Bytes memory = Bytes(sizeof(Scan)),
          store = Bytes(kMaxScanFileBytes, 0xEE); // as an unrelated file left it
    Scan &saved = *reinterpret_cast<Scan *>(memory.data());
    ScanFileBuffer &file = *reinterpret_cast<ScanFileBuffer *>(store.data());
    uint8_t header[kScanHeaderBytes];
};

/// The lines of sixteen bytes of a header that differ from those before; then these are its own.
std::string ChangedLines(const uint8_t *header, size_t size, Bytes &before) {
    std::ostringstream text;
    text << std::setfill('0');
    for (size_t line = 0; line < size; line += 16) {
        const uint8_t *bytes = header + line, *end = bytes + 16;
        if (std::equal(bytes, end, &before[line]))
            continue;
        text << std::setw(4) << std::dec << line << ' ' << std::hex;
        std::for_each(bytes, end, [&](uint8_t byte) { text << ' ' << std::setw(2) << +byte; });
        text << "  ";
        std::for_each(bytes, end, [&](uint8_t byte) { text << (std::isprint(byte) ? char(byte) : '.'); });
        text << '\n';
        std::copy(bytes, end, &before[line]);
    }
    return text.str() + '\n';
}

TEST_F(ScanFileTest, HeaderIsAsKept) {
    Bytes before(kScanHeaderBytes);
    const auto changes = [&] { return ChangedLines(header, sizeof header, before); };
    std::string text =
        "# The header block and the directories as built; then the lines that each step changes.\n" +
        changes();
    StampTime(-2, header);
    text += "# the time is stamped\n" + changes();
    for (const int variant : {1, 2}) {
        SetVariant(static_cast<ScanVariant>(variant), header);
        text += "# variant " + std::to_string(variant) + "\n" + changes();
    }
    uint8_t info[kScanInfoBytes];
    std::memcpy(info, header, sizeof info);
    StampCardWidth(0x04030201, info);
    text += "# the card's width, in the information alone\n" + ChangedLines(info, sizeof info, before);
    ScanMetadata metadata = {}; // the scan's values come back, the scanner's do not
    TakeScanValues(header, &metadata);
    BuildHeader(metadata, {0, {12345, -1, 100, 0, 7, 8, 9, 0}}, header);
    text += "# built anew with the scan's values, of a date out of range\n" + changes();
    ExpectKept("tiff/header.txt", text);
}

TEST_F(ScanFileTest, EveryByteOfEveryVariant) {
    const ImageSet &images = saved.images;
    const auto *barcode = reinterpret_cast<const uint8_t *>(&saved.barcode);
    // Modes of the last pass, as the host sets them, and the variant of each.
    const std::tuple<int, int, size_t> cases[] = {
        {0, 0, 22915520}, {1, 1, 36715520}, {2, 2, 18964928}, {-1, 2, 18964928}, {65536, 2, 18964928}};
    for (const auto &[mode, variant, length] : cases) {
        SCOPED_TRACE(mode);
        SetVariant(VariantOfLastScan(mode), header);
        ASSERT_EQ(header[56], variant);
        const std::tuple<size_t, const void *, size_t, bool> blocks[] = {
            {0, header, 2304, false},
            {4096, &saved.magnetic, 384, false},
            {4864, barcode, 112, false},
            {5120, barcode + 112, 3056, false},
            {8192, saved.responses[0], 18900, false},
            {27136, saved.responses[1], 18900, false},
            {46080, saved.responses[2], 18900, false},
            {131072, images.MsBl, 256000, false},
            {387072, images.NatFr, 6655200, true},
            {7042272, images.NatBk, 6655200, true},
            {13697472, images.IrFr, 2633728, false},
            {16331200, images.IrBk, 2633728, false},
            {18964928, images.UvFr, variant == 0 ? 1975296u : 0, true},
            {20940224, images.UvBk, variant == 0 ? 1975296u : 0, true},
            {22915520, images.SliFr, variant == 1 ? 6900000u : 0, true},
            {29815520, images.SliBk, variant == 1 ? 6900000u : 0, true}};
        Bytes expected(length, 0);
        for (const auto &[at, data, size, colour] : blocks)
            for (size_t i = 0; i < size; ++i)
                expected[at + i] = static_cast<const uint8_t *>(data)[colour ? i / 3 * 3 + 2 - i % 3 : i];
        ASSERT_EQ(Assemble(VariantOfLastScan(mode)), length);
        EXPECT_EQ(std::memcmp(file, expected.data(), length), 0);
    }
}

// The name and the software of the scan are kept at their places, though texts this short would lie in the
// entries themselves: libtiff shows the places' numbers.
TEST_F(ScanFileTest, DirectoriesAsLibtiffReadsThem) {
    if (std::system("command -v tiffdump > /dev/null") != 0)
        GTEST_SKIP() << "tiffdump (package libtiff-tools) is not installed";
    const TempFolder folder;
    const std::string path = folder.File("scan.tif"), output = folder.File("output.txt");
    const auto outputOf = [&](const std::string &command) {
        EXPECT_NE(std::system((command + " " + path + " > " + output + " 2>&1").c_str()), -1);
        return ReadText(output);
    };
    std::string text;
    for (int variant = 0; variant < 3; ++variant) {
        ASSERT_EQ(WriteScanFile(path.c_str(), file, Assemble(VariantOfLastScan(variant))), kSaved);
        const std::string dump = outputOf("tiffdump");
        text += "variant " + std::to_string(variant) + dump.substr(std::min(dump.size(), path.size()));
        // The strips of all images are there to be decoded; the last page has none.
        EXPECT_TRUE(variant == 2 || outputOf("tiffinfo -D").find("rror") == std::string::npos);
    }
    ExpectKept("tiff/directories.txt", text);
}

} // namespace
} // namespace k274::test
