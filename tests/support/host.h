// A host application of tests: starts the built library in front of the virtual scanner, collects the states
// and waits for them. The virtual scanner outlives the sessions, as a scanner on a desk does.
#pragma once

#include "include/k274.h"
#include "scanner/virtual_scanner.h"
#include "tests/support/files.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

class HostTest : public testing::Test {
protected:
    static void SetUpTestSuite();
    void SetUp() override;
    void TearDown() override;

    /// Starts the library with its log in the test's folder and waits until the scanner is online.
    void Start();

    static std::string Sample(const std::string &name);
    /// Puts a sample card in as soon as the slot is free. States from here on count.
    void Insert(const std::string &name = "club");
    /// Puts a sample card in and waits for the end of its scan; returns the state that ended it: 8, 9, 11 or
    /// 0 when nothing came in time.
    int Scan(const std::string &name = "licence");

    /// Waits for one of these states after the mark; returns it, or 0 after the time.
    int WaitFor(const std::vector<int> &codes, std::chrono::milliseconds time = std::chrono::seconds(30));
    /// States from here on count.
    void Mark();
    std::vector<int> StatesSinceMark();

    /// The log's lines without their number and time.
    std::vector<std::string> Log() const { return LogLines(ReadText(folder + "K274dll.log")); }

    const TempFolder own;
    const std::string folder = own.File("");
};
