// The file of a recording: what is written is read, and of a file that is cut short or damaged what comes
// before.
#include "scanner/firmware/faults.h"
#include "tests/recording/recorded.h"
#include "wire/bytes.h"

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <thread>

namespace {

using namespace recorded;
using recording::Reader;
using testing::HasSubstr;
using testing::StartsWith;

struct FileTest : testing::Test {
    /// Three blocks: the entries of each are written before those of the next are added.
    Bytes SmallFile() const {
        for (uint16_t block = 0; block < 3; block++) {
            Author author(file);
            author.Begin();
            author.Exchange(wire::PollFields(), Status(block));
        }
        return ReadBytes(file);
    }
    static std::vector<size_t> BlockEnds(const Bytes &bytes) {
        std::vector<size_t> ends{16};
        while (ends.back() < bytes.size())
            ends.push_back(ends.back() + 16 + wire::Load32(&bytes[ends.back() + 4]));
        return ends;
    }
    /// Number of entries that can be read; none when it is no recording.
    size_t Count(const Bytes &bytes, Reader::End *end = nullptr) const {
        WriteText(other, {bytes.begin(), bytes.end()});
        try {
            Reader reader(other);
            const size_t count = Entries(reader).size();
            EXPECT_NE(reader.HowEnded(), Reader::End::NotYet);
            EXPECT_LE(reader.EndByte(), bytes.size());
            if (end != nullptr)
                *end = reader.HowEnded();
            return count;
        } catch (const std::runtime_error &) {
            return 0;
        }
    }

    const TempFolder folder;
    const std::string file = folder.File("a.rec"), other = folder.File("b.rec");
};

TEST_F(FileTest, KeepsEveryField) {
    const Entry entry{Kind::Transfer,
                      true,
                      false,
                      0xFEDC,
                      0x12345678,
                      0x9ABCDEF0,
                      0x0123456789ABCDEF,
                      0xFEDCBA9876543210,
                      0xC0007000,
                      0x81,
                      196608,
                      999,
                      0xFFFFFFFF,
                      nullptr,
                      0};
    {
        Author author(file);
        author.Add(entry, {1, 2, 3});
        author.Add(entry, Bytes(recording::kMaxData + 1, 7)); // more than is kept
    }
    Reader reader(file);
    const auto entries = Entries(reader);
    EXPECT_EQ(reader.HowEnded(), Reader::End::Whole);
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

TEST_F(FileTest, StandsAsDocumented) {
    {
        Author author(file);
        author.Begin();
    }
    const Bytes bytes = ReadBytes(file);
    EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 12), std::string("K274-REC\1\0\0\0", 12));
    EXPECT_EQ(std::string(bytes.begin() + 16, bytes.begin() + 20), "KBLK");
    EXPECT_EQ(wire::Load32(&bytes[20]), bytes.size() - 32);
    EXPECT_EQ(wire::Load32(&bytes[28]), 56u + 12 + 7 + 56 + 27);
}

TEST_F(FileTest, IsReadWhereverItIsCut) {
    const Bytes whole = SmallFile();
    const auto ends = BlockEnds(whole);
    ASSERT_EQ(ends.size(), 4u);
    for (size_t size = 0; size <= whole.size(); size++) {
        const auto next = std::upper_bound(ends.begin() + 1, ends.end(), size);
        Reader::End end{};
        ASSERT_EQ(Count(Bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size)), &end),
                  static_cast<size_t>(next - ends.begin() - 1) * 4)
            << size;
        const bool atEnd = std::count(ends.begin(), ends.end(), size) != 0;
        EXPECT_TRUE(size == 0 || end == (atEnd ? Reader::End::Whole : Reader::End::CutShort)) << size;
    }
}

TEST_F(FileTest, SurvivesEveryDamage) {
    const Bytes whole = SmallFile();
    const auto ends = BlockEnds(whole);
    for (size_t at = 0; at < whole.size(); at++) {
        Bytes damaged = whole;
        damaged[at] ^= static_cast<uint8_t>(1 << at % 8);
        size_t before = 0; // blocks before the damage
        while (ends[before + 1] <= at)
            before++;
        const size_t count = Count(damaged);
        if (at >= 16)
            ASSERT_EQ(count, before * 4) << at;
        else if (at < 12)
            ASSERT_EQ(count, 0u) << at;
    }
}

TEST_F(FileTest, BelievesNoLength) {
    const Bytes whole = SmallFile();
    for (const size_t at : {size_t{20}, size_t{28}}) { // stored, expanded
        for (const uint32_t value : {0u, 1u, 1u << 21, (1u << 21) + 1, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
            Bytes damaged = whole;
            wire::Store32(&damaged[at], value);
            Reader::End end{};
            EXPECT_EQ(Count(damaged, &end), 0u) << at << ' ' << value;
            EXPECT_NE(end, Reader::End::Whole);
        }
    }
}

TEST_F(FileTest, GoesOnWithAFileThatWasCut) {
    const Bytes whole = SmallFile();
    const auto ends = BlockEnds(whole);
    for (const size_t size : {size_t{0}, size_t{5}, ends[1] + 7, whole.size() - 1, whole.size()}) {
        WriteText(file, {whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size)});
        Author(file).Begin();
        Reader reader(file);
        const size_t kept = size == whole.size() ? 3 : size < ends[1] ? 0 : size < ends[2] ? 1 : 2;
        EXPECT_EQ(Entries(reader).size(), kept * 4 + 2);
        EXPECT_EQ(reader.HowEnded(), Reader::End::Whole);
    }
}

TEST_F(FileTest, IsRefusedWhereItCannotBe) {
    Bytes newer = SmallFile(), damaged = newer;
    newer[8] = 2;
    damaged[16] ^= 1;
    const struct {
        const char *name;
        Bytes content;
        const char *why;
    } cases[] = {{"text", {'h', 'e', 'l', 'l', 'o'}, "not a recording"},
                 {"newer", newer, "another version"},
                 {"damaged", damaged, "damaged"}};
    for (const auto &c : cases) {
        const std::string name = folder.File(c.name);
        WriteText(name, {c.content.begin(), c.content.end()});
        try {
            Author author(name);
            ADD_FAILURE() << c.name;
        } catch (const std::runtime_error &error) {
            EXPECT_THAT(error.what(), HasSubstr(c.why));
        }
        EXPECT_EQ(ReadBytes(name), c.content);
    }
    EXPECT_THROW(Author(folder.File("none/a.rec")), std::runtime_error);
    EXPECT_THROW(Author(folder.File("")), std::runtime_error);
    EXPECT_THROW(Reader(folder.File("none")), std::runtime_error);
    EXPECT_THROW(Reader(folder.File("")), std::runtime_error);
}

TEST_F(FileTest, IsWrittenSoon) {
    Author author(file);
    author.Begin();
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    size_t count = 0;
    while (count == 0 && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        Reader reader(file);
        count = Entries(reader).size();
    }
    EXPECT_EQ(count, 2u);
}

TEST_F(FileTest, HoldsMoreThanOneBlockTakes) {
    const auto noise = [](uint32_t seed) {
        Bytes data(40000);
        scanner::FillWithNoise(seed, data.data(), data.size());
        return data;
    };
    {
        Author author(file);
        for (uint32_t k = 0; k < 100; k++)
            author.Read(noise(k), k);
    }
    Reader reader(file);
    const auto entries = Entries(reader);
    ASSERT_EQ(entries.size(), 100u);
    for (uint32_t k = 0; k < 100; k++) {
        EXPECT_EQ(entries[k].entry.thread, k);
        EXPECT_EQ(entries[k].data, noise(k));
    }
}

} // namespace
