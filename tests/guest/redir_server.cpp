// The scanner that a guest is given, and the desk that it stands on:
//     umockdev-wrapper redir_server COMMAND...
// starts the command, an emulator, with two sockets open: 10 speaks usbredir, 11 takes the guest's notes.
// Ends with the command, and as it does.
#include "tests/guest/desk.h"
#include "tests/usb/mock_bus.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <usbredirhost.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <utility>

namespace {

using guest::Note, guest::Wish;

constexpr int kRedir = 10, kDesk = 11; // the command's ends

int32_t Obey(Note &note) {
    switch (note.wish) {
    case Wish::InsertCard:
        return VS_InsertCard(note.text);
    case Wish::CardWaiting:
        return VS_CardWaiting();
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

/// The device on the mock bus, or null, until somebody has looked.
using News = std::optional<libusb_device *>;

/// Hands on the scanner on the mock bus as one hands on a real one. Returns when the socket is shut down.
void ServeRedir(int socket) {
    const mock::Port port(scanner::TheScanner());
    News news;
    libusb_context *usb = nullptr;
    libusb_init(&usb);
    libusb_hotplug_register_callback(
        usb, LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED | LIBUSB_HOTPLUG_EVENT_DEVICE_LEFT, LIBUSB_HOTPLUG_ENUMERATE,
        K274_VENDOR_ID, LIBUSB_HOTPLUG_MATCH_ANY, LIBUSB_HOTPLUG_MATCH_ANY,
        [](libusb_context *, libusb_device *device, libusb_hotplug_event event, void *to) {
            *static_cast<News *>(to) = event == LIBUSB_HOTPLUG_EVENT_DEVICE_ARRIVED ? device : nullptr;
            return 0;
        },
        &news, nullptr);
    usbredirhost *const host = usbredirhost_open(
        usb, nullptr, [](void *, int, const char *text) { std::fprintf(stderr, "usbredir: %s\n", text); },
        [](void *from, uint8_t *data, int count) {
            const auto got = recv(*static_cast<int *>(from), data, static_cast<size_t>(count), MSG_DONTWAIT);
            return got > 0 ? static_cast<int>(got) : got < 0 && errno == EAGAIN ? 0 : -1;
        },
        [](void *to, uint8_t *data, int count) {
            const auto sent = send(*static_cast<int *>(to), data, static_cast<size_t>(count), MSG_NOSIGNAL);
            return static_cast<int>(sent);
        },
        &socket, "K274", usbredirparser_warning, 0);
    while (usbredirhost_read_guest_data(host) != usbredirhost_read_io_error) {
        timeval moment{0, 1000};
        libusb_handle_events_timeout(usb, &moment);
        if (const News device = std::exchange(news, std::nullopt)) {
            libusb_device_handle *opened = nullptr;
            if (*device != nullptr)
                libusb_open(*device, &opened);
            usbredirhost_set_device(host, opened);
        }
        while (usbredirhost_has_data_to_write(host))
            usbredirhost_write_guest_data(host);
    }
    usbredirhost_close(host);
    libusb_exit(usb);
}

} // namespace

int main(int, char **argv) {
    int redir[2], desk[2];
    if (argv[1] == nullptr || socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, redir) != 0 ||
        socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, desk) != 0)
        return 2;
    const pid_t command = fork();
    if (command == 0) {
        unsetenv("LD_PRELOAD");
        dup2(redir[1], kRedir);
        dup2(desk[1], kDesk);
        execvp(argv[1], argv + 1);
        std::perror(argv[1]);
        _exit(127);
    }
    close(redir[1]);
    close(desk[1]);
    std::thread serving(ServeRedir, redir[0]);
    ServeDesk(desk[0]);
    shutdown(redir[0], SHUT_RDWR);
    serving.join();
    int status = -1;
    waitpid(command, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
