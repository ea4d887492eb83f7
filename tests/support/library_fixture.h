// A library as just loaded, in front of the scripted driver, with its log in a folder of the test's own.
#pragma once

#include "tests/support/files.h"
#include "tests/support/scripted_decoder.h"
#include "tests/support/scripted_scanner.h"
#include "tests/support/test_clock.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

using Texts = std::vector<std::string>;

class LibraryTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    /// The log's lines without their number and time.
    Texts Log() const { return LogLines(ReadText(LogFile())); }
    /// As Log, and then empties the file.
    Texts TakeLog();
    std::string LogFile() const { return folder + "K274dll.log"; }

    /// Codes delivered to the callback so far; the second form then forgets them.
    static std::vector<int> States();
    static std::vector<int> TakeStates();

    /// The host's answer to a state, in its callback.
    static void OnState(int code, std::function<void()> answer);

    /// Attaches a device without starting the library, for tests of single operations.
    static void OpenDriver();

    /// Waits until a condition holds that another thread brings about; fails the test after a minute.
    static void Await(const std::function<bool()> &condition);
    /// Waits until the library's threads have ended.
    static void AwaitThreadsEnd();

    const TempFolder own;
    const std::string folder = own.File("");
};

/// The library with its driver open in front of a scripted scanner, and an empty log.
class ScannerTest : public LibraryTest {
protected:
    void SetUp() override;

    ScriptedScanner scanner;
};
