// Scenarios of a few words. A file holds steps, each on a line that begins with "> ", and behind each step
// what came of it; empty lines and those that begin with "# " are the reader's. K274_RENEW=1 writes what
// comes now.
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

    using Step = std::function<void(std::istringstream &)>;
    std::map<std::string, Step> steps;            // by their first word
    std::map<int, std::map<size_t, int>> patches; // bytes of replies, by command

private:
    std::filesystem::path before; // the current folder: scenarios play in one of their own

    struct Fault {
        int first, count;
        uint32_t status;
        int seen = 0;
    };

    void ScannerSteps();
    void TransportSteps();
    void PassSteps();
    void ScanSteps();
    void MaintenanceSteps();
    void Serve();
    scripted::Reply Answer(const scripted::Sent &last, uint32_t size);
    uint32_t FaultOf(std::map<int, Fault> &faults, int code);

    std::map<int, Fault> sendFaults, readFaults; // by command
    std::map<int, size_t> lengths;               // of replies, by command
    std::map<int, uint8_t> fills;                // of image packets, by command
    std::vector<std::string> barcodes;           // that the decoder finds, one after the other
    std::map<int, int> progress;                 // of the n-th image packet
    std::map<size_t, std::string> events;        // by the poll that they come with
    int packets = 0;                             // image packets so far
    int64_t claim = -1, claimSent = -1;          // bytes that the driver says it has transferred
};

/// The scenarios of a folder under tests/.
std::vector<std::string> ScenariosIn(const std::string &folder);
