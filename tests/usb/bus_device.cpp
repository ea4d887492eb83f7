// Serves requests from the device model, on a thread of its own.
#include "tests/usb/bus_device.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace bus {
namespace {

/// What a host's driver calls the ends of a transfer, as tests name them in faults.
int ErrorOf(uint32_t status) {
    return status == 0xC0000004 ? EPIPE : status == 0xC0000012 ? EOVERFLOW : EPROTO;
}

} // namespace

BusDevice::BusDevice(scanner::Scanner &scanner, std::function<void(bool)> onCable)
    : scanner_(scanner), onCable_(std::move(onCable)) {
    thread_ = std::thread([this] { Serve(); });
}

BusDevice::~BusDevice() {
    {
        const Lock lock(scanner_.mutex);
        closing_ = true;
        EndAll(ENOENT);
    }
    thread_.join();
}

void BusDevice::Submit(uint64_t id, uint8_t endpoint, Bytes bytes, Completion completion, bool continues) {
    const Lock lock(scanner_.mutex);
    requests_.push_back(
        {id, endpoint == kInEndpoint, std::move(bytes), std::move(completion), continues, continues});
    if (connection_ == 0 || connection_ != scanner_.Connection())
        requests_.back().error = ESHUTDOWN;
    scanner_.changed.notify_all();
}

void BusDevice::Cancel(uint64_t id) {
    const Lock lock(scanner_.mutex);
    for (Request &request : requests_)
        if (request.id == id && request.error == 0)
            request.error = ENOENT;
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
    EndAll(ENOENT);
}

bool BusDevice::Settled() {
    const Lock lock(scanner_.mutex);
    return told_ && !telling_ && connection_ == scanner_.Connection();
}

void BusDevice::EndAll(int error) {
    for (Request &request : requests_)
        if (request.error == 0)
            request.error = error;
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
        EndAll(ESHUTDOWN);
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
        if (at->error != 0) {
            result = Result{at->error, std::move(at->came)};
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
        if (at->in && (result->error != 0 || result->end))
            for (auto rest = std::next(at); rest != requests_.end(); ++rest)
                if (rest->in && rest->continues && rest->error == 0)
                    rest->error = ENOENT;
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
    if (request.error == 0)
        request.fault = scanner_.MeetFault(lastCommand_, request.in ? VS_IN : VS_OUT);
}

/// Empty while the request waits.
std::optional<Result> BusDevice::Try(Request &request) {
    const std::optional<VS_Fault> &fault = request.fault;
    switch (fault ? scanner::FateOf(*fault) : scanner::Fate::TakesPlace) {
    case scanner::Fate::Fails:
        return Result{ErrorOf(fault->value)};
    case scanner::Fate::Unplugs:
        scanner_.Unplug();
        return Result{ESHUTDOWN};
    case scanner::Fate::Hangs:
        request.hung = !request.in || fault->value == 0; // else after so many bytes
        if (request.hung)
            return std::nullopt;
        break;
    case scanner::Fate::TakesPlace:
        break;
    }
    if (request.in)
        return TryIn(request);
    staged_.reset();
    if (scanner_.Command(request.bytes.data(), request.bytes.size(), fault) == scanner::OutResult::Stall)
        return Result{EPIPE};
    return Result{0, std::move(request.bytes)};
}

std::optional<Result> BusDevice::TryIn(Request &request) {
    Bytes &room = request.bytes;
    size_t count = 0;
    auto result = scanner::InResult::Data;
    if (request.fault && request.fault->action != VS_FAULT_LENGTH) {
        // Takes the whole reply aside, as the fault leaves it.
        Bytes whole(scanner::kMaxReplyBytes);
        result = scanner_.device.In(whole.data(), whole.size(), &count);
        if (result == scanner::InResult::Data) {
            whole.resize(count);
            scanner::Spoil(*request.fault, &whole);
            request.hung = request.fault->action == VS_FAULT_STALL;
            (request.hung ? request.came : staged_.emplace()) = std::move(whole);
            request.fault.reset();
        }
        if (request.hung) {
            request.came.resize(std::min(request.came.size(), room.size()));
            return std::nullopt;
        }
    }
    if (result == scanner::InResult::Data && staged_) {
        count = std::min(room.size(), staged_->size());
        const auto last = staged_->begin() + static_cast<ptrdiff_t>(count);
        std::copy(staged_->begin(), last, room.begin());
        staged_->erase(staged_->begin(), last);
    } else if (result == scanner::InResult::Data) {
        result = scanner_.device.In(room.data(), room.size(), &count);
    }
    switch (result) {
    case scanner::InResult::Nak:
        return std::nullopt;
    case scanner::InResult::Stall:
        return Result{EPIPE};
    case scanner::InResult::Overflow:
        return Result{EOVERFLOW};
    case scanner::InResult::Data:
        break;
    }
    room.resize(count);
    const bool end = staged_ ? staged_->empty() : !scanner_.device.State().reply.Waiting();
    if (end)
        staged_.reset();
    return Result{0, std::move(room), end};
}

} // namespace bus
