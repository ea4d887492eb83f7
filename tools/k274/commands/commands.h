// The commands of k274, one file each. Each adds its sub-command and, when that is chosen, says how to run.
#pragma once

#include <functional>

#include "tools/k274/options.h"

namespace CLI {
class App;
}

namespace host {

class Output;

using Command = std::function<void(Output &)>;

void AddScan(CLI::App &app, const Options &options, Command &chosen);
void AddWatch(CLI::App &app, const Options &options, Command &chosen);
void AddInfo(CLI::App &app, const Options &options, Command &chosen);
void AddReset(CLI::App &app, const Options &options, Command &chosen);
void AddEject(CLI::App &app, const Options &options, Command &chosen);

} // namespace host
