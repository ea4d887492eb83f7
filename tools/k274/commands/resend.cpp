// k274 resend: fetches the last scan's lines once more and processes them with the options given.
#include <CLI/CLI.hpp>
#include <memory>

#include "tools/k274/commands/commands.h"
#include "tools/k274/commands/scanning.h"

namespace host {

void AddResend(CLI::App &app, const Options &options, Command &chosen) {
    CLI::App *command =
        app.add_subcommand("resend", "fetch the last scan once more, process it with other options");
    const auto scan = std::make_shared<ScanOptions>();
    scan->resend = true;
    AddScanOptions(*command, *scan);
    command->callback([scan, &options, &chosen] {
        chosen = [scan, &options](Output &output) { Scanning(options, *scan, output).Run(); };
    });
}

} // namespace host
