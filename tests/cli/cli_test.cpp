// The commands that scan, watch and ask: files, lines and exit statuses, in front of the virtual scanner; and
// k274 as a process, with its signals and terminals.
#include <signal.h>

#include <thread>

#include "scanner/virtual_scanner.h"
#include "tests/cli/cli_fixture.h"
#include "tools/k274/files/png.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

TEST(Png, TurnsTheLibrarysColoursAround) {
    const uint8_t pixels[] = {1, 2, 3, 4, 5, 6, 255, 0, 7, 9, 10, 11}; // two rows of two
    const host::Picture two = host::DecodePng(host::EncodePng(pixels, 2, 2, 3), ""),
                        four = host::DecodePng(host::EncodePng(pixels, 4, 3, 1), "");
    EXPECT_THAT(two.pixels, ElementsAre(3, 2, 1, 6, 5, 4, 7, 0, 255, 11, 10, 9));
    EXPECT_THAT(four.pixels, testing::ElementsAreArray(pixels));
    EXPECT_EQ(four.width * 10 + four.height, 43);
}

TEST_F(Cli, ScansCardsIntoNumberedFolders) {
    fs::create_directory(In("log"));
    WriteText(In("log/K274dll.log"), "a line of an earlier session\r\n");
    const Outcome run = K274({"scan", "--card", Sample("licence"), "--card", Sample("club"), "--speed", "0",
                              "--seed", "7", "--out", In("out"), "--log", In("log"), "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::vector<json> scans = Events(JsonLines(run.out), "scan");
    ASSERT_EQ(scans.size(), 2u);
    EXPECT_THAT(Names(In("out")), ElementsAre("001", "002"));
    for (const json &told : scans) {
        const fs::path out = told.at("folder").get<std::string>();
        EXPECT_THAT(Names(out),
                    ElementsAre("back.png", "edge.png", "front.png", "ir-back.png", "ir-front.png",
                                "responses.csv", "scan.json", "scan.log", "scan.tif", "stripe-bleed.png",
                                "stripe.png", "uv-back.png", "uv-front.png"));
        const json scan = json::parse(ReadText(out / "scan.json"));
        EXPECT_EQ(scan, told.at("result"));
        ExpectGolden("scan-" + out.filename().string() + ".json", scan);
        for (const json &image : scan.at("images")) {
            const fs::path file = out / image.at("file").get<std::string>();
            EXPECT_EQ(fs::file_size(file), image.at("bytes"));
            EXPECT_EQ(SizeOf(file), (Size{image.at("width"), image.at("height"), image.at("channels")}));
        }
        EXPECT_EQ(fs::file_size(out / "scan.tif"), 22915520u);
        int last = 0;
        EXPECT_EQ(scan.at("states").at(0).at("ms"), 0);
        for (const json &state : scan.at("states")) {
            EXPECT_GE(state.at("ms"), last);
            last = state.at("ms");
        }
    }
    EXPECT_NE(ReadText(In("out/001/front.png")), ReadText(In("out/002/front.png")));
    EXPECT_THAT(ReadText(In("log/K274dll.log")), HasSubstr("init,    DLL      ver 2.3.7"));
    EXPECT_THAT(ReadText(In("out/001/scan.log")), StartsWith("00001,"));
    EXPECT_THAT(ReadText(In("out/002/scan.log")),
                AllOf(HasSubstr("00002, UV   Xfr"), Not(HasSubstr("00001, UV   Xfr"))));
}

TEST_F(Cli, WatchShowsEveryState) {
    const Outcome run = K274({"watch", "--cards", Sample("white"), "--speed", "0", "--timeout",
                              kBarcodesInTime ? "4" : "10", "--json"}); // one card, itself
    ASSERT_EQ(run.status, 0) << run.err;
    std::vector<int> states;
    for (const json &line : JsonLines(run.out)) {
        EXPECT_EQ(line.at("event"), "state");
        states.push_back(line.at("state"));
    }
    EXPECT_THAT(states, testing::IsSupersetOf({10, 1, 3, 5, 8}));
    EXPECT_EQ(std::count(states.begin(), states.end(), 8), 1);
}

TEST_F(Cli, AJamIsToldByAnEventToo) {
    std::thread jam([] { // events of the first two seconds, whole ones by the calendar, are not told
        std::this_thread::sleep_for(std::chrono::milliseconds(3100));
        VS_PostEvent("Card jammed illum = 5");
    });
    const Outcome run = K274({"scan", "--virtual", "--out", In("out"), "--json"});
    jam.join();
    EXPECT_EQ(run.status, 7);
    EXPECT_EQ(Events(JsonLines(run.out), "error").at(0).at("code"), "jammed");
}

TEST_F(Cli, EjectAndResetReachTheScanner) {
    VS_Observed before = {}, after = {};
    VS_GetObserved(&before);
    Result({"eject", "--virtual"}, "eject");
    Result({"reset", "--virtual"}, "reset");
    VS_GetObserved(&after);
    EXPECT_EQ(after.ejects, before.ejects + 1);
    EXPECT_EQ(after.resets, before.resets + 1);
}

// ---- as a process ----

TEST_F(Cli, SignalsCloseTheLibrary) {
    const Variable log("K274_SCANNER_LOG", In("device.log"));
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
        fs::remove(In("device.log"));
        Words words = c.arguments;
        words.insert(words.begin(), K274_PROGRAM);
        Process program(words);
        ASSERT_TRUE(program.WaitFor(c.moment));
        program.Signal(c.signal);
        const Outcome run = program.Wait();
        EXPECT_EQ(run.status, c.status) << run.err;
        EXPECT_THAT(ReadText(In("device.log")), HasSubstr("0x17 close"));
        if (fs::exists(In("out")))
            EXPECT_THAT(Names(In("out")), IsEmpty());
    }
}

TEST_F(Cli, ColoursAreForTerminals) {
    const auto watch = [this](const char *set) {
        const std::string line = "env " + std::string(set) + " " K274_PROGRAM " watch --virtual --count 1";
        return Process({"/usr/bin/script", "-qec", line, In("terminal")}).Wait().out;
    };
    EXPECT_THAT(watch("TERM=xterm"), HasSubstr("\x1b[32mscanner connected"));
    EXPECT_THAT(watch("TERM=xterm NO_COLOR=1"),
                AllOf(HasSubstr("scanner connected"), Not(HasSubstr("\x1b[32m"))));
    EXPECT_THAT(watch("TERM=dumb"), AllOf(HasSubstr("scanner connected"), Not(HasSubstr("\x1b"))));
}

TEST_F(Cli, TellsItsStatusToTheSystem) {
    const std::string bare = "LD_LIBRARY_PATH=" K274_BARE_DRIVER " " K274_PROGRAM, program = K274_PROGRAM;
    const struct {
        std::string line;
        int status;
        const char *says;
    } cases[] = {{program + " info --virtual", 0, ""},
                 {program + " polish", 2, "--help"},
#ifdef K274_USB
                 {"K274_DEVICE=usb " + program + " info --timeout 0.5", 3, "connect it, or use --virtual"},
#endif
                 {program + " info --virtual > /dev/full", 9, "standard output"},
                 {bare + " info --timeout 0.5", 3, "connect"},
                 {bare + " info --virtual", 11, "virtual scanner"}};
    for (const auto &c : cases) {
        const Outcome run = Process({"/bin/sh", "-c", c.line}).Wait();
        EXPECT_EQ(run.status, c.status) << c.line;
        EXPECT_THAT(run.err, HasSubstr(c.says));
    }
}

// The program that docs/writing-a-host.md prints.
TEST_F(Cli, TheDocumentedHostScansACard) {
    const Variable device("K274_DEVICE", "virtual"), cards("K274_CARDS", Sample("licence")),
        speed("K274_SPEED", "0");
    const Outcome run = Process({K274_EXAMPLE_HOST, In("front.ppm")}).Wait();
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_EQ(fs::file_size(In("front.ppm")), 1880u * 1180 * 3 + 17);
}

// The driver speaks on standard error itself.
TEST_F(Cli, ARecordingOnAFullDiskEndsAlone) {
    const auto record = [this](const std::string &name) {
        const Variable file("K274_RECORD", In(name)), speed("K274_SPEED", "0");
        const FileLimit limit(1000);
        return Process({K274_PROGRAM, "info", "--virtual"}).Wait();
    };
    const Outcome full = record("a.rec");
    EXPECT_EQ(full.status, 0);
    EXPECT_THAT(full.out, HasSubstr("device            virtual, online\n"));
    EXPECT_THAT(full.err,
                testing::ContainsRegex("^wdapi1140: the recording [^\n]*a.rec ends here: File too large; "
                                       "the traffic goes on\n$"));
    EXPECT_THAT(K274({"trace", In("a.rec")}).out, HasSubstr("cut short"));

    const Outcome none = record("none/a.rec");
    EXPECT_EQ(none.status, 4);
    EXPECT_THAT(none.err, HasSubstr("none/a.rec cannot be made: No such file or directory\n"));
}

} // namespace
