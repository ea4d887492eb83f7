// Cards one after the other: each is followed, and its files are written before the next one is awaited.
#include "tools/k274/commands/scanning.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "tools/k274/base/errors.h"
#include "tools/k274/base/output.h"
#include "tools/k274/base/states.h"
#include "tools/k274/facts/records.h"
#include "tools/k274/facts/summary.h"
#include "tools/k274/report/report.h"
#include "wire/status.h"

namespace host {

namespace fs = std::filesystem;
using nlohmann::ordered_json;

namespace {

std::string IsoTime(std::time_t time) {
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", std::gmtime(&time));
    return text;
}

ordered_json StateJson(const Event &event, Clock::time_point zero) {
    const std::chrono::duration<double, std::milli> since = event.time - zero;
    return {{"state", event.state},
            {"name", DescribeState(event.state).name},
            {"ms", static_cast<int64_t>(since.count())}};
}

// A report shows the log, so one is kept even where nobody asked for its own sake.
Options WithLog(const Options &options, const ScanOptions &scan) {
    Options chosen = options;
    if (scan.report && chosen.logFolder.empty())
        chosen.logFolder = scan.out;
    return chosen;
}

int CountOf(const ScanOptions &scan, const CardFeeder &feeder) {
    return scan.count != 0 ? scan.count : std::max(1, static_cast<int>(feeder.Size()));
}

bool VirtualCardsComeByThemselves() {
    const char *cards = std::getenv("K274_CARDS");
    return cards != nullptr && *cards != '\0';
}

} // namespace

Scanning::Scanning(const Options &options, const ScanOptions &scan, Output &output)
    : options_(WithLog(options, scan)), scan_(scan), output_(output), feeder_(options),
      virtual_(options.virtualScanner || feeder_.HasCards() || DeviceName() == "virtual"),
      count_(CountOf(scan, feeder_)), follower_(options_, output, feeder_, scan.Full(), count_),
      log_(options_.logFolder) {}

void Scanning::Run() {
    if (scan_.resend && virtual_ && !feeder_.HasCards() && !VirtualCardsComeByThemselves())
        throw HostError(Exit::kUsage, "the virtual scanner starts without a last scan: name a --card, which "
                                      "is scanned first");
    PrepareFolder(scan_.out); // a card must not be scanned for nothing
    SessionSettings settings;
    settings.scanMode = scan_.Full() ? uint8_t{0} : wire::kVisibleLightOnly;
    settings.capture = true;
    settings.barcodes = !scan_.noBarcodes;
    settings.decodeMode = scan_.decodeMode;
    Session session(options_, output_, settings);
    session.WaitOnline(Deadline(follower_.Timeout()));
    if (!scan_.resend)
        Apply(scan_.processing);
    for (int number = 1; number <= count_; ++number) {
        ScanRecord record = scan_.resend ? Resend(session, number) : follower_.Card(session, number);
        Save(session, record, number);
    }
}

// A real scanner holds its last scan. The virtual one begins with this process and has none yet: its card is
// scanned first, as the library does without being told anything.
ScanRecord Scanning::Resend(Session &session, int number) {
    if (virtual_) {
        ScanRecord first = follower_.Card(session, number);
        if (!scan_.noBarcodes)
            follower_.AwaitBarcodes(session, first, number);
        follower_.Trailing(session, first, number);
        output_.EndScan();
        log_.Take();
    }
    Apply(scan_.processing);
    return follower_.Resent(session, number);
}

ordered_json Scanning::Describe(const ScanRecord &record, int number) const {
    ordered_json chosen = {{"mode", scan_.mode},
                           {"count", count_},
                           {"timeout", follower_.Timeout()},
                           {"barcodes", !scan_.noBarcodes},
                           {"decodeMode", scan_.decodeMode}};
    if (scan_.resend)
        chosen["resend"] = true;
    host::Describe(scan_.processing, chosen);
    ordered_json json = {{"format", "k274-scan"},
                         {"formatVersion", 1},
                         {"host", K274_HOST_VERSION},
                         {"scan", number},
                         {"started", IsoTime(record.started)},
                         {"device", DeviceName()},
                         {"versions", VersionJson(record.capture->version)},
                         {"options", std::move(chosen)}};
    if (virtual_) {
        ordered_json &device = json["virtual"] = ordered_json::object();
        if (feeder_.HasCards())
            device["card"] = feeder_.Name(static_cast<size_t>(number - 1));
        if (options_.seed)
            device["seed"] = *options_.seed;
        if (options_.speed)
            device["speed"] = *options_.speed;
    }
    ordered_json &states = json["states"] = ordered_json::array();
    for (const Event &event : record.states)
        states.push_back(StateJson(event, record.states.front().time));
    json["card"] = CardJson(record.capture->status);
    json["status"] = StatusJson(record.capture->status);
    json["transferErrors"] = record.capture->transferErrors;
    DescribeCard(*record.capture, scan_.noBarcodes ? nullptr : record.barcode.get(), true, json);
    return json;
}

// The library saves what its images hold at this moment: the scan, unless the next card came in between.
bool Scanning::SaveTiff(Session &session, FileSet &files) const {
    const std::string name = "scan.tif";
    const fs::path path = files.Reserve(name);
    if (const int32_t result = K274_Save(path.string().c_str()); result != 0)
        throw HostError(Exit::kCannotWrite, "cannot write " + path.string() +
                                                (result == -1 ? ": the file cannot be created"
                                                              : ": check that the disk has room for 23 MB"));
    if (!NextCardCame(session))
        return true;
    files.Drop(name);
    output_.Note("the next card came too early: there is no scan.tif of this one");
    return false;
}

void Scanning::Save(Session &session, ScanRecord &record, int number) {
    if (!record.capture)
        throw HostError(Exit::kInternal, "there is not enough memory for the images of a scan");
    fs::path folder = scan_.out;
    if (count_ > 1) {
        char name[16];
        std::snprintf(name, sizeof name, "%03d", number);
        folder /= name;
        PrepareFolder(folder);
    }
    if (!scan_.noBarcodes && !scan_.resend)
        follower_.AwaitBarcodes(session, record, number);
    output_.Pending("writing the files");
    FileSet files(folder);
    const bool tiff = scan_.Full() && SaveTiff(session, files);
    Package package = {{}, PackImages(*record.capture), CurvesOf(*record.capture), {}};
    follower_.Trailing(session, record, number);
    package.description = Describe(record, number);
    package.log = log_.Take();
    AddImages(files, package);
    package.description["files"] = ordered_json::object();
    if (tiff)
        package.description["files"]["tiff"] = "scan.tif";
    AddFile(files, package, "responses", "responses.csv", CurvesCsv(package.curves));
    if (!package.log.empty())
        AddFile(files, package, "log", "scan.log", package.log);
    if (scan_.report) {
        AddFile(files, package, "report", "report.html", BuildReport(package));
    }
    AddDescription(files, package);
    files.Commit();
    output_.Pending(nullptr);
    output_.EndScan();
    if (!output_.Json()) {
        for (const std::string &line : SummaryLines(package.description))
            output_.Note(line);
    }
    output_.Note("written to " + folder.string());
    output_.Object(
        {{"event", "scan"}, {"scan", number}, {"folder", folder.string()}, {"result", package.description}});
}

void AddScanOptions(CLI::App &command, ScanOptions &scan) {
    command.add_option("--out", scan.out, "folder for the files; made if it is missing")
        ->type_name("DIR")
        ->capture_default_str();
    command.add_option("--mode", scan.mode, "full: all passes; rgb: visible light only")
        ->check(CLI::IsMember({"rgb", "full"}))
        ->capture_default_str();
    command.add_flag("--no-barcodes", scan.noBarcodes, "do not decode barcodes");
    command.add_flag("--report", scan.report, "write a page for people, report.html, too");
    AddProcessingOptions(command, scan.processing);
}

} // namespace host
