// The directories as a TIFF library reads them, with the tools tiffdump and tiffinfo of libtiff.
#include "tests/tiff/scan_fixture.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace k274::test {
namespace {

std::string OutputOf(const std::string &command, const std::string &file) {
    const std::string output = testing::TempDir() + "k274_libtiff.txt";
    if (std::system((command + " " + file + " > " + output + " 2>&1").c_str()) == -1)
        return "";
    std::ifstream stream(output);
    std::string text(std::istreambuf_iterator<char>(stream), {});
    stream.close();
    std::remove(output.c_str());
    return text;
}

struct Image {
    const char *name;
    int width, length, samples, at, bytes, resolution;
};

std::string Directory(int page, const Image &image) {
    std::ostringstream text;
    const bool colour = image.samples == 3;
    text << "Directory " << page - 1 << ": offset " << 256 * page << " (0x" << page << "00) next "
         << 256 * (page + 1) << " (0x" << page + 1 << "00)\n"
         << "SubFileType (254) LONG (4) 1<2>\n"
         << "ImageWidth (256) SHORT (3) 1<" << image.width << ">\n"
         << "ImageLength (257) SHORT (3) 1<" << image.length << ">\n"
         << "BitsPerSample (258) SHORT (3) " << (colour ? "3<8 8 8>" : "1<8>") << "\n"
         << "Compression (259) SHORT (3) 1<1>\n"
         << "Photometric (262) SHORT (3) 1<" << (colour ? 2 : 1) << ">\n"
         << "StripOffsets (273) LONG (4) 1<" << image.at << ">\n"
         << "Orientation (274) SHORT (3) 1<1>\n"
         << "SamplesPerPixel (277) SHORT (3) 1<" << image.samples << ">\n"
         << "RowsPerStrip (278) SHORT (3) 1<" << image.length << ">\n"
         << "StripByteCounts (279) LONG (4) 1<" << image.bytes << ">\n"
         << "XResolution (282) RATIONAL (5) 1<" << image.resolution << ">\n"
         << "YResolution (283) RATIONAL (5) 1<" << image.resolution << ">\n"
         << "PageName (285) ASCII (2) " << std::strlen(image.name) + 1 << "<" << image.name << "\\0>\n"
         << "ResolutionUnit (296) SHORT (3) 1<2>\n"
         << "PageNumber (297) SHORT (3) 2<" << page << " 8>\n\n";
    return text.str();
}

// The name and the software of the scan are kept at their places, though texts this short would lie in the
// entries themselves: libtiff shows the places' numbers.
const char kMetaDirectory[] = "Directory 7: offset 2048 (0x800) next 0 (0)\n"
                              "SubFileType (254) LONG (4) 1<0>\n"
                              "DocumentName (269) ASCII (2) 1<\\260>\n"
                              "Make (271) ASCII (2) 7<Norvex\\0>\n"
                              "Model (272) ASCII (2) 5<K274\\0>\n"
                              "PageName (285) ASCII (2) 10<Meta data\\0>\n"
                              "PageNumber (297) SHORT (3) 2<8 8>\n"
                              "Software (305) ASCII (2) 4<\\240\\0\\0\\0>\n"
                              "DateTime (306) ASCII (2) 20<2024.03.07 09:05:02\\0>\n"
                              "65000 (0xfde8) BYTE (1) 0<>\n"
                              "65001 (0xfde9) BYTE (1) 0<>\n"
                              "65002 (0xfdea) BYTE (1) 0<>\n"
                              "65003 (0xfdeb) BYTE (1) 768<";

TEST(ScanFile, DirectoriesAsLibtiffReadsThem) {
    if (OutputOf("tiffdump -h", "").find("Display directory") == std::string::npos)
        GTEST_SKIP() << "tiffdump (package libtiff-tools) is not installed";
    const Image kFirst[] = {{"RGB Front", 1880, 1180, 3, 387072, 6655200, 550},
                            {"RGB Back", 1880, 1180, 3, 7042272, 6655200, 550},
                            {"IR  Front", 2048, 1286, 1, 13697472, 2633728, 600},
                            {"IR  Back", 2048, 1286, 1, 16331200, 2633728, 600}};
    const Image kLast[][2] = {{{"UV  Front", 1024, 643, 3, 18964928, 1975296, 300},
                               {"UV  Back", 1024, 643, 3, 20940224, 1975296, 300}},
                              {{"SL  Front", 1000, 2300, 3, 22915520, 6900000, 1200},
                               {"SL  Back", 1000, 2300, 3, 29815520, 6900000, 1200}},
                              {{"No image", 0, 0, 3, 18964928, 0, 0}, {"No image", 0, 0, 3, 20940224, 0, 0}}};
    const Image kBleed = {"Mag Bleed", 640, 400, 1, 131072, 256000, 183};

    auto scan = MakeScan(1);
    auto file = MakeUsedBuffer();
    uint8_t header[kScanHeaderBytes];
    BuildHeader(kMetadata, kTime, header);
    const std::string path = testing::TempDir() + "k274_libtiff.tif";
    for (int variant = 0; variant < 3; ++variant) {
        SCOPED_TRACE(variant);
        ASSERT_EQ(
            SaveScanFile(path.c_str(), header, scan->Contents(), VariantOfLastScan(variant), file->bytes),
            kSaved);
        std::string expected;
        for (int page = 1; page <= 4; ++page)
            expected += Directory(page, kFirst[page - 1]);
        expected += Directory(5, kLast[variant][0]) + Directory(6, kLast[variant][1]) + Directory(7, kBleed);
        expected += kMetaDirectory;
        const std::string dump = OutputOf("tiffdump", path);
        const size_t start = dump.find("Directory 0");
        ASSERT_NE(start, std::string::npos) << dump;
        EXPECT_EQ(dump.substr(start, expected.size()), expected);

        // The strips of all images are there to be decoded; the last page has none.
        if (variant < 2) {
            EXPECT_EQ(OutputOf("tiffinfo -D", path).find("rror"), std::string::npos);
        }
    }
    std::remove(path.c_str());
}

} // namespace
} // namespace k274::test
