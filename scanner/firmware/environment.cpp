// Reads the environment. Numbers are read without regard to the locale.
#include "scanner/firmware/environment.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace scanner {
namespace {

template <typename Number>
bool WholeTextIs(const char *text, Number *number) {
    const char *end = text + std::strlen(text);
    const auto [stop, error] = std::from_chars(text, end, *number);
    return error == std::errc() && stop == end;
}

std::string Text(const char *name) {
    const char *value = std::getenv(name);
    return value == nullptr ? "" : value;
}

} // namespace

bool UsableSpeed(double factor) { return std::isfinite(factor) && factor >= 0; }
bool UsableJitter(double columns) { return columns >= 0 && columns <= 16; }
int32_t JitterOf(double columns) { return static_cast<int32_t>(std::lround(columns * 65536)); }

Settings ReadEnvironment() {
    Settings settings;
    const std::string speed = Text("K274_SPEED"), seed = Text("K274_SEED");
    double factor = 0;
    if (WholeTextIs(speed.c_str(), &factor) && UsableSpeed(factor))
        settings.speed = factor;
    else if (!speed.empty())
        std::fprintf(stderr,
                     "virtual scanner: K274_SPEED=%s is no speed; using 1. "
                     "Give a factor such as 1, 0.5 or 10, or 0 for no waiting\n",
                     speed.c_str());
    uint32_t number = 0;
    if (WholeTextIs(seed.c_str(), &number))
        settings.seed = number;
    else if (!seed.empty())
        std::fprintf(stderr,
                     "virtual scanner: K274_SEED=%s is no seed; using 1. "
                     "Give a whole number from 0 to 4294967295\n",
                     seed.c_str());
    const std::string jitter = Text("K274_JITTER");
    double columns = 0;
    if (WholeTextIs(jitter.c_str(), &columns) && UsableJitter(columns))
        settings.jitter = columns;
    else if (!jitter.empty())
        std::fprintf(stderr,
                     "virtual scanner: K274_JITTER=%s is no jitter; using 0. Give a number from 0 to 16\n",
                     jitter.c_str());
    settings.cards = Text("K274_CARDS");
    settings.log = Text("K274_SCANNER_LOG");
    settings.flash = Text("K274_FLASH");
    return settings;
}

} // namespace scanner
