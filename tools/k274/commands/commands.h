// The commands of k274, one file for each or for a group. Each adds its sub-command and, when that is chosen,
// says how to run.
#pragma once

#include <functional>

#include "tools/k274/base/options.h"

namespace CLI {
class App;
}

namespace host {

class Output;

using Command = std::function<void(Output &)>;

void AddScan(CLI::App &app, const Options &options, Command &chosen);
void AddResend(CLI::App &app, const Options &options, Command &chosen);
void AddOpen(CLI::App &app, const Options &options, Command &chosen);
void AddTrace(CLI::App &app, const Options &options, Command &chosen);
void AddReport(CLI::App &app, const Options &options, Command &chosen);
void AddDecode(CLI::App &app, const Options &options, Command &chosen);
void AddDump(CLI::App &app, const Options &options, Command &chosen);
void AddWatch(CLI::App &app, const Options &options, Command &chosen);
void AddInfo(CLI::App &app, const Options &options, Command &chosen);
void AddReset(CLI::App &app, const Options &options, Command &chosen);
void AddEject(CLI::App &app, const Options &options, Command &chosen);
void AddProgramming(CLI::App &app, const Options &options, Command &chosen);
void AddAreas(CLI::App &app, const Options &options, Command &chosen);
void AddRegisters(CLI::App &app, const Options &options, Command &chosen);
void AddRequests(CLI::App &app, const Options &options, Command &chosen);
void AddImages(CLI::App &app, const Options &options, Command &chosen);
void AddCalibrate(CLI::App &app, const Options &options, Command &chosen);
void AddSelftest(CLI::App &app, const Options &options, Command &chosen);

} // namespace host
