// What the driver library notes of a session, and files whose lies lie deeper than their sums.
#include "platform/recording/format.h"
#include "tests/recording/recorded.h"
#include "tests/scanner/firmware/host.h"
#include "wire/bytes.h"

#include <gmock/gmock.h>
#include <zlib.h>

#include <functional>
#include <future>

namespace {

using namespace recorded;
using testing::ElementsAre;
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
    std::vector<Kept> Record(const std::function<void(Host &)> &session) const {
        Use("virtual", file);
        session(*std::make_unique<Host>());
        recording::Reader reader(file);
        return Entries(reader);
    }

    const TempFolder folder;
    const std::string file = folder.File("a.rec");
};

TEST_F(Recorder, NotesWhatWasAskedForAndWhatCame) {
    const auto entries = Record([](Host &host) {
        const VS_Fault lies{0x7F, VS_IN, 1, 1, VS_FAULT_LENGTH, 300000};
        EXPECT_EQ(VS_ArmFault(&lies), VS_OK);
        Bytes reply;
        EXPECT_EQ(host.Send({0x7F}), 0u);
        EXPECT_EQ(host.Read(&reply), 0u);
        EXPECT_EQ(host.Send({0xE7}), wire::kStalled);
        EXPECT_EQ(WDU_ResetPipe(host.device, wire::kIn), 0u);
        EXPECT_EQ(host.Read(&reply, 2), wire::kTimeout);
        EXPECT_EQ(WDU_ResetDevice(host.device, 1), 0u);
        VS_Unplug();
        EXPECT_TRUE(host.WaitForNews(1, 1));
        EXPECT_EQ(host.Send({0x14}), wire::kGone);
        VS_PlugIn();
        EXPECT_TRUE(host.WaitForNews(2, 1));
        host.Poll();
    });
    std::vector<Kind> kinds;
    for (const Kept &kept : entries) {
        EXPECT_LE(kept.entry.startUs, kept.entry.endUs);
        kinds.push_back(kept.entry.kind);
    }
    ASSERT_THAT(kinds, ElementsAre(Kind::Init, Kind::Attach, Kind::AttachAnswer, Kind::Transfer,
                                   Kind::Transfer, Kind::Transfer, Kind::PipeReset, Kind::Transfer,
                                   Kind::DeviceReset, Kind::Detach, Kind::Transfer, Kind::Attach,
                                   Kind::AttachAnswer, Kind::Transfer, Kind::Transfer, Kind::Uninit));
    ASSERT_EQ(entries[1].data.size(), 27u);
    EXPECT_EQ(wire::Load32(&entries[1].data[8]), 0x0274F274u);
    EXPECT_EQ(entries[4].entry.transferred, 300000u);
    EXPECT_EQ(entries[4].data.size(), entries[4].entry.size) << "no byte outside the host's buffer";
    EXPECT_EQ(entries[5].entry.status, wire::kStalled);
    EXPECT_EQ(entries[5].data.size(), 256u) << "what the scanner refused, too";
    const Entry &timeout = entries[7].entry;
    EXPECT_EQ(timeout.status, wire::kTimeout);
    EXPECT_GE(timeout.endUs - timeout.startUs, 2000u);
    EXPECT_EQ(timeout.timeoutMs, 2u);
    EXPECT_EQ(timeout.transferred, 0u);
    EXPECT_EQ(entries[10].entry.status, wire::kGone);
    EXPECT_EQ(entries[10].entry.device, 1u) << "its old handle";
    EXPECT_EQ(entries[13].entry.device, 2u);
}

TEST_F(Recorder, NotesCallsAsTheyEndAndWhenTheyBegan) {
    const auto entries = Record([](Host &host) {
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
std::string FileOf(const Bytes &block) {
    uLongf size = compressBound(static_cast<uLong>(block.size()));
    Bytes stored(size);
    EXPECT_EQ(compress(stored.data(), &size, block.data(), static_cast<uLong>(block.size())), Z_OK);
    const auto count = static_cast<uint32_t>(size);
    Bytes head(recording::kFileHeaderBytes + recording::kBlockHeaderBytes);
    std::copy_n(recording::kMagic, recording::kMagicBytes, head.begin());
    size_t at = recording::kMagicBytes;
    for (const uint32_t value :
         {recording::kVersion, 0u, recording::kBlockMagic, count,
          static_cast<uint32_t>(crc32(0, stored.data(), count)), static_cast<uint32_t>(block.size())}) {
        wire::Store32(&head[at], value);
        at += 4;
    }
    head.insert(head.end(), stored.begin(), stored.begin() + static_cast<ptrdiff_t>(size));
    return {head.begin(), head.end()};
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
        // The one block as it was before compression.
        const Bytes bytes = ReadBytes(file);
        const uint8_t *header = &bytes[recording::kFileHeaderBytes];
        uLongf size = wire::Load32(header + 12);
        block.resize(size);
        ASSERT_EQ(
            uncompress(block.data(), &size, header + recording::kBlockHeaderBytes, wire::Load32(header + 4)),
            Z_OK);
        for (size_t at = 0; at < block.size(); at += wire::Load32(&block[at]))
            entryAt.push_back(at);
        ASSERT_EQ(entryAt.size(), 9u);
    }

    Bytes block;
    std::vector<size_t> entryAt;
};

TEST_F(DeepLies, EndTheReading) {
    const auto readable = [this](const Bytes &bytes) {
        WriteText(file, FileOf(bytes));
        recording::Reader reader(file);
        const size_t count = Entries(reader).size();
        EXPECT_EQ(reader.HowEnded(), recording::Reader::End::Damaged);
        return count;
    };
    for (const auto &[place, value] : {std::pair{0, 0u},
                                       {0, 57u},
                                       {0, 0xFFFFFFFFu},
                                       {4, 0u},
                                       {4, 9u},
                                       {52, 0u},
                                       {52, 17u},
                                       {52, 0x7FFFFFFu},
                                       {52, 0xFFFFFFFFu}}) {
        Bytes bad = block;
        wire::Store32(&bad[entryAt[3] + static_cast<size_t>(place)], value);
        EXPECT_EQ(readable(bad), 3u) << place << ' ' << value;
    }
    EXPECT_EQ(readable(Bytes(block.begin(), block.end() - 1)), 8u) << "a piece of an entry";
}

TEST_F(DeepLies, DoTheHostNoHarm) {
    const auto visit = [this](const Bytes &bytes) {
        WriteText(file, FileOf(bytes));
        Use("replay:" + file);
        Host host;
        std::vector<size_t> replies;
        for (int k = 0; k < 3; k++)
            replies.push_back(host.Exchange(k == 0 ? wire::Fields{0x14} : wire::PollFields()).size());
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
