#include "tests/capture/drawings.h"

#include "tests/support/data.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

namespace k274 {

namespace {

struct Places {
    explicit Places(const std::string &text) {
        if (std::sscanf(text.c_str(), "%d-%d/%d", &first, &last, &step) == 1)
            last = first;
    }
    int first = 0, last = 0, step = 1;
};

/// Calls back with every byte at some rows and columns, of one channel or of all.
template <typename Visit>
void ForBytes(const Canvas &canvas, int channel, const Places &rows, const Places &columns, Visit visit) {
    for (int row = rows.first; row <= rows.last; row += rows.step)
        for (int column = columns.first; column <= columns.last; column += columns.step)
            for (int k = 0; k < canvas.channels; k++)
                if (channel < 0 || k == channel)
                    visit(canvas.data[(row * canvas.columns + column) * canvas.channels + k], row, column);
}

} // namespace

void PlayDrawings(const std::string &table, const Canvases &canvases, const Answers &answers) {
    for (const auto &line : Table(table)) {
        SCOPED_TRACE(line[0]);
        std::istringstream words(line[0]);
        std::string name, rows, columns, value, found;
        words >> name;
        if (const auto answer = answers.find(name); answer != answers.end()) {
            EXPECT_EQ(answer->second(words), line.size() > 1 ? line[1] : "");
            continue;
        }
        const size_t colon = name.find(':');
        const int channel = colon == std::string::npos ? -1 : std::stoi(name.substr(colon + 1));
        const Canvas &canvas = canvases.at(name.substr(0, colon));
        words >> rows >> columns >> value;
        if (columns.empty()) {
            std::memset(canvas.data, std::stoi(rows),
                        static_cast<size_t>(canvas.rows * canvas.columns * canvas.channels));
        } else if (line.size() > 1) {
            ForBytes(canvas, channel, Places(rows), Places(columns),
                     [&](uint8_t byte, int, int) { Append(found, byte); });
            EXPECT_EQ(found, line[1]);
        } else {
            const char axis = value[0];
            const int number = std::stoi(value.substr(axis == 'c' || axis == 'r' ? 2 : 0));
            ForBytes(canvas, channel, Places(rows), Places(columns), [&](uint8_t &byte, int row, int column) {
                byte = static_cast<uint8_t>(axis == 'c'   ? column / number
                                            : axis == 'r' ? row / number
                                                          : number);
            });
        }
    }
}

} // namespace k274
