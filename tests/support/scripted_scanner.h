// A scanner in front of the scripted driver: a healthy one, until a test changes what it answers.
#pragma once

#include "tests/support/scripted_driver.h"

#include <atomic>
#include <map>
#include <string>
#include <vector>

/// Whole numbers and texts may be changed while the library runs, tables before that.
struct ScriptedScanner {
    std::vector<uint16_t> words;               // status words of the polls, the last one repeats
    std::atomic<size_t> polls{0};              // so far
    std::map<size_t, std::string> events;      // by the poll that tells of them
    std::vector<uint16_t> progress{2299};      // of image packets, the last one repeats
    size_t packets = 0;                        // so far
    int64_t claim = -1, claimSent = -1;        // bytes that the driver says it has transferred
    std::vector<std::vector<uint8_t>> replies; // by command

    /// The n-th to the m-th exchange of a command that the driver fails.
    struct Fault {
        int first = 1, count = 1000000;
        uint32_t status = 5;
        int seen = 0;
    };
    std::map<int, Fault> sendFaults, readFaults; // by command; 0xFF: all

    ScriptedScanner() { Heal(); }
    /// Takes faults back and answers as a healthy scanner, with the replies of support/healthy.txt.
    void Heal();
    /// Changes the answers to a command: "length", command, bytes; "bytes", command, where, how many times,
    /// values; "fail-send" or "fail-read", command, from which exchange on, how many, status.
    void Change(const std::string &line);
    /// Makes the scripted driver answer for this scanner, which must outlive the test's exchanges.
    void Serve();
    scripted::Reply Answer(const scripted::Sent &last);

private:
    std::string event; // that waits
};
