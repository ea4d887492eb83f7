// k274 reset: restarts the scanner and waits until it says so.
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

void Reset(const Options &options, Output &output) {
    const double timeout = ScannerTimeout(options);
    Session session(options, output);
    session.WaitOnline(Deadline(timeout));
    session.ShowUntil(session.Start() + kUntilNotices);
    K274_Reset();
    output.Pending("waiting for the scanner to restart");
    const Clock::time_point deadline = Deadline(timeout);
    bool lost = false;
    while (const std::optional<Event> event = session.Next(deadline)) {
        output.State(event->state, event->time);
        lost = lost || event->state == K274_STATE_DISCONNECTED;
        // A scanner that leaves the bus while it restarts is back with state 10.
        if (event->state == K274_STATE_DEVICE_RESET || (lost && event->state == K274_STATE_CONNECTED)) {
            output.Pending(nullptr);
            output.Object({{"event", "reset"}});
            return;
        }
    }
    if (lost)
        throw HostError(Exit::kDeviceLost,
                        "the scanner did not come back from its reset: unplug and connect it");
    throw HostError(Exit::kTimeout,
                    "the scanner did not report a reset: unplug it, connect it again and retry");
}

} // namespace

void AddReset(CLI::App &app, const Options &options, Command &chosen) {
    app.add_subcommand("reset", "restart the scanner")->callback([&options, &chosen] {
        chosen = [&options](Output &output) { Reset(options, output); };
    });
}

} // namespace host
