// A scan saved and opened again, by way of the exports.
#include "tests/support/host.h"
#include "tests/support/system.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

namespace {

namespace fs = std::filesystem;

using Bytes = std::vector<uint8_t>;

struct Piece {
    const char *name;
    Bytes bytes;
};

/// Everything that a file of variant 0 holds, as the host sees it.
std::vector<Piece> Pieces() {
    auto copy = [](const uint8_t *from, size_t size) { return Bytes(from, from + size); };
    std::vector<Piece> pieces = {
        {"NatFr", copy(K274_GetImgNatFr(), 1880 * 1180 * 3)},
        {"NatBk", copy(K274_GetImgNatBk(), 1880 * 1180 * 3)},
        {"IrFr", copy(K274_GetImgIrFr(), 2048 * 1286)},
        {"IrBk", copy(K274_GetImgIrBk(), 2048 * 1286)},
        {"UvFr", copy(K274_GetImgUvFr(), 1024 * 643 * 3)},
        {"UvBk", copy(K274_GetImgUvBk(), 1024 * 643 * 3)},
        {"MsBl", copy(K274_GetImgMsBl(), 640 * 400)},
        {"raw", copy(K274_GetCcdRawResp(), 18900)},
        {"corrected", copy(K274_GetCcdCorResp(), 18900)},
        {"white", copy(K274_GetCcdWccResp(), 18900)},
    };
    Bytes magnetic(384), barcode(3192);
    K274_GetMag(magnetic.data());
    K274_GetBC(barcode.data());
    barcode.resize(3168); // the decoder's own fields are not kept
    pieces.push_back({"magnetic", magnetic});
    pieces.push_back({"barcode", barcode});
    return pieces;
}

void ExpectSame(const std::vector<Piece> &left, const std::vector<Piece> &right) {
    for (size_t i = 0; i < left.size(); ++i)
        EXPECT_TRUE(left[i].bytes == right[i].bytes) << left[i].name;
}

struct ScanFileTest : HostTest {
    std::string Path(const char *name) const { return folder + name; }
    static Bytes Read(const std::string &path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
};

TEST_F(ScanFileTest, GivesBackEveryBuffer) {
    Start();
    K274_SetBcDecMode(1);
    ASSERT_EQ(Scan("licence"), 8);
    ASSERT_EQ(WaitFor({4}), 4);
    const std::vector<Piece> scanned = Pieces();
    ASSERT_EQ(K274_Save(Path("a.tif").c_str()), 0);
    EXPECT_EQ(fs::file_size(Path("a.tif")), 22915520u);
    Bytes information(256);
    K274_GetInfo(information.data());
    const Bytes first = Read(Path("a.tif"));
    EXPECT_TRUE(std::equal(information.begin(), information.end(), first.begin()));
    const int64_t age = std::time(nullptr) - *reinterpret_cast<const int64_t *>(&first[24]);
    EXPECT_TRUE(age >= 0 && age < 60) << age;

    ASSERT_EQ(Scan("bank"), 8);
    ASSERT_EQ(WaitFor({4}), 4);
    EXPECT_FALSE(Pieces()[0].bytes == scanned[0].bytes);
    uint32_t variant = 99;
    ASSERT_EQ(K274_Open(Path("a.tif").c_str(), &variant), 0);
    EXPECT_EQ(variant, 0u);
    ExpectSame(Pieces(), scanned);
    // A save of what was opened is the same file.
    ASSERT_EQ(K274_Save(Path("b.tif").c_str()), 0);
    EXPECT_TRUE(Read(Path("b.tif")) == first);
}

TEST_F(ScanFileTest, RefusedFilesChangeNothing) {
    Start();
    ASSERT_EQ(Scan("licence"), 8);
    ASSERT_EQ(WaitFor({4}), 4);
    ASSERT_EQ(K274_Save(Path("good.tif").c_str()), 0);
    const Bytes good = Read(Path("good.tif"));
    const std::vector<Piece> before = Pieces();
    const struct {
        const char *name;
        std::function<void(Bytes &)> damage;
        int result;
        uint32_t variant;
    } cases[] = {
        {"short", [](Bytes &file) { file.resize(4194303); }, -2, 0},
        {"no maker", [](Bytes &file) { file[130] ^= 1; }, -1, 0},
        {"no TIFF", [](Bytes &file) { file[2] = 43; }, -1, 0},
        {"cut", [](Bytes &file) { file.resize(20000000); }, 0, 0},
        {"a byte too long", [](Bytes &file) { file.push_back(0); }, 0, 0},
        {"tiny", [](Bytes &file) { file.resize(10); }, -2, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        Bytes file = good;
        file[4096] ^= 0xFF; // would be seen in the record
        c.damage(file);
        std::ofstream(Path("bad.tif"), std::ios::binary)
            .write(reinterpret_cast<const char *>(file.data()), static_cast<std::streamsize>(file.size()));
        uint32_t variant = 99;
        EXPECT_EQ(K274_Open(Path("bad.tif").c_str(), &variant), c.result);
        EXPECT_EQ(variant, c.variant);
        ExpectSame(Pieces(), before);
    }
    uint32_t variant = 99;
    EXPECT_EQ(K274_Open(Path("absent.tif").c_str(), &variant), -1);
    EXPECT_EQ(variant, 0u);
    EXPECT_EQ(K274_Open(nullptr, nullptr), -1);
    EXPECT_EQ(K274_Save(Path("no/such/folder.tif").c_str()), -1);
}

TEST_F(ScanFileTest, AutomaticNamesCountUp) {
    const fs::path drive = DriveC(folder);
    std::ofstream(Path("K274.ini")) << "[Demo]\nAutoSaveName=card\nAutoSaveNum=7\n";
    Start();
    K274_SetBcdOpt(0);
    ASSERT_EQ(Scan("club"), 8);
    EXPECT_EQ(K274_Save(""), -1); // there is no such folder yet
    fs::create_directories(drive / "K274/Tif");
    EXPECT_EQ(K274_Save(nullptr), 0);
    EXPECT_EQ(fs::file_size(drive / "K274/Tif/card008.tif"), 22915520u);
    EXPECT_EQ(Log().back(), "image,   Saved card008.tif");
    K274_LstScan(3, 0);
    EXPECT_EQ(K274_Save(Path("other.tif").c_str()), 0);
    EXPECT_EQ(fs::file_size(Path("other.tif")), 18964928u);
    EXPECT_EQ(Log().back(), "image,   Saved card009.tif");
    K274_LstScan(0, 0);
}

TEST_F(ScanFileTest, DumpsNameTheWorkingImages) {
    const fs::path dumps = DriveC(folder) + "K274/BMP";
    fs::create_directories(dumps);
    Start();
    ASSERT_EQ(Scan("club"), 8);
    for (const int which : {0, 1, 11, 22, 31})
        K274_SaveImages(static_cast<uint16_t>(which));
    EXPECT_EQ(fs::file_size(dumps / "K274_MSIr.bmp"), 577078u);
    EXPECT_EQ(fs::file_size(dumps / "K274_RGBr.bmp"), 18630054u);
    EXPECT_EQ(fs::file_size(dumps / "K274_IRc.bmp"), 2700u * 2400 + 1078);
    EXPECT_EQ(fs::file_size(dumps / "K274_UVr.bmp"), 1200u * 1368 * 3 + 54);
    EXPECT_EQ(std::distance(fs::directory_iterator(dumps), {}), 4);
}

} // namespace
