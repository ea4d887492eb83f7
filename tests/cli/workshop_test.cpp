// The commands for workshop and factory, in front of a virtual scanner that keeps its flash in a file.
#include <fstream>

#include "tests/cli/cli_fixture.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

struct Workshop : Cli {
    Outcome Run(Words arguments, const std::string &jitter = "0") {
        for (const char *word : {"--virtual", "--speed", "0"})
            arguments.push_back(word);
        Surroundings around;
        around.environment = {{"K274_FLASH", In("flash")}, {"K274_JITTER", jitter}};
        return RunK274(arguments, around);
    }

    json Result(Words arguments, const char *event) {
        arguments.push_back("--json");
        const Outcome run = Run(std::move(arguments));
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.err, ""); // no progress among the machines
        const std::vector<json> events = Events(JsonLines(run.out), event);
        return events.empty() ? json() : events.back();
    }
};

TEST_F(Workshop, RefusesWithOneLineWhatItMustNotDo) {
    std::ofstream(folder / "image") << "an image";
    std::ofstream(folder / "large") << std::string(131073, 'x');
    std::ofstream(folder / "empty");
    const struct {
        Words arguments;
        int status;
        const char *says;
    } cases[] = {
        {{"firmware"}, 2, "--yes"},
        {{"firmware", In("image"), "--json"}, 2, "--yes"},
        {{"firmware", In("missing"), "--yes"}, 12, "missing"},
        {{"firmware", In("large"), "--yes"}, 12, "131073 bytes"},
        {{"fpga", In("image")}, 2, "--yes"},
        {{"fpga", "--erase"}, 2, "--yes"},
        {{"fpga", "--yes"}, 2, "takes a FILE"},
        {{"fpga", In("image"), "--erase", "--yes"}, 2, "takes a FILE"},
        {{"fpga", In("empty"), "--yes"}, 12, "0 bytes"},
        {{"flash"}, 2, "takes the number"},
        {{"flash", "--format"}, 2, "--yes"},
        {{"userdata", "write", "note"}, 2, "--yes"},
        {{"userdata", "write", "4b3", "--hex", "--yes"}, 2, "hexadecimal"},
        {{"factorydata", "write", std::string(129, 'x'), "--yes"}, 2, "128 bytes"},
        {{"factorydata", "write", "--in", In("large"), "--yes"}, 12, "128 bytes"},
        {{"params", "--set", "3=1"}, 2, "--yes"},
        {{"params", "--set", "field10=4", "--yes"}, 2, "must be 500"},
        {{"params", "--set", "11=4", "--yes"}, 2, "numbers to 10"},
        {{"afe", "--set", "redGain=1000"}, 2, "values to 999"},
        {{"afe", "--set", "redGain"}, 2, "redGain"},
        {{"afe", "--set", "26=1"}, 2, "numbers to 25"},
        {{"afe", "--set", "redGain=100", "--store"}, 2, "--yes"},
        {{"leds"}, 2, "three values"},
        {{"rig", "3", "wink"}, 2, "wink"},
        {{"usbtest", "--length", "196353"}, 2, "--length"},
        {{"calibrate"}, 2, "--yes"},
        {{"calibrate", "--yes", "--count", "1", "--card", Sample("club")}, 14, "not finished"},
        {{"jitter", "--card", Sample("bank")}, 13, "no barcode"},
    };
    for (const auto &c : cases) {
        const Outcome run = Run(c.arguments);
        EXPECT_EQ(run.status, c.status) << testing::PrintToString(c.arguments) << run.err;
        EXPECT_THAT(run.err, AllOf(HasSubstr("k274: "), HasSubstr(c.says)))
            << testing::PrintToString(c.arguments);
    }
    EXPECT_FALSE(fs::exists(folder / "flash")); // nothing of that was stored
}

TEST_F(Workshop, KeepsWhatWasWritten) {
    Result({"userdata", "write", "bench 4", "--yes"}, "userdata");
    Result({"factorydata", "write", "4b 32 00 ff", "--hex", "--yes"}, "factorydata");
    Result({"params", "--set", "3=77", "--yes"}, "params");
    Result({"afe", "--set", "redGain=123", "--set", "1=111", "--store", "--yes"}, "afe");
    EXPECT_EQ(Result({"afe", "--set", "irGain=99"}, "afe").at("values").at("irGain"), 99);

    EXPECT_EQ(Result({"userdata", "read", "--out", In("record")}, "userdata").at("text"), "bench 4");
    EXPECT_EQ(ReadAll(folder / "record"), "bench 4" + std::string(121, '\0'));
    EXPECT_THAT(Run({"factorydata", "read", "--hex"}).out, HasSubstr("\n4b 32 00 ff 00 "));
    EXPECT_EQ(Result({"params"}, "params").at("values").at("field3"), 77);
    const json afe = Result({"afe"}, "afe").at("values");
    EXPECT_EQ(afe.at("redGain"), 123);
    EXPECT_EQ(afe.at("greenGain"), 111);
    EXPECT_NE(afe.at("irGain"), 99); // it was set until the restart only
    EXPECT_THAT(Run({"flash", "2"}).out, HasSubstr("0000  62 65 6e 63 68 20 34 00"));

    Result({"flash", "--format", "--yes"}, "flash");
    EXPECT_EQ(Result({"userdata", "read"}, "userdata").at("text"), "");
}

TEST_F(Workshop, ProgramsAndWaitsForTheRestart) {
    std::ofstream(folder / "image") << "an image";
    EXPECT_EQ(Result({"firmware", "--yes"}, "firmware").at("after").at("firmware"), "2.3.7");
    const json fpga = Result({"fpga", In("image"), "--yes"}, "fpga");
    EXPECT_NE(fpga.at("after").at("fpga"), fpga.at("before").at("fpga"));
    const Outcome erased = Run({"fpga", "--erase", "--yes"});
    EXPECT_EQ(erased.status, 0);
    EXPECT_THAT(erased.out, AllOf(HasSubstr("scanner was reset (12)"), HasSubstr("FPGA              0.0")));
    EXPECT_THAT(erased.err, HasSubstr("programming"));
    const Outcome test = Run({"selftest"});
    EXPECT_EQ(test.status, 14);
    EXPECT_THAT(test.out, AllOf(HasSubstr("versions          failed"), HasSubstr("loopback          ok")));
}

TEST_F(Workshop, SendsSingleCommandsAndTests) {
    for (const Words &command :
         {Words{"leds", "1", "2", "3", "--user", "2", "--debug", "1", "1", "--aging", "0"},
          Words{"beep", "2"}, Words{"mech", "3", "7", "8"}, Words{"rig", "3", "pulse-high"}})
        Result(command, command[0].c_str());
    EXPECT_EQ(Result({"usbtest", "--count", "20"}, "usbtest").at("failed"), 0);
    EXPECT_EQ(Result({"selftest", "--card", Sample("white")}, "selftest").at("failed"), 0);
    EXPECT_GT(Result({"focus", "--out", In("out")}, "focus").at("sharpness"), 1);
    Result({"hires", "--card", Sample("licence"), "--out", In("out")}, "hires");
    EXPECT_EQ(SizeOf(folder / "out/hires-back.png"), (Size{1000, 2300, 3}));
    EXPECT_EQ(Run({"jitter", "--card", Sample("jitter-test")}, "2").status, 14);
}

TEST_F(Workshop, CalibratesAndReports) {
    Result({"scan", "--card", Sample("white"), "--no-barcodes", "--out", In("out")}, "scan");
    EXPECT_GE(Result({"still", "--out", In("out")}, "still").at("result").at("verdict"), 0);
    EXPECT_EQ(Result({"jitter", "--card", Sample("jitter-test"), "--out", In("out")}, "jitter")
                  .at("result")
                  .at("grade"),
              "good");
    Result({"afe", "--set", "redGain=200", "--store", "--yes"}, "afe");
    const json done =
        Result({"calibrate", "--card", Sample("white-f"), "--out", In("out"), "--yes"}, "calibrate");
    const json rounds = done.at("result").at("rounds");
    EXPECT_EQ(rounds.front().at("state"), 35);
    EXPECT_EQ(rounds.at(rounds.size() - 2).at("state"), 36);
    EXPECT_EQ(rounds.back().at("state"), 37);

    Result({"report", In("out"), "--out", In("page.html")}, "report");
    EXPECT_THAT(ReadAll(folder / "page.html"),
                AllOf(HasSubstr("id=\"workshop\""), HasSubstr("factory verification finished"),
                      HasSubstr("red B</text>"), HasSubstr("Jitter"), Not(HasSubstr("{{"))));
    std::ofstream(folder / "out/still.json") << "{";
    EXPECT_EQ(Run({"report", In("out"), "--out", In("page.html")}).status, 12);
}

} // namespace
