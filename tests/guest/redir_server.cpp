// The scanner that a guest is given, and the desk that it stands on:
//     redir_server COMMAND...
// starts the command, an emulator, with two sockets open: 10 speaks usbredir, 11 takes the guest's notes.
// Ends with the command, and as it does.
#include "tests/guest/desk.h"
#include "tests/guest/redir_device.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <thread>

namespace {

using guest::Note, guest::Wish;

constexpr int kRedir = 10, kDesk = 11; // the command's ends

int32_t Obey(Note &note) {
    switch (note.wish) {
    case Wish::InsertCard:
        return VS_InsertCard(note.text);
    case Wish::CardWaiting:
        return VS_CardWaiting();
    case Wish::SetSpeed:
        return VS_SetSpeed(note.speed);
    case Wish::ArmFault:
        return VS_ArmFault(&note.fault);
    case Wish::SetSeed:
        VS_SetSeed(note.seed);
        break;
    case Wish::PressEject:
        VS_PressEject();
        break;
    case Wish::PlugIn:
        VS_PlugIn();
        break;
    case Wish::Unplug:
        VS_Unplug();
        break;
    case Wish::ClearFaults:
        VS_ClearFaults();
        break;
    case Wish::GetObserved:
        VS_GetObserved(&note.observed);
        break;
    }
    return VS_OK;
}

/// Until the guest is switched off.
void ServeDesk(int socket) {
    Note note;
    while (recv(socket, &note, sizeof note, MSG_WAITALL) == ssize_t{sizeof note}) {
        note.result = Obey(note);
        std::strncpy(note.text, VS_LastError(), sizeof note.text - 1);
        send(socket, &note, sizeof note, MSG_NOSIGNAL);
    }
}

} // namespace

int main(int, char **argv) {
    int redir[2], desk[2];
    if (argv[1] == nullptr || socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, redir) != 0 ||
        socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, desk) != 0)
        return 2;
    const pid_t command = fork();
    if (command == 0) {
        dup2(redir[1], kRedir);
        dup2(desk[1], kDesk);
        execvp(argv[1], argv + 1);
        std::perror(argv[1]);
        _exit(127);
    }
    close(redir[1]);
    close(desk[1]);
    std::thread serving([&redir] { guest::ServeRedir(scanner::TheScanner(), redir[0]); });
    ServeDesk(desk[0]);
    shutdown(redir[0], SHUT_RDWR);
    serving.join();
    int status = -1;
    waitpid(command, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
