// What the driver library notes of a session, that a recording of all this serves the same host again, and
// files whose lies lie deeper than their sums.
#include "platform/recording/format.h"
#include "tests/recording/recorded.h"
#include "tests/scanner/firmware/host.h"
#include "wire/bytes.h"

#include <gmock/gmock.h>
#include <zlib.h>

#include <algorithm>
#include <functional>
#include <future>

namespace {

using namespace recorded;
using testing::ElementsAre;
using testing::IsEmpty;
using wire::Host;

struct Recorder : wire::ScannerTest {
    void TearDown() override {
        Use("virtual");
        ScannerTest::TearDown();
    }
    static void Use(const std::string &device, const std::string &record = "") {
        wire::SetVariable("K274_DEVICE", device);
        wire::SetVariable("K274_RECORD", record);
    }
    std::vector<Kept> Record(const std::function<void(Host &)> &session) {
        Use("virtual", file);
        {
            Host host;
            EXPECT_EQ(host.status, 0u);
            session(host);
        }
        return ReadBack(file);
    }
    static std::vector<Kept> ReadBack(const std::string &name) {
        recording::Reader reader(name);
        auto entries = Entries(reader);
        EXPECT_EQ(reader.HowEnded(), recording::Reader::End::Whole);
        return entries;
    }

    TempFolder folder;
    const std::string file = folder.File("a.rec");
};

/// Opens the scanner and polls until its restart was told.
void Greet(Host &host) {
    EXPECT_EQ(host.Exchange({0x14}).size(), 256u);
    host.Poll();
    for (int k = 0; host.Kind() != 0 && k < 9; k++)
        host.Poll();
}

/// Nearly all that can go well and wrong; returns what the host saw. With the scanner, its part is done, too.
std::vector<Bytes> Course(Host &host, bool withScanner) {
    std::vector<Bytes> seen;
    const auto note = [&](uint32_t status) {
        Bytes bytes(8);
        wire::Store32(&bytes[0], status);
        wire::Store32(&bytes[4], host.transferred);
        seen.push_back(bytes);
    };
    Greet(host);
    seen.push_back(host.kept);
    if (withScanner) {
        const VS_Fault fails{0x7F, VS_IN, 1, 1, VS_FAULT_STATUS, 0xC0000011};
        const VS_Fault lies{0x7F, VS_IN, 2, 1, VS_FAULT_LENGTH, 300000};
        EXPECT_EQ(VS_ArmFault(&fails), VS_OK);
        EXPECT_EQ(VS_ArmFault(&lies), VS_OK);
    }
    Bytes reply;
    for (int k = 0; k < 3; k++) {
        note(host.Send({0x7F}));
        note(host.Read(&reply));
        seen.push_back(reply);
    }
    note(host.Send({0xE7})); // no command
    note(WDU_ResetPipe(host.device, wire::kIn));
    note(host.Read(&reply, 2)); // nothing is to come
    note(WDU_ResetDevice(host.device, 1));
    note(WDU_ResetPipe(host.device, 5));
    if (withScanner)
        VS_Unplug();
    EXPECT_TRUE(host.WaitForNews(1, 1));
    note(host.Send({0x14}));
    if (withScanner)
        VS_PlugIn();
    EXPECT_TRUE(host.WaitForNews(2, 1));
    seen.push_back(host.Exchange({0x14}));
    return seen;
}

TEST_F(Recorder, NotesWhatWasAskedForAndWhatCame) {
    const auto entries = Record([](Host &host) { Course(host, true); });
    std::vector<Kind> kinds;
    for (const Kept &kept : entries) {
        EXPECT_LE(kept.entry.startUs, kept.entry.endUs);
        if (kinds.empty() || kinds.back() != kept.entry.kind)
            kinds.push_back(kept.entry.kind);
    }
    EXPECT_THAT(kinds,
                ElementsAre(Kind::Init, Kind::Attach, Kind::AttachAnswer, Kind::Transfer, Kind::PipeReset,
                            Kind::Transfer, Kind::DeviceReset, Kind::PipeReset, Kind::Detach, Kind::Transfer,
                            Kind::Attach, Kind::AttachAnswer, Kind::Transfer, Kind::Uninit));
    ASSERT_EQ(entries[1].data.size(), 27u);
    EXPECT_EQ(wire::Load32(&entries[1].data[8]), 0x0274F274u);

    const auto find = [&](const std::function<bool(const Entry &)> &wanted) {
        const auto found = std::find_if(entries.begin(), entries.end(),
                                        [&](const Kept &kept) { return wanted(kept.entry); });
        EXPECT_NE(found, entries.end());
        return found == entries.end() ? Kept{} : *found;
    };
    const auto status = [](uint32_t value) {
        return [value](const Entry &entry) { return entry.kind == Kind::Transfer && entry.status == value; };
    };
    const Kept timeout = find(status(wire::kTimeout));
    EXPECT_GE(timeout.entry.endUs - timeout.entry.startUs, 2000u);
    EXPECT_EQ(timeout.entry.timeoutMs, 2u);
    EXPECT_EQ(timeout.entry.transferred, 0u);
    EXPECT_EQ(find(status(wire::kGone)).entry.device, 1u) << "its old handle";
    EXPECT_EQ(find(status(wire::kStalled)).data.size(), 256u) << "what the scanner refused, too";
    const Kept lie = find([](const Entry &entry) { return entry.transferred == 300000; });
    EXPECT_EQ(lie.data.size(), lie.entry.size) << "no byte outside the host's buffer";
}

/// What the host did, and behind that what it was told: threads of their own, each in its order. Answers end
/// when the telling thread gets to it.
std::vector<Kept> Calls(std::vector<Kept> entries) {
    const auto other = [](const Kept &kept) {
        return kept.entry.kind == Kind::Init || kept.entry.kind == Kind::AttachAnswer;
    };
    entries.erase(std::remove_if(entries.begin(), entries.end(), other), entries.end());
    std::stable_partition(entries.begin(), entries.end(), [](const Kept &kept) {
        return kept.entry.kind != Kind::Attach && kept.entry.kind != Kind::Detach;
    });
    return entries;
}

TEST_F(Recorder, ItsRecordingServesTheSameHostAgainAndIsRecordedTheSame) {
    std::vector<Bytes> before, after;
    const auto entries = Record([&](Host &host) { before = Course(host, true); });
    const std::string copy = folder.File("copy.rec");
    Use("replay:" + file, copy);
    testing::internal::CaptureStderr();
    {
        Host host;
        after = Course(host, false);
    }
    EXPECT_THAT(testing::internal::GetCapturedStderr(), IsEmpty());
    EXPECT_EQ(after, before);
    const auto copied = ReadBack(copy);
    const auto calls = Calls(entries), copiedCalls = Calls(copied);
    ASSERT_EQ(copiedCalls.size(), calls.size());
    for (size_t k = 0; k < calls.size(); k++) {
        EXPECT_EQ(copiedCalls[k].data, calls[k].data) << k;
        EXPECT_EQ(copiedCalls[k].entry.status, calls[k].entry.status) << k;
    }
}

TEST_F(Recorder, NotesCallsAsTheyEndAndWhenTheyBegan) {
    const auto entries = Record([](Host &host) {
        Greet(host);
        Bytes reply;
        auto reading = std::async(std::launch::async, [&] { return host.Read(&reply, 60); });
        do
            EXPECT_EQ(WDU_ResetPipe(host.device, wire::kOut), 0u);
        while (reading.wait_for(std::chrono::milliseconds(5)) != std::future_status::ready);
        EXPECT_EQ(reading.get(), wire::kTimeout);
    });
    const auto slow = std::find_if(entries.begin(), entries.end(),
                                   [](const Kept &kept) { return kept.entry.status == wire::kTimeout; });
    ASSERT_NE(slow, entries.end());
    const Entry &before = (slow - 1)->entry;
    EXPECT_EQ(before.kind, Kind::PipeReset);
    EXPECT_GT(before.order, slow->entry.order);
    EXPECT_GT(before.startUs, slow->entry.startUs);
    EXPECT_NE(before.thread, slow->entry.thread);
}

/// A recording of one block, whatever it says.
Bytes FileOf(const Bytes &block) {
    Bytes file(recording::kFileHeaderBytes + recording::kBlockHeaderBytes);
    std::copy_n(recording::kMagic, recording::kMagicBytes, file.begin());
    wire::Store32(&file[recording::kMagicBytes], recording::kVersion);
    uLongf size = compressBound(static_cast<uLong>(block.size()));
    Bytes stored(size);
    EXPECT_EQ(compress(stored.data(), &size, block.data(), static_cast<uLong>(block.size())), Z_OK);
    uint8_t *header = &file[recording::kFileHeaderBytes];
    wire::Store32(header, recording::kBlockMagic);
    wire::Store32(header + 4, static_cast<uint32_t>(size));
    wire::Store32(header + 8, static_cast<uint32_t>(crc32(0, stored.data(), static_cast<uInt>(size))));
    wire::Store32(header + 12, static_cast<uint32_t>(block.size()));
    file.insert(file.end(), stored.begin(), stored.begin() + static_cast<ptrdiff_t>(size));
    return file;
}

/// The first block of a recording as it was before compression.
Bytes FirstBlock(const Bytes &file) {
    const uint8_t *header = &file[recording::kFileHeaderBytes];
    uLongf size = wire::Load32(header + 12);
    Bytes block(size);
    EXPECT_EQ(
        uncompress(block.data(), &size, header + recording::kBlockHeaderBytes, wire::Load32(header + 4)),
        Z_OK);
    return block;
}

struct DeepLies : Recorder {
    void SetUp() override {
        Recorder::SetUp();
        Author author(file);
        author.Begin();
        author.Exchange({0x14}, Bytes(16, 0));
        for (int k = 0; k < 2; k++)
            author.Exchange(wire::PollFields(), Status(0));
        author.Add(Kind::Detach);
        author.Close();
        block = FirstBlock(ReadFile(file));
        for (size_t at = 0; at < block.size(); at += wire::Load32(&block[at]))
            entryAt.push_back(at);
        ASSERT_EQ(entryAt.size(), 9u);
    }

    Bytes block;
    std::vector<size_t> entryAt;
};

TEST_F(DeepLies, EndTheReading) {
    constexpr struct {
        size_t place;
        uint32_t value;
    } kCases[] = {{0, 0},  {0, 57},  {0, 0xFFFFFFFF}, {4, 0},          {4, 9},
                  {52, 0}, {52, 17}, {52, 0x7FFFFFF}, {52, 0xFFFFFFFF}};
    for (const auto &lie : kCases) {
        Bytes bad = block;
        wire::Store32(&bad[entryAt[3] + lie.place], lie.value);
        WriteFile(file, FileOf(bad));
        recording::Reader reader(file);
        EXPECT_EQ(Entries(reader).size(), 3u) << lie.place << ' ' << lie.value;
        EXPECT_EQ(reader.HowEnded(), recording::Reader::End::Damaged);
    }
    WriteFile(file, FileOf(Bytes(block.begin(), block.end() - 1)));
    recording::Reader reader(file);
    EXPECT_EQ(Entries(reader).size(), 8u) << "a piece of an entry";
}

TEST_F(DeepLies, DoTheHostNoHarm) {
    const auto visit = [this](const Bytes &bytes) {
        WriteFile(file, FileOf(bytes));
        Use("replay:" + file);
        Host host;
        Bytes replies;
        for (int k = 0; k < 3; k++) {
            Bytes reply;
            if (host.Send(k == 0 ? wire::Fields{0x14} : wire::PollFields()) == 0 && host.Read(&reply) == 0)
                replies.push_back(static_cast<uint8_t>(reply.size()));
        }
        WDU_ResetPipe(host.device, wire::kIn);
        return replies;
    };
    testing::internal::CaptureStderr();
    EXPECT_THAT(visit(block), ElementsAre(16, 80, 80)) << "as it is";
    for (const size_t entry : entryAt) {
        for (size_t place = 0; place < recording::kEntryHeaderBytes + 16; place++) {
            const bool time = place >= 16 && place < 32; // late news are waited for
            if (time || entry + place >= block.size())
                continue;
            Bytes bad = block;
            bad[entry + place] ^= static_cast<uint8_t>(place % 2 == 0 ? 0xFF : 0x01);
            visit(bad);
        }
    }
    testing::internal::GetCapturedStderr();
}

} // namespace
