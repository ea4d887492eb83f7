// Tables of test cases, kept as data: a row a line, its cells between blanks. A cell in quotes holds any
// text, with \n \r \t \0 \xHH as in C. Lines that begin with # are for people; "= NAME" begins one of several
// tables.
#pragma once

#include "tests/support/files.h"

#include <cstdlib>
#include <sstream>
#include <stdexcept>

struct Row : std::vector<std::string> {
    int Int(size_t cell) const { return static_cast<int>(std::strtol(at(cell).c_str(), nullptr, 0)); }
    uint32_t Hex(size_t cell) const {
        return static_cast<uint32_t>(std::strtoul(at(cell).c_str(), nullptr, 16));
    }
    double Real(size_t cell) const { return std::strtod(at(cell).c_str(), nullptr); }
    std::vector<int> Ints(size_t from) const {
        std::vector<int> numbers;
        while (from < size())
            numbers.push_back(Int(from++));
        return numbers;
    }
};

/// A quoted cell, behind its first quote.
inline std::string QuotedCell(std::istream &from) {
    std::string text;
    for (char c = 0; from.get(c) && c != '"'; text += c) {
        if (c != '\\')
            continue;
        from.get(c);
        if (c == 'x') {
            char digits[3] = {};
            from.read(digits, 2);
            c = static_cast<char>(std::strtoul(digits, nullptr, 16));
        } else {
            c = c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c == '0' ? '\0' : c;
        }
    }
    return text;
}

/// @param file  below tests/
inline std::vector<Row> Table(const std::string &file, const std::string &name = "") {
    std::istringstream lines(ReadText(std::string(K274_SOURCE_DIR "/tests/") + file));
    std::vector<Row> rows;
    bool within = name.empty();
    for (std::string line; std::getline(lines, line);) {
        if (line[0] == '=')
            within = line == "= " + name;
        if (!within || line.empty() || line[0] == '#' || line[0] == '=')
            continue;
        Row row;
        std::istringstream from(line);
        while (from >> std::ws && from.peek() != EOF) {
            std::string cell;
            if (from.peek() == '"' && from.get())
                cell = QuotedCell(from);
            else
                from >> cell;
            row.push_back(cell);
        }
        rows.push_back(row);
    }
    if (rows.empty())
        throw std::runtime_error("no table " + name + " in " + file);
    return rows;
}
