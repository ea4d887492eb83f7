// The table of scan states.
#include "tools/k274/base/states.h"

#include "include/k274.h"

namespace host {

namespace {

constexpr StateInfo kStates[] = {
    {K274_STATE_SCAN_STARTED, Tone::kPlain, "scan_started", "scan started"},
    {K274_STATE_STRIPE_TAKEN, Tone::kPlain, "stripe_taken", "magnetic stripe"},
    {K274_STATE_RGB_DONE, Tone::kPlain, "rgb_done", "visible light"},
    {K274_STATE_BARCODE_READY, Tone::kPlain, "barcode_ready", "barcodes"},
    {K274_STATE_CARD_MEASURED, Tone::kPlain, "card_measured", "card measured"},
    {K274_STATE_IR_DONE, Tone::kPlain, "ir_done", "infrared"},
    {K274_STATE_LAST_DONE, Tone::kPlain, "last_done", "last pass"},
    {K274_STATE_COMPLETE, Tone::kGood, "complete", "scan complete"},
    {K274_STATE_CANCELLED, Tone::kBad, "cancelled", "scan cancelled"},
    {K274_STATE_CONNECTED, Tone::kGood, "connected", "scanner connected"},
    {K274_STATE_DISCONNECTED, Tone::kBad, "disconnected", "scanner disconnected"},
    {K274_STATE_DEVICE_RESET, Tone::kNotice, "device_reset", "scanner was reset"},
    {K274_STATE_CARD_IN, Tone::kPlain, "card_in", "card in"},
    {K274_STATE_CARD_OUT, Tone::kPlain, "card_out", "card out"},
    {K274_STATE_LENGTH_MISMATCH, Tone::kNotice, "length_mismatch", "card lengths disagree"},
    {K274_STATE_DOOR_OPENED, Tone::kPlain, "door_opened", "door opened"},
    {K274_STATE_DOOR_CLOSED, Tone::kPlain, "door_closed", "door closed"},
    {K274_STATE_EJECT_BUTTON, Tone::kPlain, "eject_button", "eject button"},
    {K274_STATE_CARD_JAMMED, Tone::kBad, "card_jammed", "card jammed"},
    {K274_STATE_WHITE_CARD, Tone::kPlain, "white_card", "white card"},
    {K274_STATE_CALIBRATION_FWD, Tone::kPlain, "calibration_fwd", "calibration card, forward"},
    {K274_STATE_FACTORY_REV, Tone::kPlain, "factory_rev", "factory card, reversed"},
    {K274_STATE_CALIBRATION_REV, Tone::kPlain, "calibration_rev", "calibration card, reversed"},
    {K274_STATE_CLEANING_CARD, Tone::kNotice, "cleaning_card", "cleaning card"},
    {K274_STATE_AFE_WRITTEN, Tone::kPlain, "afe_written", "AFE registers written"},
    {K274_STATE_WHITE_WRITTEN, Tone::kPlain, "white_written", "white-card data written"},
    {K274_STATE_FACTORY_DONE, Tone::kPlain, "factory_done", "factory verification finished"},
    {K274_STATE_JITTER_CARD, Tone::kPlain, "jitter_card", "jitter test card"},
    {K274_STATE_FIRMWARE_DIFFERS, Tone::kNotice, "firmware_differs",
     "the scanner's firmware is not the expected one"},
    {K274_STATE_BARCODE_LIB_DIFFERS, Tone::kNotice, "barcode_lib_differs",
     "the barcode library is not the expected one"},
    {K274_STATE_AFE_ERROR, Tone::kNotice, "afe_error", "an AFE register of the scanner is out of range"},
    {K274_STATE_FIRMWARE_UPGRADE, Tone::kNotice, "firmware_upgrade",
     "the scanner's firmware is being replaced: leave it connected"},
    {K274_STATE_UNDEFINED_IRQ, Tone::kNotice, "undefined_irq", "the scanner reports an undefined interrupt"},
};

} // namespace

StateInfo DescribeState(int32_t code) {
    for (const StateInfo &state : kStates) {
        if (state.code == code)
            return state;
    }
    return {code, Tone::kNotice, "unknown", "unknown state"};
}

const char *StageAfter(int32_t code, bool fullMode) {
    switch (code) {
    case K274_STATE_CARD_IN:
        return "starting";
    case K274_STATE_SCAN_STARTED:
        return "stripe and visible light";
    case K274_STATE_STRIPE_TAKEN:
        return "visible light";
    case K274_STATE_RGB_DONE:
        return "measuring the card";
    case K274_STATE_CARD_MEASURED:
    case K274_STATE_WHITE_CARD:
        return fullMode ? "infrared" : "finishing";
    case K274_STATE_IR_DONE:
        return "last pass";
    case K274_STATE_LAST_DONE:
        return "finishing";
    case K274_STATE_COMPLETE:
        return "writing the files";
    default:
        return nullptr;
    }
}

} // namespace host
