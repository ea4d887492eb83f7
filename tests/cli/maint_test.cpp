// The workshop's images, a calibration, and the report of both.
#include "scanner/virtual_scanner.h"
#include "tests/cli/cli_fixture.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

TEST_F(Cli, CalibratesAndReports) {
    const auto result = [](Words words) {
        words.insert(words.end(), {"--virtual", "--speed", "0"});
        return Result(words, words[0].c_str());
    };
    result({"scan", "--card", Sample("white"), "--no-barcodes", "--out", In("out")});
    EXPECT_GE(result({"still", "--out", In("out")}).at("result").at("verdict"), 0);
    if (kBarcodesInTime)
        result({"jitter", "--card", Sample("jitter-test"), "--out", In("out")});
    result({"afe", "--set", "redGain=200", "--store", "--yes"});
    const json done = result({"calibrate", "--card", Sample("white-f"), "--out", In("out"), "--yes"});
    const json rounds = done.at("result").at("rounds");
    EXPECT_EQ(rounds.front().at("state"), 35);
    EXPECT_EQ(rounds.at(rounds.size() - 2).at("state"), 36);
    EXPECT_EQ(rounds.back().at("state"), 37);

    result({"report", In("out"), "--out", In("page.html")});
    const std::string page = ReadText(In("page.html"));
    EXPECT_EQ(page.find("Jitter test") != std::string::npos, kBarcodesInTime);
    EXPECT_THAT(page, AllOf(HasSubstr("id=\"workshop\""), HasSubstr("factory verification finished"),
                            HasSubstr("red B</text>"), Not(HasSubstr("{{"))));
    result({"flash", "--format", "--yes"}); // for the tests behind this one
    WriteText(In("out/still.json"), "{");
    EXPECT_EQ(K274({"report", In("out"), "--out", In("page.html")}).status, 12);
}

TEST_F(Cli, WritesWhatItFetchesForTheWorkshop) {
    Result({"hires", "--card", Sample("licence"), "--out", In("out")}, "hires");
    EXPECT_EQ(SizeOf(In("out/hires-back.png")), (Size{1000, 2300, 3}));
    EXPECT_GT(Result({"focus", "--virtual", "--out", In("out")}, "focus").at("sharpness"), 1);
    EXPECT_EQ(K274({"userdata", "write", "bench 4", "--yes", "--virtual"}).status, 0);
    EXPECT_EQ(K274({"userdata", "read", "--virtual", "--out", In("record")}).status, 0);
    EXPECT_EQ(ReadText(In("record")), "bench 4" + std::string(121, '\0'));
}

} // namespace
