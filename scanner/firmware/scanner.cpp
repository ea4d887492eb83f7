// Cable and cards of the virtual scanner.
#include "scanner/firmware/scanner.h"

#include <cstdio>
#include <exception>

namespace scanner {
namespace {

constexpr double kPortCycleSeconds = 0.03;

} // namespace

Scanner::Scanner(const Settings &settings) : log(clock, settings.log), device(clock, log) {
    clock.SetSpeed(settings.speed);
    device.SetSeed(settings.seed);
    device.State().lines.SetJitter(JitterOf(settings.jitter));
    device.State().flashFile.Open(device.State(), settings.flash);
    device.PowerOn();
    Connect();
    if (settings.cards.empty())
        return;
    try {
        SetCards(ListCards(settings.cards));
    } catch (const std::exception &error) {
        std::fprintf(stderr, "virtual scanner: K274_CARDS: %s\n", error.what());
    }
}

void Scanner::Connect() { connection_ = ++lastConnection_; }

void Scanner::Unplug() {
    if (!pluggedIn_)
        return;
    pluggedIn_ = false;
    connection_ = 0;
    returnsAt_.reset();
    device.PowerOff();
    changed.notify_all();
}

void Scanner::PlugIn() {
    if (pluggedIn_)
        return;
    pluggedIn_ = true;
    device.PowerOn();
    Connect();
    changed.notify_all();
}

void Scanner::CyclePort() {
    log.Line("port cycle");
    connection_ = 0;
    returnsAt_ = clock.After(kPortCycleSeconds);
    device.Reconnect();
    changed.notify_all();
}

void Scanner::ReturnToBus() {
    if (!returnsAt_)
        return;
    returnsAt_.reset();
    Connect();
    changed.notify_all();
}

void Scanner::SetCards(std::vector<std::string> folders) {
    cards_ = std::move(folders);
    nextCard_ = 0;
    pile_++;
}

void Scanner::FeedSlot(std::unique_lock<std::mutex> &lock) {
    while (!loading_ && nextCard_ < cards_.size() && device.SlotFree()) {
        const std::string folder = cards_[nextCard_];
        const uint32_t pile = pile_;
        loading_ = true;
        lock.unlock();
        std::shared_ptr<const Card> card;
        std::string why;
        try {
            card = std::make_shared<const Card>(LoadCard(folder));
        } catch (const std::exception &error) {
            why = error.what();
        }
        lock.lock();
        loading_ = false;
        if (pile != pile_) // another pile has taken its place
            continue;
        if (!card) {
            nextCard_++;
            log.Line("card left out: %s", why.c_str());
            std::fprintf(stderr, "virtual scanner: card left out: %s\n", why.c_str());
        } else if (device.InsertCard(std::move(card))) {
            nextCard_++;
        } // else somebody else's card was quicker: this one waits its turn
    }
}

std::optional<VS_Fault> Scanner::MeetFault(unsigned command, unsigned direction) {
    const auto fault = faults.Next(command, direction);
    if (fault)
        log.Line("fault %u, value %u, on a transfer %s of command 0x%02X", fault->action, fault->value,
                 direction == VS_OUT ? "out" : "in", command);
    return fault;
}

OutResult Scanner::Command(const uint8_t *bytes, size_t count, const std::optional<VS_Fault> &fault) {
    std::vector<uint8_t> passed(bytes, bytes + (fault ? count : 0));
    if (fault) {
        Spoil(*fault, &passed);
        bytes = passed.data();
        count = passed.size();
    }
    const OutResult result = device.Out(bytes, count);
    changed.notify_all(); // somebody may be waiting for the reply already
    return fault && fault->action == VS_FAULT_SHORT ? OutResult::Ack : result;
}

} // namespace scanner
