// The scanner on its end of the cable: bulk transfers in, bulk transfers out, nothing about drivers or hosts.
// Not for several threads at once: whoever owns it has the lock.
#pragma once

#include "scanner/firmware/device_state.h"

namespace scanner {

enum class OutResult { Ack, Stall };
enum class InResult {
    Data,
    Nak,     // nothing to say yet
    Stall,   // the last command was refused
    Overflow // the reply does not fit; it is lost
};
enum class Endpoint { Out, In };

constexpr size_t kWirePacketBytes = 512; // a high-speed bulk endpoint's

class Device {
public:
    /// The scanner is off; PowerOn makes it ready.
    Device(const Clock &clock, DeviceLog &log) : state_(clock, log) {}

    // ---- the wire ----

    /// One bulk transfer from the host, which is one command with its data. A command drops the unread reply
    /// of the one before and ends a halt: a host that knows no pipe resets goes on. A refused command stalls,
    /// and so does the IN endpoint from then on.
    OutResult Out(const uint8_t *bytes, size_t size);
    /// One bulk transfer to the host: one whole reply. Of a longer reply a transfer of whole wire packets
    /// gets as much as fits, and the rest stays for the next one.
    InResult In(uint8_t *bytes, size_t capacity, size_t *size);
    /// After Nak: the real moment at which In may have something, whatever the host does.
    Clock::TimePoint NextMoment() const;
    void ClearHalt(Endpoint endpoint);
    /// Bus reset: the unread reply is lost, halts end, a scan goes on. The next status reply tells of it.
    void Reset();
    /// The data lines were interrupted and the power was not: as Reset, but there is nothing to tell.
    void Reconnect() { DropTransfer(); }

    // ---- power and people ----

    void PowerOn();
    /// A card on its way is taken out by hand.
    void PowerOff();
    /// The button that restarts the firmware.
    void Restart();
    void OpenDoor();
    void CloseDoor();
    void PressEject();
    /// Puts a card into the slot; it is drawn in at a later poll. False when the slot is taken.
    bool InsertCard(std::shared_ptr<const Card> card);
    /// No card in the slot or on its way. Also notices a host that has vanished.
    bool SlotFree();
    void SetSeed(uint32_t seed);

    /// For whoever looks into the scanner from outside.
    DeviceState &State() { return state_; }
    VS_Observed Observed() const;

private:
    void DropTransfer();
    void LogCommand(const char *name, const Command &command);

    DeviceState state_;
    bool inHalted_ = false;
};

} // namespace scanner
