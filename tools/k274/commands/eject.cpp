// k274 eject: tells the scanner to push the card out.
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "include/k274.h"
#include "tools/k274/base/errors.h"
#include "tools/k274/base/output.h"
#include "tools/k274/commands/commands.h"
#include "tools/k274/commands/maint.h"
#include "tools/k274/scan/session.h"

namespace host {

namespace {

// The request goes out with the next status poll, and nothing answers it.
constexpr std::chrono::milliseconds kUntilSent{400};

void Eject(const Options &options, Output &output) {
    Session session(options, output);
    session.WaitOnline(Deadline(ScannerTimeout(options)));
    K274_Eject();
    session.ShowUntil(Clock::now() + kUntilSent);
    if (K274_UsbIsOnline() == 0)
        throw HostError(Exit::kDeviceLost, "the scanner was disconnected: check its cable and retry");
    output.Note("the scanner was told to eject its card");
    output.Object({{"event", "eject"}});
}

} // namespace

void AddEject(CLI::App &app, const Options &options, Command &chosen) {
    app.add_subcommand("eject", "push the card out")->callback([&options, &chosen] {
        chosen = [&options](Output &output) { Eject(options, output); };
    });
}

} // namespace host
