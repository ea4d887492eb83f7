// k274 still, focus, hires and jitter: the images by which a workshop judges sensor, lens and transport.
#include <CLI/CLI.hpp>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <system_error>

#include "include/k274.h"
#include "tools/k274/base/errors.h"
#include "tools/k274/base/output.h"
#include "tools/k274/commands/commands.h"
#include "tools/k274/commands/maint.h"
#include "tools/k274/commands/still.h"
#include "tools/k274/files/files.h"
#include "tools/k274/files/png.h"
#include "tools/k274/scan/following.h"

namespace host {

namespace {

namespace fs = std::filesystem;
using nlohmann::ordered_json;

constexpr int kStillWidth = K274_STILL_BYTES / K274_STILL_LINES / 3;
constexpr int kFocusLines = 10, kFocusWidth = K274_FOCUS_BYTES / kFocusLines;
constexpr int kShortLines = 1370;
constexpr int32_t kShortMode = 1, kWholeMode = 2;
constexpr const char *kWholeFile = "K274_1100FR.bmp";
constexpr int kGoodJitter = 50, kBadJitter = 100;

void Still(const Options &options, const std::string &out, Output &output) {
    if (!out.empty())
        PrepareFolder(out);
    Session session(options, output);
    Connect(session, options);
    RequireNoCard();
    output.Progress("taking the still image");
    const StillImage still = TakeStill();
    const K274_StillResult &result = still.result;
    for (size_t i = 0; i < K274_STILL_PROFILES; ++i) {
        char line[120];
        std::snprintf(
            line, sizeof line, "%-16s  mean %d / %d, from %d to %d / %d to %d, defects %d / %d",
            still.description.at("profiles").at(i).at("name").get_ref<const std::string &>().c_str(),
            result.means[i][0], result.means[i][1], result.floors[i][0], result.peaks[i][0],
            result.floors[i][1], result.peaks[i][1], result.defects[i][0], result.defects[i][1]);
        output.Note(line);
    }
    const auto number = [](int32_t value) { return std::to_string(value); };
    output.Note("noise             " + number(result.noise));
    output.Note("dark samples      " + number(result.darkCount));
    output.Note("sides             " + number(result.sideScores[0]) + " " + number(result.sideScores[1]) +
                " of 100");
    output.Note("segments          " + number(result.segmentScores[0]) + " " +
                number(result.segmentScores[1]) + " " + number(result.segmentScores[2]) + " of 100");
    output.Note("verdict           " + still.description.at("verdictName").get<std::string>());
    WriteResult(out, "still.json", still.description,
                {{"still.png", EncodePng(still.pixels.data(), kStillWidth, K274_STILL_LINES, 3)}}, output);
    ordered_json object = still.description;
    object.erase("profiles");
    output.Object({{"event", "still"}, {"folder", out}, {"result", object}});
    if (result.verdict < 0)
        throw HostError(Exit::kFailedTest, "the sensor failed its test: clean the glass and take it again");
}

// Steps between neighbours grow with the sharpness of the bars in the image.
double Sharpness(const std::vector<uint8_t> &image) {
    int64_t steps = 0;
    for (int y = 0; y < kFocusLines; ++y) {
        const uint8_t *line = image.data() + y * kFocusWidth;
        for (int x = 3; x < kFocusWidth; ++x)
            steps += std::abs(line[x] - line[x - 3]);
    }
    return static_cast<double>(steps) / (kFocusLines * (kFocusWidth - 3));
}

void Focus(const Options &options, const std::string &out, Output &output) {
    if (!out.empty())
        PrepareFolder(out);
    Session session(options, output);
    Connect(session, options);
    RequireNoCard();
    std::vector<uint8_t> image(K274_FOCUS_BYTES);
    K274_GetFocImgAry(image.data());
    if (image == std::vector<uint8_t>(image.size()))
        NoAnswer("focus image");
    const double sharpness = Sharpness(image);
    char line[80];
    std::snprintf(line, sizeof line, "sharpness         %.2f levels a step", sharpness);
    output.Note(line);
    const ordered_json description = {{"sharpness", sharpness}};
    WriteResult(out, "focus.json", description,
                {{"focus.png", EncodePng(image.data(), kFocusWidth, kFocusLines, 1)}}, output);
    output.Object({{"event", "focus"}, {"folder", out}, {"sharpness", sharpness}});
}

struct HiresOptions {
    std::string out = "scan";
    bool whole = false;
};

// The library writes the picture of a whole card itself, and tells of no failure. One that is there
// afterwards is the new one.
void CaptureWhole(Output &output) {
    const fs::path file = fs::current_path() / kWholeFile;
    std::error_code error;
    fs::remove(file, error);
    output.Progress("fetching 4000 lines");
    K274_1200F();
    if (!fs::exists(file, error))
        throw HostError(Exit::kCannotWrite,
                        "there is no " + file.string() +
                            ": check that the disk has room for 60 MB, and whether K274.ini "
                            "names another file");
    output.Note("written to " + file.string());
    output.Object({{"event", "hires"}, {"file", file.string()}});
}

void Hires(const Options &options, const HiresOptions &chosen, Output &output) {
    if (!chosen.whole)
        PrepareFolder(chosen.out);
    CardFeeder feeder(options);
    Follower follower(options, output, feeder, true, 1);
    SessionSettings settings;
    settings.barcodes = false;
    Session session(options, output, settings);
    Connect(session, options);
    struct LastPass { // the next host finds the ultraviolet pass again
        ~LastPass() { K274_LstScan(0, 0); }
    } last;
    K274_LstScan(chosen.whole ? kWholeMode : kShortMode, kShortLines);
    ScanRecord record = follower.Card(session, 1);
    follower.Trailing(session, record, 1);
    output.Pending(nullptr);
    output.EndScan();
    if (chosen.whole) {
        CaptureWhole(output);
        return;
    }
    const auto png = [](const uint8_t *image) {
        return EncodePng(image, K274_SLI_WIDTH, K274_SLI_HEIGHT, 3);
    };
    const ordered_json description = {{"front", "hires-front.png"}, {"back", "hires-back.png"}};
    WriteResult(chosen.out, "hires.json", description,
                {{"hires-front.png", png(K274_GetImgSliFr())}, {"hires-back.png", png(K274_GetImgSliBk())}},
                output);
    output.Object({{"event", "hires"}, {"folder", chosen.out}});
}

struct JitterOptions {
    std::string out;
    int count = 1;
};

const char *JitterGrade(int score) {
    return score < kGoodJitter ? "good" : score < kBadJitter ? "marginal" : "bad";
}

void Jitter(const Options &options, const JitterOptions &chosen, Output &output) {
    if (!chosen.out.empty())
        PrepareFolder(chosen.out);
    CardFeeder feeder(options);
    Follower follower(options, output, feeder, true, chosen.count);
    SessionSettings settings;
    settings.capture = true;
    Session session(options, output, settings);
    Connect(session, options);
    ordered_json scores = ordered_json::array();
    ordered_json description;
    int score = 0;
    for (int number = 1; number <= chosen.count; ++number) {
        ScanRecord record = follower.Card(session, number);
        follower.AwaitBarcodes(session, record, number);
        follower.Trailing(session, record, number);
        output.Pending(nullptr);
        output.EndScan();
        const auto result = static_cast<uint32_t>(K274_JitterTest());
        const bool readable =
            record.barcode && (record.barcode->pdfLength > 0 || record.barcode->orientation != 0 ||
                               record.barcode->position[0] != 0);
        if (result == 0 && !readable)
            throw HostError(Exit::kNothingFound,
                            "the card shows no barcode to measure by: use the jitter test card");
        score = static_cast<int16_t>(result & 0xFFFF);
        const int most = static_cast<int16_t>(result >> 16);
        scores.push_back(score);
        output.Note("jitter            " + std::to_string(score) + ", " + JitterGrade(score) +
                    (most < 0 ? std::string() : ", largest of the last five " + std::to_string(most)));
        description = {{"score", score}, {"grade", JitterGrade(score)}, {"scores", scores}};
        description["largestOfFive"] = most < 0 ? ordered_json(nullptr) : ordered_json(most);
        output.Object({{"event", "jitter"}, {"scan", number}, {"result", description}});
        // At once: the next card takes the image.
        WriteResult(chosen.out, "jitter.json", description,
                    {{"jitter.png", EncodePng(K274_GetImgNatBk(), K274_NAT_WIDTH, K274_NAT_HEIGHT, 3)}},
                    output);
    }
    if (score >= kBadJitter)
        throw HostError(Exit::kFailedTest, "the card moves unevenly: clean the rollers and test again");
}

} // namespace

void AddImages(CLI::App &app, const Options &options, Command &chosen) {
    const auto folder = [](CLI::App &command, std::string &out) {
        command.add_option("--out", out, "folder for the image and its description")->type_name("DIR");
    };
    CLI::App *still = app.add_subcommand("still", "test the sensor with an image at rest");
    const auto stillOut = std::make_shared<std::string>();
    folder(*still, *stillOut);
    still->callback([stillOut, &options, &chosen] {
        chosen = [stillOut, &options](Output &output) { Still(options, *stillOut, output); };
    });

    CLI::App *focus = app.add_subcommand("focus", "take the image by which the lens is adjusted");
    const auto focusOut = std::make_shared<std::string>();
    folder(*focus, *focusOut);
    focus->callback([focusOut, &options, &chosen] {
        chosen = [focusOut, &options](Output &output) { Focus(options, *focusOut, output); };
    });

    CLI::App *hires = app.add_subcommand("hires", "scan a card at 1200 dpi");
    const auto strip = std::make_shared<HiresOptions>();
    hires->add_option("--out", strip->out, "folder for both sides of the strip")
        ->type_name("DIR")
        ->capture_default_str();
    hires->add_flag("--whole", strip->whole, "the whole card, into K274_1100FR.bmp in the current folder");
    hires->callback([strip, &options, &chosen] {
        chosen = [strip, &options](Output &output) { Hires(options, *strip, output); };
    });

    CLI::App *jitter =
        app.add_subcommand("jitter", "measure how evenly a card moves, best with the test card");
    const auto test = std::make_shared<JitterOptions>();
    folder(*jitter, test->out);
    jitter->add_option("--count", test->count, "cards; five make a series")
        ->type_name("N")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    jitter->callback([test, &options, &chosen] {
        chosen = [test, &options](Output &output) { Jitter(options, *test, output); };
    });
}

} // namespace host
