// k274 scan: waits for cards, follows each scan and writes its files.
#include <CLI/CLI.hpp>
#include <memory>

#include "tools/k274/commands/commands.h"
#include "tools/k274/commands/scanning.h"

namespace host {

void AddScan(CLI::App &app, const Options &options, Command &chosen) {
    CLI::App *command = app.add_subcommand("scan", "wait for a card and write its images and scan.json");
    const auto scan = std::make_shared<ScanOptions>();
    AddScanOptions(*command, *scan);
    command->add_option("--count", scan->count, "number of cards; several go into folders 001, 002, ...")
        ->type_name("N")
        ->check(CLI::Range(1, 1000000));
    command->add_option("--decode-mode", scan->decodeMode, "which barcode decoders run, 0 to 9")
        ->type_name("N")
        ->check(CLI::Range(0, 9))
        ->capture_default_str();
    command->callback([scan, &options, &chosen] {
        chosen = [scan, &options](Output &output) { Scanning(options, *scan, output).Run(); };
    });
}

} // namespace host
