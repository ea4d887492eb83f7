// The BMP files byte by byte, and the dumps that the host can choose.
#include "src/bmp/bmp.h"
#include "src/saved/work_images.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <tuple>
#include <vector>

namespace k274::test {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<uint8_t>;

Bytes ReadFile(const fs::path &path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

class BmpTest : public testing::Test {
protected:
    BmpTest() {
        fs::remove_all(folder);
        fs::create_directories(folder / "K274" / "BMP");
    }
    ~BmpTest() override { fs::remove_all(folder); }

    const fs::path folder = testing::TempDir() + "k274_bmp";
};

TEST_F(BmpTest, FilesByteByByte) {
    Bytes pixels(640 * 900);
    for (size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = static_cast<uint8_t>(i * i >> 5);
    const std::string path = (folder / "image.bmp").string();
    const struct {
        bool colour;
        int rows, columns;
        uint32_t header[16]; // in file order
    } cases[] = {
        {false, 640, 900, {0x4D42, 577078, 0, 0, 1078, 40, 900, 640, 1, 8, 0, 0, 22600, 22600, 0, 0}},
        // A shorter file takes the place of a longer one.
        {true, 300, 8, {0x4D42, 7254, 0, 0, 54, 40, 8, 300, 1, 24, 0, 0, 22600, 22600, 256, 256}},
    };
    for (const auto &c : cases) {
        ASSERT_EQ(c.colour ? WriteBmp24({pixels.data(), c.rows, c.columns}, path.c_str())
                           : WriteBmp8({pixels.data(), c.rows, c.columns}, path.c_str()),
                  0);
        constexpr int kSizes[16] = {2, 4, 2, 2, 4, 4, 4, 4, 2, 2, 4, 4, 4, 4, 4, 4};
        Bytes expected;
        for (size_t field = 0; field < 16; ++field)
            for (int byte = 0; byte < kSizes[field]; ++byte)
                expected.push_back(static_cast<uint8_t>(c.header[field] >> 8 * byte));
        for (int i = 0; i < 256 && !c.colour; ++i)
            expected.insert(expected.end(), {uint8_t(i), uint8_t(i), uint8_t(i), 0});
        expected.insert(expected.end(), pixels.begin(),
                        pixels.begin() + c.rows * c.columns * (c.colour ? 3 : 1));
        EXPECT_EQ(ReadFile(path), expected);
    }
    EXPECT_EQ(WriteBmp24({pixels.data(), 1, 4}, (folder / "absent" / "image.bmp").string().c_str()), ENOENT);
    EXPECT_NE(WriteBmp8({pixels.data(), 1, 4}, folder.string().c_str()), 0);
    EXPECT_EQ(WriteBmp8({pixels.data(), 1, 4}, std::string(5000, 'x').c_str()), ENOENT);
}

#ifndef _WIN32 // the folders are fixed: only a drive that can be set keeps them apart from the machine's own

TEST_F(BmpTest, SelectorsWriteTheirImagesAndAllAreMarked) {
    const fs::path before = fs::current_path();
    setenv("K274_DRIVE_C", folder.c_str(), 1);
    fs::current_path(folder);

    std::vector<Bytes> stores;
    const auto make = [&](size_t size) {
        stores.emplace_back(size, static_cast<uint8_t>(stores.size() + 1));
        return stores.back().data();
    };
    const WorkImages images = {{make(2700 * 2300 * 3), 2700, 2300}, {make(2700 * 2300 * 3), 2700, 2300},
                               {make(1200 * 1368 * 3), 1200, 1368}, {make(1200 * 1368 * 3), 1200, 1368},
                               {make(2700 * 2400), 2700, 2400},     {make(2700 * 2400), 2700, 2400},
                               {make(2700 * 2300), 2700, 2300},     {make(2700 * 2300), 2700, 2300},
                               {make(640 * 900), 640, 900}};
    std::vector<Bytes> marked = stores;
    for (size_t column = 8; column <= 2292; ++column) {
        marked[0][(1350 * 2300 + column) * 3] = 255;
        marked[1][(1350 * 2300 + column) * 3] = 127;
    }
    for (size_t row = 0; row < 1200; ++row)
        marked[2][(row * 1368 + 684) * 3] = marked[3][(row * 1368 + 684) * 3] = 127;
    for (size_t column = 12; column <= 2399; ++column)
        marked[4][1350 * 2400 + column] = 127;

    const std::tuple<uint16_t, const char *, size_t, uint8_t> cases[] = {
        {0, "", 0, 0},
        {65535, "", 0, 0},
        {1, "K274/BMP/K274_MSIr.bmp", 577078, 9},
        {11, "K274/BMP/K274_RGBr.bmp", 18630054, 1},
        {12, "K274/BMP/K274_RGBc.bmp", 18630054, 2},
        {13, "K274_RED0.bmp", 6211078, 7},
        {14, "K274_RED1.bmp", 6211078, 8},
        {21, "K274/BMP/K274_IRr.bmp", 6481078, 5},
        {22, "K274/BMP/K274_IRc.bmp", 6481078, 6},
        {31, "K274/BMP/K274_UVr.bmp", 4924854, 3},
        {32, "K274/BMP/K274_UVc.bmp", 4924854, 4}};
    for (const auto &[selector, name, size, lastByte] : cases) {
        SCOPED_TRACE(selector);
        SaveWorkImage(images, selector);
        EXPECT_TRUE(stores == marked);
        Bytes file;
        for (const auto &entry : fs::recursive_directory_iterator(folder))
            if (entry.is_regular_file()) {
                EXPECT_EQ(entry.path(), folder / name);
                file = ReadFile(entry.path());
            }
        EXPECT_EQ(file.size(), size);
        EXPECT_EQ(file.empty() ? 0 : file.back(), lastByte);
        if (*name)
            fs::remove(folder / name);
    }
    fs::current_path(before);
    unsetenv("K274_DRIVE_C");
}

#endif

} // namespace
} // namespace k274::test
