// Options that every command takes.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace host {

struct Options {
    bool virtualScanner = false;
    std::vector<std::string> cards; // one folder each
    std::string deck;               // a folder of cards
    std::optional<uint32_t> seed;
    std::optional<double> speed;
    std::string logFolder;
    bool json = false;
    std::optional<double> timeout; // seconds, 0 waits for ever; each command has its own default
};

} // namespace host
