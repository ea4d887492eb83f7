// The process around the commands, and what tests read.
#include "tests/cli/cli_fixture.h"

#include <stdlib.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <sstream>

#include "include/k274.h"
#include "scanner/virtual_scanner.h"
#include "tools/k274/host.h"

namespace {

constexpr const char *kVarying[] = {"ms",       "durationMs", "started",           "date",     "time",
                                    "device40", "device42",   "device44",          "device48", "device50",
                                    "device52", "device56",   "megabytesPerSecond"};

} // namespace

void Steady(json &value) {
    if (value.is_object()) {
        for (const char *key : kVarying)
            value.erase(key);
        if (!kBarcodesInTime)
            value.erase("barcodes");
        if (value.contains("states")) { // the place of others is nowhere fixed
            json &states = value["states"];
            states.erase(std::remove_if(states.begin(), states.end(),
                                        [](const json &state) {
                                            return state.at("state") >= 9 || state.at("state") == 4;
                                        }),
                         states.end());
        }
    }
    if (value.is_string()) {
        const auto text = value.get<std::string>();
        for (const std::string &folder :
             {std::string(K274_SOURCE_DIR), (fs::temp_directory_path() / "k274-test-").string()}) {
            if (text.rfind(folder, 0) == 0)
                value = fs::path(text).filename();
        }
    }
    if (value.is_structured()) {
        for (json &item : value)
            Steady(item);
    }
}

namespace {

/// A stream of a command that is kept in memory.
class Kept {
public:
    Kept() : stream_(open_memstream(&text_, &size_)) {}
    ~Kept() {
        fclose(stream_);
        free(text_);
    }
    Kept(const Kept &) = delete;
    Kept &operator=(const Kept &) = delete;

    std::FILE *Stream() const { return stream_; }
    std::string Text() const {
        fflush(stream_);
        return {text_, size_};
    }

private:
    char *text_ = nullptr;
    size_t size_ = 0;
    std::FILE *stream_;
};

/// Power off and on again, and what else a new process changes.
void Renew() {
    VS_ClearFaults();
    VS_SetCards(nullptr);
    VS_PressEject();
    VS_Unplug();
    VS_PlugIn();
    VS_SetSpeed(0);
    VS_SetSeed(1);
    VS_SetTransportJitter(0);
    VS_SetCalibrationRecord(nullptr, 0);
    SetVariable("K274_DEVICE", nullptr);
    K274_SetIllumOpt(7);
    K274_AutoFwUpgrade(1);
}

} // namespace

std::string Sample(const std::string &name) { return K274_SOURCE_DIR "/scanner/cards/samples/" + name; }

Words Names(const fs::path &folder) {
    Words names;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<json> JsonLines(const std::string &text) {
    std::vector<json> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(json::parse(line)); // a line that is none throws and fails the test
    return lines;
}

std::vector<json> Events(const std::vector<json> &lines, const std::string &kind) {
    std::vector<json> chosen;
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(chosen),
                 [&](const json &line) { return line.at("event") == kind; });
    return chosen;
}

Size SizeOf(const fs::path &picture) {
    const host::Picture decoded = host::DecodePng(ReadBytes(picture), picture.string());
    return {decoded.width, decoded.height, decoded.channels};
}

FileLimit::FileLimit(size_t bytes) {
    const rlimit limit = {bytes, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
    signal(SIGXFSZ, SIG_IGN); // writes fail
}

FileLimit::~FileLimit() {
    const rlimit none = {RLIM_INFINITY, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &none);
}

Outcome K274(const Words &arguments) {
    const Kept out, err;
    const int status = host::Run(arguments, out.Stream(), err.Stream());
    for (const int signal : {SIGINT, SIGTERM}) // k274 catches them
        std::signal(signal, SIG_DFL);
    Renew();
    return {status, out.Text(), err.Text()};
}

json Result(Words arguments, const char *event) {
    arguments.push_back("--json");
    const Outcome run = K274(arguments);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    const std::vector<json> events = Events(JsonLines(run.out), event);
    EXPECT_FALSE(events.empty());
    return events.empty() ? json::object() : events.back();
}

void ExpectGolden(const std::string &name, json value) {
    Steady(value);
    const std::string file = "cli/golden/" + name;
    if (kBarcodesInTime) {
        ExpectKept(file, value.dump(1) + "\n");
        return;
    }
    json kept = json::parse(ReadText(K274_SOURCE_DIR "/tests/" + file));
    Steady(kept);
    EXPECT_EQ(kept, value);
}

void Cli::SetUpTestSuite() {
    EXPECT_NE(std::freopen("/dev/null", "r", stdin), nullptr); // nobody is there to be asked
    Words variables;
    for (char **variable = environ; *variable != nullptr; ++variable) {
        if (std::strncmp(*variable, "K274_", 5) == 0 || std::strncmp(*variable, "NO_COLOR", 8) == 0)
            variables.emplace_back(*variable, std::strchr(*variable, '='));
    }
    for (const std::string &variable : variables) {
        if (variable != "K274_RENEW")
            SetVariable(variable.c_str(), nullptr);
    }
    Renew();
}
