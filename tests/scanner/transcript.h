// Files of scenarios: a line that begins one with "== ", lines that say what is done, and under each, two
// spaces in, what came of it.
#pragma once

#include "tests/support/data.h"

#include <sstream>
#include <string>
#include <vector>

using Lines = std::vector<std::string>;

/// Has every scenario played; what comes of its lines must be what stands in the file.
/// @param play  takes the lines of a scenario and returns what came of each, lines that stand in by two
/// spaces
/// @param name  of the file, below tests/
template <typename Play>
void ExpectTranscript(const std::string &name, Play play) {
    std::istringstream stream(ReadText(K274_SOURCE_DIR "/tests/" + name));
    std::string played;
    Lines scenario;
    for (std::string line; !stream.eof();) {
        const bool over = !std::getline(stream, line);
        if (over || line.rfind("== ", 0) == 0) {
            const Lines outcomes = play(scenario);
            for (size_t k = 0; k < scenario.size(); k++)
                played += scenario[k] + "\n" + outcomes.at(k);
            scenario.clear();
        }
        if (!over && line.rfind("  ", 0) != 0)
            scenario.push_back(line);
    }
    ExpectKept(name, played);
}
