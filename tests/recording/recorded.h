// Recordings made by hand, and readers of them.
#pragma once

#include "platform/recording/recording.h"
#include "tests/scanner/firmware/wire.h"
#include "wire/bytes.h"

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace recorded {

using recording::Entry;
using recording::Kind;
using wire::Bytes;

/// An entry and its data.
struct Kept {
    Entry entry;
    Bytes data;
};

inline Bytes ReadFile(const std::string &file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

inline void WriteFile(const std::string &file, const Bytes &bytes) {
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

inline std::vector<Kept> Entries(recording::Reader &reader) {
    std::vector<Kept> entries;
    for (Entry entry; reader.Next(&entry);)
        entries.push_back({entry, Bytes(entry.data, entry.data + entry.dataBytes)});
    return entries;
}

/// Writes the entries one after the other.
class Author {
public:
    explicit Author(const std::string &file)
        : writer_(file, [this](const std::string &why) { said += why; }) {}

    void Add(Entry entry, const Bytes &data = {}) {
        entry.data = data.data();
        entry.dataBytes = static_cast<uint32_t>(data.size());
        writer_.Add(entry);
    }
    void Add(Kind kind, uint64_t us = 0, const Bytes &data = {}) {
        Entry entry;
        entry.kind = kind;
        entry.device = kind == Kind::Attach || kind == Kind::Detach ? 1 : 0;
        entry.startUs = entry.endUs = us;
        Add(entry, data);
    }
    void Begin() {
        Add(Kind::Init, 0, recording::Encode({1, 0xF274, 0x0274, "virtual"}));
        Add(Kind::Attach, 0, Bytes(27, 1));
    }
    /// A command, and its reply when there is one. `us` is when it was sent.
    void Exchange(const wire::Fields &fields, const Bytes &reply, uint32_t thread = 1, uint32_t status = 0,
                  uint64_t us = 0) {
        Entry entry;
        entry.device = 1;
        entry.thread = thread;
        entry.pipe = 2;
        entry.startUs = entry.endUs = us;
        const Bytes sent = wire::Packet(fields, 1000);
        entry.size = entry.transferred = static_cast<uint32_t>(sent.size());
        Add(entry, sent);
        if (!reply.empty())
            Read(reply, thread, status, us);
    }
    void Read(const Bytes &reply, uint32_t thread = 1, uint32_t status = 0, uint64_t us = 0) {
        Entry entry;
        entry.device = 1;
        entry.thread = thread;
        entry.read = true;
        entry.pipe = 0x81;
        entry.startUs = entry.endUs = us;
        entry.size = scanner::kMaxReplyBytes;
        entry.transferred = static_cast<uint32_t>(reply.size());
        entry.status = status;
        Add(entry, reply);
    }
    void Close() { writer_.Close(); }

    std::string said;

private:
    recording::Writer writer_;
};

/// A status reply.
inline Bytes Status(uint16_t word, uint8_t kind = 0) {
    Bytes reply(80);
    reply[4] = kind;
    wire::Store16(&reply[6], word);
    return reply;
}

} // namespace recorded
