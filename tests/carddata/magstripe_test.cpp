// Tracks as recorded on cards, swiped either way, damaged and made up.
#include "src/carddata/magstripe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <random>
#include <tuple>
#include <vector>

namespace k274::test {
namespace {

enum class LrcFault { None, WrongValue, EvenParity };

struct Recording {
    std::string text; // with both sentinels; empty for a blank track
    bool fiveBit = false;
    int zerosBefore = 24, zerosBehind = 24;
    int evenParityAt = -1; // character recorded with the wrong parity
    LrcFault lrc = LrcFault::None;
};

/// The track's bits in the order in which the start sentinel comes first, clocking zeros included.
std::vector<uint8_t> RecordedBits(const Recording &recording) {
    std::vector<uint8_t> bits(static_cast<size_t>(recording.zerosBefore), 0);
    const auto append = [&](int value, bool evenParity) {
        bool parity = !evenParity;
        for (int i = 0; i < (recording.fiveBit ? 4 : 6); ++i) {
            bits.push_back(value >> i & 1);
            parity ^= (value >> i & 1) != 0;
        }
        bits.push_back(parity);
    };
    int lrc = 0;
    for (size_t i = 0; i < recording.text.size(); ++i) {
        const int value = recording.text[i] - (recording.fiveBit ? '0' : ' ');
        lrc ^= value;
        append(value, recording.evenParityAt == static_cast<int>(i));
    }
    if (!recording.text.empty())
        append(recording.lrc == LrcFault::WrongValue ? lrc ^ 1 : lrc, recording.lrc == LrcFault::EvenParity);
    bits.insert(bits.end(), static_cast<size_t>(recording.zerosBehind), 0);
    return bits;
}

/// The scanner's block for one track: bits last first, inverted, and their count. A card swiped backward
/// passes the head with its last bit first. `spare` is what lies behind the bits.
std::vector<uint8_t> TrackBlock(std::vector<uint8_t> bits, bool backward, uint8_t spare = 1) {
    const size_t count = bits.size();
    if (!backward)
        std::reverse(bits.begin(), bits.end());
    for (uint8_t &bit : bits)
        bit = bit == 0;
    bits.resize(kTrackBlockBytes, spare);
    for (size_t i = 0; i < 4; ++i)
        bits[kTrackBits + i] = static_cast<uint8_t>(count >> 8 * i);
    return bits;
}

MagneticRecord Decode(const std::vector<std::vector<uint8_t>> &blocks) {
    std::vector<uint8_t> reply; // exactly as long as it must be
    for (const auto &block : blocks)
        reply.insert(reply.end(), block.begin(), block.end());
    MagneticRecord record;
    std::memset(&record, 0xEE, sizeof record);
    DecodeTracks(*reinterpret_cast<uint8_t(*)[kTrackReplyBytes]>(reply.data()), &record);
    return record;
}

const std::string kName = "%B6391234567890^DOE/JANE^10102010?"; // with the bits of a start sentinel, backward
const std::string kPlain = "%ABCDEFGHIJKLMNOPQRSTUVWXYZ^ABCDEF?"; // without
const std::string kNumber = ";639123456789=20101010?";
const std::string kThird = "%#C94105   12345 1234567890 ABC?";
const std::string kThirdDigits = ";01639123456789=9780=0000000?";

struct Expected {
    std::string text;
    int error = 0;
};

void ExpectTrack(const MagneticTrack &track, const Expected &expected) {
    const auto *text = reinterpret_cast<const char *>(track.text);
    EXPECT_EQ(std::string(text, std::min<size_t>(track.count, sizeof track.text)), expected.text);
    EXPECT_EQ(track.error, expected.error);
}

TEST(Magstripe, CardsInEitherDirection) {
    const struct {
        const char *name;
        Recording tracks[kTracks];
        Expected expected[kTracks];
        const char *mark;
    } cases[] = {
        {"all three", {{kName}, {kNumber, true}, {kThird}}, {{kName}, {kNumber}, {kThird}}, "  "},
        {"nothing like a sentinel backward, third track of digits",
         {{kPlain}, {kNumber, true}, {kThirdDigits, true}},
         {{kPlain}, {kNumber}, {kThirdDigits}},
         "  "},
        {"no third track", {{kName}, {kNumber, true}, {"", false, 100, 200}}, {{kName}, {kNumber}, {}}, "  "},
        {"parity fault in track 1",
         {{kPlain, false, 24, 24, 20}, {kNumber, true}, {kThird}},
         {{kPlain.substr(0, 20), 1}, {kNumber}, {kThird}},
         "E1"},
        {"parity faults in 2 and 3",
         {{kName}, {kNumber, true, 24, 24, 1}, {kThird, false, 24, 24, 30}},
         {{kName}, {kNumber.substr(0, 1), 1}, {kThird.substr(0, 30), 1}},
         "E3"},
        {"wrong LRC of track 2, even parity of another LRC counts all the same",
         {{kName, false, 24, 24, -1, LrcFault::EvenParity},
          {kNumber, true, 24, 24, -1, LrcFault::WrongValue},
          {kThird}},
         {{kName}, {kNumber, 1}, {kThird}},
         "E2"},
        // The LRC characters of tracks up to 20 characters, of track 2 up to 10, stay.
        {"short tracks",
         {{"%ABCDEFGHIJKLMNOPQ?", false, 60, 60}, {";1234567?", true, 60, 60}, {"%AA?", false, 98, 98}},
         {{"%ABCDEFGHIJKLMNOPQ?["}, {";1234567?4"}, {"%AA?:"}},
         "  "},
        {"one character longer",
         {{"%ABCDEFGHIJKLMNOPQR?", false, 60, 60}, {";12345678?", true, 60, 60}, {"%AA?", false, 98, 98}},
         {{"%ABCDEFGHIJKLMNOPQR?"}, {";12345678?"}, {"%AA?:"}},
         "  "},
    };
    for (const auto &c : cases)
        for (const int way : {0, 1, 2, 3}) {
            SCOPED_TRACE(std::string(c.name) + (way & 1 ? ", backward" : ""));
            std::vector<std::vector<uint8_t>> blocks; // zeros or ones behind the bits make no difference
            for (const Recording &track : c.tracks)
                blocks.push_back(TrackBlock(RecordedBits(track), way & 1, way & 2 ? 255 : 0));
            const MagneticRecord record = Decode(blocks);
            for (size_t i = 0; i < kTracks; ++i) {
                ExpectTrack(record.tracks[i], c.expected[i]);
                EXPECT_EQ(record.tracks[i].bits[0] + 256u * record.tracks[i].bits[1],
                          RecordedBits(c.tracks[i]).size());
            }
            EXPECT_STREQ(StripeMark(record), c.mark);
        }
}

TEST(Magstripe, BackwardNeedsTheSentinelsOfTracks1And2AtTheirEnds) {
    const std::tuple<const char *, Recording, Recording, bool> cases[] = {
        {"just zeros enough", {kPlain, false, 4}, {kNumber, true, 2}, true},
        {"a zero too few before track 1", {kPlain, false, 3}, {kNumber, true, 24}, false},
        {"a zero too few before track 2", {kPlain, false, 24}, {kNumber, true, 1}, false},
        {"within the last 99 bits", {kPlain, false, 98}, {kNumber, true, 24}, true},
        {"before the last 99 bits", {kPlain, false, 99}, {kNumber, true, 24}, false},
        {"no track 2", {kPlain}, {""}, false},
        {"track 1 damaged in the middle", {kPlain, false, 24, 24, 20}, {kNumber, true}, true},
    };
    for (const auto &[name, first, second, read] : cases) {
        const MagneticRecord record =
            Decode({TrackBlock(RecordedBits(first), true, 0), TrackBlock(RecordedBits(second), true, 0),
                    TrackBlock({}, true, 0)});
        EXPECT_EQ(record.tracks[0].count > 0, read) << name;
        EXPECT_EQ(record.tracks[1].count > 0, read) << name;
    }
}

TEST(Magstripe, WhereATrackBeginsAndHowLongItIs) {
    const std::string longText = "%" + std::string(119, 'A') + "?",
                      lastText = "%" + std::string(105, 'A') + "?";
    // A recording, as track 1 or, of five bits, as track 2; its bits in all, which the zeros behind make up.
    const std::tuple<const char *, Recording, size_t, Expected> cases[] = {
        {"200 bits", {"%AB?", false, 90}, 200, {"%AB?9"}},
        {"199 bits", {"%AB?", false, 90}, 199, {}},
        {"earliest place", {"%AB?", false, 4}, 300, {"%AB?9"}},
        {"a bit too early", {"%AB?", false, 3}, 300, {}},
        {"a bit too early for digits", {";12?", true, 1}, 300, {}},
        {"middle", {"%AB?", false, 150}, 301, {"%AB?9"}},
        {"behind the middle", {"%AB?", false, 151}, 301, {}},
        {"1019 bits", {kName, false, 20}, 1019, {kName}},
        {"1020 bits", {kName, false, 20}, 1020, {}},
        {"runs over", {longText, false, 20}, 1000, {longText.substr(0, 107), 1}},
        {"sentinel is the last that fits", {lastText, false, 20}, 1000, {lastText, 1}},
        // No character begins in the last 20 bits.
        {"ends early", {kName, false, 20}, 20 + 7 * 33 + 21, {kName}},
        {"ends too early", {kName, false, 20}, 20 + 7 * 33 + 20, {kName.substr(0, kName.size() - 1), 1}},
    };
    for (const auto &[name, recording, count, expected] : cases) {
        SCOPED_TRACE(name);
        auto bits = RecordedBits(recording);
        bits.resize(count, 0);
        std::vector<std::vector<uint8_t>> blocks(kTracks, TrackBlock({}, false));
        const size_t track = recording.fiveBit ? 1 : 0;
        blocks[track] = TrackBlock(bits, false);
        ExpectTrack(Decode(blocks).tracks[track], expected);
    }
}

TEST(Magstripe, BlocksThatAScannerShouldNotSend) {
    std::mt19937 random(6);
    const int32_t counts[] = {INT_MIN, -1, 0, 1, 100, 101, 200, 1018, 1019, 1020, 1021, 1100, 65536, INT_MAX};
    for (int round = 0; round < 4000; ++round) {
        std::vector<std::vector<uint8_t>> blocks;
        for (const Recording &recording : {Recording{kName}, {kNumber, true}, {kName}}) {
            auto block = TrackBlock(RecordedBits(recording), random() % 2 != 0);
            const auto changes = random() % 4 == 0 ? random() % 1000 : random() % 3;
            for (size_t i = 0; i < changes; ++i)
                block[random() % kTrackBits] = static_cast<uint8_t>(random());
            const auto count = static_cast<uint32_t>(counts[random() % std::size(counts)]);
            for (size_t i = 0; i < 4 && round % 2; ++i)
                block[kTrackBits + i] = static_cast<uint8_t>(count >> 8 * i);
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
