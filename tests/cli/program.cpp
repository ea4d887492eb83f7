// Processes and their streams.
#include "tests/cli/program.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <stdexcept>

namespace {

constexpr auto kPatience = std::chrono::seconds(60);

std::vector<std::string> Environment(const Surroundings &around) {
    std::vector<std::string> variables;
    for (char **variable = environ; *variable != nullptr; ++variable) {
        if (std::strncmp(*variable, "K274_", 5) != 0 && std::strncmp(*variable, "NO_COLOR", 8) != 0)
            variables.emplace_back(*variable);
    }
    // The last one of a name would not count: drop what is set anew.
    for (const auto &[name, value] : around.environment) {
        for (auto old = variables.begin(); old != variables.end();)
            old = old->rfind(name + "=", 0) == 0 ? variables.erase(old) : old + 1;
        variables.push_back(name + "=" + value);
    }
    return variables;
}

std::vector<char *> Pointers(std::vector<std::string> &texts) {
    std::vector<char *> pointers;
    for (std::string &text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

void OpenOutput(const Surroundings &around, int *ours, int *theirs) {
    if (around.terminal) {
        *ours = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        if (*ours < 0 || grantpt(*ours) != 0 || unlockpt(*ours) != 0)
            throw std::runtime_error("no terminal can be made");
        *theirs = open(ptsname(*ours), O_RDWR | O_NOCTTY | O_CLOEXEC);
        return;
    }
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe can be made");
    *ours = ends[0];
    *theirs = ends[1];
    if (!around.outputFile.empty()) {
        close(*theirs);
        *theirs = open(around.outputFile.c_str(), O_WRONLY | O_CLOEXEC);
    }
}

} // namespace

Program::Program(const std::string &path, const std::vector<std::string> &arguments,
                 const Surroundings &around) {
    std::vector<std::string> words = arguments, variables = Environment(around);
    words.insert(words.begin(), path);
    const std::vector<char *> argv = Pointers(words), envp = Pointers(variables);
    std::string name = (std::filesystem::temp_directory_path() / "k274-errors-XXXXXX").string();
    errors_ = mkostemp(name.data(), O_CLOEXEC);
    unlink(name.c_str());
    int theirs = -1;
    OpenOutput(around, &output_, &theirs);
    process_ = fork();
    if (process_ == 0) {
        if (around.fileLimit != 0) {
            const rlimit limit = {around.fileLimit, around.fileLimit};
            setrlimit(RLIMIT_FSIZE, &limit);
            signal(SIGXFSZ, SIG_IGN); // writes fail as on a full disk
        }
        dup2(theirs, STDOUT_FILENO);
        dup2(errors_, STDERR_FILENO);
        execve(path.c_str(), argv.data(), envp.data());
        _exit(99);
    }
    close(theirs);
    reader_ = std::thread([this] { Read(); });
}

Program::~Program() {
    if (process_ > 0) {
        kill(process_, SIGKILL);
        Wait();
    }
    close(output_);
    close(errors_);
}

// The end of a pipe reads as 0 bytes, that of a terminal as an error.
void Program::Read() {
    char bytes[4096];
    for (;;) {
        const ssize_t count = read(output_, bytes, sizeof bytes);
        const std::lock_guard<std::mutex> held(lock_);
        if (count > 0)
            text_.append(bytes, static_cast<size_t>(count));
        else
            ended_ = true;
        changed_.notify_all();
        if (count <= 0)
            return;
    }
}

bool Program::WaitFor(const std::string &text) {
    std::unique_lock<std::mutex> held(lock_);
    changed_.wait_for(held, kPatience, [&] { return ended_ || text_.find(text) != std::string::npos; });
    return text_.find(text) != std::string::npos;
}

void Program::Signal(int number) const { kill(process_, number); }

Outcome Program::Wait() {
    const auto limit = std::chrono::steady_clock::now() + kPatience;
    int how = 0;
    while (waitpid(process_, &how, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > limit)
            kill(process_, SIGKILL);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    process_ = -1;
    reader_.join();
    std::string errors(static_cast<size_t>(lseek(errors_, 0, SEEK_END)), '\0');
    if (pread(errors_, errors.data(), errors.size(), 0) != static_cast<ssize_t>(errors.size()))
        throw std::runtime_error("standard error cannot be read back");
    return {WIFEXITED(how) ? WEXITSTATUS(how) : 1000 + WTERMSIG(how), text_, errors};
}

Outcome RunK274(const std::vector<std::string> &arguments, const Surroundings &around) {
    return Program(K274_PROGRAM, arguments, around).Wait();
}
