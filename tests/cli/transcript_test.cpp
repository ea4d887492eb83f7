// Plays the files in transcripts: lines, each with what came of it. With K274_RENEW set the files are written
// anew, to be reviewed. A line begins with one of the verbs below; "@" stands for the test's folder, "%" for
// the sample deck, "~" for the recordings. What came of it follows, indented: standard output, standard error
// behind "! ", a status that is not 0 behind "= ". Empty lines belong to what is said.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <thread>

#include "include/k274.h"
#include "scanner/virtual_scanner.h"
#include "tests/support/data.h"
#include "tests/support/system.h"
#include "tools/k274/files/picture.h"
#include "tools/k274/files/png.h"
#include "tools/k274/host.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using Words = std::vector<std::string>;

const std::string kTranscripts = "cli/transcripts/", kTests = K274_SOURCE_DIR "/tests/";

std::string Replaced(std::string text, const std::string &from, const std::string &to) {
    for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

std::string Prefixed(const std::string &lines, const std::string &prefix) {
    return std::regex_replace(lines, std::regex("^(?=.)", std::regex::multiline), prefix);
}

// ---- results ----

/// An object as text, without what varies: times, what the scanner counts, which decoder was first, and
/// states of barcodes and events, which come when they do. Empty when nothing is left.
std::string Steady(const std::string &text, int indent = 1) {
    static const std::regex kVarying("ms|cardMs|durationMs|started|date|time|megabytesPerSecond|decoder|"
                                     "device(4[0248]|5[0246])");
    static const std::set<json> kByChance = {4, 20, 21};
    const json steady = json::parse(text, [](int, json::parse_event_t event, json &value) {
        if (event == json::parse_event_t::key)
            return !std::regex_match(value.get<std::string>(), kVarying);
        return event != json::parse_event_t::object_end || kByChance.count(value.value("state", json())) == 0;
    });
    return steady.is_null() ? "" : steady.dump(indent) + "\n";
}

std::string Told(int status, std::string out, const std::string &err) {
    if (out[0] == '{') { // unfolded for readers, but for long lists
        std::istringstream lines(std::exchange(out, ""));
        for (std::string line; std::getline(lines, line);)
            out += Steady(line, std::regex_search(line, std::regex("event\":\"(entry|state)")) ? -1 : 1);
    }
    out += Prefixed(err, "! ") + (status == 0 ? "" : "= " + std::to_string(status) + "\n");
    out = std::regex_replace(out, std::regex(".* ms  (card (in|out)|barcodes) .*\n|no scanner yet.*\n"), "");
    out.erase(out.find_last_not_of('\n') + 1); // help ends with empty lines
    return std::regex_replace(out, std::regex(" *[0-9]+( ms  )|[0-9.]+( MB/s)"), "-$1$2") +
           (out.empty() ? "" : "\n");
}

// ---- verbs ----

/// Power off and on again, and what else a new process changes. The scanner's flash keeps what it holds.
void Renew() {
    VS_ClearFaults();
    VS_SetCards(nullptr);
    VS_PressEject();
    VS_Unplug();
    VS_PlugIn();
    VS_SetSpeed(0);
    VS_SetSeed(1);
    VS_SetCalibrationRecord(nullptr, 0);
    SetVariable("K274_DEVICE", nullptr);
    SetVariable("K274_RECORD", nullptr);
    K274_ClrXfrErrs();
    K274_SetIllumOpt(7);
    K274_AutoFwUpgrade(1);
}

/// k274 in this process.
std::string K274(const Words &arguments) {
    const TempFolder folder;
    const std::string out = folder.File("out"), err = folder.File("err");
    std::FILE *const streams[] = {std::fopen(out.c_str(), "w"), std::fopen(err.c_str(), "w")};
    const int status = host::Run(arguments, streams[0], streams[1]);
    for (std::FILE *const stream : streams)
        std::fclose(stream);
    Renew();
    return Told(status, ReadText(out), ReadText(err));
}

std::string Shell(const std::string &line) {
    const TempFolder folder;
    const std::string out = folder.File("out"), err = folder.File("err");
    const int status = std::system(("{ " + line + "\n} > " + out + " 2> " + err).c_str());
    return Told(WEXITSTATUS(status), ReadText(out), ReadText(err));
}

/// Names, sizes of files whose size does not vary, and what pictures hold.
std::string List(const fs::path &folder) {
    std::string text;
    for (const fs::path &file : std::set<fs::path>(fs::directory_iterator(folder), {})) {
        text += file.filename().string();
        if (fs::is_regular_file(file) && !std::regex_search(text, std::regex("(json|log|html)$")))
            text += " " + std::to_string(fs::file_size(file));
        if (file.extension() == ".png") {
            const host::Picture picture = host::DecodePng(ReadBytes(file), file.string());
            for (const int size : {picture.width, picture.height, picture.channels})
                text += " " + std::to_string(size);
        }
        text += '\n';
    }
    return text;
}

void MakeBlank(const std::string &file, int width, int height) {
    const std::vector<uint8_t> pixels(static_cast<size_t>(width * height), 255),
        png = host::EncodePng(pixels.data(), width, height, 1);
    WriteText(file, {png.begin(), png.end()});
}

/// Every line request, or so many, ends like this from the fourth on.
void FailLines(uint32_t action, size_t count) {
    const VS_Fault fault = {0x01, VS_IN, 3, static_cast<uint32_t>(count), action, 0xC0000011};
    VS_ArmFault(&fault);
}

/// In a while: events of the first two seconds, whole ones by the calendar, are not told.
void PostLater(const std::string &event) {
    std::thread([event] {
        std::this_thread::sleep_for(std::chrono::milliseconds(3100));
        VS_PostEvent(event.c_str());
    }).detach();
}

std::string Done(const std::string &verb, const Words &words) {
    if (verb == "k274")
        return K274(words);
    if (verb == "list")
        return List(words[0]);
    if (verb == "json")
        return Steady(ReadText(words[0]));
    if (verb == "blank") // FILE WIDTH HEIGHT
        MakeBlank(words[0], std::stoi(words[1]), std::stoi(words[2]));
    else if (verb == "event") // those that follow are for the next command
        PostLater(words[0]);
    else if (verb == "unplug")
        VS_Unplug();
    else if (verb == "unplug-in-lines")
        FailLines(VS_FAULT_UNPLUG, 1);
    else if (verb == "fail-lines") // COUNT, 0 for all
        FailLines(VS_FAULT_STATUS, std::stoul(words[0]));
    else if (verb == "record")
        SetVariable("K274_RECORD", words[0].c_str());
    else
        ADD_FAILURE() << "there is no verb " << verb;
    return "";
}

// ---- files ----

struct Transcript : testing::TestWithParam<std::string> {
    static void SetUpTestSuite();
    void SetUp() override { VS_GetIdentity(&identity); }
    void TearDown() override { VS_SetIdentity(&identity); }
    std::string Play(std::string line);

    const TempFolder folder;
    const std::pair<std::string, std::string> places[3] = {{"%", K274_SOURCE_DIR "/scanner/cards/samples/"},
                                                           {"~", kTests + "cli/golden/"},
                                                           {"@", folder.File("")}};
    VS_Identity identity;
};

void Transcript::SetUpTestSuite() {
    EXPECT_NE(std::freopen("/dev/null", "r", stdin), nullptr); // nobody is there to be asked
    for (const char *name : {"K274_CARDS", "K274_DRIVE_C", "K274_FLASH", "K274_JITTER", "K274_SCANNER_LOG",
                             "K274_SEED", "K274_SPEED", "NO_COLOR"})
        SetVariable(name, nullptr);
    SetVariable("PATH", (K274_PROGRAMS ":" + std::string(std::getenv("PATH"))).c_str());
    SetVariable("bare", K274_BARE_DRIVER);
    Renew();
}

/// What came of the line; nothing for a comment.
std::string Transcript::Play(std::string line) {
    for (const auto &[sign, path] : places)
        line = Replaced(line, sign, path);
    std::istringstream stream(line);
    std::string verb;
    stream >> verb >> std::ws;
    std::string told;
    if (verb == "sh") {
        told = Shell(line.substr(static_cast<size_t>(stream.tellg())));
    } else if (verb != "#" && verb != "needs") {
        Words words;
        for (std::string word; stream >> std::quoted(word);)
            words.push_back(word);
        told = Done(verb, words);
    }
    for (const auto &[sign, path] : places)
        told = Replaced(told, path, sign);
    return told;
}

TEST_P(Transcript, IsWhatK274Says) {
    std::istringstream stream(ReadText(kTests + kTranscripts + GetParam()));
    std::string played;
    for (std::string line; std::getline(stream, line);) {
        if (line.rfind("needs ", 0) == 0 && std::system(line.substr(6).c_str()) != 0)
            GTEST_SKIP() << "*** it " << line << " ***";
        if (!line.empty() && line[0] != ' ')
            played += line + "\n" + Prefixed(Play(line), "    ");
    }
#ifdef K274_SLOW_BUILD // where decoders give up by the clock
    if (GetParam().rfind("timed", 0) == 0)
        return;
#endif
    ExpectKept(kTranscripts + GetParam(), played);
}

std::set<std::string> Names() {
    std::set<std::string> names;
    for (const fs::directory_entry &file : fs::directory_iterator(kTests + kTranscripts))
        names.insert(file.path().filename().string());
    return names;
}

INSTANTIATE_TEST_SUITE_P(Cli, Transcript, testing::ValuesIn(Names()), [](const auto &file) {
    return std::regex_replace(fs::path(file.param).stem().string(), std::regex("-"), "_");
});

} // namespace
