// The scanner that a guest is given, and the desk that it stands on:
//     redir_server REDIR DESK
// listens at two sockets, serves one guest and ends with it. REDIR speaks usbredir. DESK takes lines, each
// the name of a function of the virtual scanner's control and its arguments, and answers with the result and
// a text.
#include "scanner/virtual_scanner.h"
#include "tests/guest/redir_device.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <exception>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>

namespace {

/// The socket is there when it takes connections.
int Listen(const std::string &path) {
    const std::string early = path + ".new";
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (early.size() >= sizeof address.sun_path)
        throw std::runtime_error("the name is too long for a socket: " + path);
    std::memcpy(address.sun_path, early.data(), early.size());
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    if (listener < 0 || bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 ||
        listen(listener, 1) != 0 || rename(early.c_str(), path.c_str()) != 0)
        throw std::runtime_error("no socket can be made: " + path);
    return listener;
}

int Accept(int listener) {
    const int connection = accept(listener, nullptr, nullptr);
    if (connection < 0)
        throw std::runtime_error("nobody came");
    return connection;
}

std::string Observed() {
    VS_Observed observed{};
    VS_GetObserved(&observed);
    uint32_t words[sizeof observed / sizeof(uint32_t)];
    std::memcpy(words, &observed, sizeof observed);
    std::string text;
    for (const uint32_t word : words)
        text += (text.empty() ? "" : " ") + std::to_string(word);
    return text;
}

/// Does what a line says; returns the answer.
std::string Obey(const std::string &line) {
    using Arguments = std::istringstream;
    static const std::map<std::string, int32_t (*)(Arguments &)> functions = {
        {"VS_InsertCard",
         [](Arguments &from) {
             std::string folder;
             std::getline(from >> std::ws, folder);
             return VS_InsertCard(folder.c_str());
         }},
        {"VS_ArmFault",
         [](Arguments &from) {
             VS_Fault f{};
             from >> f.command >> f.direction >> f.first >> f.count >> f.action >> f.value;
             return VS_ArmFault(&f);
         }},
        {"VS_SetSpeed",
         [](Arguments &from) {
             double factor = -1;
             from >> factor;
             return VS_SetSpeed(factor);
         }},
        {"VS_SetSeed",
         [](Arguments &from) {
             uint32_t seed = 0;
             from >> seed;
             VS_SetSeed(seed);
             return int32_t{VS_OK};
         }},
        {"VS_CardWaiting", [](Arguments &) { return VS_CardWaiting(); }},
        {"VS_ClearFaults", [](Arguments &) { return VS_ClearFaults(), int32_t{VS_OK}; }},
        {"VS_PressEject", [](Arguments &) { return VS_PressEject(), int32_t{VS_OK}; }},
        {"VS_PlugIn", [](Arguments &) { return VS_PlugIn(), int32_t{VS_OK}; }},
        {"VS_Unplug", [](Arguments &) { return VS_Unplug(), int32_t{VS_OK}; }},
    };
    Arguments from(line);
    std::string name;
    from >> name;
    if (name == "VS_GetObserved")
        return "0 " + Observed();
    const auto found = functions.find(name);
    if (found == functions.end())
        return std::to_string(VS_BAD_ARGUMENT) + " no such function: " + name;
    const int32_t result = found->second(from);
    return std::to_string(result) + ' ' + VS_LastError();
}

/// Until the guest is switched off.
void ServeDesk(int connection) {
    std::string line;
    for (char c = 0; read(connection, &c, 1) == 1;) {
        if (c != '\n') {
            line += c;
            continue;
        }
        const std::string answer = Obey(line) + '\n';
        line.clear();
        if (send(connection, answer.data(), answer.size(), MSG_NOSIGNAL) < 0)
            return;
    }
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: redir_server REDIR DESK\n");
        return 2;
    }
    try {
        const int redirListener = Listen(argv[1]), deskListener = Listen(argv[2]);
        const int redir = Accept(redirListener), desk = Accept(deskListener);
        guest::RedirDevice device(scanner::TheScanner(), redir);
        std::thread serving([&device] { device.Serve(); });
        ServeDesk(desk);
        shutdown(redir, SHUT_RDWR);
        serving.join();
    } catch (const std::exception &error) {
        std::fprintf(stderr, "redir_server: %s\n", error.what());
        return 1;
    }
    return 0;
}
