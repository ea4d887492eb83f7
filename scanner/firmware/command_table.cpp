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
    {0x02, "IR line block", kShortHeaderBytes, IrLines},
    {0x03, "UV line block", kShortHeaderBytes, UvLines},
    {0x04, "still lines", kHeaderBytes, StillLines},
    {0x06, "focus lines", kHeaderBytes, FocusLines},
    {0x07, "stripe IR image", kHeaderBytes, StripeLines},
    {0x08, "1200-dpi line block", kHeaderBytes, HiresLines},
    {0x09, "still-image test mode", kHeaderBytes, StillMode},
    {0x0A, "UV option", kHeaderBytes, UvOption},
    {0x10, "firmware image", kHeaderBytes, FirmwareImage},
    {0x11, "loopback", kHeaderBytes, Loopback},
    {0x12, "FPGA image", kHeaderBytes, FpgaImage},
    {0x13, "calibration record", kHeaderBytes, CalibrationExchange},
    {0x14, "open handshake", kHeaderBytes, Handshake},
    {0x15, "event read", kHeaderBytes, EventRead},
    {0x16, "white-card number", kHeaderBytes, WhiteCardNumber},
    {0x17, "close", kHeaderBytes, CloseSession},
    {0x18, "factory data", kHeaderBytes, FactoryData},
    {0x19, "user data", kHeaderBytes, UserData},
    {0x1A, "clear", kHeaderBytes, ClearLastScan},
    {0x20, "stripe data", kHeaderBytes, StripeTracks},
    {0x40, "login", kHeaderBytes, LogIn},
    {0x41, "eject", kHeaderBytes, EjectCard},
    {0x42, "user LED", kHeaderBytes, UserLed},
    {0x60, "AFE registers", kHeaderBytes, AfeExchange},
    {0x61, "parameters", kHeaderBytes, ParameterExchange},
    {0x62, "last-scan mode", kHeaderBytes, LastScanMode},
    {0x65, "flash block", kShortHeaderBytes, FlashBlock},
    {0x66, "second-scan value", kHeaderBytes, SecondScan},
    {0x70, "LEDs", kHeaderBytes, SetLeds},
    {0x72, "mechanism", kHeaderBytes, Mechanism},
    {0x73, "debug LED", kHeaderBytes, DebugLed},
    {0x74, "beep", kHeaderBytes, Beep},
    {0x75, "reset", kHeaderBytes, ResetScanner},
    {0x78, "GUI scan", kHeaderBytes, GuiScan},
    {0x79, "LED aging", kHeaderBytes, LedAging},
    {0x7F, "device information", kHeaderBytes, Information},
};

} // namespace

const CommandInfo *FindCommand(uint8_t code) {
    const auto *found = std::find_if(std::begin(kCommands), std::end(kCommands),
                                     [code](const CommandInfo &info) { return info.code == code; });
    return found == std::end(kCommands) ? nullptr : found;
}

} // namespace scanner
