// The virtual scanner as a device on a bus: descriptors, and requests on two bulk endpoints that are queued,
// served in order and can be cancelled. Mock buses of tests put it behind whatever they speak.
#pragma once

#include "scanner/firmware/scanner.h"

#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <thread>
#include <vector>

namespace bus {

using Bytes = std::vector<uint8_t>;

constexpr uint8_t kOutEndpoint = 0x02, kInEndpoint = 0x81;
constexpr uint16_t kProductId = 0x0274;

/// Device descriptor; configuration descriptor with interface and endpoints. High speed, no texts.
const Bytes &DeviceDescriptor();
const Bytes &ConfigDescriptor();

enum class Outcome {
    Done,
    Stall,     // the endpoint is halted, or this command was refused
    Babble,    // more came than there is room for
    Error,     // disturbed on the wire
    Cancelled, // by Cancel, with what had come
    Gone       // the cable was pulled
};

struct Result {
    Outcome outcome;
    Bytes data;     // IN: what came
    uint32_t count; // bytes transferred
    bool end; // IN: nothing is left of the reply; of a longer request the rest gets a packet of no bytes
};
using Completion = std::function<void(Result)>;

/// Completions and cable news come on a thread of the device's own, one at a time and without any lock.
/// Every request is completed exactly once.
///
/// Faults armed by VS_ArmFault happen to requests: VS_FAULT_STATUS is a stall, babble or wire error, by its
/// value; of one hung by VS_FAULT_STALL `value` bytes have come when it is cancelled; VS_FAULT_LENGTH has no
/// counterpart on a wire and is ignored.
class BusDevice {
public:
    /// @param onCable  told of the state now, and then of every change: true plugged in, false pulled
    BusDevice(scanner::Scanner &scanner, std::function<void(bool)> onCable);
    /// Cancels what is under way; nothing is called afterwards.
    ~BusDevice();
    BusDevice(const BusDevice &) = delete;
    BusDevice &operator=(const BusDevice &) = delete;

    /// @param id         the caller's name for the request
    /// @param bytes      OUT: one whole command; IN: as many bytes as there is room for, of any value
    /// @param continues  IN: the rest of a request that the host has split; cancelled when the one before it
    ///                   fails, or ends the reply
    void Submit(uint64_t id, uint8_t endpoint, Bytes bytes, Completion completion, bool continues = false);
    /// The request is completed soon. Does nothing when it has been already.
    void Cancel(uint64_t id);
    void ClearHalt(uint8_t endpoint);
    /// Bus reset. Requests under way are cancelled.
    void Reset();
    /// Whether every change of the cable has been told.
    bool Settled();

private:
    using Lock = std::unique_lock<std::mutex>;
    struct Request {
        uint64_t id;
        bool in;
        Bytes bytes;
        Completion completion;
        bool continues;
        bool met;          // its faults have been looked up, and the slot has been fed
        bool hung = false; // until it is cancelled
        std::optional<VS_Fault> fault{};
        Outcome end = Outcome::Done; // else: to be completed with this
        Bytes came{};                // before it hung
    };
    using Requests = std::list<Request>;

    void Serve();
    bool FollowCable(Lock &lock);
    bool Step(Lock &lock);
    void Meet(Lock &lock, Request &request);
    std::optional<Result> Try(Request &request);
    std::optional<Result> TryOut(Request &request);
    std::optional<Result> TryIn(Request &request);
    scanner::InResult Stage(const VS_Fault &fault);
    scanner::InResult Take(Bytes &room, size_t *count);
    void EndAll(Outcome outcome);

    scanner::Scanner &scanner_;
    const std::function<void(bool)> onCable_;
    std::thread thread_;

    // Under the scanner's mutex.
    bool closing_ = false, told_ = false, telling_ = false;
    uint32_t connection_ = 0; // that the other side knows of
    Requests requests_;
    unsigned lastCommand_ = 0;    // the one that a reply belongs to
    std::optional<Bytes> staged_; // what is left of a reply that a fault has changed
};

} // namespace bus
