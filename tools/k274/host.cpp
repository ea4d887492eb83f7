// Reads the command line and runs the command that it names.
#include "tools/k274/host.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <exception>
#include <sstream>
#include <string>
#include <utility>

#include "tools/k274/base/errors.h"
#include "tools/k274/base/output.h"
#include "tools/k274/commands/commands.h"

namespace host {

namespace {

// The parser takes "nan" and "inf" for numbers.
std::string FiniteFromZero(const std::string &text) {
    double value = 0;
    if (!CLI::detail::lexical_cast(text, value) || !std::isfinite(value) || value < 0 || value > 1e6)
        return "\"" + text + "\" is not a number from 0 to 1000000";
    return {};
}

void AddCommonOptions(CLI::App &app, Options &options) {
    app.add_flag("--virtual", options.virtualScanner, "use the virtual scanner in place of a real one");
    app.add_option("--card", options.cards,
                   "put this card (a folder) into the virtual scanner; may be repeated")
        ->type_name("FOLDER")
        ->expected(1)
        ->take_all();
    app.add_option("--cards", options.deck, "put the cards in this folder into the virtual scanner, by name")
        ->type_name("FOLDER");
    app.add_option("--seed", options.seed, "seed of the virtual scanner's noise, dust and card positions")
        ->type_name("NUMBER");
    app.add_option("--speed", options.speed,
                   "pace of the virtual scanner: 1 as a real one, 0 without waiting")
        ->type_name("FACTOR")
        ->check(FiniteFromZero);
    app.add_option("--log", options.logFolder, "write the library's log into this folder")->type_name("DIR");
    app.add_option("--timeout", options.timeout, "longest wait for the scanner, a card or a stage; 0: none")
        ->type_name("SECONDS")
        ->check(FiniteFromZero);
    app.add_flag("--json", options.json, "machine-readable lines on standard output");
}

std::string FirstLine(const std::string &text) { return text.substr(0, text.find('\n')); }

} // namespace

int Run(const std::vector<std::string> &arguments, std::FILE *out, std::FILE *err) {
    CLI::App app{"Command-line host of the K274 card scanner", "k274"};
    Options options;
    Command chosen;
    AddCommonOptions(app, options);
    app.set_version_flag("--version", "k274 " K274_HOST_VERSION);
    AddScan(app, options, chosen);
    AddResend(app, options, chosen);
    AddOpen(app, options, chosen);
    AddReport(app, options, chosen);
    AddTrace(app, options, chosen);
    AddDecode(app, options, chosen);
    AddDump(app, options, chosen);
    AddWatch(app, options, chosen);
    AddInfo(app, options, chosen);
    AddReset(app, options, chosen);
    AddEject(app, options, chosen);
    AddCalibrate(app, options, chosen);
    AddSelftest(app, options, chosen);
    AddImages(app, options, chosen);
    AddProgramming(app, options, chosen);
    AddAreas(app, options, chosen);
    AddRegisters(app, options, chosen);
    AddRequests(app, options, chosen);
    for (CLI::App *command : app.get_subcommands({})) {
        command->fallthrough(); // the common options may stand behind the command
        command->footer("Options common to all commands: k274 --help");
    }
    app.require_subcommand(1);

    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend())); // the last one first
    } catch (const CLI::Success &asked) {                                          // --help, --version
        std::ostringstream text;
        app.exit(asked, text, text);
        std::fputs(text.str().c_str(), out);
        return static_cast<int>(Exit::kOk);
    } catch (const CLI::RequiredError &) {
        Output(options.json, out, err).Fail({Exit::kUsage, "name a command, such as scan; see k274 --help"});
        return static_cast<int>(Exit::kUsage);
    } catch (const CLI::ParseError &error) {
        Output(options.json, out, err).Fail({Exit::kUsage, FirstLine(error.what()) + "; see k274 --help"});
        return static_cast<int>(Exit::kUsage);
    }

    Output output(options.json, out, err);
    try {
        chosen(output);
        return static_cast<int>(Exit::kOk);
    } catch (const HostError &error) {
        output.Fail(error);
        return static_cast<int>(error.Status());
    } catch (const std::exception &error) {
        output.Fail({Exit::kInternal, std::string("unexpected failure: ") + error.what()});
        return static_cast<int>(Exit::kInternal);
    }
}

} // namespace host
