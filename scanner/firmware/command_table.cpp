// Code, length and handler of every command.
#include "scanner/firmware/command_table.h"

#include "scanner/firmware/calibration.h"
#include "scanner/firmware/data_areas.h"
#include "scanner/firmware/focus.h"
#include "scanner/firmware/general.h"
#include "scanner/firmware/line_server.h"
#include "scanner/firmware/programming.h"
#include "scanner/firmware/registers.h"
#include "scanner/firmware/status_reply.h"
#include "scanner/firmware/still.h"
#include "scanner/firmware/stripe.h"
#include "scanner/firmware/workshop.h"
#include "wire/commands.h"
#include "wire/status.h"

#include <algorithm>
#include <iterator>

namespace scanner {
namespace {

using namespace wire;

constexpr CommandInfo kCommands[] = {
    {command::kStatusPoll, kStatusBytes, StatusPoll},
    {command::kRgbLines, kShortHeaderBytes, RgbLines},
    {command::kIrLines, kShortHeaderBytes, IrLines},
    {command::kUvLines, kShortHeaderBytes, UvLines},
    {command::kStillLines, kHeaderBytes, StillLines},
    {command::kFocusImage, kHeaderBytes, FocusLines},
    {command::kStripeImage, kHeaderBytes, StripeLines},
    {command::kHiresLines, kHeaderBytes, HiresLines},
    {command::kStillMode, kHeaderBytes, StillMode},
    {command::kUvOption, kHeaderBytes, UvOption},
    {command::kFlash, kHeaderBytes, FirmwareImage},
    {command::kLoopback, kHeaderBytes, Loopback},
    {command::kFpga, kHeaderBytes, FpgaImage},
    {command::kCalibration, kHeaderBytes, CalibrationExchange},
    {command::kOpen, kHeaderBytes, Handshake},
    {command::kEvent, kHeaderBytes, EventRead},
    {command::kWhiteCardNumber, kHeaderBytes, WhiteCardNumber},
    {command::kClose, kHeaderBytes, CloseSession},
    {command::kFactoryData, kHeaderBytes, FactoryData},
    {command::kUserData, kHeaderBytes, UserData},
    {command::kClear, kHeaderBytes, ClearLastScan},
    {command::kStripeTracks, kHeaderBytes, StripeTracks},
    {command::kLogIn, kHeaderBytes, LogIn},
    {command::kEject, kHeaderBytes, EjectCard},
    {command::kUserLed, kHeaderBytes, UserLed},
    {command::kAfeRegisters, kHeaderBytes, AfeExchange},
    {command::kParameters, kHeaderBytes, ParameterExchange},
    {command::kLastScan, kHeaderBytes, LastScanMode},
    {command::kFlashBlock, kShortHeaderBytes, FlashBlock},
    {command::kSecondScan, kHeaderBytes, SecondScan},
    {command::kLeds, kHeaderBytes, SetLeds},
    {command::kMechanism, kHeaderBytes, Mechanism},
    {command::kDebugLed, kHeaderBytes, DebugLed},
    {command::kBeep, kHeaderBytes, Beep},
    {command::kReset, kHeaderBytes, ResetScanner},
    {command::kGuiScan, kHeaderBytes, GuiScan},
    {command::kLedAging, kHeaderBytes, LedAging},
    {command::kDeviceInfo, kHeaderBytes, Information},
};

} // namespace

const CommandInfo *FindCommand(uint8_t code) {
    const auto *found = std::find_if(std::begin(kCommands), std::end(kCommands),
                                     [code](const CommandInfo &info) { return info.code == code; });
    return found == std::end(kCommands) ? nullptr : found;
}

} // namespace scanner
