// Starts programs with their output in files.
#include "tests/cli/process.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <thread>

#include "tests/support/data.h"

namespace {

/// @param done asked every few milliseconds
/// @return false when a minute has gone by
template <typename Done>
bool WithinAMinute(Done done) {
    for (const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60); !done();) {
        if (std::chrono::steady_clock::now() > limit)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

} // namespace

Process::Process(std::vector<std::string> words) {
    std::vector<char *> arguments;
    for (std::string &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t streams;
    posix_spawn_file_actions_init(&streams);
    for (const auto &[stream, name] : {std::pair(STDOUT_FILENO, "out"), std::pair(STDERR_FILENO, "err")})
        posix_spawn_file_actions_addopen(&streams, stream, folder_.File(name).c_str(), O_WRONLY | O_CREAT,
                                         0600);
    const int failed = posix_spawn(&process_, words[0].c_str(), &streams, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&streams);
    if (failed != 0)
        throw std::runtime_error(words[0] + " cannot be started");
}

Process::~Process() {
    if (!Ended())
        Signal(SIGKILL);
    Wait();
}

bool Process::Ended() {
    ended_ = ended_ || waitpid(process_, &how_, WNOHANG) != 0;
    return ended_;
}

bool Process::WaitFor(const std::string &text) {
    const auto isThere = [&] { return ReadText(folder_.File("out")).find(text) != std::string::npos; };
    WithinAMinute([&] { return isThere() || Ended(); });
    return isThere();
}

void Process::Signal(int number) const { kill(process_, number); }

Outcome Process::Wait() {
    const auto ended = [this] { return Ended(); };
    if (!WithinAMinute(ended)) {
        Signal(SIGKILL);
        WithinAMinute(ended);
    }
    return {WIFEXITED(how_) ? WEXITSTATUS(how_) : 1000 + WTERMSIG(how_), ReadText(folder_.File("out")),
            ReadText(folder_.File("err"))};
}
