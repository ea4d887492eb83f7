// The library's option setters as options of commands.
#include "tools/k274/scan/processing.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "include/k274.h"

namespace host {

void AddProcessingOptions(CLI::App &command, Processing &processing) {
    const CLI::IsMember onOff({"on", "off"});
    CLI::Option *enhance =
        command
            .add_option("--uv-enhance", processing.uvEnhance, "all ultraviolet steps, or enhancement alone")
            ->type_name("on|off")
            ->check(onOff);
    command
        .add_option("--uv-options", processing.uvOptions,
                    "ultraviolet steps: 1 enhancement + 2 gain + 4 black level")
        ->type_name("0-7")
        ->check(CLI::Range(0, 7))
        ->excludes(enhance);
    command.add_option("--ir-enhance", processing.irEnhance, "infrared enhancement")
        ->type_name("on|off")
        ->check(onOff);
    command
        .add_option("--illum", processing.illumination,
                    "correct the lines by the white-card response: 1 visible + 2 infrared + 4 ultraviolet")
        ->type_name("0-7")
        ->check(CLI::Range(0, 7));
    command.add_option("--stripe-tone", processing.stripeTone, "tone table of the bleed image, 0: none")
        ->type_name("0-2")
        ->check(CLI::Range(0, 2));
}

void Apply(const Processing &processing) {
    if (!processing.uvEnhance.empty())
        K274_UvEnhance(processing.uvEnhance == "on" ? 1 : 0);
    if (processing.uvOptions)
        K274_SetUvOpt(*processing.uvOptions);
    if (!processing.irEnhance.empty())
        K274_IrEnhance(processing.irEnhance == "on" ? 1 : 0);
    if (processing.illumination)
        K274_SetIllumOpt(*processing.illumination);
    if (processing.stripeTone)
        K274_SetMsImgOpt(*processing.stripeTone);
}

void Describe(const Processing &processing, nlohmann::ordered_json &options) {
    if (!processing.uvEnhance.empty())
        options["uvEnhance"] = processing.uvEnhance == "on";
    if (processing.uvOptions)
        options["uvOptions"] = *processing.uvOptions;
    if (!processing.irEnhance.empty())
        options["irEnhance"] = processing.irEnhance == "on";
    if (processing.illumination)
        options["illum"] = *processing.illumination;
    if (processing.stripeTone)
        options["stripeTone"] = *processing.stripeTone;
}

} // namespace host
