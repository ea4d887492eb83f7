// The command-line host as a program: files, lines, exit statuses and signals, in front of the virtual
// scanner.
#include <signal.h>

#include <fstream>

#include "tests/cli/cli_fixture.h"
#include "tools/k274/png.h"

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

TEST(Png, TurnsTheLibrarysColoursAround) {
    const uint8_t pixels[] = {1, 2, 3, 4, 5, 6, 255, 0, 7, 9, 10, 11}; // two rows of two
    const std::vector<uint8_t> colour = host::EncodePng(pixels, 2, 2, 3),
                               grey = host::EncodePng(pixels, 4, 3, 1);
    const host::Picture two = host::DecodePng(colour, ""), four = host::DecodePng(grey, "");
    EXPECT_THAT(two.pixels, testing::ElementsAre(3, 2, 1, 6, 5, 4, 7, 0, 255, 11, 10, 9));
    EXPECT_THAT(four.pixels, testing::ElementsAreArray(pixels));
    EXPECT_EQ(four.width * 10 + four.height, 43);
}

TEST_F(Cli, ScansCardsIntoNumberedFolders) {
    fs::create_directory(folder / "log");
    std::ofstream(folder / "log" / "K274dll.log") << "a line of an earlier session\r\n";
    const Outcome run = RunK274({"scan", "--card", Sample("licence"), "--card", Sample("club"), "--speed",
                                 "0", "--seed", "7", "--out", In("out"), "--log", In("log"), "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::vector<json> lines = JsonLines(run.out), scans = Events(lines, "scan");
    ASSERT_EQ(scans.size(), 2u);
    EXPECT_THAT(Names(folder / "out"), testing::ElementsAre("001", "002"));

    for (int number = 1; number <= 2; ++number) {
        const fs::path out = folder / "out" / ("00" + std::to_string(number));
        EXPECT_THAT(Names(out),
                    testing::ElementsAre("back.png", "edge.png", "front.png", "ir-back.png", "ir-front.png",
                                         "responses.csv", "scan.json", "scan.log", "scan.tif",
                                         "stripe-bleed.png", "stripe.png", "uv-back.png", "uv-front.png"));
        EXPECT_EQ(SizeOf(out / "front.png"), (Size{1880, 1180, 3}));
        EXPECT_EQ(SizeOf(out / "ir-back.png"), (Size{2048, 1286, 1}));
        EXPECT_EQ(SizeOf(out / "uv-front.png"), (Size{1024, 643, 3}));
        EXPECT_EQ(SizeOf(out / "edge.png"), (Size{500, 60, 3}));
        EXPECT_EQ(SizeOf(out / "stripe.png"), (Size{900, 640, 1}));
        EXPECT_EQ(SizeOf(out / "stripe-bleed.png"), (Size{640, 400, 1}));
        EXPECT_EQ(fs::file_size(out / "scan.tif"), 22915520u);

        const json scan = json::parse(ReadAll(out / "scan.json"));
        EXPECT_EQ(scan, scans[static_cast<size_t>(number) - 1].at("result"));
        EXPECT_EQ(scan.at("scan"), number);
        EXPECT_EQ(scan.at("device"), "virtual");
        EXPECT_EQ(scan.at("virtual").at("card"), Sample(number == 1 ? "licence" : "club"));
        EXPECT_EQ(scan.at("virtual").at("seed"), 7);
        EXPECT_EQ(scan.at("virtual").at("speed"), 0);
        EXPECT_EQ(scan.at("options").at("mode"), "full");
        EXPECT_EQ(scan.at("versions").at("library"), "2.3.7");
        EXPECT_NE(scan.at("versions").at("serialNumber"), 0);
        EXPECT_EQ(scan.at("transferErrors"), 0);
        // A card is 85.6 mm long and 53.98 mm high.
        EXPECT_NEAR(scan.at("card").at("widthMm").get<double>(), 85.6, 1.5);
        EXPECT_NEAR(scan.at("card").at("frontHeightMm").get<double>(), 53.98, 1.5);
        std::vector<int> states;
        int last = 0;
        for (const json &state : scan.at("states")) {
            const int code = state.at("state");
            if (code < 9 && code != 4) // whose place is nowhere fixed
                states.push_back(code);
            EXPECT_GE(state.at("ms"), last);
            last = state.at("ms");
        }
        EXPECT_THAT(states, testing::ElementsAre(1, 2, 3, 5, 6, 7, 8));
        ASSERT_TRUE(scan.at("barcodes").is_object());
        for (const json &measure : scan.at("measures"))
            EXPECT_THAT((Words{"good", "null"}),
                        testing::Contains(measure.at("grade").is_null() ? "null" : measure.at("grade")))
                << measure;
        EXPECT_EQ(scan.at("states").at(0).at("ms"), 0);
        for (const json &image : scan.at("images"))
            EXPECT_EQ(fs::file_size(out / image.at("file").get<std::string>()), image.at("bytes"));
    }
    EXPECT_NE(ReadAll(folder / "out/001/front.png"), ReadAll(folder / "out/002/front.png"));
    const json licence = scans[0].at("result"), &tracks = licence.at("stripe");
    const std::string card = ReadAll(Sample("licence") + "/card.txt");
    for (size_t i = 0; i < 3; ++i) { // the card's own words, between sentinels
        const std::string text = tracks.at(i).at("text");
        EXPECT_THAT(card,
                    HasSubstr("track" + std::to_string(i + 1) + " = " + text.substr(1, text.size() - 2)));
        EXPECT_EQ(tracks.at(i).at("characters"), text.size());
    }
    const json &code = licence.at("barcodes").at("pdf417");
    EXPECT_EQ(licence.at("barcodes").at("side"), "back");
    EXPECT_EQ(code.at("elements").at(1),
              (json{{"id", "DCS"}, {"name", "family name"}, {"value", "QUILLON-MARSH"}}));
    EXPECT_THAT(ReadAll(folder / "log" / "K274dll.log"), HasSubstr("init,    DLL      ver 2.3.7"));
    EXPECT_THAT(ReadAll(folder / "out" / "001" / "scan.log"), testing::StartsWith("00001,"));
    EXPECT_THAT(ReadAll(folder / "out" / "002" / "scan.log"),
                testing::AllOf(HasSubstr("00002, UV   Xfr"), Not(HasSubstr("00001, UV   Xfr"))));
}

TEST_F(Cli, GoesRoundTheDeckAndKeepsNoOldFile) {
    fs::create_directories(folder / "deck");
    fs::create_directory_symlink(Sample("club"), folder / "deck" / "b");
    fs::create_directory_symlink(Sample("white"), folder / "deck" / "a");
    fs::create_directory(folder / "deck" / "no-card");
    fs::create_directories(folder / "out" / "001");
    std::ofstream(folder / "out" / "001" / "front.png") << "old";
    const Outcome run = RunK274({"--speed", "0", "scan", "--cards", In("deck"), "--count", "3", "--out",
                                 In("out"), "--mode", "rgb", "--no-barcodes"});
    ASSERT_EQ(run.status, 0) << run.err;
    Words cards;
    for (const char *number : {"001", "002", "003"}) {
        const json scan = json::parse(ReadAll(folder / "out" / number / "scan.json"));
        cards.push_back(fs::path(scan.at("virtual").at("card").get<std::string>()).filename());
        EXPECT_EQ(scan.at("barcodes"), nullptr);
        EXPECT_THAT(Names(folder / "out" / number),
                    testing::ElementsAre("back.png", "edge.png", "front.png", "responses.csv", "scan.json",
                                         "stripe-bleed.png", "stripe.png"));
    }
    EXPECT_THAT(cards, testing::ElementsAre("a", "b", "a"));
    EXPECT_EQ(SizeOf(folder / "out" / "001" / "front.png"), (Size{1880, 1180, 3}));
    EXPECT_THAT(run.out, HasSubstr("scan complete (8)"));
    EXPECT_THAT(run.out, Not(HasSubstr("\x1b"))); // no terminal, no escapes
}

TEST_F(Cli, EndsWithADocumentedStatusAndOneLine) {
    std::ofstream(folder / "file") << "kept";
    fs::create_directory(folder / "empty");
    const std::string bare = K274_BARE_DRIVER, card = Sample("white"), out = In("out");
    const struct {
        Words arguments;
        Surroundings around;
        int status;
        const char *says;
    } cases[] = {
        {{}, {}, 2, "name a command"},
        {{"polish"}, {}, 2, "--help"},
        {{"scan", "--bogus"}, {}, 2, "--bogus"},
        {{"scan", "--count", "0", "--virtual"}, {}, 2, "--count"},
        {{"scan", "--mode", "uv"}, {}, 2, "--mode"},
        {{"scan", "--decode-mode", "10"}, {}, 2, "--decode-mode"},
        {{"resend", "--virtual", "--out", out}, {}, 2, "--card"},
        {{"resend", "--uv-enhance", "on", "--uv-options", "3"}, {}, 2, "--uv-"},
        {{"dump", "12", "blah"}, {}, 2, "visible-raw"},
        {{"watch", "--timeout", "nan"}, {}, 2, "--timeout"},
        {{"info", "--virtual", "--speed", "-1"}, {}, 2, "--speed"},
        {{"info", "--virtual", "--seed", "-1"}, {}, 2, "--seed"},
        {{"info", "--seed", "4"}, {}, 2, "--virtual"},
        {{"info"}, {{{"K274_DEVICE", "abacus"}}, "", false, 0}, 4, "--virtual"},
#ifdef K274_USB
        {{"info", "--timeout", "0.5"},
         {{{"K274_DEVICE", "usb"}}, "", false, 0},
         3,
         "connect it, or use --virtual"},
#endif
        {{"info", "--timeout", "0.5"}, {{{"LD_LIBRARY_PATH", bare}}, "", false, 0}, 3, "connect"},
        {{"info", "--virtual"}, {{{"LD_LIBRARY_PATH", bare}}, "", false, 0}, 11, "virtual scanner"},
        {{"scan", "--virtual", "--timeout", "2", "--out", out}, {}, 5, "no card"},
        {{"watch", "--virtual", "--timeout", "1", "--count", "50"}, {}, 5, "of 50"},
        {{"scan", "--virtual", "--out", In("file")}, {}, 9, "not a folder"},
        {{"scan", "--virtual", "--out", In("no/such")}, {}, 9, "no/such"},
        {{"scan", "--virtual", "--out", ""}, {}, 9, "cannot"},
        {{"info", "--virtual", "--log", In("file")}, {}, 9, "not a folder"},
        {{"info", "--virtual"}, {{}, "/dev/full", false, 0}, 9, "standard output"},
        {{"open", In("nowhere")}, {}, 12, "no such file"},
        {{"open", In("file")}, {}, 12, "not a scan file"},
        {{"report", In("empty")}, {}, 12, "scan.json"},
        {{"decode", In("file")}, {}, 12, "not a PNG"},
        {{"decode", In("empty")}, {}, 12, "no such file"},
        {{"scan", "--card", In("nowhere"), "--out", out}, {}, 10, "nowhere"},
        {{"scan", "--card", In("empty"), "--out", out}, {}, 10, "front.png"},
        {{"scan", "--cards", In("empty"), "--out", out}, {}, 10, "no cards"},
        {{"scan", "--cards", In("file"), "--out", out}, {}, 10, "file"},
    };
    for (const auto &c : cases) {
        std::string line = "k274";
        for (const std::string &word : c.arguments)
            line += " " + word;
        SCOPED_TRACE(line);
        const Outcome run = RunK274(c.arguments, c.around);
        EXPECT_EQ(run.status, c.status) << run.err;
        // The driver may have told its own part before.
        const std::string last = run.err.substr(std::min(run.err.find("k274: "), run.err.size()));
        EXPECT_THAT(last, HasSubstr(c.says));
        EXPECT_EQ(last.find('\n') + 1, last.size()) << run.err;
    }
    EXPECT_EQ(ReadAll(folder / "file"), "kept");
    EXPECT_THAT(Names(out), IsEmpty());
    EXPECT_THAT(RunK274({"--version"}).out, StartsWith("k274 2."));
    EXPECT_EQ(RunK274({"scan", "--help"}).status, 0);
}

TEST_F(Cli, TroubleWithTheScannerHasItsStatus) {
    const struct {
        const char *mischief, *timeout;
        int status;
        const char *code;
    } cases[] = {{"absent", "1", 3, "no_device"},
                 {"fail", "30", 6, "cancelled"},
                 {"jam", "30", 7, "jammed"},
                 {"unplug", "30", 8, "device_lost"}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.mischief);
        const Outcome run = RunK274({"scan", "--card", Sample("white"), "--speed", "0", "--out", In("out"),
                                     "--timeout", c.timeout, "--json"},
                                    {{{"LD_PRELOAD", K274_MISCHIEF},
                                      {"ASAN_OPTIONS", "verify_asan_link_order=0"},
                                      {"K274_TEST_MISCHIEF", c.mischief}},
                                     "",
                                     false,
                                     0});
        EXPECT_EQ(run.status, c.status) << run.err;
        const std::vector<json> errors = Events(JsonLines(run.out), "error");
        ASSERT_EQ(errors.size(), 1u);
        EXPECT_EQ(errors[0].at("code"), c.code);
        EXPECT_EQ(errors[0].at("status"), c.status);
        EXPECT_EQ("k274: " + errors[0].at("message").get<std::string>() + "\n", run.err);
        EXPECT_THAT(Names(folder / "out"), IsEmpty());
    }
}

TEST_F(Cli, AFailedWriteKeepsTheOldFiles) {
    const Words scan = {"scan", "--card", Sample("white"), "--speed", "0", "--out", In("out")};
    fs::create_directory(folder / "out");
    std::ofstream(folder / "out" / "front.png") << "good";
    // Some image is larger than the limit, whichever is written first.
    EXPECT_EQ(RunK274(scan, {{}, "", false, 100000}).status, 9);
    EXPECT_EQ(ReadAll(folder / "out" / "front.png"), "good");
    EXPECT_THAT(Names(folder / "out"), testing::ElementsAre("front.png"));

    fs::create_directory(folder / "out" / "scan.json"); // the last file of the set
    EXPECT_EQ(RunK274(scan).status, 9);
    EXPECT_EQ(ReadAll(folder / "out" / "front.png"), "good");
    EXPECT_THAT(Names(folder / "out"), testing::ElementsAre("front.png", "scan.json"));
}

TEST_F(Cli, SignalsCloseTheLibrary) {
    const struct {
        Words arguments;
        const char *moment;
        int signal, status;
    } cases[] = {{{"watch", "--virtual"}, "connected", SIGINT, 130},
                 {{"scan", "--virtual", "--out", In("out")}, "waiting for a card", SIGINT, 130},
                 {{"scan", "--card", Sample("white"), "--speed", "1", "--out", In("out")},
                  "scan started",
                  SIGTERM,
                  143}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.moment);
        fs::remove(folder / "device.log");
        Program program(K274_PROGRAM, c.arguments, {{{"K274_SCANNER_LOG", In("device.log")}}, "", false, 0});
        ASSERT_TRUE(program.WaitFor(c.moment));
        program.Signal(c.signal);
        const Outcome run = program.Wait();
        EXPECT_EQ(run.status, c.status) << run.err;
        EXPECT_THAT(ReadAll(folder / "device.log"), HasSubstr("0x17 close"));
        if (fs::exists(folder / "out"))
            EXPECT_THAT(Names(folder / "out"), IsEmpty());
    }
}

TEST_F(Cli, WatchShowsEveryState) {
    const Outcome run = RunK274({"watch", "--cards", Sample("white"), "--speed", "0", "--timeout", "3",
                                 "--json"}); // one card, itself
    ASSERT_EQ(run.status, 0) << run.err;
    std::vector<int> states;
    for (const json &line : JsonLines(run.out)) {
        EXPECT_EQ(line.at("event"), "state");
        states.push_back(line.at("state"));
    }
    EXPECT_THAT(states, testing::IsSupersetOf({10, 1, 3, 5, 8}));
    EXPECT_EQ(std::count(states.begin(), states.end(), 8), 1);
}

TEST_F(Cli, ColoursAreForTerminals) {
    const Words watch = {"watch", "--virtual", "--count", "1"};
    const std::pair<std::string, std::string> terminal = {"TERM", "xterm"};
    EXPECT_THAT(RunK274(watch, {{terminal}, "", true, 0}).out, HasSubstr("\x1b[32mscanner connected"));
    EXPECT_THAT(RunK274(watch, {{terminal, {"NO_COLOR", "1"}}, "", true, 0}).out,
                testing::AllOf(HasSubstr("scanner connected"), Not(HasSubstr("\x1b[32m"))));
    EXPECT_THAT(RunK274(watch, {{{"TERM", "dumb"}}, "", true, 0}).out, Not(HasSubstr("\x1b")));
}

TEST_F(Cli, InfoEjectAndReset) {
    const Outcome info = RunK274({"info", "--virtual", "--json"});
    ASSERT_EQ(info.status, 0) << info.err;
    const json shown = Events(JsonLines(info.out), "info").at(0);
    EXPECT_EQ(shown.at("device"), "virtual");
    EXPECT_EQ(shown.at("online"), true);
    EXPECT_EQ(shown.at("versions").at("library"), "2.3.7");
    const json serial = shown.at("versions").at("serialNumber");
    EXPECT_THAT(RunK274({"info", "--virtual"}).out, HasSubstr("serial number     " + serial.dump() + "\n"));

    for (const char *command : {"eject", "reset"}) {
        const Outcome run =
            RunK274({command, "--virtual", "--speed", "0", "--json"},
                    {{{"K274_SCANNER_LOG", In(std::string(command) + ".log")}}, "", false, 0});
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(Events(JsonLines(run.out), command).size(), 1u);
    }
    EXPECT_THAT(ReadAll(folder / "eject.log"), HasSubstr("0x41 eject"));
    EXPECT_THAT(ReadAll(folder / "reset.log"), HasSubstr("0x75 reset"));
}

// The program that docs/writing-a-host.md prints.
TEST_F(Cli, TheDocumentedHostScansACard) {
    const Outcome run =
        Program(K274_EXAMPLE_HOST, {In("front.ppm")},
                {{{"K274_DEVICE", "virtual"}, {"K274_CARDS", Sample("licence")}, {"K274_SPEED", "0"}},
                 "",
                 false,
                 0})
            .Wait();
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_EQ(fs::file_size(folder / "front.ppm"), 1880u * 1180 * 3 + 17);
}

} // namespace
