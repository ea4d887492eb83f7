// Serves requests from the device model, on a thread of its own.
#include "tests/usb/bus_device.h"

#include "wire/bytes.h"

#include <algorithm>
#include <iterator>
#include <sstream>

namespace bus {
namespace {

constexpr uint16_t kVendorId = K274_VENDOR_ID;

/// Bytes written as two hexadecimal digits each.
Bytes FromHex(const std::string &digits) {
    std::istringstream from(digits);
    from >> std::hex;
    return Bytes(std::istream_iterator<unsigned>(from), {});
}

// What a host's driver calls the ends of a transfer, as tests name them in faults.
constexpr uint32_t kStallStatus = 0xC0000004, kBabbleStatus = 0xC0000012;

Outcome OutcomeOf(uint32_t status) {
    return status == kStallStatus    ? Outcome::Stall
           : status == kBabbleStatus ? Outcome::Babble
                                     : Outcome::Error;
}

} // namespace

const Bytes &DeviceDescriptor() {
    // USB 2.0, class by interface, packets of 64 bytes on endpoint 0, release 1.0, one configuration.
    static const Bytes bytes = [] {
        Bytes made = FromHex("12 01 00 02 00 00 00 40 00 00 00 00 00 01 00 00 00 01");
        wire::Store16(&made[8], kVendorId);
        wire::Store16(&made[10], kProductId);
        return made;
    }();
    return bytes;
}

const Bytes &ConfigDescriptor() {
    // Self-powered; one interface of the maker's own class; a bulk endpoint each way, packets of 512 bytes.
    static const Bytes bytes = FromHex("09 02 20 00 01 01 00 C0 01 09 04 00 00 02 FF FF FF 00 "
                                       "07 05 02 02 00 02 00 07 05 81 02 00 02 00");
    return bytes;
}

BusDevice::BusDevice(scanner::Scanner &scanner, std::function<void(bool)> onCable)
    : scanner_(scanner), onCable_(std::move(onCable)) {
    thread_ = std::thread([this] { Serve(); });
}

BusDevice::~BusDevice() {
    {
        const Lock lock(scanner_.mutex);
        closing_ = true;
        EndAll(Outcome::Cancelled);
    }
    thread_.join();
}

void BusDevice::Submit(uint64_t id, uint8_t endpoint, Bytes bytes, Completion completion, bool continues) {
    const Lock lock(scanner_.mutex);
    requests_.push_back(
        {id, endpoint == kInEndpoint, std::move(bytes), std::move(completion), continues, continues});
    if (connection_ == 0 || connection_ != scanner_.Connection())
        requests_.back().end = Outcome::Gone;
    scanner_.changed.notify_all();
}

void BusDevice::Cancel(uint64_t id) {
    const Lock lock(scanner_.mutex);
    for (Request &request : requests_)
        if (request.id == id && request.end == Outcome::Done)
            request.end = Outcome::Cancelled;
    scanner_.changed.notify_all();
}

void BusDevice::ClearHalt(uint8_t endpoint) {
    const Lock lock(scanner_.mutex);
    scanner_.device.State().observed.pipeResets++;
    scanner_.device.ClearHalt(endpoint == kInEndpoint ? scanner::Endpoint::In : scanner::Endpoint::Out);
    scanner_.changed.notify_all();
}

void BusDevice::Reset() {
    const Lock lock(scanner_.mutex);
    scanner_.device.State().observed.hardResets++;
    scanner_.device.Reset();
    staged_.reset();
    EndAll(Outcome::Cancelled);
}

bool BusDevice::Settled() {
    const Lock lock(scanner_.mutex);
    return told_ && !telling_ && connection_ == scanner_.Connection();
}

void BusDevice::EndAll(Outcome outcome) {
    for (Request &request : requests_)
        if (request.end == Outcome::Done)
            request.end = outcome;
    scanner_.changed.notify_all();
}

void BusDevice::Serve() {
    Lock lock(scanner_.mutex);
    for (;;) {
        if (Step(lock))
            continue;
        if (closing_)
            return;
        if (FollowCable(lock))
            continue;
        const auto moment = scanner_.device.NextMoment();
        if (moment == scanner::Clock::TimePoint::max())
            scanner_.changed.wait(lock);
        else
            scanner_.changed.wait_until(lock, moment);
    }
}

/// True when there was news, which may have let go of the lock.
bool BusDevice::FollowCable(Lock &lock) {
    if (told_ && connection_ == scanner_.Connection())
        return false;
    if (connection_ != 0) {
        connection_ = 0; // pulled, though it may be back already
        staged_.reset();
        EndAll(Outcome::Gone);
    } else {
        connection_ = scanner_.Connection();
    }
    told_ = true;
    telling_ = true;
    const bool pluggedIn = connection_ != 0;
    lock.unlock();
    onCable_(pluggedIn);
    lock.lock();
    telling_ = false;
    return true;
}

/// Brings one request on. False when all wait for something. Requests leave the list only here.
bool BusDevice::Step(Lock &lock) {
    bool busy[2] = {false, false};
    for (auto at = requests_.begin(); at != requests_.end(); ++at) {
        std::optional<Result> result;
        if (at->end != Outcome::Done) {
            result = Result{at->end, std::move(at->came), 0, false};
            result->count = static_cast<uint32_t>(result->data.size());
        } else if (!busy[at->in]) {
            busy[at->in] = true; // those behind it wait their turn
            if (!at->met) {
                Meet(lock, *at);
                return true;
            }
            if (!at->hung)
                result = Try(*at);
        }
        if (!result)
            continue;
        const Completion completion = std::move(at->completion);
        if (at->in && (result->outcome != Outcome::Done || result->end))
            for (auto rest = std::next(at); rest != requests_.end(); ++rest)
                if (rest->in && rest->continues && rest->end == Outcome::Done)
                    rest->end = Outcome::Cancelled;
        requests_.erase(at);
        lock.unlock();
        completion(std::move(*result));
        lock.lock();
        return true;
    }
    return false;
}

/// The request comes to the front of its endpoint.
void BusDevice::Meet(Lock &lock, Request &request) {
    request.met = true;
    if (!request.in) {
        scanner_.FeedSlot(lock);
        lastCommand_ = request.bytes.empty() ? 0 : request.bytes[0];
    }
    if (request.end == Outcome::Done)
        request.fault = scanner_.MeetFault(lastCommand_, request.in ? VS_IN : VS_OUT);
}

/// Empty while the request waits.
std::optional<Result> BusDevice::Try(Request &request) {
    if (!request.fault)
        return request.in ? TryIn(request) : TryOut(request);
    const VS_Fault &fault = *request.fault;
    switch (scanner::FateOf(fault)) {
    case scanner::Fate::Fails:
        return Result{OutcomeOf(fault.value), {}, 0, false};
    case scanner::Fate::Unplugs:
        scanner_.Unplug();
        return Result{Outcome::Gone, {}, 0, false};
    case scanner::Fate::Hangs:
        request.hung = !request.in || fault.value == 0; // else after so many bytes
        break;
    case scanner::Fate::TakesPlace:
        break;
    }
    return request.hung ? std::nullopt : request.in ? TryIn(request) : TryOut(request);
}

std::optional<Result> BusDevice::TryOut(Request &request) {
    const Bytes &bytes = request.bytes;
    staged_.reset();
    if (scanner_.Command(bytes.data(), bytes.size(), request.fault) == scanner::OutResult::Stall)
        return Result{Outcome::Stall, {}, 0, false};
    return Result{Outcome::Done, {}, static_cast<uint32_t>(bytes.size()), false};
}

std::optional<Result> BusDevice::TryIn(Request &request) {
    const bool changed = request.fault && request.fault->action != VS_FAULT_LENGTH;
    size_t count = 0;
    scanner::InResult result = changed ? Stage(*request.fault) : scanner::InResult::Data;
    if (result == scanner::InResult::Data) {
        if (changed && request.fault->action == VS_FAULT_STALL) {
            staged_->resize(std::min(staged_->size(), request.bytes.size()));
            request.came = std::move(*staged_);
            staged_.reset();
            request.hung = true;
            return std::nullopt;
        }
        request.fault.reset();
        result = Take(request.bytes, &count);
    }
    switch (result) {
    case scanner::InResult::Nak:
        return std::nullopt;
    case scanner::InResult::Stall:
        return Result{Outcome::Stall, {}, 0, false};
    case scanner::InResult::Overflow:
        return Result{Outcome::Babble, {}, 0, false};
    case scanner::InResult::Data:
        break;
    }
    request.bytes.resize(count);
    const bool end = staged_ ? staged_->empty() : !scanner_.device.State().reply.Waiting();
    if (end)
        staged_.reset();
    return Result{Outcome::Done, std::move(request.bytes), static_cast<uint32_t>(count), end};
}

/// Takes the whole reply aside, as the fault leaves it.
scanner::InResult BusDevice::Stage(const VS_Fault &fault) {
    Bytes whole(scanner::kMaxReplyBytes);
    size_t count = 0;
    const scanner::InResult result = scanner_.device.In(whole.data(), whole.size(), &count);
    if (result != scanner::InResult::Data)
        return result;
    whole.resize(count);
    scanner::Spoil(fault, &whole);
    staged_ = std::move(whole);
    return result;
}

/// As much of the reply as the room holds.
scanner::InResult BusDevice::Take(Bytes &room, size_t *count) {
    if (!staged_)
        return scanner_.device.In(room.data(), room.size(), count);
    *count = std::min(room.size(), staged_->size());
    const auto last = staged_->begin() + static_cast<ptrdiff_t>(*count);
    std::copy(staged_->begin(), last, room.begin());
    staged_->erase(staged_->begin(), last);
    return scanner::InResult::Data;
}

} // namespace bus
