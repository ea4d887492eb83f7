// The scanner's own events: short texts that become log lines and scan states.
#include "src/common/text.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/scan/status.h"
#include "src/state/image_set.h"
#include "src/state/monitor_record.h"
#include "src/state/notify.h"

namespace k274 {

namespace {

// Events in the first seconds tell of what happened before the library watched.
constexpr double kDeafSeconds = 2.0;

struct KnownEvent {
    const char *text;
    bool logged;
    int32_t code; // 0: none
};
constexpr KnownEvent kKnownEvents[] = {
    {"Card in", true, K274_STATE_CARD_IN},
    {"Card out", false, K274_STATE_CARD_OUT},
    {"Door opened", true, K274_STATE_DOOR_OPENED},
    {"Door closed", true, K274_STATE_DOOR_CLOSED},
    {"Eject button", true, K274_STATE_EJECT_BUTTON},
    {"Cleaning card", true, K274_STATE_CLEANING_CARD},
    {"Reset - Power on", false, 0},
    {"Reset - Button", true, 0},
    {"Card ejected", false, 0},
    {"Scan Done", false, 0},
};

bool Is(const char *text, const char *other) { return std::strcmp(text, other) == 0; }
bool Contains(const char *text, const char *phrase) { return std::strstr(text, phrase) != nullptr; }

void LogEvent(const char *text, const KnownEvent *known) {
    if (Is(text, "Card in"))
        log.Blank();
    if (!known || known->logged)
        log.Fw(text);
    if (Is(text, "Reset - Power on") || Is(text, "Reset - Button"))
        log.Blank();
}

void HandleEvent(const char *text) {
    const KnownEvent *known = nullptr;
    for (const KnownEvent &event : kKnownEvents) {
        if (Is(text, event.text))
            known = &event;
    }
    LogEvent(text, known);
    if (known && known->code != 0)
        RaiseScanState(static_cast<K274_State>(known->code));

    // The scanner adds to these phrases, so that they are looked for within the text.
    for (const char *phrase : {"card slipped", "Scan timeout"}) {
        if (Contains(text, phrase)) {
            ClearImages(0);
            monitor.cancelled = true;
        }
    }
    if (Contains(text, "Card jammed")) {
        RaiseScanState(K274_STATE_CARD_JAMMED);
        monitor.cancelled = true;
    }
    if (Contains(text, "Undef IRQ"))
        RaiseScanState(K274_STATE_UNDEFINED_IRQ);
}

} // namespace

bool ReadEvent() {
    CmdPkt packet(command::kEvent);
    transport.SendCmd(packet);
    if (transport.LastOutStatus() != 0 || transport.ReadPacketHdr(packet) != kComplete)
        return false;
    char text[kPacketSize - kRecordOffset + 1]; // the scanner may forget the terminator
    std::memcpy(text, packet.Bytes() + kRecordOffset, sizeof text - 1);
    text[sizeof text - 1] = 0;
    if (!text[0])
        return false;
    if (Uptime() >= kDeafSeconds)
        HandleEvent(text);
    return true;
}

} // namespace k274
