// Reads the environment. Numbers are read without regard to the locale.
#include "scanner/firmware/environment.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace scanner {
namespace {

std::string Text(const char *name) {
    const char *value = std::getenv(name);
    return value == nullptr ? "" : value;
}

/// Sets the number when the variable has one that can be used.
template <typename Number, typename Usable>
void ReadNumber(const char *name, const char *what, const char *cure, Usable usable, Number *number) {
    const std::string text = Text(name);
    const char *end = text.data() + text.size();
    Number read{};
    const auto [stop, error] = std::from_chars(text.data(), end, read);
    if (error == std::errc() && stop == end && usable(read))
        *number = read;
    else if (!text.empty())
        std::fprintf(stderr, "virtual scanner: %s=%s is no %s; using %g. %s\n", name, text.c_str(), what,
                     static_cast<double>(*number), cure);
}

} // namespace

bool UsableSpeed(double factor) { return std::isfinite(factor) && factor >= 0; }
bool UsableJitter(double columns) { return columns >= 0 && columns <= 16; }
int32_t JitterOf(double columns) { return static_cast<int32_t>(std::lround(columns * 65536)); }

Settings ReadEnvironment() {
    Settings settings;
    ReadNumber("K274_SPEED", "speed", "Give a factor such as 1, 0.5 or 10, or 0 for no waiting", UsableSpeed,
               &settings.speed);
    ReadNumber(
        "K274_SEED", "seed", "Give a whole number from 0 to 4294967295", [](uint32_t) { return true; },
        &settings.seed);
    ReadNumber("K274_JITTER", "jitter", "Give a number from 0 to 16", UsableJitter, &settings.jitter);
    settings.cards = Text("K274_CARDS");
    settings.log = Text("K274_SCANNER_LOG");
    settings.flash = Text("K274_FLASH");
    return settings;
}

} // namespace scanner
