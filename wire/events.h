// The texts of the scanner's events.
#pragma once

#include <cstddef>

namespace wire::event {

constexpr size_t kMostTextBytes = 127;

constexpr char kCardIn[] = "Card in";
constexpr char kCardOut[] = "Card out";
constexpr char kCardEjected[] = "Card ejected";
constexpr char kScanDone[] = "Scan Done";
constexpr char kDoorOpened[] = "Door opened";
constexpr char kDoorClosed[] = "Door closed";
constexpr char kEjectButton[] = "Eject button";
constexpr char kCleaningCard[] = "Cleaning card";
constexpr char kPowerOn[] = "Reset - Power on";
constexpr char kResetButton[] = "Reset - Button";

// To these it may add more.
constexpr char kCardSlipped[] = "card slipped";
constexpr char kScanTimeout[] = "Scan timeout";
constexpr char kCardJammed[] = "Card jammed";
constexpr char kUndefinedInterrupt[] = "Undef IRQ";

} // namespace wire::event
