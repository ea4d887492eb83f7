// k274 watch: shows every state as it comes.
#include <CLI/CLI.hpp>
#include <memory>

#include "include/k274.h"
#include "tools/k274/base/errors.h"
#include "tools/k274/base/output.h"
#include "tools/k274/commands/commands.h"
#include "tools/k274/scan/session.h"
#include "tools/k274/scan/virtual_device.h"

namespace host {

namespace {

constexpr std::chrono::milliseconds kSlotPoll{20};

// Cards go in one after the other, and once only, while the scanner is connected.
void Watch(const Options &options, int count, Output &output) {
    CardFeeder feeder(options);
    Session session(options, output);
    const Clock::time_point deadline = Deadline(options.timeout.value_or(0));
    size_t inserted = 0;
    bool online = false;
    for (int shown = 0; count == 0 || shown < count;) {
        if (online && inserted < feeder.Size() && feeder.Insert(inserted))
            ++inserted;
        const std::optional<Event> event = session.Next(std::min(deadline, Clock::now() + kSlotPoll));
        if (event) {
            output.State(event->state, event->time);
            ++shown;
            if (event->state == K274_STATE_CONNECTED || event->state == K274_STATE_DISCONNECTED)
                online = event->state == K274_STATE_CONNECTED;
        } else if (Clock::now() >= deadline) {
            if (count == 0)
                return;
            throw HostError(Exit::kTimeout, "only " + std::to_string(shown) + " of " + std::to_string(count) +
                                                " states came: give a longer --timeout");
        }
    }
}

} // namespace

void AddWatch(CLI::App &app, const Options &options, Command &chosen) {
    CLI::App *command = app.add_subcommand("watch", "show every state until Ctrl-C, --count or --timeout");
    const auto count = std::make_shared<int>(0);
    command->add_option("--count", *count, "end after this many states")
        ->type_name("N")
        ->check(CLI::Range(1, 1000000));
    command->callback([count, &options, &chosen] {
        chosen = [count, &options](Output &output) { Watch(options, *count, output); };
    });
}

} // namespace host
