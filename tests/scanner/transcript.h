// Files of scenarios: a line that begins one with "== ", lines that say what is done, and under each, two
// spaces in, what came of it. K274_RENEW=1 writes what comes now.
#pragma once

#include "tests/support/data.h"

#include <algorithm>
#include <functional>
#include <map>
#include <optional>

/// Plays one scenario: does what lines say, by their first word.
struct Player {
    /// By the first word; they are given the rest, its escapes resolved.
    std::map<std::string, std::function<void(const std::string &)>> verbs;
    TempFolder folder; // of the scenario's files
    std::string told;

    /// @return what came of it, a line each
    std::string Do(const std::string &line) {
        const size_t end = std::min(line.find(' '), line.size());
        told.clear();
        verbs.at(line.substr(0, end))(Unescaped(line.substr(end)));
        return told;
    }
    /// Tells a line, with the names of files as they are in the scenario's folder.
    void Tell(std::string text) {
        std::replace(text.begin(), text.end(), '\\', '/');
        const std::string path = folder.Path().generic_string() + "/";
        for (size_t at; (at = text.find(path)) != std::string::npos;)
            text.erase(at, path.size());
        told += "  " + text + "\n";
    }
    /// "FILE cut BYTES", also to more than there are, "FILE flip AT" for one bit, "FILE put AT NUMBER ..."
    /// for numbers of 32 bits, the highest byte first.
    void Spoil(const std::string &what) const {
        std::istringstream words(what);
        std::string file, how;
        size_t at = 0;
        words >> file >> how >> at;
        std::string bytes = ReadText(folder.File(file));
        if (how == "cut")
            bytes.resize(at);
        else if (how == "flip")
            bytes.at(at) ^= 1;
        for (uint32_t value; words >> value;)
            for (const int shift : {24, 16, 8, 0})
                bytes.at(at++) = static_cast<char>(value >> shift);
        WriteText(folder.File(file), bytes);
    }
};

/// Has every scenario played by somebody new; what comes of its lines must be what stands in the file.
/// @param name  of the file, below tests/
/// @param values  for those who play
template <typename Plays, typename... Values>
void ExpectTranscript(const std::string &name, const Values &...values) {
    std::istringstream lines(ReadText(K274_SOURCE_DIR "/tests/" + name));
    std::string played;
    std::optional<Plays> player;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("  ", 0) == 0)
            continue;
        played += line + "\n";
        if (line.rfind("== ", 0) == 0)
            player.emplace(values...);
        else if (!line.empty() && line[0] != '#')
            played += player->Do(line);
    }
    ExpectKept(name, played);
}
