// The control of a scanner that stands on another machine's desk, in front of the driver library's own:
// preloaded, it asks redir_server at the other end of the serial line that K274_DESK names. How fast that
// scanner is was set there when it was switched on.
#include "tests/guest/desk.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <stdexcept>

namespace {

using guest::Note, guest::Wish;

int OpenLine() {
    const int line = open(std::getenv("K274_DESK"), O_RDWR | O_NOCTTY);
    termios settings{};
    if (line < 0 || tcgetattr(line, &settings) != 0)
        throw std::runtime_error("K274_DESK is no serial line");
    cfmakeraw(&settings);
    cfsetspeed(&settings, B115200);
    tcsetattr(line, TCSANOW, &settings);
    return line;
}

std::string lastText;

Note Ask(Note note) {
    static std::mutex mutex;
    const std::lock_guard guard(mutex);
    static const int line = OpenLine();
    auto *bytes = reinterpret_cast<char *>(&note);
    ssize_t count = write(line, bytes, sizeof note) == ssize_t{sizeof note};
    for (size_t done = 0; count > 0 && done < sizeof note; done += static_cast<size_t>(count))
        count = read(line, bytes + done, sizeof note - done);
    if (count <= 0)
        throw std::runtime_error("nobody answers from the desk");
    lastText = note.text;
    return note;
}

} // namespace

int32_t VS_InsertCard(const char *folder) {
    Note note{Wish::InsertCard};
    std::strncpy(note.text, folder, sizeof note.text - 1);
    return Ask(note).result;
}
int32_t VS_CardWaiting() { return Ask({Wish::CardWaiting}).result; }
void VS_SetSeed(uint32_t seed) { Ask({Wish::SetSeed, 0, "", seed}); }
void VS_PressEject() { Ask({Wish::PressEject}); }
void VS_PlugIn() { Ask({Wish::PlugIn}); }
int32_t VS_ArmFault(const VS_Fault *fault) { return Ask({Wish::ArmFault, 0, "", 0, *fault}).result; }
void VS_ClearFaults() { Ask({Wish::ClearFaults}); }
void VS_GetObserved(VS_Observed *observed) { *observed = Ask({Wish::GetObserved}).observed; }
const char *VS_LastError() { return lastText.c_str(); }
