// A scan saved and opened again, whole and damaged (damage.txt), by way of the exports.
#include "tests/support/data.h"
#include "tests/support/host.h"
#include "tests/support/scan_results.h"
#include "tests/support/system.h"

#include <algorithm>
#include <cstring>
#include <ctime>

namespace {

namespace fs = std::filesystem;

/// Everything that a file may hold, as the host sees it.
ScanResults Pieces() {
    ScanResults pieces = TakeScanResults();
    pieces["barcode"].resize(sizeof(K274_Barcode));
    K274_GetBC(pieces["barcode"].data());
    return pieces;
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
    WriteText(Path("a.tif"), "an earlier file");
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
    std::copy_n(&other.at("barcode")[3168], 24, &scanned["barcode"][3168]);
    for (const auto &row : Table("system/damage.txt")) {
        SCOPED_TRACE(row[0]);
        std::string file = saved;
        file.replace(std::stoul(row[2]), row[3].size(), row[3]).resize(std::stoul(row[1]));
        WriteText(Path("bad.tif"), file);
        const bool loaded = row[6] == "as saved";
        for (const auto &[name, data, size] : ScanParts())
            if (loaded)
                std::fill_n(data, size, uint8_t{1});
        uint32_t variant = 99;
        EXPECT_EQ(K274_Open(Path("bad.tif").c_str(), &variant), std::stoi(row[4]));
        EXPECT_EQ(variant, std::stoul(row[5], nullptr, 0));
        auto expected = loaded ? scanned : other;
        for (size_t k = 7; k < row.size(); ++k) {
            std::string name;
            size_t from = 0, value = 0;
            Take(row[k], name, from, value);
            std::fill(expected.at(name).begin() + from, expected.at(name).end(), value);
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
    WriteText(Path("K274.ini"), "[Demo]\nAutoSaveName=card\nAutoSaveNum=7\n");
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
