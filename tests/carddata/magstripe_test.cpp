// Tracks as recorded on cards, swiped either way, damaged and made up.
#include "src/carddata/magstripe.h"
#include "tests/support/track_encoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <random>

namespace k274::test {
namespace {

using Reply = uint8_t[kTrackReplyBytes];

const std::string kName = "%B6391234567890^DOE/JANE^10102010?"; // with the bits of a start sentinel, backward
const std::string kPlain = "%ABCDEFGHIJKLMNOPQRSTUVWXYZ^ABCDEF?"; // without
const std::string kNumber = ";639123456789=20101010?";
const std::string kThird = "%#C94105   12345 1234567890 ABC?";
const std::string kThirdDigits = ";01639123456789=9780=0000000?";

std::string Text(const MagneticTrack &track) {
    return {reinterpret_cast<const char *>(track.text), std::min<size_t>(track.count, sizeof track.text)};
}

MagneticRecord Decode(const Recording (&recordings)[kTracks], bool backward, uint8_t spare = 1) {
    Reply reply;
    for (size_t i = 0; i < kTracks; ++i) {
        const auto block = TrackBlock(RecordedBits(recordings[i]), backward, spare);
        std::copy(block.begin(), block.end(), reply + i * kTrackBlockBytes);
    }
    MagneticRecord record;
    std::memset(&record, 0xEE, sizeof record);
    DecodeTracks(reply, &record);
    return record;
}

struct Expected {
    std::string text;
    int error = 0;
};

TEST(Magstripe, CardsInEitherDirection) {
    const struct {
        const char *name;
        Recording tracks[kTracks];
        Expected expected[kTracks];
        const char *mark;
    } cases[] = {
        {"all three", {{kName}, {kNumber, true}, {kThird}}, {{kName}, {kNumber}, {kThird}}, "  "},
        {"nothing like a sentinel backward",
         {{kPlain}, {kNumber, true}, {kThird}},
         {{kPlain}, {kNumber}, {kThird}},
         "  "},
        {"third track of digits",
         {{kName}, {kNumber, true}, {kThirdDigits, true}},
         {{kName}, {kNumber}, {kThirdDigits}},
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
        {"wrong LRC of track 2",
         {{kName}, {kNumber, true, 24, 24, -1, LrcFault::WrongValue}, {kThird}},
         {{kName}, {kNumber, 1}, {kThird}},
         "E2"},
        {"LRC of even parity counts all the same",
         {{kName, false, 24, 24, -1, LrcFault::EvenParity}, {kNumber, true}, {kThird}},
         {{kName}, {kNumber}, {kThird}},
         "  "},
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
        for (const bool backward : {false, true}) {
            SCOPED_TRACE(std::string(c.name) + (backward ? ", backward" : ""));
            // Zeros or ones behind the bits make no difference.
            for (const uint8_t spare : {uint8_t{0}, uint8_t{1}, uint8_t{255}}) {
                const MagneticRecord record = Decode(c.tracks, backward, spare);
                for (size_t i = 0; i < kTracks; ++i) {
                    EXPECT_EQ(Text(record.tracks[i]), c.expected[i].text) << "track " << i + 1;
                    EXPECT_EQ(record.tracks[i].error, c.expected[i].error) << "track " << i + 1;
                    EXPECT_EQ(record.tracks[i].bits[0] + 256 * record.tracks[i].bits[1],
                              static_cast<int>(RecordedBits(c.tracks[i]).size()));
                }
                EXPECT_STREQ(StripeMark(record), c.mark);
            }
        }
}

TEST(Magstripe, BackwardNeedsTheSentinelsOfTracks1And2AtTheirEnds) {
    const struct {
        const char *name;
        Recording first, second;
        bool read;
    } cases[] = {
        {"just zeros enough", {kPlain, false, 4}, {kNumber, true, 2}, true},
        {"a zero too few before track 1", {kPlain, false, 3}, {kNumber, true, 24}, false},
        {"a zero too few before track 2", {kPlain, false, 24}, {kNumber, true, 1}, false},
        {"within the last 99 bits", {kPlain, false, 98}, {kNumber, true, 24}, true},
        {"before the last 99 bits", {kPlain, false, 99}, {kNumber, true, 24}, false},
        {"no track 2", {kPlain}, {""}, false},
        {"no track 1", {""}, {kNumber, true}, false},
        {"track 1 damaged in the middle", {kPlain, false, 24, 24, 20}, {kNumber, true}, true},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        const MagneticRecord record = Decode({c.first, c.second, {""}}, true, 0);
        EXPECT_EQ(record.tracks[0].count > 0, c.read);
        EXPECT_EQ(record.tracks[1].count > 0, c.read);
    }
}

TEST(Magstripe, WhereATrackBeginsAndHowLongItIs) {
    const std::string longText = "%" + std::string(119, 'A') + "?";
    const std::string longDigits = ";" + std::string(149, '1') + "?";
    const struct {
        const char *name;
        Recording recording; // as track 1 or, of five bits, as track 2
        size_t bits;         // in all; the zeros behind make them up
        Expected expected;
    } cases[] = {
        {"200 bits", {"%AB?", false, 90}, 200, {"%AB?9"}},
        {"199 bits", {"%AB?", false, 90}, 199, {}},
        {"100 bits of digits", {";12?", true, 40}, 100, {";12?7"}},
        {"99 bits of digits", {";12?", true, 40}, 99, {}},
        {"earliest place", {"%AB?", false, 4}, 300, {"%AB?9"}},
        {"a bit too early", {"%AB?", false, 3}, 300, {}},
        {"earliest place of digits", {";12?", true, 2}, 300, {";12?7"}},
        {"a bit too early for digits", {";12?", true, 1}, 300, {}},
        {"middle", {"%AB?", false, 150}, 301, {"%AB?9"}},
        {"behind the middle", {"%AB?", false, 151}, 301, {}},
        {"1019 bits", {kName, false, 20}, 1019, {kName}},
        {"1020 bits", {kName, false, 20}, 1020, {}},
        {"runs over", {longText, false, 20}, 1000, {longText.substr(0, 107), 1}},
        {"digits run over", {longDigits, true, 20}, 1000, {longDigits.substr(0, 107), 1}},
        {"sentinel is the last that fits",
         {"%" + std::string(105, 'A') + "?", false, 20},
         1000,
         {"%" + std::string(105, 'A') + "?", 1}},
        // No character begins in the last 20 bits.
        {"ends early", {kName, false, 20}, 20 + 7 * 33 + 21, {kName}},
        {"ends too early", {kName, false, 20}, 20 + 7 * 33 + 20, {kName.substr(0, kName.size() - 1), 1}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        auto bits = RecordedBits(c.recording);
        bits.resize(c.bits, 0);
        Reply reply = {};
        const size_t track = c.recording.fiveBit ? 1 : 0;
        const auto block = TrackBlock(bits, false);
        std::copy(block.begin(), block.end(), reply + track * kTrackBlockBytes);
        MagneticRecord record;
        DecodeTracks(reply, &record);
        EXPECT_EQ(Text(record.tracks[track]), c.expected.text);
        EXPECT_EQ(record.tracks[track].error, c.expected.error);
    }
}

TEST(Magstripe, BlocksThatAScannerShouldNotSend) {
    std::mt19937 random(6);
    const int32_t counts[] = {INT_MIN, -1, 0, 1, 100, 101, 200, 1018, 1019, 1020, 1021, 1100, 65536, INT_MAX};
    for (int round = 0; round < 4000; ++round) {
        // Heap copies, so that a sanitizer sees the first byte beyond.
        std::vector<uint8_t> bytes;
        for (int track = 0; track < kTracks; ++track) {
            auto block =
                TrackBlock(RecordedBits({track == 1 ? kNumber : kName, track == 1}), random() % 2 != 0);
            const auto changes = random() % 4 == 0 ? random() % 1000 : random() % 3;
            for (size_t i = 0; i < changes; ++i)
                block[random() % kTrackBits] = static_cast<uint8_t>(random());
            if (random() % 2 == 0) {
                const auto count = static_cast<uint32_t>(counts[random() % std::size(counts)]);
                for (size_t i = 0; i < 4; ++i)
                    block[kTrackBits + i] = static_cast<uint8_t>(count >> 8 * i);
            }
            bytes.insert(bytes.end(), block.begin(), block.end());
        }
        auto record = std::make_unique<MagneticRecord>();
        DecodeTracks(*reinterpret_cast<Reply *>(bytes.data()), record.get());
        for (size_t i = 0; i < kTracks; ++i) {
            const MagneticTrack &track = record->tracks[i];
            ASSERT_LE(track.count, 107);
            ASSERT_LE(track.error, 1);
            ASSERT_EQ(std::memcmp(track.bits, &bytes[i * kTrackBlockBytes + kTrackBits], 2), 0);
            ASSERT_TRUE(std::all_of(track.text + track.count, std::end(track.text),
                                    [](uint8_t c) { return c == 0; }));
        }
    }
}

} // namespace
} // namespace k274::test
