// A scan saved and opened again, whole and damaged (tiff/damage.txt), by way of the exports.
#include "tests/support/data.h"
#include "tests/support/host.h"
#include "tests/support/system.h"

#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>

namespace {

namespace fs = std::filesystem;

/// Everything that a file of variant 0 holds, as the host sees it.
std::map<std::string, std::string> Pieces() {
    const auto copy = [](const uint8_t *from, size_t size) { return std::string(from, from + size); };
    std::string magnetic(384, 0), barcode(3192, 0);
    K274_GetMag(magnetic.data());
    K274_GetBC(barcode.data());
    barcode.resize(3168); // the decoder's own fields are not kept
    return {{"NatFr", copy(K274_GetImgNatFr(), 1880 * 1180 * 3)},
            {"NatBk", copy(K274_GetImgNatBk(), 1880 * 1180 * 3)},
            {"IrFr", copy(K274_GetImgIrFr(), 2048 * 1286)},
            {"IrBk", copy(K274_GetImgIrBk(), 2048 * 1286)},
            {"UvFr", copy(K274_GetImgUvFr(), 1024 * 643 * 3)},
            {"UvBk", copy(K274_GetImgUvBk(), 1024 * 643 * 3)},
            {"MsBl", copy(K274_GetImgMsBl(), 640 * 400)},
            {"raw", copy(K274_GetCcdRawResp(), 18900)},
            {"corrected", copy(K274_GetCcdCorResp(), 18900)},
            {"white", copy(K274_GetCcdWccResp(), 18900)},
            {"magnetic", magnetic},
            {"barcode", barcode}};
}

struct ScanFileTest : HostTest {
    std::string Path(const char *name) const { return folder + name; }
};

TEST_F(ScanFileTest, OpeningGivesBackEveryBufferOrChangesNothing) {
    Start();
    K274_SetBcDecMode(1);
    ASSERT_EQ(Scan("licence"), 8);
    ASSERT_EQ(WaitFor({4}), 4);
    const auto scanned = Pieces();
    ASSERT_EQ(K274_Save(Path("a.tif").c_str()), 0);
    const std::string saved = FileText(Path("a.tif"));
    EXPECT_EQ(saved.size(), 22915520u);
    std::string information(256, 0);
    K274_GetInfo(information.data());
    EXPECT_EQ(saved.compare(0, information.size(), information), 0);
    int64_t time;
    std::memcpy(&time, &saved[24], sizeof time);
    EXPECT_NEAR(static_cast<double>(std::time(nullptr) - time), 30, 30);

    ASSERT_EQ(Scan("bank"), 8);
    ASSERT_EQ(WaitFor({4}), 4);
    const auto other = Pieces();
    EXPECT_FALSE(other.at("NatFr") == scanned.at("NatFr"));
    for (const auto &row : Table("tiff/damage.txt")) {
        SCOPED_TRACE(row[0]);
        fs::copy_file(Path("a.tif"), Path("bad.tif"), fs::copy_options::overwrite_existing);
        std::fstream(Path("bad.tif"), std::ios::in | std::ios::out | std::ios::binary)
                .seekp(std::stol(row[2]))
            << row[3];
        fs::resize_file(Path("bad.tif"), std::stoul(row[1]));
        const bool loaded = row[6] != "none";
        if (loaded)
            K274_Clear(1);
        uint32_t variant = 99;
        EXPECT_EQ(K274_Open(Path("bad.tif").c_str(), &variant), std::stoi(row[4]));
        EXPECT_EQ(variant, std::stoul(row[5], nullptr, 0));
        const auto seen = Pieces();
        for (const auto &[name, bytes] : loaded ? scanned : other)
            EXPECT_EQ(seen.at(name) == bytes, row[6] != "part" || name != "UvBk") << name;
    }
    // A save of what was opened is the same file.
    ASSERT_EQ(K274_Save(Path("b.tif").c_str()), 0);
    EXPECT_TRUE(FileText(Path("b.tif")) == saved);
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

} // namespace
