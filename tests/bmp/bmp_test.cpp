// The BMP files byte by byte, and the dumps that the host can choose.
#include "src/bmp/bmp.h"

#include "include/k274.h"
#include "src/state/line_buffers.h"
#include "tests/support/data.h"
#include "tests/support/library_fixture.h"
#include "tests/support/system.h"

#include <cstring>
#include <filesystem>

namespace k274::test {
namespace {

namespace fs = std::filesystem;

struct BmpTest : LibraryTest {};

TEST_F(BmpTest, FilesByteByByte) {
    std::string pixels(640 * 900, 0);
    for (size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = static_cast<char>(i * i >> 5);
    const auto *bytes = reinterpret_cast<const uint8_t *>(pixels.data());
    const std::string path = folder + "image.bmp";
    for (const auto &row : Table("bmp/heads.txt")) {
        const bool colour = row[0] == "24";
        const int rows = std::stoi(row[1]), columns = std::stoi(row[2]);
        ASSERT_TRUE(colour ? WriteBmp24({bytes, rows, columns}, path.c_str())
                           : WriteBmp8({bytes, rows, columns}, path.c_str()));
        std::string expected = row[3];
        for (int i = 0; i < 256 && !colour; ++i)
            expected += std::string(3, static_cast<char>(i)) + '\0';
        expected += pixels.substr(0, static_cast<size_t>(rows * columns * (colour ? 3 : 1)));
        EXPECT_TRUE(ReadText(path) == expected) << row[0];
    }
    EXPECT_FALSE(WriteBmp24({bytes, 1, 4}, (folder + "absent/image.bmp").c_str()));
    EXPECT_FALSE(WriteBmp8({bytes, 1, 4}, folder.c_str()));
    EXPECT_FALSE(WriteBmp8({bytes, 1, 4}, std::string(5000, 'x').c_str()));
}

#ifndef _WIN32 // the folders are fixed: only a drive that can be set keeps them apart from the machine's own

TEST_F(BmpTest, SelectorsWriteTheirImagesAndAllAreMarked) {
    const fs::path before = fs::current_path();
    DriveC(folder);
    fs::create_directories(folder + "K274/BMP");
    fs::current_path(folder);
    const struct {
        uint16_t selector;
        const char *name;
        uint8_t *image;
        size_t size, head;
        size_t mark = 0, marks = 0, step = 0; // places of the marked bytes
        char value = 0;
    } cases[] = {
        {1, "K274/BMP/K274_MSIr.bmp", MSIr, sizeof MSIr, 1078},
        {11, "K274/BMP/K274_RGBr.bmp", RGBr, sizeof RGBr, 54, (1350 * 2300 + 8) * 3, 2285, 3, '\xFF'},
        {12, "K274/BMP/K274_RGBc.bmp", RGBc, sizeof RGBc, 54, (1350 * 2300 + 8) * 3, 2285, 3, 127},
        {13, "K274_RED0.bmp", RED0, sizeof RED0, 1078},
        {14, "K274_RED1.bmp", RED1, sizeof RED1, 1078},
        {21, "K274/BMP/K274_IRr.bmp", IRr, sizeof IRr, 1078, 1350 * 2400 + 12, 2388, 1, 127},
        {22, "K274/BMP/K274_IRc.bmp", IRc, sizeof IRc, 1078},
        {31, "K274/BMP/K274_UVr.bmp", UVr, sizeof UVr, 54, 684 * 3, 1200, 1368 * 3, 127},
        {32, "K274/BMP/K274_UVc.bmp", UVc, sizeof UVc, 54, 684 * 3, 1200, 1368 * 3, 127},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        std::string expected(c.size, static_cast<char>(c.selector));
        for (size_t i = 0; i < c.marks; ++i)
            expected[c.mark + i * c.step] = c.value;
        for (const uint16_t selector : {uint16_t{0}, c.selector}) { // the first marks alone
            std::fill_n(c.image, c.size, static_cast<uint8_t>(c.selector));
            K274_SaveImages(selector);
            EXPECT_EQ(std::memcmp(c.image, expected.data(), c.size), 0) << selector;
        }
        const std::string file = ReadText(folder + c.name);
        EXPECT_EQ(file.size(), c.size + c.head);
        EXPECT_TRUE(file.substr(std::min(file.size(), c.head)) == expected);
        EXPECT_TRUE(fs::remove(folder + c.name));
    }
    for (const uint16_t other : {uint16_t{2}, uint16_t{65535}})
        K274_SaveImages(other);
    EXPECT_TRUE(fs::is_empty(folder + "K274/BMP"));
    fs::current_path(before);
    SetVariable("K274_DRIVE_C", nullptr);
}

#endif

} // namespace
} // namespace k274::test
