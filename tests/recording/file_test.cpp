// The file of a recording: what is written is read, and of a file that is cut short or damaged, or whose lies
// lie deeper than its sums, what comes before.
#include "platform/recording/format.h"
#include "scanner/firmware/faults.h"
#include "tests/recording/recorded.h"

#include <zlib.h>

#include <chrono>
#include <map>
#include <thread>

namespace {

using namespace recorded;
using recording::Reader;
using End = recording::Reader::End;

struct RecordingFile : RecordingTest {
    /// Three blocks: the entries of each are written before those of the next are added.
    void SetUp() override {
        RecordingTest::SetUp();
        for (uint16_t block = 0; block < 3; block++) {
            Author author(file);
            author.Begin();
            author.Exchange(wire::PollFields(), Status(block));
        }
        whole = ReadBytes(file);
        while (ends.back() < whole.size())
            ends.push_back(ends.back() + 16 + wire::Load32(&whole[ends.back() + 4]));
        ASSERT_TRUE(ends.size() == 4 && ends.back() == whole.size());
    }
    /// Number of blocks that end before this place.
    size_t Blocks(size_t at) const {
        return static_cast<size_t>(std::upper_bound(ends.begin() + 1, ends.end(), at) - ends.begin()) - 1;
    }
    Bytes Front(size_t size) const { return {whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size)}; }
    /// Number of entries that can be read and how it ended; not yet when it is no recording.
    std::pair<size_t, End> Read(const Bytes &bytes) const {
        WriteText(file, {bytes.begin(), bytes.end()});
        try {
            Reader reader(file);
            const size_t count = Entries(reader).size();
            EXPECT_NE(reader.HowEnded(), End::NotYet);
            EXPECT_LE(reader.EndByte(), bytes.size());
            return {count, reader.HowEnded()};
        } catch (const std::runtime_error &) {
            return {0, End::NotYet};
        }
    }

    Bytes whole;
    std::vector<size_t> ends{16}; // of the header and the blocks
    const std::string other = folder.File("b.rec");
};

TEST_F(RecordingFile, KeepsEveryField) {
    Entry entry = Transfer(true, 0x9ABCDEF0, 0xC0007000);
    entry.device = 0xFEDC;
    entry.order = 0x12345678;
    entry.startUs = 0x0123456789ABCDEF;
    entry.endUs = 0xFEDCBA9876543210;
    entry.timeoutMs = 999;
    entry.transferred = 0xFFFFFFFF;
    {
        Author author(other);
        author.Add(entry, {1, 2, 3});
        author.Add(entry, Bytes(recording::kMaxData + 1, 7)); // more than is kept
    }
    const auto entries = Entries(other);
    ASSERT_EQ(entries.size(), 2u);
    const auto fields = [](const Entry &e) {
        return std::tie(e.kind, e.read, e.cut, e.device, e.order, e.thread, e.startUs, e.endUs, e.status,
                        e.pipe, e.size, e.timeoutMs, e.transferred);
    };
    EXPECT_EQ(fields(entries[0].entry), fields(entry));
    EXPECT_EQ(entries[0].data, Bytes({1, 2, 3}));
    EXPECT_TRUE(entries[1].entry.cut);
    EXPECT_EQ(entries[1].data, Bytes(recording::kMaxData, 7));
}

TEST_F(RecordingFile, StandsAsDocumented) {
    EXPECT_EQ(std::string(whole.begin(), whole.begin() + 12), std::string("K274-REC\1\0\0\0", 12));
    EXPECT_EQ(std::string(whole.begin() + 16, whole.begin() + 20), "KBLK");
    EXPECT_EQ(wire::Load32(&whole[28]), 4u * 56 + 12 + 7 + 27 + 80 + 80);
}

TEST_F(RecordingFile, IsReadWhereverItIsCut) {
    for (size_t size = 0; size <= whole.size(); size++) {
        const size_t blocks = Blocks(size);
        const End end = size == 0 ? End::NotYet : size == ends[blocks] ? End::Whole : End::CutShort;
        ASSERT_EQ(Read(Front(size)), std::pair(blocks * 4, end)) << size;
    }
}

TEST_F(RecordingFile, SurvivesEveryDamage) {
    for (size_t at = 0; at < whole.size(); at++) {
        Bytes damaged = whole;
        damaged[at] ^= static_cast<uint8_t>(1 << at % 8);
        const size_t count = Read(damaged).first;
        if (at / 4 != 3) // that part of the header means nothing yet
            ASSERT_EQ(count, Blocks(at) * 4) << at;
    }
}

TEST_F(RecordingFile, BelievesNoLength) {
    for (const size_t at : {size_t{20}, size_t{28}}) { // stored, expanded
        for (const uint32_t value : {0u, 1u, 1u << 21, (1u << 21) + 1, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
            Bytes damaged = whole;
            wire::Store32(&damaged[at], value);
            const auto [count, end] = Read(damaged);
            EXPECT_EQ(count, 0u) << at << ' ' << value;
            EXPECT_NE(end, End::Whole);
        }
    }
}

TEST_F(RecordingFile, IsGoneOnWithWhereItWasCut) {
    for (const size_t size : {size_t{0}, size_t{5}, ends[1] + 7, whole.size() - 1, whole.size()}) {
        Read(Front(size));
        Author(file).Begin();
        EXPECT_EQ(Entries(file).size(), Blocks(size) * 4 + 2);
    }
}

TEST_F(RecordingFile, IsWrittenSoon) {
    Author author(other);
    author.Begin();
    size_t count = 0;
    for (int k = 0; k < 2000 && count == 0; k++) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        count = Entries(other).size();
    }
    EXPECT_EQ(count, 2u);
}

TEST_F(RecordingFile, HoldsMoreThanOneBlockTakes) {
    std::vector<Bytes> replies(100, Bytes(40000));
    {
        Author author(other);
        for (uint32_t k = 0; k < 100; k++) {
            scanner::FillWithNoise(k, replies[k].data(), replies[k].size());
            author.Read(replies[k], k);
        }
    }
    const auto entries = Entries(other);
    ASSERT_EQ(entries.size(), 100u);
    for (uint32_t k = 0; k < 100; k++) {
        EXPECT_EQ(entries[k].entry.thread, k);
        EXPECT_EQ(entries[k].data, replies[k]);
    }
}

// ---- lies that the sums cover ----

struct DeepLies : RecordingTest {
    void SetUp() override {
        RecordingTest::SetUp();
        Author author(file);
        author.Begin();
        author.Exchange({0x14}, Bytes(16, 0));
        for (int k = 0; k < 2; k++)
            author.Exchange(wire::PollFields(), Status(0));
        author.Add(Kind::Detach);
        author.Close();
        // The one block as it was before compression.
        const Bytes bytes = ReadBytes(file);
        head.assign(bytes.begin(), bytes.begin() + 32);
        uLongf size = wire::Load32(&head[28]);
        block.resize(size);
        ASSERT_EQ(uncompress(block.data(), &size, &bytes[32], wire::Load32(&head[20])), Z_OK);
        for (size_t at = 0; at < block.size(); at += wire::Load32(&block[at]))
            entryAt.push_back(at);
        ASSERT_EQ(entryAt.size(), 9u);
    }
    /// Makes a recording of one block, whatever it says.
    void Write(const Bytes &content) const {
        uLongf size = compressBound(static_cast<uLong>(content.size()));
        Bytes stored(size), bytes = head;
        EXPECT_EQ(compress(stored.data(), &size, content.data(), static_cast<uLong>(content.size())), Z_OK);
        wire::Store32(&bytes[20], static_cast<uint32_t>(size));
        wire::Store32(&bytes[24], static_cast<uint32_t>(crc32(0, stored.data(), static_cast<uInt>(size))));
        wire::Store32(&bytes[28], static_cast<uint32_t>(content.size()));
        bytes.insert(bytes.end(), stored.begin(), stored.begin() + static_cast<ptrdiff_t>(size));
        WriteText(file, {bytes.begin(), bytes.end()});
    }
    size_t Readable(const Bytes &content) const {
        Write(content);
        Reader reader(file);
        const size_t count = Entries(reader).size();
        EXPECT_EQ(reader.HowEnded(), End::Damaged);
        return count;
    }

    Bytes head, block;
    std::vector<size_t> entryAt;
};

TEST_F(DeepLies, EndTheReading) {
    const std::map<size_t, std::vector<uint32_t>> lies = {
        {0, {0, 57, 0xFFFFFFFF}}, {4, {0, 9}}, {52, {0, 17, 0x7FFFFFF, 0xFFFFFFFF}}};
    for (const auto &[place, values] : lies) {
        for (const uint32_t value : values) {
            Bytes bad = block;
            wire::Store32(&bad[entryAt[3] + place], value);
            EXPECT_EQ(Readable(bad), 3u) << place << ' ' << value;
        }
    }
    Bytes agreeing = block; // on a length beyond the end
    wire::Store32(&agreeing[entryAt[3]], 500056);
    wire::Store32(&agreeing[entryAt[3] + 52], 500000);
    EXPECT_EQ(Readable(agreeing), 3u);
    EXPECT_EQ(Readable(Bytes(block.begin(), block.end() - 1)), 8u) << "a piece of an entry";
}

TEST_F(DeepLies, DoTheHostNoHarm) {
    const auto visit = [this](const Bytes &content) {
        Write(content);
        Use("replay:" + file);
        wire::Host host;
        std::vector<size_t> replies;
        for (const wire::Fields &fields : {wire::Fields{0x14}, wire::PollFields(), wire::PollFields()})
            replies.push_back(host.Exchange(fields).size());
        WDU_ResetPipe(host.device, wire::kIn);
        return replies;
    };
    testing::internal::CaptureStderr();
    EXPECT_THAT(visit(block), testing::ElementsAre(16, 80, 80)) << "as it is";
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
