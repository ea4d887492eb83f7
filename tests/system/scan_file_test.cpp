// A scan saved and opened again, whole and damaged (tiff/damage.txt), by way of the exports.
#include "tests/support/data.h"
#include "tests/support/host.h"
#include "tests/support/system.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

namespace {

namespace fs = std::filesystem;

const struct {
    const char *name;
    uint8_t *(*get)();
    size_t size;
} kImages[] = {{"NatFr", K274_GetImgNatFr, 1880 * 1180 * 3}, {"NatBk", K274_GetImgNatBk, 1880 * 1180 * 3},
               {"IrFr", K274_GetImgIrFr, 2048 * 1286},       {"IrBk", K274_GetImgIrBk, 2048 * 1286},
               {"UvFr", K274_GetImgUvFr, 1024 * 643 * 3},    {"UvBk", K274_GetImgUvBk, 1024 * 643 * 3},
               {"SliFr", K274_GetImgSliFr, 1000 * 2300 * 3}, {"SliBk", K274_GetImgSliBk, 1000 * 2300 * 3},
               {"MsBl", K274_GetImgMsBl, 640 * 400},         {"raw", K274_GetCcdRawResp, 18900},
               {"corrected", K274_GetCcdCorResp, 18900},     {"white", K274_GetCcdWccResp, 18900}};

/// Everything that a file may hold, as the host sees it.
std::map<std::string, std::string> Pieces() {
    std::map<std::string, std::string> pieces;
    for (const auto &[name, get, size] : kImages)
        pieces[name].assign(reinterpret_cast<const char *>(get()), size);
    pieces["magnetic"].resize(384);
    K274_GetMag(pieces["magnetic"].data());
    pieces["barcode"].resize(3192);
    K274_GetBC(pieces["barcode"].data());
    return pieces;
}

void FillImages() {
    for (const auto &[name, get, size] : kImages)
        std::fill_n(get(), size, uint8_t{1});
}

struct ScanFileTest : HostTest {
    std::string Path(const char *name) const { return folder + name; }
};

TEST_F(ScanFileTest, OpeningGivesBackEveryBufferOrChangesNothing) {
    Start();
    K274_SetBcDecMode(1);
    ASSERT_EQ(Scan("licence"), 8);
    ASSERT_EQ(WaitFor({4}), 4);
    std::fill_n(K274_GetImgSliFr(), 1000 * 2300 * 3, uint8_t{1}); // the scans leave them
    std::fill_n(K274_GetImgSliBk(), 1000 * 2300 * 3, uint8_t{1});
    auto scanned = Pieces();
    std::ofstream(Path("a.tif")) << "an earlier file";
    ASSERT_EQ(K274_Save(Path("a.tif").c_str()), 0);
    const std::string saved = ReadText(Path("a.tif"));
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
    // Files do not keep the decoder's own fields.
    scanned["barcode"].replace(3168, 24, other.at("barcode"), 3168, 24);
    for (const auto &row : Table("tiff/damage.txt")) {
        SCOPED_TRACE(row[0]);
        fs::remove(Path("bad.tif")); // not all systems copy onto a file
        fs::copy_file(Path("a.tif"), Path("bad.tif"));
        std::fstream(Path("bad.tif"), std::ios::in | std::ios::out | std::ios::binary)
                .seekp(std::stol(row[2]))
            << row[3];
        fs::resize_file(Path("bad.tif"), std::stoul(row[1]));
        const bool loaded = row[6].compare(0, 8, "as saved") == 0;
        if (loaded)
            FillImages();
        uint32_t variant = 99;
        EXPECT_EQ(K274_Open(Path("bad.tif").c_str(), &variant), std::stoi(row[4]));
        EXPECT_EQ(variant, std::stoul(row[5], nullptr, 0));
        auto expected = loaded ? scanned : other;
        std::istringstream words(row[6]);
        for (std::string word; words >> word;) {
            if (word.find('=') == std::string::npos)
                continue;
            const std::string value = word.substr(word.find('=') + 1);
            std::string &piece = expected.at(word.substr(0, word.find('=')));
            const size_t kept = value == "cut" ? 22418936 - 20940224 : 0;
            std::fill(piece.begin() + kept, piece.end(), value == "1" ? 1 : 0);
        }
        for (const auto &[name, bytes] : Pieces())
            EXPECT_TRUE(expected.at(name) == bytes) << name;
    }
    // A save of what was opened is the same file.
    ASSERT_EQ(K274_Save(Path("b.tif").c_str()), 0);
    EXPECT_TRUE(ReadText(Path("b.tif")) == saved);
    uint32_t variant = 99;
    EXPECT_EQ(K274_Open(Path("absent.tif").c_str(), &variant), -1);
    EXPECT_EQ(variant, 0u);
    EXPECT_EQ(K274_Open(nullptr, nullptr), -1);
    // A file is replaced whole or not at all, and nothing is left beside it.
    for (const std::string &wrong : {Path("no/such/folder.tif"), folder})
        EXPECT_EQ(K274_Save(wrong.c_str()), -1);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 4) << "the log and three files";
    if (fs::exists("/dev/full"))
        EXPECT_EQ(K274_Save("/dev/full"), -2);
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
