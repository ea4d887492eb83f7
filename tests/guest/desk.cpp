// The control functions of the virtual scanner for a program whose scanner stands on another machine's desk:
// with K274_DESK, the name of a serial line, they ask redir_server at its other end; without it they are the
// driver library's.
#include "scanner/virtual_scanner.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <string>

namespace {

class Desk {
public:
    explicit Desk(const char *line) : line_(open(line, O_RDWR | O_NOCTTY)) {
        termios settings{};
        if (line_ < 0 || tcgetattr(line_, &settings) != 0)
            throw std::runtime_error(std::string("this is no serial line: ") + line);
        cfmakeraw(&settings);
        cfsetspeed(&settings, B115200);
        tcsetattr(line_, TCSANOW, &settings);
    }

    /// Result and text of the answer.
    int32_t Ask(std::string question, std::string *text) {
        const std::lock_guard guard(mutex_);
        question += '\n';
        if (write(line_, question.data(), question.size()) != static_cast<ssize_t>(question.size()))
            throw std::runtime_error("nobody is at the desk");
        std::string answer;
        for (char c = 0; c != '\n'; answer += c)
            if (read(line_, &c, 1) != 1)
                throw std::runtime_error("nobody answers from the desk");
        std::istringstream from(answer);
        int32_t result = VS_BAD_ARGUMENT;
        from >> result >> std::ws;
        std::getline(from, *text);
        return result;
    }

private:
    const int line_;
    std::mutex mutex_;
};

/// Null: the scanner is this process's own.
Desk *TheDesk() {
    const char *line = std::getenv("K274_DESK");
    static Desk *const desk = line != nullptr ? new Desk(line) : nullptr;
    return desk;
}

std::string lastText;

template <typename... Arguments>
int32_t Ask(const char *function, const Arguments &...arguments) {
    std::ostringstream question;
    question << function;
    ((question << ' ' << arguments), ...);
    return TheDesk()->Ask(question.str(), &lastText);
}

/// The driver library's function in place of this program's.
template <typename Function>
Function *Own(Function *, const char *name) {
    static void *const library = dlopen("libwdapi1140.so", RTLD_NOW | RTLD_NOLOAD);
    void *symbol = library != nullptr ? dlsym(library, name) : nullptr;
    if (symbol == nullptr)
        throw std::runtime_error(std::string("the driver library lacks ") + name);
    return reinterpret_cast<Function *>(symbol);
}

template <typename... Arguments>
void Do(void (*function)(Arguments...), const char *name, Arguments... arguments) {
    if (TheDesk() != nullptr)
        Ask(name, arguments...);
    else
        Own(function, name)(arguments...);
}

template <typename... Arguments>
int32_t Result(int32_t (*function)(Arguments...), const char *name, Arguments... arguments) {
    return TheDesk() != nullptr ? Ask(name, arguments...) : Own(function, name)(arguments...);
}

} // namespace

extern "C" {

int32_t VS_InsertCard(const char *folder) { return Result(VS_InsertCard, "VS_InsertCard", folder); }
int32_t VS_CardWaiting() { return Result(VS_CardWaiting, "VS_CardWaiting"); }
int32_t VS_SetSpeed(double factor) { return Result(VS_SetSpeed, "VS_SetSpeed", factor); }
void VS_SetSeed(uint32_t seed) { Do(VS_SetSeed, "VS_SetSeed", seed); }
void VS_ClearFaults() { Do(VS_ClearFaults, "VS_ClearFaults"); }
void VS_PressEject() { Do(VS_PressEject, "VS_PressEject"); }
void VS_PlugIn() { Do(VS_PlugIn, "VS_PlugIn"); }
void VS_Unplug() { Do(VS_Unplug, "VS_Unplug"); }

int32_t VS_ArmFault(const VS_Fault *fault) {
    if (TheDesk() == nullptr)
        return Own(VS_ArmFault, "VS_ArmFault")(fault);
    return Ask("VS_ArmFault", fault->command, fault->direction, fault->first, fault->count, fault->action,
               fault->value);
}

void VS_GetObserved(VS_Observed *observed) {
    if (TheDesk() == nullptr) {
        Own(VS_GetObserved, "VS_GetObserved")(observed);
        return;
    }
    Ask("VS_GetObserved");
    uint32_t words[sizeof *observed / sizeof(uint32_t)] = {};
    std::istringstream from(lastText);
    for (uint32_t &word : words)
        from >> word;
    std::memcpy(observed, words, sizeof *observed);
}

const char *VS_LastError() {
    return TheDesk() != nullptr ? lastText.c_str() : Own(VS_LastError, "VS_LastError")();
}

} // extern "C"
