// The scanner's own events: short texts that become log lines and scan states.
#include "wire/events.h"
#include "src/scan/events.h"

#include "src/common/text.h"
#include "src/link/transport.h"
#include "src/log/log.h"
#include "src/state/image_set.h"
#include "src/state/monitor_record.h"
#include "src/state/notify.h"

namespace k274 {

namespace {

namespace event = wire::event;

// Events in the first seconds tell of what happened before the library watched.
constexpr double kDeafSeconds = 2.0;

struct KnownEvent {
    const char *text;
    bool logged;
    int32_t code; // 0: none
};
constexpr KnownEvent kKnownEvents[] = {
    {event::kCardIn, true, K274_STATE_CARD_IN},
    {event::kCardOut, false, K274_STATE_CARD_OUT},
    {event::kDoorOpened, true, K274_STATE_DOOR_OPENED},
    {event::kDoorClosed, true, K274_STATE_DOOR_CLOSED},
    {event::kEjectButton, true, K274_STATE_EJECT_BUTTON},
    {event::kCleaningCard, true, K274_STATE_CLEANING_CARD},
    {event::kPowerOn, false, 0},
    {event::kResetButton, true, 0},
    {event::kCardEjected, false, 0},
    {event::kScanDone, false, 0},
};

bool Is(const char *text, const char *other) { return std::strcmp(text, other) == 0; }
bool Contains(const char *text, const char *phrase) { return std::strstr(text, phrase) != nullptr; }

void LogEvent(const char *text, const KnownEvent *known) {
    if (Is(text, event::kCardIn))
        log.Blank();
    if (!known || known->logged)
        log.Fw(text);
    if (Is(text, event::kPowerOn) || Is(text, event::kResetButton))
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
    for (const char *phrase : {event::kCardSlipped, event::kScanTimeout}) {
        if (Contains(text, phrase)) {
            ClearImages(0);
            monitor.cancelled = true;
        }
    }
    if (Contains(text, event::kCardJammed)) {
        RaiseScanState(K274_STATE_CARD_JAMMED);
        monitor.cancelled = true;
    }
    if (Contains(text, event::kUndefinedInterrupt))
        RaiseScanState(K274_STATE_UNDEFINED_IRQ);
}

} // namespace

bool ReadEvent() {
    CmdPkt packet(command::kEvent);
    if (!transport.SendCmd(packet).Ok() || !transport.ReadPacketHdr(packet).Ok())
        return false;
    char text[wire::kHeaderBytes - wire::field::kRecord + 1]; // the scanner may forget the terminator
    std::memcpy(text, packet.Bytes() + wire::field::kRecord, sizeof text - 1);
    text[sizeof text - 1] = 0;
    if (!text[0])
        return false;
    if (Uptime() >= kDeafSeconds)
        HandleEvent(text);
    return true;
}

} // namespace k274
