// The virtual scanner of this process: the device, its cable, the faults of the cable and the pile of cards
// beside it, under one lock. The lock is never held while a card is loaded or a host is called.
#pragma once

#include "scanner/firmware/device.h"
#include "scanner/firmware/environment.h"
#include "scanner/firmware/faults.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace scanner {

class Scanner {
public:
    /// Switched on and plugged in.
    explicit Scanner(const Settings &settings);

    std::mutex mutex;
    /// Notified whenever something happened that a waiting transfer or the driver's thread may be after.
    std::condition_variable changed;

    // Everything below wants the mutex held.

    Clock clock;
    DeviceLog log;
    Device device;
    FaultList faults;

    /// Number of the connection between scanner and host, a new one for every time the scanner appears on the
    /// bus; 0 while it is not there.
    uint32_t Connection() const { return connection_; }
    void Unplug();
    void PlugIn();
    /// Off the bus and, a little later, on again without losing power. The driver's thread makes the return.
    void CyclePort();
    /// When the scanner returns from a port cycle; empty when it is not in one.
    std::optional<Clock::TimePoint> ReturnsAt() const { return returnsAt_; }
    void ReturnToBus();

    /// The cards that are put in one after the other as the slot becomes free.
    void SetCards(std::vector<std::string> folders);
    bool CardsWaiting() const { return loading_ || nextCard_ < cards_.size(); }
    /// Puts the next card into a free slot. Lets go of the lock while it loads the card; cards that cannot be
    /// used are named on standard error and left out.
    void FeedSlot(std::unique_lock<std::mutex> &lock);

    /// The fault that the next transfer meets, and a line of the log for it.
    std::optional<VS_Fault> MeetFault(unsigned command, unsigned direction);
    /// Hands the device a command, as the fault leaves it. Of a cut one nobody is told a fault, whatever the
    /// device makes of the rest.
    OutResult Command(const uint8_t *bytes, size_t count, const std::optional<VS_Fault> &fault);

private:
    void Connect();

    uint32_t connection_ = 0, lastConnection_ = 0;
    bool pluggedIn_ = true;
    std::optional<Clock::TimePoint> returnsAt_;
    std::vector<std::string> cards_;
    size_t nextCard_ = 0;
    uint32_t pile_ = 0; // counts SetCards
    bool loading_ = false;
};

/// The one scanner of this process. It comes into being at the first call and is never destroyed, as
/// transfers may outlive the static objects.
Scanner &TheScanner();

} // namespace scanner
