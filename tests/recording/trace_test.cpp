// k274 trace, and k274 in front of a recording.
#include "tests/cli/cli_fixture.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>

namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

void Write(const fs::path &file, const std::string &bytes) {
    std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

/// k274 with one variable set.
Outcome RunWith(const char *variable, const std::string &value, const Words &words, size_t fileLimit = 0) {
    Surroundings around;
    around.environment = {{variable, value}};
    around.fileLimit = fileLimit;
    return RunK274(words, around);
}

/// What k274 info tells of the scanner itself.
std::string Scanner(const Outcome &info) {
    return info.out.substr(std::min(info.out.find("serial number"), info.out.size()));
}

// One recorded start and end of the library.
struct Trace : Cli {
    static void SetUpTestSuite() {
        original = fs::temp_directory_path() / ("k274-trace-" + std::to_string(getpid()));
        info = RunWith("K274_RECORD", original.string(), {"info", "--virtual", "--speed", "0"});
        ASSERT_EQ(info.status, 0) << info.err;
    }
    static void TearDownTestSuite() { fs::remove(original); }

    inline static fs::path original;
    inline static Outcome info;
};

TEST_F(Trace, ShowsWhatWasSaid) {
    const Outcome run = RunK274({"trace", original.string()});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.err, IsEmpty());
    EXPECT_THAT(run.out, HasSubstr("init of session 1: started 20"));
    EXPECT_THAT(run.out, HasSubstr("device virtual, vendor 0xF274, product 0x0274\n"));
    EXPECT_THAT(run.out, ContainsRegex(
                             "2 +0\\.[0-9]+ +[0-9.]+  attach: vendor 0xF274, product 0x0274, release 0x0100, "
                             "interfaces .number 0, alternate 0, endpoints 2, class 0xFF.\n"));
    EXPECT_THAT(run.out, HasSubstr("out  open handshake (0x14), 256 bytes: seq 1  | 14 00 ff 00"));
    EXPECT_THAT(run.out,
                HasSubstr("in   status poll (0x00), 80 bytes: kind reset, word 0x0000, stages idle  | "
                          "00 00 00 00 01 "));
    EXPECT_THAT(run.out,
                HasSubstr("in   calibration record (0x13), 19164 bytes: status 0, seq 0, dataBytes 18908"));
    EXPECT_THAT(
        run.out,
        ContainsRegex("uninit\n[0-9]+ entries, 1 sessions, [0-9]+ transfers .0 failed., [0-9]+ bytes\n$"));
}

TEST_F(Trace, FiltersAndShowsAllData) {
    const Outcome run = RunK274(
        {"trace", original.string(), "--command", "device information", "--command", "0x17", "--data"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, AllOf(HasSubstr("device information (0x7F)"), HasSubstr("in   close (0x17)"),
                               Not(HasSubstr("status poll")), Not(HasSubstr("attach"))));
    EXPECT_THAT(run.out, ContainsRegex(" 000000  7f 00 ff 00 [^\n]*\n +000020  00 00 [^\n]*\n +000040 "));
    EXPECT_THAT(run.out, Not(HasSubstr("000100  "))); // of 256 bytes
}

TEST_F(Trace, IsReadByMachines) {
    const Outcome run = RunK274({"trace", original.string(), "--json", "--data"});
    EXPECT_EQ(run.status, 0) << run.err;
    const std::vector<json> lines = JsonLines(run.out), entries = Events(lines, "entry");
    const json &last = lines.back();
    EXPECT_EQ(last.at("event"), "trace");
    EXPECT_EQ(last.at("entries"), entries.size());
    EXPECT_EQ(last.at("cutShort"), false);
    EXPECT_EQ(last.at("endByte"), fs::file_size(original));
    EXPECT_EQ(entries.at(0).at("fields").at("device"), "virtual");
    EXPECT_EQ(entries.at(1).at("fields").at("interfaces").at(0).at("endpoints"), 2);
    size_t polls = 0;
    for (const json &entry : entries) {
        if (entry.at("kind") != "transfer" || entry.at("name") != "status poll" ||
            entry.at("direction") != "out")
            continue;
        polls++;
        EXPECT_EQ(entry.at("fields").at("word1"), 80);
        EXPECT_EQ(entry.at("timeoutMs"), 999);
        EXPECT_THAT(entry.at("base64").get<std::string>(), SizeIs(108));
    }
    EXPECT_GT(polls, 0u);
}

TEST_F(Trace, TellsHowAFileEnds) {
    const std::string whole = ReadAll(original);
    Write(folder / "cut", whole.substr(0, whole.size() - 1));
    const Outcome cut = RunK274({"trace", In("cut")});
    EXPECT_EQ(cut.status, 0) << cut.err;
    EXPECT_THAT(
        cut.out,
        ContainsRegex(
            "open handshake[^$]*the recording is cut short: what follows byte [0-9]+ is incomplete\n$"));
    EXPECT_EQ(JsonLines(RunK274({"trace", In("cut"), "--json"}).out).back().at("cutShort"), true);

    std::string damaged = whole;
    damaged[damaged.size() - 1] = static_cast<char>(damaged.back() ^ 1);
    Write(folder / "damaged", damaged);
    const Outcome bad = RunK274({"trace", In("damaged")});
    EXPECT_EQ(bad.status, 12);
    EXPECT_THAT(bad.out, HasSubstr("open handshake"));
    EXPECT_THAT(bad.err, HasSubstr("damaged: what follows byte"));
}

TEST_F(Trace, RefusesWhatItCannotShow) {
    Write(folder / "text", "hello");
    EXPECT_EQ(RunK274({"trace", In("text")}).status, 12);
    EXPECT_EQ(RunK274({"trace", In("none")}).status, 12);
    EXPECT_EQ(RunK274({"trace", In("")}).status, 12);
    EXPECT_EQ(RunK274({"trace"}).status, 2);
    EXPECT_EQ(RunK274({"trace", original.string(), "--command", "no such"}).status, 2);
    EXPECT_EQ(RunK274({"trace", original.string(), "--command", "256"}).status, 2);
}

TEST_F(Trace, AReplayTellsTheSame) {
    const Outcome replay = RunWith("K274_DEVICE", "replay:" + original.string(), {"info"});
    EXPECT_EQ(replay.status, 0) << replay.err;
    EXPECT_THAT(replay.err, IsEmpty());
    EXPECT_EQ(Scanner(replay), Scanner(info));
}

TEST_F(Trace, AFullDiskEndsTheRecordingAlone) {
    const std::string file = In("a.rec");
    const Outcome full = RunWith("K274_RECORD", file, {"info", "--virtual", "--speed", "0"}, 1000);
    EXPECT_EQ(full.status, 0) << full.err;
    EXPECT_EQ(Scanner(full), Scanner(info));
    EXPECT_THAT(full.err, ContainsRegex("^wdapi1140: the recording [^\n]*a.rec ends here: File too large; "
                                        "the traffic goes on\n$"));
    EXPECT_THAT(RunK274({"trace", file}).out, HasSubstr("cut short"));

    const Outcome none = RunWith("K274_RECORD", In("none/a.rec"), {"info", "--virtual"});
    EXPECT_EQ(none.status, 4);
    EXPECT_THAT(none.err, HasSubstr("none/a.rec cannot be made: No such file or directory\n"));
}

} // namespace
