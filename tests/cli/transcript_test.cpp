// Plays the files in transcripts: command lines, each with what k274 says to it. With K274_RENEW set the
// files are written anew, to be reviewed. A line is "k274 WORDS", perhaps with variables in front of it, or
// one of the verbs below; "@" stands for the test's folder, "%" for the sample deck, "~" for the recordings.
// What came of a line follows it, indented: standard output, standard error behind "! ", a status that is not
// 0 behind "= ". Empty lines belong to what k274 says.
#include <functional>
#include <iomanip>
#include <list>
#include <map>
#include <optional>
#include <regex>

#include "scanner/virtual_scanner.h"
#include "tests/cli/cli_fixture.h"

namespace {

const std::string kTranscripts = "cli/transcripts/", kTests = K274_SOURCE_DIR "/tests/";

std::string Replaced(std::string text, const std::string &from, const std::string &to) {
    for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

std::string Prefixed(const std::string &lines, const std::string &prefix) {
    return std::regex_replace(lines, std::regex("^(?=.)", std::regex::multiline), prefix);
}

struct Transcript : Cli, testing::WithParamInterface<std::string> {
    void SetUp() override { VS_GetIdentity(&identity_); }
    void TearDown() override { VS_SetIdentity(&identity_); }

    std::string Play(const std::string &line);
    std::string Told(const Words &arguments);

    const std::pair<std::string, std::string> places[3] = {
        {"%", Sample("")}, {"~", kTests + "cli/golden/"}, {"@", In("")}};
    std::optional<FileLimit> limit;

private:
    VS_Identity identity_;
};

std::string List(const fs::path &folder) {
    std::string text;
    for (const std::string &name : Names(folder)) {
        const fs::path file = folder / name;
        const bool counted =
            fs::is_regular_file(file) && !std::regex_search(name, std::regex("json|log|html"));
        text += name + (counted ? " " + std::to_string(fs::file_size(file)) : "") + "\n";
    }
    return text;
}

std::string Count(const std::string &text, const std::string &wanted) {
    int count = 0;
    for (size_t at = 0; (at = text.find(wanted, at)) != std::string::npos; ++at)
        ++count;
    return std::to_string(count) + "\n";
}

void FailLines(uint32_t action, uint32_t count) {
    const VS_Fault fault = {0x01, VS_IN, 3, count, action, 5};
    VS_ArmFault(&fault);
}

using Verb = std::function<std::string(Transcript &, const Words &)>;
const auto quiet = [](auto act) -> Verb {
    return [act](Transcript &test, const Words &words) {
        act(test, words);
        return std::string();
    };
};
const std::map<std::string, Verb> kVerbs = {
    // files: put FILE TEXT, fill FILE BYTES, edit FILE FROM TO, folder NAME, link NAME TO
    {"put", quiet([](auto &, const Words &words) { WriteText(words[0], words[1]); })},
    {"fill",
     quiet([](auto &, const Words &words) { WriteText(words[0], std::string(std::stoul(words[1]), 'x')); })},
    {"edit", quiet([](auto &, const Words &words) {
         WriteText(words[0], Replaced(ReadText(words[0]), words[1], words[2]));
     })},
    {"folder", quiet([](auto &, const Words &words) { fs::create_directories(words[0]); })},
    {"link", quiet([](auto &, const Words &words) { fs::create_directory_symlink(words[1], words[0]); })},
    {"list", [](auto &, const Words &words) { return List(words[0]); }},
    {"show", [](auto &, const Words &words) { return ReadText(words[0]) + "\n"; }},
    {"count", [](auto &, const Words &words) { return Count(ReadText(words[0]), words[1]); }},
    // for the next command: the scanner's faults, its transport's jitter, the size of files
    {"unplug", quiet([](auto &, const Words &) { VS_Unplug(); })},
    {"fail-lines", quiet([](auto &, const Words &) { FailLines(VS_FAULT_STATUS, 0); })},
    {"unplug-in-lines", quiet([](auto &, const Words &) { FailLines(VS_FAULT_UNPLUG, 1); })},
    {"jitter", quiet([](auto &, const Words &words) { VS_SetTransportJitter(std::stod(words[0])); })},
    {"limit", quiet([](auto &test, const Words &words) { test.limit.emplace(std::stoul(words[0])); })},
    {"k274", [](auto &test, const Words &words) { return test.Told(words); }},
};

std::string Transcript::Told(const Words &arguments) {
    const Outcome run = K274(arguments);
    limit.reset();
    std::string text = run.out;
    if (run.out.rfind('{', 0) == 0) { // unfolded for readers
        text.clear();
        for (json &line : JsonLines(run.out)) {
            Steady(line);
            text += line.at("event") == "state" ? "" : line.dump(arguments[0] == "trace" ? -1 : 1) + "\n";
        }
    }
    text += Prefixed(run.err, "! ") + (run.status == 0 ? "" : "= " + std::to_string(run.status) + "\n");
    // Cards come and go and barcodes are read when they do, and times vary.
    text = std::regex_replace(text, std::regex(".* ms  (card (in|out)|barcodes) .*\n"), "");
    text.erase(text.find_last_not_of('\n') + 1); // help ends with empty lines
    text += text.empty() ? "" : "\n";
    return std::regex_replace(text, std::regex(" *[0-9]+( ms  )|[0-9.]+( MB/s)"), "-$1$2");
}

std::string Transcript::Play(const std::string &line) {
    std::list<Variable> variables;
    Words words;
    std::istringstream stream(line);
    for (std::string word; stream >> std::quoted(word); words.push_back(word)) {
        for (const auto &[sign, path] : places)
            word = Replaced(word, sign, path);
    }
    for (; !words.empty() && words[0].find('=') != std::string::npos; words.erase(words.begin()))
        variables.emplace_back(words[0].substr(0, words[0].find('=')),
                               words[0].substr(words[0].find('=') + 1));
    if (words.empty() || words[0] == "#")
        return "";
    return kVerbs.at(words[0])(*this, {words.begin() + 1, words.end()});
}

TEST_P(Transcript, IsWhatK274Says) {
    if (!kBarcodesInTime && GetParam() == "jitter.txt")
        GTEST_SKIP() << "jitter is measured by a barcode";
    const std::string file = kTranscripts + GetParam();
    std::istringstream stream(ReadText(kTests + file));
    std::string played;
    for (std::string line; std::getline(stream, line);) {
        if (line.empty() || line.rfind("    ", 0) == 0)
            continue;
        std::string told = Play(line);
        for (const auto &[sign, path] : places)
            told = Replaced(told, path, sign);
        played += line + "\n" + Prefixed(told, "    ");
    }
    ExpectKept(file, played);
}

INSTANTIATE_TEST_SUITE_P(Cli, Transcript, testing::ValuesIn(Names(kTests + kTranscripts)),
                         [](const auto &file) {
                             return std::regex_replace(fs::path(file.param).stem().string(), std::regex("-"),
                                                       "_");
                         });

} // namespace
