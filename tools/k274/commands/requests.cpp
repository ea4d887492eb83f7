// k274 leds, beep, mech, usbtest and rig: single requests to the scanner, and the link test.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "include/k274.h"
#include "tools/k274/base/errors.h"
#include "tools/k274/base/output.h"
#include "tools/k274/commands/commands.h"
#include "tools/k274/commands/loopback.h"
#include "tools/k274/commands/maint.h"

namespace host {

namespace {

// A request goes out with the next status poll, and nothing answers it.
constexpr std::chrono::milliseconds kUntilSent{400};
constexpr int kMostReply = 196352;
constexpr const char *kActions[] = {"low", "high", "pulse-high", "pulse-low"};

struct LedOptions {
    std::vector<int> values;
    int user = -1, aging = -1;
    std::vector<int> debug;
};

struct MechOptions {
    int test = 0;
    uint32_t first = 0, second = 0;
};

struct UsbOptions {
    int count = 100, length = 65536;
};

struct RigOptions {
    int channel = 0;
    std::string action;
};

void Leds(const Options &options, const LedOptions &chosen, Output &output) {
    if (chosen.values.empty() && chosen.user < 0 && chosen.aging < 0 && chosen.debug.empty())
        throw HostError(Exit::kUsage, "leds takes three values, --user, --debug or --aging");
    Session session(options, output);
    Connect(session, options);
    const auto byte = [](int value) { return static_cast<uint8_t>(value); };
    if (!chosen.values.empty())
        K274_SetLEDs(byte(chosen.values[0]), byte(chosen.values[1]), byte(chosen.values[2]));
    if (!chosen.debug.empty())
        K274_DebugLEDs(byte(chosen.debug[0]), byte(chosen.debug[1]));
    if (chosen.aging >= 0)
        K274_GuiLedAging(byte(chosen.aging));
    if (chosen.user >= 0)
        K274_UserLED(chosen.user);
    session.ShowUntil(Clock::now() + kUntilSent);
    output.Note("the scanner was told to switch its LEDs");
    output.Object({{"event", "leds"}});
}

void Beep(const Options &options, int value, Output &output) {
    Session session(options, output);
    Connect(session, options);
    K274_UserBeep(static_cast<uint8_t>(value));
    session.ShowUntil(Clock::now() + kUntilSent);
    output.Note("the scanner was told to beep");
    output.Object({{"event", "beep"}, {"value", value}});
}

void Mech(const Options &options, const MechOptions &chosen, Output &output) {
    Session session(options, output);
    Connect(session, options);
    RequireNoCard();
    K274_MechTest(static_cast<uint8_t>(chosen.test), chosen.first, chosen.second);
    session.ShowUntil(Clock::now() + kUntilSent);
    output.Note("the scanner was told to run mechanism test " + std::to_string(chosen.test));
    output.Object(
        {{"event", "mech"}, {"test", chosen.test}, {"first", chosen.first}, {"second", chosen.second}});
}

void UsbTest(const Options &options, const UsbOptions &chosen, Output &output) {
    Session session(options, output);
    Connect(session, options);
    const Loopback result = RunLoopback(session, output, chosen.count, chosen.length);
    char line[120];
    std::snprintf(line, sizeof line, "%d exchanges of %d bytes, %d failed, %.1f MB/s", chosen.count,
                  chosen.length, result.failed, result.rate);
    output.Note(line);
    output.Object({{"event", "usbtest"},
                   {"count", chosen.count},
                   {"length", chosen.length},
                   {"failed", result.failed},
                   {"megabytesPerSecond", result.rate}});
    if (result.failed != 0)
        throw HostError(Exit::kFailedTest, std::to_string(result.failed) + " of " +
                                               std::to_string(chosen.count) +
                                               " exchanges failed: try another cable or port");
}

void Rig(const Options &options, const RigOptions &chosen, Output &output) {
    Session session(options, output);
    int32_t action = 0;
    while (chosen.action != kActions[action])
        ++action;
    K274_LabJack(chosen.channel, action); // where there is no rig, nothing happens and nothing tells of it
    session.ShowUntil(Clock::now());
    output.Note("line " + std::to_string(chosen.channel) + " of the rig was set: " + chosen.action);
    output.Object({{"event", "rig"}, {"channel", chosen.channel}, {"action", chosen.action}});
}

} // namespace

void AddRequests(CLI::App &app, const Options &options, Command &chosen) {
    CLI::App *leds = app.add_subcommand("leds", "switch LEDs");
    const auto lights = std::make_shared<LedOptions>();
    leds->add_option("values", lights->values, "the three bytes of the LED command")
        ->type_name("A B C")
        ->expected(3)
        ->check(CLI::Range(0, 255));
    leds->add_option("--user", lights->user, "the user's LED, 0 to 4")
        ->type_name("N")
        ->check(CLI::Range(0, 4));
    leds->add_option("--debug", lights->debug, "a debug LED, 0 off or 1 on")
        ->type_name("LED ON")
        ->expected(2)
        ->check(CLI::Range(0, 255));
    leds->add_option("--aging", lights->aging, "lamp aging")->type_name("MODE")->check(CLI::Range(0, 255));
    leds->callback([lights, &options, &chosen] {
        chosen = [lights, &options](Output &output) { Leds(options, *lights, output); };
    });

    CLI::App *beep = app.add_subcommand("beep", "sound the beeper");
    const auto value = std::make_shared<int>(1);
    beep->add_option("value", *value, "0 to 5")
        ->type_name("N")
        ->check(CLI::Range(0, 5))
        ->capture_default_str();
    beep->callback([value, &options, &chosen] {
        chosen = [value, &options](Output &output) { Beep(options, *value, output); };
    });

    CLI::App *mech = app.add_subcommand("mech", "run a test of the mechanism");
    const auto test = std::make_shared<MechOptions>();
    mech->add_option("test", test->test, "number of the test")
        ->type_name("TEST")
        ->required()
        ->check(CLI::Range(2, 255));
    mech->add_option("first", test->first, "its first value")->type_name("FIRST");
    mech->add_option("second", test->second, "its second value")->type_name("SECOND");
    mech->callback([test, &options, &chosen] {
        chosen = [test, &options](Output &output) { Mech(options, *test, output); };
    });

    CLI::App *usbtest = app.add_subcommand("usbtest", "test the link with loopback exchanges");
    const auto link = std::make_shared<UsbOptions>();
    usbtest->add_option("--count", link->count, "exchanges")
        ->type_name("N")
        ->check(CLI::Range(1, 3999998))
        ->capture_default_str();
    usbtest->add_option("--length", link->length, "bytes of a reply")
        ->type_name("BYTES")
        ->check(CLI::Range(1, kMostReply))
        ->capture_default_str();
    usbtest->callback([link, &options, &chosen] {
        chosen = [link, &options](Output &output) { UsbTest(options, *link, output); };
    });

    CLI::App *rig = app.add_subcommand("rig", "set an output line of the test rig");
    const auto line = std::make_shared<RigOptions>();
    rig->add_option("channel", line->channel, "output line")
        ->type_name("CHANNEL")
        ->required()
        ->check(CLI::Range(0, 19));
    rig->add_option("action", line->action, "low, high, pulse-high or pulse-low")
        ->type_name("ACTION")
        ->required()
        ->check(CLI::IsMember({kActions[0], kActions[1], kActions[2], kActions[3]}));
    rig->callback([line, &options, &chosen] {
        chosen = [line, &options](Output &output) { Rig(options, *line, output); };
    });
}

} // namespace host
