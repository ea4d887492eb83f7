// What k274 does with scans and pictures that lie on the disk, and with a scan's lines once more.
#include "tests/cli/cli_fixture.h"
#include "tools/k274/files/png.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

std::string Changed(std::string text, const std::string &from, const std::string &to) {
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return text.replace(at, from.size(), to);
}

json Scan(const std::string &out, const Words &more) {
    Words words = {"scan", "--card", Sample("licence"), "--speed", "0", "--seed", "3", "--out", out};
    words.insert(words.end(), more.begin(), more.end());
    return Result(words, "scan").at("result");
}

// One scan of the licence with all its files, for several tests; each works on a copy.
struct SavedScan : Cli {
    static void SetUpTestSuite() {
        Cli::SetUpTestSuite();
        original = std::make_unique<TempFolder>();
        scan = Scan(original->Path().string(), {"--report"});
    }
    static void TearDownTestSuite() { original.reset(); }
    void SetUp() override { fs::copy(original->Path(), In("scan"), fs::copy_options::recursive); }

    inline static std::unique_ptr<TempFolder> original;
    inline static json scan;
};

TEST_F(SavedScan, IsReadBackFromItsFile) {
    const json opened = Result({"open", In("scan/scan.tif"), "--out", In("opened")}, "open").at("result");
    ExpectGolden("open.json", opened);
    for (const char *key : {"stripe", "kind"})
        EXPECT_EQ(opened.at(key), scan.at(key));
    for (const char *key : {"pdf417", "linear", "durationMs"})
        EXPECT_EQ(opened.at("barcodes").at(key), scan.at("barcodes").at(key));
    std::vector<json> measures = scan.at("measures"); // the first five come from the scanner
    measures.erase(measures.begin(), measures.begin() + 5);
    EXPECT_EQ(opened.at("measures"), json(measures));
    EXPECT_EQ(opened.at("information").at("serialNumber2"), scan.at("versions").at("serialNumber2"));
    EXPECT_THAT(Names(In("opened")),
                ElementsAre("back.png", "front.png", "ir-back.png", "ir-front.png", "responses.csv",
                            "stripe-bleed.png", "uv-back.png", "uv-front.png"));
    for (const std::string &name : Names(In("opened")))
        EXPECT_TRUE(ReadText(folder / "opened" / name) == ReadText(folder / "scan" / name)) << name;
    if (kBarcodesInTime)
        EXPECT_THAT(K274({"open", In("scan/scan.tif")}).out,
                    AllOf(HasSubstr("DCS family name             QUILLON-MARSH\n"),
                          HasSubstr("DBB date of birth           09141992 (1992-09-14)\n")));

    fs::resize_file(In("scan/scan.tif"), 22000000); // accepted, not loaded
    EXPECT_EQ(K274({"open", In("scan/scan.tif")}).status, 0);
    EXPECT_EQ(K274({"open", In("scan/scan.tif"), "--out", In("cut")}).status, 12);
    EXPECT_EQ(K274({"report", In("scan/scan.tif"), "--out", In("cut.html")}).status, 12);
}

TEST_F(SavedScan, IsReportedOnOnePage) {
    const std::string page = ReadText(In("scan/report.html"));
    if (kBarcodesInTime)
        EXPECT_THAT(page, AllOf(HasSubstr("09141992"), HasSubstr("date of birth"), HasSubstr("1992-09-14")));
    EXPECT_THAT(page, AllOf(HasSubstr("UV   Xfr"), Not(HasSubstr("{{")), Not(HasSubstr("http:"))));
    ASSERT_EQ(K274({"report", In("scan"), "--out", In("again.html")}).status, 0);
    EXPECT_TRUE(ReadText(In("again.html")) == page);
    ASSERT_EQ(K274({"report", In("scan/scan.tif"), "--out", In("file.html")}).status, 0);
    EXPECT_LT(fs::file_size(In("file.html")), 25000000u);
}

// Loads the page, opens the viewer and steps through it, and asks what the page itself recorded.
TEST_F(SavedScan, ItsPageWorksInABrowser) {
    if (!fs::exists("/usr/bin/chromium"))
        GTEST_SKIP() << "*** chromium is not installed: the report was not looked at by a browser ***";
    WriteText(In("page.html"), Changed(ReadText(In("scan/report.html")), "</body>",
                                       "<script>addEventListener('load', function () {"
                                       "document.querySelector('figure button').click();"
                                       "document.querySelector('[data-do=next]').click();"
                                       "document.documentElement.dataset.viewer ="
                                       "document.getElementById('viewer-title').textContent; });"
                                       "</script></body>"));
    const Outcome run = Process({"/usr/bin/chromium", "--headless", "--no-sandbox", "--disable-gpu",
                                 "--user-data-dir=" + In("browser"), "--virtual-time-budget=2000",
                                 "--dump-dom", "file://" + In("page.html")})
                            .Wait();
    EXPECT_THAT(run.out, AllOf(HasSubstr("data-errors=\"0\""), HasSubstr("data-images=\"9/9\""),
                               HasSubstr("data-viewer=\"Visible light, back")))
        << run.err;
}

TEST_F(Cli, DecodesPictures) {
    const Variable drive("K274_DRIVE_C", In("c"));
    const std::string back = Sample("licence") + "/back.png";
    const host::Picture picture = host::DecodePng(ReadBytes(back), back);
    std::vector<uint8_t> grey; // red is what the library looks at
    for (size_t i = 0; i < picture.pixels.size(); i += 3)
        grey.push_back(picture.pixels[i]);
    const auto save = [this](const char *name, const std::vector<uint8_t> &pixels, int width, int height) {
        const std::vector<uint8_t> png = host::EncodePng(pixels.data(), width, height, 1);
        WriteText(In(name), {png.begin(), png.end()});
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
        if (c.status == 0 && !kBarcodesInTime)
            continue;
        const Outcome run = K274({"decode", c.file});
        EXPECT_EQ(run.status, c.status);
        EXPECT_THAT(run.out + run.err, HasSubstr(c.says));
    }
}

TEST_F(Cli, SendsAScanAgainWithOtherOptions) {
    Scan(In("scan"), {"--mode", "rgb", "--illum", "6"});
    const std::string uncorrected = ReadText(In("scan/front.png"));
    const json again = Result({"resend", "--card", Sample("licence"), "--speed", "0", "--seed", "3", "--out",
                               In("again"), "--mode", "rgb", "--illum", "6"},
                              "scan")
                           .at("result");
    EXPECT_EQ(again.at("options").at("illum"), 6);
    EXPECT_EQ(again.at("states").at(0).at("state"), 2);
    EXPECT_TRUE(ReadText(In("again/front.png")) == uncorrected);
    Scan(In("scan"), {"--mode", "rgb"});
    EXPECT_FALSE(ReadText(In("scan/front.png")) == uncorrected);
}

} // namespace
