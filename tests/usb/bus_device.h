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
constexpr uint16_t kVendorId = K274_VENDOR_ID, kProductId = 0x0274;

/// USB 2.0, class by interface, packets of 64 bytes on endpoint 0, release 1.0, no texts, one configuration.
inline const Bytes kDeviceDescriptor = {
    18, 1, 0, 2, 0, 0, 0, 64, kVendorId & 0xFF, kVendorId >> 8, kProductId & 0xFF, kProductId >> 8,
    0,  1, 0, 0, 0, 1};
/// Self-powered; one interface of the maker's own class; a bulk endpoint each way, packets of 512 bytes.
inline const Bytes kConfigDescriptor = {9,    2,    32,
                                        0,    1,    1,
                                        0,    0xC0, 1, //
                                        9,    4,    0,
                                        0,    2,    0xFF,
                                        0xFF, 0xFF, 0, //
                                        7,    5,    kOutEndpoint,
                                        2,    0,    2,
                                        0, //
                                        7,    5,    kInEndpoint,
                                        2,    0,    2,
                                        0};

struct Result {
    /// 0, or as Linux has it: EPIPE, the endpoint is halted, or this command was refused; EOVERFLOW, more
    /// came than there is room for; EPROTO, disturbed on the wire; ENOENT, cancelled, with what had come;
    /// ESHUTDOWN, the cable was pulled.
    int error;
    Bytes data{}; // that went over the wire, in either direction
    bool end =
        false; // IN: nothing is left of the reply; of a longer request the rest gets a packet of no bytes
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
        int error = 0; // else: to be completed with this
        Bytes came{};  // before it hung
    };

    void Serve();
    bool FollowCable(Lock &lock);
    bool Step(Lock &lock);
    void Meet(Lock &lock, Request &request);
    std::optional<Result> Try(Request &request);
    std::optional<Result> TryIn(Request &request);
    void EndAll(int error);

    scanner::Scanner &scanner_;
    const std::function<void(bool)> onCable_;
    std::thread thread_;

    // Under the scanner's mutex.
    bool closing_ = false, told_ = false, telling_ = false;
    uint32_t connection_ = 0; // that the other side knows of
    std::list<Request> requests_;
    unsigned lastCommand_ = 0;    // the one that a reply belongs to
    std::optional<Bytes> staged_; // what is left of a reply that a fault has changed
};

} // namespace bus
