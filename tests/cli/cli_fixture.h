// Runs the commands of k274 in the test's own process, in front of the virtual scanner, and reads what they
// write.
#pragma once

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/cli/process.h"
#include "tests/support/data.h"
#include "tests/support/files.h"
#include "tests/support/system.h"
#include "tools/k274/files/picture.h"

namespace fs = std::filesystem;
using nlohmann::json;
using Words = std::vector<std::string>;

std::string Sample(const std::string &name);
Words Names(const fs::path &folder);
std::vector<json> JsonLines(const std::string &text);
std::vector<json> Events(const std::vector<json> &lines, const std::string &kind);

#ifdef K274_SLOW_BUILD
constexpr bool kBarcodesInTime = false; // decoders give up by the clock
#else
constexpr bool kBarcodesInTime = true;
#endif

struct Size {
    int width, height, channels;
    bool operator==(const Size &o) const {
        return width == o.width && height == o.height && channels == o.channels;
    }
};
Size SizeOf(const fs::path &picture);

/// Files do not grow beyond this while the object lives, as on a disk that is full.
class FileLimit {
public:
    explicit FileLimit(size_t bytes);
    ~FileLimit();
    FileLimit(const FileLimit &) = delete;
    FileLimit &operator=(const FileLimit &) = delete;
};

/// Runs k274. Scanner and library are afterwards as a new process finds them, but for what the scanner's
/// flash keeps, and the scanner does not wait.
Outcome K274(const Words &arguments);
/// The last object of this event, which is the command's result. The command succeeds and has nothing to say
/// to people.
json Result(Words arguments, const char *event);

/// Takes paths, times and what the scanner counts out of a result.
void Steady(json &value);
/// Compares the steady part of a result with the file of that name in tests/cli/golden.
void ExpectGolden(const std::string &name, json value);

struct Cli : testing::Test {
    static void SetUpTestSuite();
    std::string In(const std::string &name) const { return temporary.File(name); }

    TempFolder temporary;
    const fs::path &folder = temporary.Path();
};
