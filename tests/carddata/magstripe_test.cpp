// Tracks as recorded on cards (magstripe.txt), swiped either way, damaged and made up.
#include "src/carddata/magstripe.h"
#include "tests/support/data.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bitset>
#include <climits>
#include <cstring>
#include <random>

namespace k274::test {
namespace {

using Bits = std::vector<uint8_t>;

/// A track's bits in the order in which the start sentinel comes first; the row as in the table.
Bits RecordedBits(const std::vector<std::string> &row) {
    const std::string &characters = row[1], &behind = row[2];
    Bits bits(std::stoul(row[0]), 0);
    const bool fiveBit = characters[0] == ';';
    int lrc = 0;
    bool odd = true;
    const auto append = [&](int value) {
        for (int i = 0; i < (fiveBit ? 4 : 6); ++i)
            bits.push_back(value >> i & 1);
        bits.push_back(odd == (std::bitset<6>(static_cast<unsigned>(value)).count() % 2 == 0));
        lrc ^= value;
        odd = true;
    };
    for (const char character : characters)
        if (character == 'p')
            odd = false;
        else if (character == 'w')
            lrc ^= 1;
        else
            append(character - (fiveBit ? '0' : ' '));
    if (!characters.empty())
        append(lrc);
    const bool total = behind[0] == '=';
    bits.resize(total ? std::stoul(behind.substr(1)) : bits.size() + std::stoul(behind), 0);
    return bits;
}

/// The scanner's block for one track: bits last first, inverted, and their count. A card swiped backward
/// passes the head with its last bit first. `spare` is what lies behind the bits.
Bits TrackBlock(Bits bits, bool backward, uint8_t spare) {
    const size_t count = bits.size();
    if (!backward)
        std::reverse(bits.begin(), bits.end());
    for (uint8_t &bit : bits)
        bit = bit == 0;
    bits.resize(wire::kTrackBlockBytes, spare);
    for (size_t i = 0; i < 4; ++i)
        bits[wire::kTrackBits + i] = static_cast<uint8_t>(count >> 8 * i);
    return bits;
}

MagneticRecord Decode(const std::vector<Bits> &blocks) {
    Bits reply; // exactly as long as it must be
    for (const Bits &block : blocks)
        reply.insert(reply.end(), block.begin(), block.end());
    MagneticRecord record;
    std::memset(&record, 0xEE, sizeof record);
    DecodeTracks(*reinterpret_cast<uint8_t(*)[kTracksBytes]>(reply.data()), &record);
    return record;
}

TEST(Magstripe, CardsOfTheTable) {
    const auto rows = Table("carddata/magstripe.txt");
    for (size_t at = 0; at < rows.size(); at += 1 + kTracks) {
        const std::string &way = rows[at][1];
        for (const bool backward : {false, true})
            for (const uint8_t spare : Bits{0, 255}) {
                // Of what lies behind the bits zeros may complete a sentinel.
                if (way == (backward ? "forward" : "backward") || (way == "backward" && spare != 0))
                    continue;
                SCOPED_TRACE(rows[at][0] + (backward ? ", backward" : ""));
                std::vector<Bits> blocks;
                for (size_t i = at + 1; i <= at + kTracks; ++i)
                    blocks.push_back(TrackBlock(RecordedBits(rows[i]), backward, spare));
                const MagneticRecord record = Decode(blocks);
                for (size_t i = 0; i < kTracks; ++i) {
                    const MagneticTrack &track = record.tracks[i];
                    const auto &row = rows[at + 1 + i];
                    EXPECT_EQ(std::string(track.text, track.text + std::min<size_t>(track.count, 107)),
                              row[3]);
                    EXPECT_EQ(std::to_string(track.error), row[4]);
                    EXPECT_TRUE(std::equal(track.bits, track.bits + 2, &blocks[i][wire::kTrackBits]));
                }
                EXPECT_EQ(StripeMark(record), rows[at][2] == "-" ? "  " : rows[at][2]);
            }
    }
}

TEST(Magstripe, BlocksThatAScannerShouldNotSend) {
    std::mt19937 random(6);
    const int32_t counts[] = {INT_MIN, -1, 0, 1, 100, 101, 200, 1018, 1019, 1020, 1021, 1100, 65536, INT_MAX};
    const std::string name = "%B6391234567890^DOE/JANE^10102010?", number = ";639123456789=20101010?";
    for (int round = 0; round < 4000; ++round) {
        std::vector<Bits> blocks;
        for (const std::string &text : {name, number, name}) {
            Bits block = TrackBlock(RecordedBits({"24", text, "24"}), random() % 2 != 0, 1);
            const auto changes = random() % 4 == 0 ? random() % 1000 : random() % 3;
            for (size_t i = 0; i < changes; ++i)
                block[random() % wire::kTrackBits] = static_cast<uint8_t>(random());
            const auto count = static_cast<uint32_t>(counts[random() % std::size(counts)]);
            for (size_t i = 0; i < 4 && round % 2; ++i)
                block[wire::kTrackBits + i] = static_cast<uint8_t>(count >> 8 * i);
            blocks.push_back(block);
        }
        const MagneticRecord record = Decode(blocks);
        for (const MagneticTrack &track : record.tracks) {
            ASSERT_LE(track.count, 107);
            ASSERT_LE(track.error, 1);
            ASSERT_EQ(std::count(track.text + track.count, std::end(track.text), 0),
                      std::end(track.text) - (track.text + track.count));
        }
    }
}

} // namespace
} // namespace k274::test
