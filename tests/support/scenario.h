// Scenarios of a few words. A file holds steps, each on a line that begins with "> ", and behind each step
// what came of it; empty lines and those that begin with "# " are the reader's. K274_RENEW=1 writes what
// comes now. Steps that begin with a capital letter are functions of the library.
#pragma once

#include "tests/support/library_fixture.h"

#include <filesystem>
#include <functional>
#include <map>
#include <sstream>

class Scenario : public ScannerTest {
protected:
    void SetUp() override;
    void TearDown() override;

    /// Plays a file under tests/ and compares it as a whole.
    void Play(const std::string &file);

private:
    void Teach();
    void Do(const std::string &line);

    std::map<std::string, std::function<void(std::istringstream &)>> steps; // by their first word
    std::filesystem::path before;      // the current folder: scenarios play in one of their own
    std::vector<std::string> barcodes; // that the decoder finds, one after the other
};

/// The scenarios of a folder under tests/.
std::vector<std::string> ScenariosIn(const std::string &folder);
