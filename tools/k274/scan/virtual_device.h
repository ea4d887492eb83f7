// The virtual scanner as k274 uses it: chosen before the library starts, fed with cards one at a time.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/k274/base/options.h"

namespace host {

/// The value of K274_DEVICE, "usb" when it is not set.
std::string DeviceName();

/// Chooses the device that the driver is to serve and sets its seed and pace. Before K274_Init.
/// Throws HostError when the options do not fit the device or the driver has no virtual scanner.
void SelectDevice(const Options &options);

/// The cards of a scan or watch, in the order in which they are inserted.
class CardFeeder {
public:
    /// Throws HostError(kBadCard) when a folder is missing.
    explicit CardFeeder(const Options &options);

    bool HasCards() const { return !cards_.empty(); }
    size_t Size() const { return cards_.size(); }
    /// Puts the card of this number (counted from 0, round and round) in.
    /// @return false when the slot is not free yet. Throws HostError(kBadCard).
    bool Insert(size_t number);
    const std::string &Name(size_t number) const { return cards_[number % cards_.size()]; }

private:
    std::vector<std::string> cards_;
};

} // namespace host
