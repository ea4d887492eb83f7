// Recordings made by hand, and readers of them.
#pragma once

#include "platform/recording/recording.h"
#include "tests/scanner/firmware/host.h"
#include "tests/support/files.h"
#include "wire/bytes.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace recorded {

using recording::Entry;
using recording::Kind;
using wire::Bytes;

/// An entry and its data.
struct Kept {
    Entry entry;
    Bytes data;
};

inline std::vector<Kept> Entries(recording::Reader &reader) {
    std::vector<Kept> entries;
    for (Entry entry; reader.Next(&entry);)
        entries.push_back({entry, Bytes(entry.data, entry.data + entry.dataBytes)});
    return entries;
}

/// Of a file that is whole.
inline std::vector<Kept> Entries(const std::string &file) {
    recording::Reader reader(file);
    auto entries = Entries(reader);
    EXPECT_EQ(reader.HowEnded(), recording::Reader::End::Whole);
    return entries;
}

/// What the host did, and behind that what it was told: threads of their own, each in its order. Answers end
/// when the telling thread gets to it.
inline std::vector<Kept> Calls(const std::string &file) {
    auto entries = Entries(file);
    const auto other = [](const Kept &kept) {
        return kept.entry.kind == Kind::Init || kept.entry.kind == Kind::AttachAnswer;
    };
    entries.erase(std::remove_if(entries.begin(), entries.end(), other), entries.end());
    std::stable_partition(entries.begin(), entries.end(), [](const Kept &kept) {
        return kept.entry.kind != Kind::Attach && kept.entry.kind != Kind::Detach;
    });
    return entries;
}

/// A transfer of 196608 bytes' room, or of a command.
inline Entry Transfer(bool read, uint32_t thread = 1, uint32_t status = 0) {
    Entry entry;
    entry.device = 1;
    entry.thread = thread;
    entry.read = read;
    entry.pipe = read ? wire::kIn : wire::kOut;
    entry.size = scanner::kMaxReplyBytes;
    entry.status = status;
    return entry;
}

/// Writes the entries one after the other.
struct Author : recording::Writer {
    explicit Author(const std::string &file) : Writer(file, [](const std::string &) {}) {}

    using Writer::Add;
    void Add(Entry entry, const Bytes &data) {
        entry.data = data.data();
        entry.dataBytes = static_cast<uint32_t>(data.size());
        Add(entry);
    }
    void Add(Kind kind, uint64_t us = 0, const Bytes &data = {}, uint16_t device = 1) {
        Entry entry;
        entry.kind = kind;
        entry.device = device;
        entry.startUs = entry.endUs = us;
        Add(entry, data);
    }
    void Begin() {
        Add(Kind::Init, 0, recording::Encode({1, 0xF274, 0x0274, "virtual"}), 0);
        Add(Kind::Attach, 0, Bytes(27, 1));
    }
    /// A command, and its reply when there is one.
    void Exchange(const wire::Fields &fields, const Bytes &reply, uint32_t thread = 1) {
        Entry entry = Transfer(false, thread);
        const Bytes sent = wire::Packet(fields, 1000);
        entry.size = entry.transferred = static_cast<uint32_t>(sent.size());
        Add(entry, sent);
        if (!reply.empty())
            Read(reply, thread);
    }
    void Read(const Bytes &reply, uint32_t thread = 1) {
        Entry entry = Transfer(true, thread);
        entry.transferred = static_cast<uint32_t>(reply.size());
        Add(entry, reply);
    }
};

/// A status reply.
inline Bytes Status(uint16_t word, uint8_t kind = 0) {
    Bytes reply(80);
    reply[4] = kind;
    wire::Store16(&reply[6], word);
    return reply;
}

/// A place for recordings, and the driver in front of a scanner without a past.
struct RecordingTest : wire::ScannerTest {
    void TearDown() override {
        Use("virtual");
        ScannerTest::TearDown();
    }
    static void Use(const std::string &device, const std::string &record = "") {
        wire::SetVariable("K274_DEVICE", device);
        wire::SetVariable("K274_RECORD", record);
    }

    const TempFolder folder;
    const std::string file = folder.File("a.rec");
};

} // namespace recorded
