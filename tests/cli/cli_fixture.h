// Shared by the tests of k274: a folder of its own for each test, and readers of what k274 writes.
#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/cli/program.h"
#include "tools/k274/picture.h"

namespace fs = std::filesystem;
using nlohmann::json;
using Words = std::vector<std::string>;

std::string Sample(const std::string &name);
std::string ReadAll(const fs::path &file);
Words Names(const fs::path &folder);
std::vector<json> JsonLines(const std::string &text);
std::vector<json> Events(const std::vector<json> &lines, const std::string &kind);

struct Size {
    int width, height, channels;
    bool operator==(const Size &o) const {
        return width == o.width && height == o.height && channels == o.channels;
    }
};
Size SizeOf(const fs::path &picture);
std::vector<uint8_t> Bytes(const std::string &text);

struct Cli : testing::Test {
    void SetUp() override;
    void TearDown() override { fs::remove_all(folder); }

    std::string In(const std::string &name) const { return (folder / name).string(); }

    fs::path folder;
};
