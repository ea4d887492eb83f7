// Code, name, length and handler of every command.
#include "scanner/firmware/command_table.h"

#include <algorithm>
#include <iterator>

namespace scanner {
namespace {

constexpr size_t kPollBytes = 80;

constexpr CommandInfo kCommands[] = {
    {0x00, "status poll", kPollBytes, StatusPoll},
    {0x01, "RGB line block", kShortHeaderBytes, RgbLines},
    {0x0A, "UV option", kHeaderBytes, UvOption},
    {0x13, "calibration record", kHeaderBytes, CalibrationExchange},
    {0x14, "open handshake", kHeaderBytes, Handshake},
    {0x15, "event read", kHeaderBytes, EventRead},
    {0x17, "close", kHeaderBytes, CloseSession},
    {0x1A, "clear", kHeaderBytes, ClearLastScan},
    {0x40, "login", kHeaderBytes, LogIn},
    {0x41, "eject", kHeaderBytes, EjectCard},
    {0x42, "user LED", kHeaderBytes, UserLed},
    {0x60, "AFE registers", kHeaderBytes, AfeExchange},
    {0x62, "last-scan mode", kHeaderBytes, LastScanMode},
    {0x66, "second-scan value", kHeaderBytes, SecondScan},
    {0x72, "mechanism", kHeaderBytes, Mechanism},
    {0x73, "debug LED", kHeaderBytes, DebugLed},
    {0x74, "beep", kHeaderBytes, Beep},
    {0x75, "reset", kHeaderBytes, ResetScanner},
    {0x78, "GUI scan", kHeaderBytes, GuiScan},
    {0x7F, "device information", kHeaderBytes, Information},
};

} // namespace

const CommandInfo *FindCommand(uint8_t code) {
    const auto *found = std::find_if(std::begin(kCommands), std::end(kCommands),
                                     [code](const CommandInfo &info) { return info.code == code; });
    return found == std::end(kCommands) ? nullptr : found;
}

} // namespace scanner
