// A driver library whose every answer a test decides. It stands in the place of wdapi1140 in tests that link
// the library's objects. Transfers may come from several threads; the test's functions run under one lock.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace scripted {

struct Sent {
    uint8_t code = 0; // first byte: the command
    std::vector<uint8_t> bytes;
};

struct Reply {
    Reply(uint32_t theStatus = 0, std::vector<uint8_t> theBytes = {}, int64_t theClaim = -1)
        : status(theStatus), bytes(std::move(theBytes)), claim(theClaim) {}
    uint32_t status;
    std::vector<uint8_t> bytes;
    int64_t claim; // bytes that the driver claims to have transferred; -1: those that it has
};

struct Driver {
    // Statuses of the calls that open the driver.
    uint32_t initStatus = 0, eventStatus = 0, mutexStatus = 0;
    bool attachOnInit = true, resetDetaches = false;

    /// Answer to a send: its status and the claimed count.
    std::function<Reply(const Sent &)> onSend;
    /// Answer to a read; `last` is the command sent before it.
    std::function<Reply(const Sent &last, uint32_t size)> onRead;

    std::vector<Sent> sent;         // every send, in order
    std::vector<std::string> calls; // every other call, in order
};

/// The one driver; a fresh one for every test.
Driver &TheDriver();
void ResetDriver();

void Attach();
void Detach();

/// What was sent so far of a command.
std::vector<Sent> SentPackets(uint8_t code);

/// A reply of one byte value.
std::vector<uint8_t> Bytes(size_t count, uint8_t value = 0);

} // namespace scripted
