// What k274 does with scans and pictures that lie on the disk, and with a scan's lines once more.
#include <unistd.h>

#include <fstream>

#include "tests/cli/cli_fixture.h"
#include "tools/k274/png.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

void Write(const fs::path &file, const std::string &bytes) {
    std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string Changed(std::string text, const std::string &from, const std::string &to) {
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return text.replace(at, from.size(), to);
}

// Loads the page, enlarges an image, and tells what the page itself recorded of errors and images.
std::string InBrowser(const std::string &page, const fs::path &folder) {
    const Outcome run =
        Program("/usr/bin/chromium", {"--headless", "--no-sandbox", "--disable-gpu",
                                      "--user-data-dir=" + (folder / "browser").string(),
                                      "--virtual-time-budget=2000", "--dump-dom", "file://" + page})
            .Wait();
    const size_t at = run.out.find("<html"); // the element with what it tells
    return at == std::string::npos ? run.err : run.out.substr(at, run.out.find('>', at) - at);
}

json Scan(const std::string &out, const Words &more) {
    Words words = {"scan",   "--card", Sample("licence"), "--speed", "0",
                   "--seed", "3",      "--out",           out,       "--json"};
    words.insert(words.end(), more.begin(), more.end());
    const Outcome run = RunK274(words);
    EXPECT_EQ(run.status, 0) << run.err;
    return Events(JsonLines(run.out), "scan").at(0).at("result");
}

// One scan of the licence with all its files, for several tests; each works on a copy.
struct SavedScan : Cli {
    static void SetUpTestSuite() {
        original = fs::temp_directory_path() / ("k274-cli-" + std::to_string(getpid()) + "-scan");
        scan = Scan(original.string(), {"--report"});
    }
    static void TearDownTestSuite() { fs::remove_all(original); }
    void SetUp() override {
        Cli::SetUp();
        fs::copy(original, folder / "scan", fs::copy_options::recursive);
    }

    inline static fs::path original;
    inline static json scan;
};

TEST_F(SavedScan, IsReadBackFromItsFile) {
    const Outcome run = RunK274({"open", In("scan/scan.tif"), "--out", In("opened"), "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    const json opened = JsonLines(run.out).at(0).at("result");
    EXPECT_EQ(opened.at("stripe"), scan.at("stripe"));
    EXPECT_EQ(opened.at("kind"), scan.at("kind"));
    for (const char *key : {"pdf417", "linear", "durationMs"})
        EXPECT_EQ(opened.at("barcodes").at(key), scan.at("barcodes").at(key));
    EXPECT_FALSE(opened.at("barcodes").contains("orientation")); // the file does not keep it
    EXPECT_EQ(opened.at("information").at("serialNumber2"), scan.at("versions").at("serialNumber2"));
    std::vector<json> measures = scan.at("measures"); // the first five come from the scanner
    measures.erase(measures.begin(), measures.begin() + 5);
    EXPECT_EQ(opened.at("measures"), json(measures));
    EXPECT_THAT(Names(folder / "opened"),
                ElementsAre("back.png", "front.png", "ir-back.png", "ir-front.png", "responses.csv",
                            "stripe-bleed.png", "uv-back.png", "uv-front.png"));
    for (const std::string &name : Names(folder / "opened"))
        EXPECT_EQ(ReadAll(folder / "opened" / name), ReadAll(folder / "scan" / name)) << name;
    EXPECT_THAT(RunK274({"open", In("scan/scan.tif")}).out,
                AllOf(HasSubstr("DCS family name             QUILLON-MARSH\n"),
                      HasSubstr("DBB date of birth           09141992 (1992-09-14)\n")));

    fs::resize_file(folder / "scan" / "scan.tif", 22000000); // accepted, not loaded
    EXPECT_EQ(RunK274({"open", In("scan/scan.tif")}).status, 0);
    EXPECT_EQ(RunK274({"open", In("scan/scan.tif"), "--out", In("cut")}).status, 12);
    EXPECT_EQ(RunK274({"report", In("scan/scan.tif"), "--out", In("cut.html")}).status, 12);
}

TEST_F(SavedScan, IsReportedOnOnePage) {
    const std::string page = ReadAll(folder / "scan" / "report.html");
    EXPECT_THAT(page, AllOf(HasSubstr("09141992"), HasSubstr("date of birth"), HasSubstr("1992-09-14"),
                            HasSubstr("UV   Xfr"), Not(HasSubstr("{{")), Not(HasSubstr("http:"))));
    ASSERT_EQ(RunK274({"report", In("scan"), "--out", In("again.html")}).status, 0);
    EXPECT_TRUE(ReadAll(folder / "again.html") == page);
    ASSERT_EQ(RunK274({"report", In("scan/scan.tif"), "--out", In("file.html")}).status, 0);
    EXPECT_LT(fs::file_size(folder / "file.html"), 25000000u);

    const std::string description = ReadAll(folder / "scan" / "scan.json");
    const struct {
        const char *from, *to, *says;
    } cases[] = {{"\"front.png\"", "\"../front.png\"", "elsewhere"},
                 {"\"measures\"", "\"pleasures\"", "incomplete"},
                 {"\"format\"", "\"for\"", "damaged"},
                 {"\"formatVersion\": 1", "\"formatVersion\": 2", "another version"},
                 {"\"responses.csv\"", "\"scan.log\"", "response"}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.says);
        Write(folder / "scan" / "scan.json", Changed(description, c.from, c.to));
        const Outcome run = RunK274({"report", In("scan"), "--out", In("again.html")});
        EXPECT_EQ(run.status, 12);
        EXPECT_THAT(run.err, HasSubstr(c.says));
        EXPECT_TRUE(ReadAll(folder / "again.html") == page);
    }
    // What a card says must not become part of the page.
    Write(folder / "scan" / "scan.json", Changed(description, "QUILLON-MARSH\"", "<script>1</script>\""));
    ASSERT_EQ(RunK274({"report", In("scan"), "--out", In("again.html")}).status, 0);
    EXPECT_THAT(ReadAll(folder / "again.html"), Not(HasSubstr("<script>1")));
}

TEST_F(SavedScan, ItsPageWorksInABrowser) {
    if (!fs::exists("/usr/bin/chromium"))
        GTEST_SKIP() << "*** chromium is not installed: the report was not looked at by a browser ***";
    // The viewer is opened and stepped through as well.
    const std::string page =
        Changed(ReadAll(folder / "scan" / "report.html"), "</body>",
                "<script>addEventListener('load', function () {"
                "document.querySelector('figure button').click();"
                "document.querySelector('[data-do=next]').click();"
                "document.documentElement.dataset.viewer ="
                "document.getElementById('viewer-title').textContent; });</script></body>");
    Write(folder / "page.html", page);
    EXPECT_THAT(InBrowser(In("page.html"), folder),
                AllOf(HasSubstr("data-errors=\"0\""), HasSubstr("data-images=\"9/9\""),
                      HasSubstr("data-viewer=\"Visible light, back")));
}

TEST_F(Cli, DecodesPictures) {
    const std::string back = Sample("licence") + "/back.png";
    const host::Picture picture = host::DecodePng(Bytes(ReadAll(back)), back);
    std::vector<uint8_t> grey; // red is what the library looks at
    for (size_t i = 0; i < picture.pixels.size(); i += 3)
        grey.push_back(picture.pixels[i]);
    const auto save = [&](const char *name, const std::vector<uint8_t> &pixels, int width, int height) {
        const std::vector<uint8_t> png = host::EncodePng(pixels.data(), width, height, 1);
        Write(folder / name, std::string(png.begin(), png.end()));
        return In(name);
    };
    const std::vector<uint8_t> blank(2301 * 2701, 255);
    const struct {
        std::string file;
        int status;
        const char *says;
    } cases[] = {{back, 0, "DCS family name             QUILLON-MARSH\n"},
                 {save("grey.png", grey, picture.width, picture.height), 0, "reads forward"},
                 {save("blank.png", blank, 300, 200), 13, "no barcode"},
                 {save("most.png", blank, 2300, 2700), 13, "no barcode"},
                 {save("wide.png", blank, 2301, 10), 12, "2700 rows of 2300 columns"},
                 {save("high.png", blank, 10, 2701), 12, "2700 rows of 2300 columns"}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.file);
        const Outcome run = RunK274({"decode", c.file}, {{{"K274_DRIVE_C", In("c")}}, "", false, 0});
        EXPECT_EQ(run.status, c.status);
        EXPECT_THAT(run.out + run.err, HasSubstr(c.says));
    }
}

TEST_F(Cli, SendsAScanAgainWithOtherOptions) {
    Scan(In("scan"), {"--mode", "rgb", "--illum", "6"});
    const std::string uncorrected = ReadAll(folder / "scan" / "front.png");
    const Outcome run = RunK274({"resend", "--card", Sample("licence"), "--speed", "0", "--seed", "3",
                                 "--out", In("again"), "--mode", "rgb", "--illum", "6", "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    const json again = Events(JsonLines(run.out), "scan").at(0).at("result");
    EXPECT_EQ(again.at("options").at("illum"), 6);
    EXPECT_EQ(again.at("states").at(0).at("state"), 2);
    EXPECT_TRUE(ReadAll(folder / "again" / "front.png") == uncorrected);
    Scan(In("scan"), {"--mode", "rgb"});
    EXPECT_FALSE(ReadAll(folder / "scan" / "front.png") == uncorrected);
}

TEST_F(Cli, DumpsWorkingImages) {
    const Outcome run = RunK274({"dump", "11", "uv", "--card", Sample("licence"), "--speed", "0", "--json"},
                                {{{"K274_DRIVE_C", In("c")}}, "", false, 0});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::vector<json> dumps = Events(JsonLines(run.out), "dump");
    ASSERT_EQ(dumps.size(), 2u);
    EXPECT_EQ(dumps[0].at("file"), In("c/K274/BMP/K274_RGBr.bmp"));
    EXPECT_EQ(fs::file_size(In("c/K274/BMP/K274_RGBr.bmp")), 18630054u);
    EXPECT_EQ(dumps[1].at("selector"), 32);
    EXPECT_EQ(fs::file_size(dumps[1].at("file").get<std::string>()), 1200u * 1368 * 3 + 54);

    fs::remove_all(folder / "c");
    Write(folder / "c", "in the way");
    EXPECT_EQ(RunK274({"dump", "1", "--card", Sample("licence"), "--speed", "0"},
                      {{{"K274_DRIVE_C", In("c")}}, "", false, 0})
                  .status,
              9);
}

} // namespace
