// Takes commands apart, hands them to their handlers and gives the replies out.
#include "scanner/firmware/device.h"

#include "scanner/firmware/command_table.h"
#include "wire/commands.h"
#include "wire/events.h"

#include <algorithm>

namespace scanner {

OutResult Device::Out(const uint8_t *bytes, size_t size) {
    DropTransfer();
    const Command command = ParseCommand(bytes, size);
    const CommandInfo *info = size >= wire::kShortHeaderBytes ? FindCommand(command.code) : nullptr;
    if (info != nullptr && size >= info->bytes) {
        state_.status.HostSpoke();
        AdvanceProgramming(state_);
        state_.observed.lastSequence = command.sequence;
        if (command.code != wire::command::kStatusPoll)
            LogCommand(wire::CommandName(command.code), command);
        if (info->handle(state_, command) != Answer::Refused)
            return OutResult::Ack;
        state_.log.Line("refused");
    } else if (info != nullptr || size < wire::kShortHeaderBytes) {
        state_.log.Line("command of %zu bytes is too short: refused", size);
    } else {
        state_.observed.unknownCommands++;
        LogCommand("unknown command: refused", command);
    }
    inHalted_ = true;
    return OutResult::Stall;
}

InResult Device::In(uint8_t *bytes, size_t capacity, size_t *size) {
    *size = 0;
    if (inHalted_)
        return InResult::Stall;
    if (state_.lines.Asked() && !state_.lines.Serve(state_.status, state_.reply)) {
        state_.log.Line("no more lines: refused");
        inHalted_ = true;
        return InResult::Stall;
    }
    Reply &reply = state_.reply;
    if (!reply.Waiting())
        return InResult::Nak;
    if (reply.Left() > capacity && (capacity == 0 || capacity % kWirePacketBytes != 0)) {
        state_.log.Line("reply of %zu bytes does not fit into %zu", reply.Left(), capacity);
        reply.Drop();
        return InResult::Overflow;
    }
    *size = std::min(reply.Left(), capacity);
    reply.Take(bytes, *size);
    if (reply.Waiting())
        return InResult::Data;
    switch (reply.What()) {
    case Tells::StatusAndReset:
        state_.resetNotice = false;
        [[fallthrough]];
    case Tells::Status:
        state_.observed.polls++;
        break;
    case Tells::Event:
        state_.events.DropFront();
        break;
    case Tells::RgbBlock:
        state_.observed.rgbBlocks++;
        break;
    case Tells::IrBlock:
        state_.observed.irBlocks++;
        break;
    case Tells::UvBlock:
        state_.observed.uvBlocks++;
        break;
    case Tells::HiresBlock:
        state_.observed.hiresBlocks++;
        break;
    case Tells::Stripe:
        state_.observed.stripeReads++;
        break;
    case Tells::Tracks:
        state_.observed.trackReads++;
        break;
    case Tells::Nothing:
        break;
    }
    return InResult::Data;
}

Clock::TimePoint Device::NextMoment() const {
    return state_.lines.Asked() ? state_.lines.Moment(state_.status) : Clock::TimePoint::max();
}

void Device::ClearHalt(Endpoint endpoint) {
    if (endpoint == Endpoint::In)
        inHalted_ = false;
}

void Device::Reset() {
    state_.log.Line("bus reset");
    DropTransfer();
    state_.resetNotice = true;
}

void Device::DropTransfer() {
    state_.reply.Drop();
    state_.lines.Withdraw();
    inHalted_ = false;
}

void Device::PowerOn() {
    state_.log.Line("power on");
    state_.poweredOn = state_.clock.Now();
    Boot(state_);
    state_.events.Post(wire::event::kPowerOn);
}

void Device::PowerOff() {
    state_.log.Line("power off");
    DropTransfer();
    AdvanceProgramming(state_); // the host may not have spoken for a while
    Halt(state_, "power lost");
    state_.lines.Clear();
}

void Device::Restart() {
    state_.log.Line("restart");
    DropTransfer();
    AdvanceProgramming(state_);
    Halt(state_, "restarted");
    Boot(state_);
    state_.events.Post(wire::event::kResetButton);
}

void Device::OpenDoor() {
    state_.doorOpen = true;
    state_.events.Post(wire::event::kDoorOpened);
    state_.status.Cancel("the door was opened");
}

void Device::CloseDoor() {
    state_.doorOpen = false;
    state_.events.Post(wire::event::kDoorClosed);
}

void Device::PressEject() {
    state_.events.Post(wire::event::kEjectButton);
    state_.status.Cancel("eject button");
}

void Device::SetSeed(uint32_t seed) {
    state_.lines.SetSeed(seed);
    state_.still.captures = 0;
}

bool Device::InsertCard(std::shared_ptr<const Card> card) {
    if (!SlotFree())
        return false;
    state_.slot = std::move(card);
    return true;
}

bool Device::SlotFree() {
    state_.status.CheckHost();
    return !state_.slot && !state_.status.Scanning();
}

VS_Observed Device::Observed() const {
    VS_Observed observed = state_.observed;
    observed.scans = state_.status.Finished();
    observed.cancelled = state_.status.Cancelled();
    return observed;
}

void Device::LogCommand(const char *name, const Command &command) {
    if (!state_.log.On())
        return;
    const uint8_t *arg = command.arg;
    state_.log.Line("0x%02X %s: %zu bytes, sequence %u, sub %u, words %u %u, args %u %u %u %u, dword %u",
                    command.code, name, command.size, command.sequence, command.sub, command.word0,
                    command.word1, arg[0], arg[1], arg[2], arg[3], command.dword0);
}

} // namespace scanner
