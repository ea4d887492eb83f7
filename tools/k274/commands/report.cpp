// k274 report: makes the page of a saved scan, without a scanner.
#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>

#include "tools/k274/base/errors.h"
#include "tools/k274/base/output.h"
#include "tools/k274/commands/commands.h"
#include "tools/k274/files/files.h"
#include "tools/k274/files/package.h"
#include "tools/k274/report/report.h"

namespace host {

namespace {

namespace fs = std::filesystem;

struct ReportOptions {
    std::string source, out = "report.html";
};

void Report(const ReportOptions &options, Output &output) {
    const fs::path out = options.out;
    if (out.filename().empty())
        throw HostError(Exit::kUsage, "--out: \"" + options.out + "\" names no file");
    const Package package = ReadPackage(options.source);
    if (package.images.empty())
        throw HostError(Exit::kBadFile, options.source + " has no images that can be shown");
    const std::string page = BuildReport(package);
    FileSet files(out.has_parent_path() ? out.parent_path() : fs::path("."));
    files.Add(out.filename().string(), page.data(), page.size());
    files.Commit();
    output.Note("written to " + out.string());
    output.Object({{"event", "report"}, {"file", out.string()}, {"bytes", page.size()}});
}

} // namespace

void AddReport(CLI::App &app, const Options &, Command &chosen) {
    CLI::App *command = app.add_subcommand("report", "make a page for people from a saved scan");
    const auto options = std::make_shared<ReportOptions>();
    command->add_option("scan", options->source, "scan file, or folder that scan wrote")
        ->type_name("FILE.tif|DIR")
        ->required();
    command->add_option("--out", options->out, "the page")->type_name("FILE.html")->capture_default_str();
    command->callback(
        [options, &chosen] { chosen = [options](Output &output) { Report(*options, output); }; });
}

} // namespace host
