// A program as its users start it: a process with arguments, two output streams and signals. It inherits the
// variables and limits of the test.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "tests/support/files.h"

struct Outcome {
    int status; // exit status, or 1000 and the number of the signal that ended it
    std::string out, err;
};

class Process {
public:
    /// @param words the program and its arguments
    explicit Process(std::vector<std::string> words);
    ~Process();
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;

    /// Waits until the text stands in standard output; false when the program ends or a minute goes by.
    bool WaitFor(const std::string &text);
    void Signal(int number) const;
    /// Waits for the end; a program that does not end within a minute is killed.
    Outcome Wait();

private:
    bool Ended();

    TempFolder folder_; // of what it writes
    pid_t process_ = 0;
    bool ended_ = false;
    int how_ = 0;
};
