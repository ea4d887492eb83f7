// k274 dump: scans a card and lets the library write its working images as BMP files.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <system_error>

#include "include/k274.h"
#include "tools/k274/base/errors.h"
#include "tools/k274/base/output.h"
#include "tools/k274/base/system.h"
#include "tools/k274/commands/commands.h"
#include "tools/k274/scan/following.h"

namespace host {

namespace {

namespace fs = std::filesystem;
using nlohmann::ordered_json;

struct Dump {
    uint16_t selector;
    const char *name;
    const char *file;
    bool onDriveC; // else in the current folder
};
constexpr Dump kDumps[] = {{1, "stripe", "K274_MSIr.bmp", true},
                           {11, "visible-raw", "K274_RGBr.bmp", true},
                           {12, "visible", "K274_RGBc.bmp", true},
                           {13, "barcode", "K274_RED0.bmp", false},
                           {14, "barcode-stretched", "K274_RED1.bmp", false},
                           {21, "infrared-raw", "K274_IRr.bmp", true},
                           {22, "infrared", "K274_IRc.bmp", true},
                           {31, "uv-raw", "K274_UVr.bmp", true},
                           {32, "uv", "K274_UVc.bmp", true}};

struct DumpOptions {
    std::vector<std::string> which;
    bool resend = false;
};

const Dump *Find(const std::string &which) {
    const auto found = std::find_if(std::begin(kDumps), std::end(kDumps), [&](const Dump &dump) {
        return which == dump.name || which == std::to_string(dump.selector);
    });
    return found == std::end(kDumps) ? nullptr : found;
}

std::string Known() {
    std::string text;
    for (const Dump &dump : kDumps)
        text += (text.empty() ? "" : ", ") + std::to_string(dump.selector) + " " + dump.name;
    return text;
}

std::string CheckWhich(const std::string &which) {
    return Find(which) != nullptr ? std::string() : "\"" + which + "\" is none of " + Known();
}

// The library makes no folder and tells of no failure. A file of an earlier dump, which it would overwrite,
// goes first, so that one that is there afterwards is the new one.
void Write(const Dump &dump, Output &output) {
    const fs::path file = dump.onDriveC ? DriveC("K274/BMP") / dump.file : fs::current_path() / dump.file;
    std::error_code error;
    fs::create_directories(file.parent_path(), error);
    fs::remove(file, error);
    K274_SaveImages(dump.selector);
    if (!fs::exists(file, error))
        throw HostError(Exit::kCannotWrite,
                        "cannot write " + file.string() +
                            ": check that the folder can be written and the disk has room");
    output.Note("written to " + file.string());
    output.Object(
        {{"event", "dump"}, {"selector", dump.selector}, {"name", dump.name}, {"file", file.string()}});
}

void RunDump(const Options &options, const DumpOptions &chosen, Output &output) {
    CardFeeder feeder(options);
    Follower follower(options, output, feeder, true, 1);
    Session session(options, output);
    session.WaitOnline(Deadline(follower.Timeout()));
    ScanRecord record = chosen.resend ? follower.Resent(session, 1) : follower.Card(session, 1);
    if (!chosen.resend)
        follower.AwaitBarcodes(session, record, 1); // they are decoded in the images to write
    follower.Trailing(session, record, 1);
    output.Pending(nullptr);
    output.EndScan();
    for (const std::string &which : chosen.which)
        Write(*Find(which), output);
}

} // namespace

void AddDump(CLI::App &app, const Options &options, Command &chosen) {
    CLI::App *command = app.add_subcommand("dump", "scan a card and write working images as BMP files");
    const auto dump = std::make_shared<DumpOptions>();
    command->add_option("which", dump->which, "images, by number or name: " + Known())
        ->type_name("WHICH")
        ->required()
        ->check(CheckWhich);
    command->add_flag("--resend", dump->resend,
                      "fetch the scanner's last scan once more, in place of a new card");
    command->callback([dump, &options, &chosen] {
        chosen = [dump, &options](Output &output) { RunDump(options, *dump, output); };
    });
}

} // namespace host
