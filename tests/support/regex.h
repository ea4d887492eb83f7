// Regular expressions in assertions, the same on every system: those of GoogleTest are what the system has.
#pragma once

#include <gmock/gmock.h>

#include <regex>
#include <string>

MATCHER_P(WholeMatches, pattern, "matches " + std::string(pattern)) {
    return std::regex_match(std::string(arg), std::regex(pattern));
}

MATCHER_P(PartMatches, pattern, "has a part that matches " + std::string(pattern)) {
    return std::regex_search(std::string(arg), std::regex(pattern));
}
