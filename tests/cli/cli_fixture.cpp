// Reading of files and lines for the tests of k274.
#include "tests/cli/cli_fixture.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>

std::string Sample(const std::string &name) { return K274_SOURCE_DIR "/scanner/cards/samples/" + name; }

std::string ReadAll(const fs::path &file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

Words Names(const fs::path &folder) {
    Words names;
    for (const fs::directory_entry &entry : fs::directory_iterator(folder))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<json> JsonLines(const std::string &text) {
    std::vector<json> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(json::parse(line)); // a line that is none throws and fails the test
    return lines;
}

std::vector<json> Events(const std::vector<json> &lines, const std::string &kind) {
    std::vector<json> chosen;
    std::copy_if(lines.begin(), lines.end(), std::back_inserter(chosen),
                 [&](const json &line) { return line.at("event") == kind; });
    return chosen;
}

std::vector<uint8_t> Bytes(const std::string &text) { return {text.begin(), text.end()}; }

Size SizeOf(const fs::path &picture) {
    const host::Picture decoded = host::DecodePng(Bytes(ReadAll(picture)), picture.string());
    return {decoded.width, decoded.height, decoded.channels};
}

void Cli::SetUp() {
    folder = fs::temp_directory_path() / ("k274-cli-" + std::to_string(getpid()) + "-" +
                                          testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(folder);
    fs::create_directory(folder);
}
