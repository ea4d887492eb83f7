// Scan files: the header block field by field, every byte of every variant, the directories as a TIFF library
// reads them, what saving does to files, and which files are taken back.
#include "src/tiff/scan_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <tuple>

namespace k274::test {
namespace {

using namespace std::string_literals;
namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;

/// A whole scan with bytes that differ everywhere.
struct Scan {
    explicit Scan(uint32_t seed) {
        for (size_t i = 0; i < sizeof *this; i += sizeof seed) {
            seed ^= seed << 13;
            seed ^= seed >> 17;
            seed ^= seed << 5;
            std::memcpy(reinterpret_cast<uint8_t *>(this) + i, &seed, sizeof seed);
        }
    }
    ScanContents Contents() {
        return {&images, &magnetic, &barcode, responses[0], responses[1], responses[2]};
    }

    ImageSet images;
    MagneticRecord magnetic;
    BarcodeRecord barcode;
    uint8_t responses[3][kResponseBytes];
};

class ScanFileTest : public testing::Test {
protected:
    ScanFileTest() {
        static_assert(sizeof(Scan) % 4 == 0);
        fs::remove_all(folder);
        fs::create_directory(folder);
        std::memset(file, 0xEE, kMaxScanFileBytes); // as an earlier, unrelated file would leave it
        const ScanMetadata metadata = {0x11,         {0x21, 0x22, 0x23},
                                       {0x31, 0x32}, 0x4847464544434241,
                                       0x54535251,   0x64636261,
                                       0x74737271,   0x0182,
                                       0.75f,        0.5f,
                                       1.25f};
        BuildHeader(metadata, {0x1817161514131211, {2024, 3, 7, 4, 9, 5, 2, 87}}, header);
    }
    ~ScanFileTest() override { fs::remove_all(folder); }

    size_t Assemble(ScanVariant variant) {
        return AssembleScanFile(header, saved->Contents(), variant, file);
    }

    const fs::path folder = testing::TempDir() + "k274_scan_file";
    const std::string path = (folder / "scan.tif").string();
    std::unique_ptr<Scan> saved = std::make_unique<Scan>(5);
    std::vector<uint8_t> store = Bytes(kMaxScanFileBytes);
    ScanFileBuffer &file = *reinterpret_cast<ScanFileBuffer *>(store.data());
    uint8_t header[kScanHeaderBytes];
};

TEST_F(ScanFileTest, HeaderBlock) {
    std::string expected(kScanInfoBytes, '\0');
    const auto put = [&](size_t at, const std::string &bytes) { expected.replace(at, bytes.size(), bytes); };
    const auto block = [&] { return std::string(header, header + kScanInfoBytes); };
    const std::pair<size_t, std::string> fields[] = {
        {0, "II\x2A\x00\x00\x01\x00\x00"s},
        {8, "\x11"},
        {12, "QRST"},
        {16, "ABCDEFGH"},
        {24, "\x11\x12\x13\x14\x15\x16\x17\x18"},
        {32, "\x02\x03\x07\x21\x22\x23\x31\x32"},
        {48, "abcdqrst"},
        {58, "\x82\x01"},
        {64, "\x00\x00\x40\x3F\x00\x00\x00\x3F"s},
        {76, "\x00\x00\xA0\x3F\x58\x02\x00\x00\x01\x00\x00\x00\x2C\x01\x00\x00\x01\x00\x00\x00"s},
        {96, "\xB7\x00\x00\x00\x01\x00\x00\x00\x26\x02\x00\x00\x01\x00\x00\x00\x08\x00\x08\x00\x08\x00"s},
        {128, "Norvex"},
        {144, "K274"},
        {160, "2.1"},
        {192, "2024.03.07 09:05:02"},
        {240, "Tiff Header"}};
    for (const auto &[at, bytes] : fields)
        put(at, bytes);
    EXPECT_EQ(block(), expected);

    StampTime(-2, header); // later changes keep to their fields
    put(24, std::string(8, '\xFF').replace(0, 1, "\xFE"));
    SetVariant(ScanVariant::HighResolution, header);
    put(56, "\x01");
    put(88, "\xB0\x04");
    EXPECT_EQ(block(), expected);
    uint8_t info[kScanInfoBytes];
    std::memcpy(info, header, sizeof info);
    StampCardWidth(0x04030201, info);
    put(44, "\x01\x02\x03\x04");
    EXPECT_EQ(std::string(info, info + sizeof info), expected);

    ScanMetadata metadata = {}; // the scan's values come back, the scanner's do not
    TakeScanValues(header, &metadata);
    EXPECT_EQ(metadata.dustCount, 0x0182);
    EXPECT_EQ(metadata.contrastRatio, 0.75f);
    EXPECT_EQ(metadata.uvWhiteRatio, 0.5f);
    EXPECT_EQ(metadata.uvGain, 1.25f);
    EXPECT_EQ(metadata.hardware, 0);
    BuildHeader({}, {0, {12345, -1, 100, 0, 7, 8, 9, 0}}, header); // a date out of range keeps its place
    EXPECT_STREQ(reinterpret_cast<char *>(header + 192), "2345.00.00 07:08:09");
}

void Place(Bytes *to, size_t at, const void *data, size_t size, bool colour = false) {
    for (size_t i = 0; i < size; ++i)
        (*to)[at + i] = static_cast<const uint8_t *>(data)[colour ? i / 3 * 3 + 2 - i % 3 : i];
}

TEST_F(ScanFileTest, EveryByteOfEveryVariant) {
    const ImageSet &images = saved->images;
    const auto *barcode = reinterpret_cast<const uint8_t *>(&saved->barcode);
    // Modes of the last pass, as the host sets them, and the variant of each.
    const std::tuple<int, int, size_t> cases[] = {
        {0, 0, 22915520}, {1, 1, 36715520}, {2, 2, 18964928}, {-1, 2, 18964928}, {65536, 2, 18964928}};
    for (const auto &[mode, variant, length] : cases) {
        SCOPED_TRACE(mode);
        SetVariant(VariantOfLastScan(mode), header);
        ASSERT_EQ(header[56], variant);
        const struct {
            size_t at;
            const void *data;
            size_t size;
            bool colour;
        } blocks[] = {{0, header, 2304, false},
                      {4096, &saved->magnetic, 384, false},
                      {4864, barcode, 112, false},
                      {5120, barcode + 112, 3056, false},
                      {8192, saved->responses[0], 18900, false},
                      {27136, saved->responses[1], 18900, false},
                      {46080, saved->responses[2], 18900, false},
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
        for (const auto &block : blocks)
            Place(&expected, block.at, block.data, block.size, block.colour);
        ASSERT_EQ(Assemble(VariantOfLastScan(mode)), length);
        EXPECT_EQ(std::memcmp(file, expected.data(), length), 0);
    }
}

TEST_F(ScanFileTest, SavingReplacesAFileWholeOrNotAtAll) {
    const size_t size = Assemble(ScanVariant::NoImage);
    std::ofstream(path) << "an earlier, longer or shorter file";
    EXPECT_EQ(WriteScanFile(path.c_str(), file, size), kSaved);
    std::ifstream stream(path, std::ios::binary);
    const std::string written(std::istreambuf_iterator<char>(stream), {});
    ASSERT_EQ(written.size(), size);
    EXPECT_EQ(std::memcmp(written.data(), file, size), 0);
    for (const fs::path &wrong : {folder / "absent" / "scan.tif", folder, fs::path()})
        EXPECT_EQ(WriteScanFile(wrong.string().c_str(), file, size), kNotCreated) << wrong;
    if (fs::exists("/dev/full")) {
        EXPECT_EQ(WriteScanFile("/dev/full", file, size), kNotComplete);
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 1) << "a file was left beside";
}

// What a program of libtiff prints about the file.
std::string OutputOf(const std::string &command, const std::string &file) {
    const std::string output = file + ".txt";
    if (std::system((command + " " + file + " > " + output + " 2>&1").c_str()) == -1)
        return "";
    std::ifstream stream(output);
    return {std::istreambuf_iterator<char>(stream), {}};
}

struct Page {
    const char *name;
    int width, length, samples, at, bytes, resolution;
};

std::string Directory(int number, const Page &page) {
    std::ostringstream text;
    text << "Directory " << number - 1 << ": offset " << 256 * number << " (0x" << number << "00) next "
         << 256 * (number + 1) << " (0x" << number + 1 << "00)\nSubFileType (254) LONG (4) 1<2>\n"
         << "ImageWidth (256) SHORT (3) 1<" << page.width << ">\nImageLength (257) SHORT (3) 1<"
         << page.length << ">\nBitsPerSample (258) SHORT (3) " << (page.samples == 3 ? "3<8 8 8>" : "1<8>")
         << "\nCompression (259) SHORT (3) 1<1>\nPhotometric (262) SHORT (3) 1<"
         << (page.samples == 3 ? 2 : 1) << ">\nStripOffsets (273) LONG (4) 1<" << page.at
         << ">\nOrientation (274) SHORT (3) 1<1>\n"
         << "SamplesPerPixel (277) SHORT (3) 1<" << page.samples << ">\nRowsPerStrip (278) SHORT (3) 1<"
         << page.length << ">\nStripByteCounts (279) LONG (4) 1<" << page.bytes
         << ">\nXResolution (282) RATIONAL (5) 1<" << page.resolution
         << ">\nYResolution (283) RATIONAL (5) 1<" << page.resolution << ">\nPageName (285) ASCII (2) "
         << std::strlen(page.name) + 1 << "<" << page.name
         << "\\0>\nResolutionUnit (296) SHORT (3) 1<2>\nPageNumber (297) SHORT (3) 2<" << number << " 8>\n\n";
    return text.str();
}

// The name and the software of the scan are kept at their places, though texts this short would lie in the
// entries themselves: libtiff shows the places' numbers.
const char kMetaDirectory[] =
    "Directory 7: offset 2048 (0x800) next 0 (0)\nSubFileType (254) LONG (4) 1<0>\n"
    "DocumentName (269) ASCII (2) 1<\\260>\nMake (271) ASCII (2) 7<Norvex\\0>\n"
    "Model (272) ASCII (2) 5<K274\\0>\nPageName (285) ASCII (2) 10<Meta data\\0>\n"
    "PageNumber (297) SHORT (3) 2<8 8>\nSoftware (305) ASCII (2) 4<\\240\\0\\0\\0>\n"
    "DateTime (306) ASCII (2) 20<2024.03.07 09:05:02\\0>\n65000 (0xfde8) BYTE (1) 0<>\n"
    "65001 (0xfde9) BYTE (1) 0<>\n65002 (0xfdea) BYTE (1) 0<>\n"
    "65003 (0xfdeb) BYTE (1) 768<";

TEST_F(ScanFileTest, DirectoriesAsLibtiffReadsThem) {
    if (std::system("command -v tiffdump > /dev/null") != 0)
        GTEST_SKIP() << "tiffdump (package libtiff-tools) is not installed";
    const Page first[] = {{"RGB Front", 1880, 1180, 3, 387072, 6655200, 550},
                          {"RGB Back", 1880, 1180, 3, 7042272, 6655200, 550},
                          {"IR  Front", 2048, 1286, 1, 13697472, 2633728, 600},
                          {"IR  Back", 2048, 1286, 1, 16331200, 2633728, 600}};
    const Page last[][2] = {{{"UV  Front", 1024, 643, 3, 18964928, 1975296, 300},
                             {"UV  Back", 1024, 643, 3, 20940224, 1975296, 300}},
                            {{"SL  Front", 1000, 2300, 3, 22915520, 6900000, 1200},
                             {"SL  Back", 1000, 2300, 3, 29815520, 6900000, 1200}},
                            {{"No image", 0, 0, 3, 18964928, 0, 0}, {"No image", 0, 0, 3, 20940224, 0, 0}}};
    for (int variant = 0; variant < 3; ++variant) {
        SCOPED_TRACE(variant);
        ASSERT_EQ(WriteScanFile(path.c_str(), file, Assemble(VariantOfLastScan(variant))), kSaved);
        std::string expected;
        for (int page = 1; page <= 6; ++page)
            expected += Directory(page, page <= 4 ? first[page - 1] : last[variant][page - 5]);
        expected += Directory(7, {"Mag Bleed", 640, 400, 1, 131072, 256000, 183}) + kMetaDirectory;
        const std::string dump = OutputOf("tiffdump", path);
        EXPECT_NE(dump.find(expected), std::string::npos) << dump << "\ninstead of\n" << expected;
        // The strips of all images are there to be decoded; the last page has none.
        EXPECT_TRUE(variant == 2 || OutputOf("tiffinfo -D", path).find("rror") == std::string::npos);
    }
}

TEST_F(ScanFileTest, WholeFilesOfItsOwnKindAreTaken) {
    constexpr size_t kWhole = 22915520;
    const std::tuple<const char *, size_t, size_t, const char *, OpenResult, int, bool> cases[] = {
        {"as saved", kWhole, 240, "T", kOpened, 0, true},
        {"the shorter kind", 22418936, 240, "T", kOpened, 0, true},
        {"one byte less", kWhole - 1, 240, "T", kOpened, 0, false},
        {"one byte more", kWhole + 1, 240, "T", kOpened, 0, false},
        {"too short", 4194303, 56, "\x34\x12", kTooShort, 0x1234, false},
        {"ends within the variant", 57, 56, "\x34\x12", kTooShort, 0, false},
        {"other byte order", kWhole, 0, "M", kNotAccepted, 0, false},
        {"not 42", kWhole, 2, "\x2B", kNotAccepted, 0, false},
        {"not 42 in the high byte", kWhole, 3, "\x01", kNotAccepted, 0, false},
        {"longer make", kWhole, 128, "Norvexx", kNotAccepted, 0, false},
        {"longer model", kWhole, 144, "K2741", kNotAccepted, 0, false},
        {"another version 2", kWhole, 160, "2.9", kOpened, 0, true},
        {"version 3", kWhole, 160, "3.1", kNotAccepted, 0, false},
    };
    for (const auto &[name, length, at, bytes, result, variant, loadable] : cases) {
        SCOPED_TRACE(name);
        std::memcpy(file, header, sizeof header);
        std::memcpy(file + at, bytes, std::strlen(bytes));
        const OpenedFile opened = CheckScanFile(file, length);
        EXPECT_EQ(opened.result, result);
        EXPECT_EQ(opened.variant, variant);
        EXPECT_EQ(opened.loadable, loadable);
    }
    EXPECT_EQ(ReadScanFile(path.c_str(), file).result, kNotAccepted);
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char *>(header), sizeof header);
    fs::resize_file(path, kMaxScanFileBytes + 100); // no further than the buffer
    EXPECT_EQ(ReadScanFile(path.c_str(), file).length, kMaxScanFileBytes);
}

template <size_t Size>
bool Same(const uint8_t (&a)[Size], const uint8_t (&b)[Size]) {
    return std::memcmp(a, b, Size) == 0;
}

template <size_t Size>
bool Cleared(const uint8_t (&bytes)[Size], size_t from = 0) {
    return std::all_of(bytes + from, bytes + Size, [](uint8_t byte) { return byte == 0; });
}

TEST_F(ScanFileTest, LoadingReplacesWhatAFileHoldsAndClearsTheRest) {
    const size_t size = Assemble(ScanVariant::Ultraviolet);
    const auto before = std::make_unique<Scan>(6);
    std::unique_ptr<Scan> live;
    uint8_t liveHeader[kScanHeaderBytes] = {};
    const auto load = [&](size_t length, const char *variant) {
        live = std::make_unique<Scan>(6);
        std::memcpy(file + 56, variant, 2);
        const OpenedFile opened = CheckScanFile(file, length);
        EXPECT_TRUE(opened.loadable);
        LoadScan(file, opened, live->Contents(), liveHeader);
    };
    load(22418936, "\0"); // a file that ends within an image
    EXPECT_EQ(live->barcode.decoderMajor, before->barcode.decoderMajor) << "the decoder's own fields stay";
    EXPECT_TRUE(Same(live->images.UvFr, saved->images.UvFr));
    const size_t held = 22418936 - 20940224;
    EXPECT_EQ(std::memcmp(live->images.UvBk, saved->images.UvBk, held), 0);
    EXPECT_TRUE(Cleared(live->images.UvBk, held));

    load(size, "\1\0"); // pages that lie behind the end
    EXPECT_TRUE(Cleared(live->images.SliFr) && Cleared(live->images.SliBk));
    EXPECT_TRUE(Same(live->images.UvFr, before->images.UvFr) &&
                Same(live->images.NatBk, saved->images.NatBk));
    load(size, "\1\1"); // no variant of ours
    EXPECT_TRUE(Cleared(live->images.SliFr) && Cleared(live->images.SliBk));
    EXPECT_TRUE(Cleared(live->images.UvFr) && Cleared(live->images.UvBk));
    EXPECT_TRUE(Same(live->images.MsBl, saved->images.MsBl));
}

} // namespace
} // namespace k274::test
