// The BMP files byte by byte, and the dumps that the host can choose.
#include "src/bmp/bmp.h"
#include "src/bmp/work_images.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <vector>

namespace k274::test {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes ReadFile(const std::filesystem::path &path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

Bytes Pixels(size_t size) {
    Bytes bytes(size);
    uint32_t state = 7;
    for (uint8_t &byte : bytes) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<uint8_t>(state >> 24);
    }
    return bytes;
}

class Bmp : public testing::Test {
protected:
    Bmp() {
        std::filesystem::remove_all(folder);
        std::filesystem::create_directory(folder);
    }
    ~Bmp() override { std::filesystem::remove_all(folder); }

    std::filesystem::path folder = testing::TempDir() + "k274_bmp";
    std::string path = (folder / "image.bmp").string();
};

/// The 54 bytes of a header: each field with its size, in file order.
Bytes Header(uint32_t fileSize, uint32_t pixelsAt, uint32_t width, uint32_t height, uint32_t bits,
             uint32_t colours) {
    const struct {
        int size;
        uint32_t value;
    } fields[] = {{2, 0x4D42}, {4, fileSize}, {2, 0},       {2, 0},      {4, pixelsAt}, {4, 40},
                  {4, width},  {4, height},   {2, 1},       {2, bits},   {4, 0},        {4, 0},
                  {4, 22600},  {4, 22600},    {4, colours}, {4, colours}};
    Bytes header;
    for (const auto &field : fields)
        for (int byte = 0; byte < field.size; ++byte)
            header.push_back(static_cast<uint8_t>(field.value >> 8 * byte));
    return header;
}

TEST_F(Bmp, ColourFile) {
    const Bytes pixels = Pixels(300 * 8 * 3);
    ASSERT_EQ(WriteBmp24({pixels.data(), 300, 8}, path.c_str()), 0);
    Bytes expected = Header(7254, 54, 8, 300, 24, 256);
    expected.insert(expected.end(), pixels.begin(), pixels.end());
    EXPECT_EQ(ReadFile(path), expected);
}

TEST_F(Bmp, GreyFile) {
    const Bytes pixels = Pixels(640 * 900);
    ASSERT_EQ(WriteBmp8({pixels.data(), 640, 900}, path.c_str()), 0);
    Bytes expected = Header(577078, 1078, 900, 640, 8, 0);
    for (int i = 0; i < 256; ++i)
        expected.insert(expected.end(), {uint8_t(i), uint8_t(i), uint8_t(i), 0});
    expected.insert(expected.end(), pixels.begin(), pixels.end());
    EXPECT_EQ(ReadFile(path), expected);
}

TEST_F(Bmp, AShorterImageReplacesALongerFile) {
    const Bytes pixels = Pixels(4000);
    ASSERT_EQ(WriteBmp8({pixels.data(), 100, 40}, path.c_str()), 0);
    ASSERT_EQ(WriteBmp8({pixels.data(), 1, 4}, path.c_str()), 0);
    EXPECT_EQ(ReadFile(path).size(), 1082u);
}

TEST_F(Bmp, AFileThatCannotBeOpenedGivesTheReason) {
    const Bytes pixels = Pixels(12);
    EXPECT_EQ(WriteBmp24({pixels.data(), 1, 4}, (folder / "absent" / "image.bmp").string().c_str()), ENOENT);
    EXPECT_NE(WriteBmp8({pixels.data(), 1, 4}, folder.string().c_str()), 0);
    EXPECT_EQ(WriteBmp8({pixels.data(), 1, 4}, std::string(5000, 'x').c_str()), ENOENT);
}

#ifndef _WIN32 // the folders are fixed: only a drive that can be set keeps them apart from the machine's own

class WorkImageDump : public Bmp {
protected:
    WorkImageDump() {
        std::filesystem::create_directories(folder / "K274" / "BMP");
        if (const char *drive = std::getenv("K274_DRIVE_C"))
            driveBefore = drive;
        setenv("K274_DRIVE_C", folder.c_str(), 1);
        std::filesystem::current_path(folder);
    }
    ~WorkImageDump() override {
        std::filesystem::current_path(before);
        if (driveBefore.empty())
            unsetenv("K274_DRIVE_C");
        else
            setenv("K274_DRIVE_C", driveBefore.c_str(), 1);
    }

    template <typename View>
    View Make(int rows, int columns, uint8_t fill) {
        stores.emplace_back(static_cast<size_t>(rows) * static_cast<size_t>(columns) * View::kChannels, fill);
        return {stores.back().data(), rows, columns};
    }

    std::string driveBefore;
    std::filesystem::path before = std::filesystem::current_path();
    std::vector<Bytes> stores;
    WorkImages images = {
        Make<ColourView>(2700, 2300, 1), Make<ColourView>(2700, 2300, 2), Make<ColourView>(1200, 1368, 3),
        Make<ColourView>(1200, 1368, 4), Make<GreyView>(2700, 2400, 5),   Make<GreyView>(2700, 2400, 6),
        Make<GreyView>(2700, 2300, 7),   Make<GreyView>(2700, 2300, 8),   Make<GreyView>(640, 900, 9)};
};

TEST_F(WorkImageDump, EachSelectorWritesItsImage) {
    const struct {
        uint16_t selector;
        const char *file;
        size_t size;
        uint8_t lastByte;
    } cases[] = {{1, "K274/BMP/K274_MSIr.bmp", 577078, 9},
                 {11, "K274/BMP/K274_RGBr.bmp", 18630054, 1},
                 {12, "K274/BMP/K274_RGBc.bmp", 18630054, 2},
                 {13, "K274_RED0.bmp", 6211078, 7},
                 {14, "K274_RED1.bmp", 6211078, 8},
                 {21, "K274/BMP/K274_IRr.bmp", 6481078, 5},
                 {22, "K274/BMP/K274_IRc.bmp", 6481078, 6},
                 {31, "K274/BMP/K274_UVr.bmp", 4924854, 3},
                 {32, "K274/BMP/K274_UVc.bmp", 4924854, 4},
                 {0, nullptr, 0, 0},
                 {10, nullptr, 0, 0},
                 {65535, nullptr, 0, 0}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.selector);
        SaveWorkImage(images, c.selector);
        std::vector<std::filesystem::path> written;
        for (const auto &entry : std::filesystem::recursive_directory_iterator(folder))
            if (entry.is_regular_file())
                written.push_back(entry.path());
        ASSERT_EQ(written.size(), c.file ? 1u : 0u);
        if (!c.file)
            continue;
        EXPECT_EQ(written[0], folder / c.file);
        const Bytes file = ReadFile(written[0]);
        EXPECT_EQ(file.size(), c.size);
        EXPECT_EQ(file.back(), c.lastByte);
        std::filesystem::remove(written[0]);
    }
}

TEST_F(WorkImageDump, MarksAreDrawnWithoutAFileAndStay) {
    std::vector<Bytes> expected = stores;
    for (size_t column = 8; column <= 2292; ++column) {
        expected[0][(1350 * 2300 + column) * 3] = 255;
        expected[1][(1350 * 2300 + column) * 3] = 127;
    }
    for (size_t row = 0; row < 1200; ++row) {
        expected[2][(row * 1368 + 684) * 3] = 127;
        expected[3][(row * 1368 + 684) * 3] = 127;
    }
    for (size_t column = 12; column <= 2399; ++column)
        expected[4][1350 * 2400 + column] = 127;
    SaveWorkImage(images, 0);
    EXPECT_TRUE(stores == expected);
    SaveWorkImage(images, 0);
    EXPECT_TRUE(stores == expected);
}

#endif

} // namespace
} // namespace k274::test
