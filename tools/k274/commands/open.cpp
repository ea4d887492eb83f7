// k274 open: shows what a scan file holds, and unpacks its images; without a scanner.
#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>

#include "tools/k274/base/errors.h"
#include "tools/k274/base/output.h"
#include "tools/k274/commands/commands.h"
#include "tools/k274/facts/summary.h"
#include "tools/k274/files/files.h"
#include "tools/k274/files/package.h"

namespace host {

namespace {

using nlohmann::ordered_json;

struct OpenOptions {
    std::string file, out;
};

const char *VariantName(int variant) {
    switch (variant) {
    case 0:
        return "visible, infrared, ultraviolet";
    case 1:
        return "visible, infrared, 1200 dpi";
    default:
        return "visible, infrared";
    }
}

void Show(const ordered_json &description, Output &output) {
    const ordered_json &head = description.at("information");
    output.Note("scanned           " + head.at("date").get<std::string>());
    output.Note(std::string("images            ") + VariantName(head.at("variant").get<int>()));
    output.Note("second serial     " + head.at("serialNumber2").get<std::string>());
    output.Note("firmware          " + head.at("firmware").get<std::string>());
    output.Note("FPGA              " + head.at("fpga").get<std::string>());
    output.Note("hardware          " + std::to_string(head.at("hardware").get<int>()));
    output.Note("library           " + head.at("library").get<std::string>());
    if (!description.at("loaded").get<bool>()) {
        output.Note("the library reads only the head of a file of this kind");
        return;
    }
    for (const std::string &line : SummaryLines(description))
        output.Note(line);
}

void Open(const OpenOptions &options, Output &output) {
    if (!options.out.empty())
        PrepareFolder(options.out);
    Package package = ReadScanFile(options.file);
    const bool loaded = package.description.at("loaded").get<bool>();
    if (!options.out.empty() && !loaded)
        throw HostError(Exit::kBadFile, options.file +
                                            " has images that the library does not load: only scans "
                                            "with ultraviolet images are");
    Show(package.description, output);
    if (!options.out.empty()) {
        FileSet files(options.out);
        AddImages(files, package);
        AddFile(files, package, "responses", "responses.csv", CurvesCsv(package.curves));
        files.Commit();
        output.Note("written to " + options.out);
    }
    output.Object({{"event", "open"}, {"result", package.description}});
}

} // namespace

void AddOpen(CLI::App &app, const Options &, Command &chosen) {
    CLI::App *command = app.add_subcommand("open", "show what a scan file holds");
    const auto options = std::make_shared<OpenOptions>();
    command->add_option("file", options->file, "scan file, as scan writes it")
        ->type_name("FILE.tif")
        ->required();
    command->add_option("--out", options->out, "write its images into this folder")->type_name("DIR");
    command->callback([options, &chosen] { chosen = [options](Output &output) { Open(*options, output); }; });
}

} // namespace host
