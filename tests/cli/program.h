// Runs k274 as its users do: a process with arguments, environment, two output streams and signals.
#pragma once

#include <sys/types.h>

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

struct Surroundings {
    std::vector<std::pair<std::string, std::string>> environment; // beside the test's own without K274_...
    std::string outputFile;                                       // standard output goes here
    bool terminal = false;                                        // standard output is a terminal
    size_t fileLimit = 0;                                         // no file grows beyond this: a full disk
};

struct Outcome {
    int status; // exit status, or 1000 and the number of the signal that ended it
    std::string out, err;
};

class Program {
public:
    Program(const std::string &path, const std::vector<std::string> &arguments,
            const Surroundings &around = {});
    ~Program();
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;

    /// Waits until the text stands in standard output; false when the program ends or a minute goes by.
    bool WaitFor(const std::string &text);
    void Signal(int number) const;
    /// Waits for the end; a program that does not end within a minute is killed.
    Outcome Wait();

private:
    void Read();

    pid_t process_ = -1;
    int output_ = -1, errors_ = -1;
    std::mutex lock_;
    std::condition_variable changed_;
    std::string text_;
    bool ended_ = false;
    std::thread reader_;
};

Outcome RunK274(const std::vector<std::string> &arguments, const Surroundings &around = {});
