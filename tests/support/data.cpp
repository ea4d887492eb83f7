#include "tests/support/data.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

// A literal: tables are read while other objects are still being built.
constexpr char kTests[] = K274_SOURCE_DIR "/tests/";

} // namespace

std::string Unescaped(const std::string &text) {
    const size_t first = text.find_first_not_of(' ');
    const std::string bare =
        first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
    std::string column;
    for (size_t i = 0; i < bare.size(); ++i) {
        if (bare[i] != '\\')
            column += bare[i];
        else if (bare[++i] == 'n')
            column += '\n';
        else {
            column += static_cast<char>(std::stoi(bare.substr(i + 1, 2), nullptr, 16));
            i += 2;
        }
    }
    return column;
}

std::vector<std::vector<std::string>> Table(const std::string &name) {
    std::ifstream file(std::string(kTests) + name);
    EXPECT_TRUE(file) << name;
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line.compare(0, 2, "# ") == 0)
            continue;
        std::istringstream columns(line + '|');
        rows.emplace_back();
        for (std::string column; std::getline(columns, column, '|');)
            rows.back().push_back(Unescaped(column));
    }
    return rows;
}

std::vector<int64_t> Numbers(const std::string &column) {
    std::istringstream words(column);
    std::vector<int64_t> numbers;
    for (std::string word; words >> word;)
        numbers.push_back(std::stoll(word, nullptr, 0));
    return numbers;
}

std::vector<int> Ints(const std::string &column) {
    const std::vector<int64_t> numbers = Numbers(column);
    return {numbers.begin(), numbers.end()};
}

void ExpectKept(const std::string &name, const std::string &text) {
    const char *renew = std::getenv("K274_RENEW");
    if (renew != nullptr && std::string(renew) == "1")
        std::ofstream(std::string(kTests) + name, std::ios::binary) << text;
    EXPECT_EQ(ReadText(std::string(kTests) + name), text) << name;
}
