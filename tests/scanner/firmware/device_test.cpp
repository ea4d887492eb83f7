// The device alone, with a clock that the test moves: stages and their times, lines as the head reads them,
// hosts that give up or vanish, replies on the wire.
#include "scanner/firmware/device.h"
#include "wire.h"

#include <gmock/gmock.h>

#include <functional>

namespace {

using namespace scanner;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using wire::Bytes;

Clock::TimePoint fakeNow{};
Clock::TimePoint FakeNow() { return fakeNow; }
void Pass(double seconds) {
    fakeNow += std::chrono::duration_cast<Clock::TimePoint::duration>(std::chrono::duration<double>(seconds));
}

class DeviceTest : public testing::Test {
protected:
    DeviceTest() { device.PowerOn(); }

    OutResult Send(const wire::Fields &fields) {
        const Bytes packet = wire::Packet(fields, ++sequence);
        return device.Out(packet.data(), packet.size());
    }
    InResult Read(Bytes *reply, size_t capacity = kMaxReplyBytes) {
        reply->assign(capacity, 0xEE);
        size_t size = 0;
        const InResult result = device.In(reply->data(), capacity, &size);
        reply->resize(size);
        return result;
    }
    Bytes Exchange(const wire::Fields &fields) {
        Bytes reply;
        EXPECT_EQ(Send(fields), OutResult::Ack);
        EXPECT_EQ(Read(&reply), InResult::Data);
        return reply;
    }
    uint16_t Poll(uint8_t mode = 0) {
        const Bytes reply = Exchange(wire::PollFields(mode));
        kind = reply.at(4);
        return wire::Word(reply, 6);
    }
    std::vector<std::string> Events() {
        std::vector<std::string> texts;
        for (std::string text; !(text = wire::Text(Exchange({0x15}))).empty();)
            texts.push_back(text);
        return texts;
    }
    /// Puts a card in and polls until the RGB lines are ready. Drops the events up to there.
    void BringToRgb() {
        Poll();
        ASSERT_TRUE(device.InsertCard(wire::PlainCard()));
        for (int k = 0; Poll() != 0x0007; k++) {
            ASSERT_LT(k, 1000);
            Pass(0.01);
        }
        Events();
    }
    /// Asks for the lines as a host does, waiting for the head. A larger step leaves lines out, to save time.
    void FetchRgb(int from, int to, int step = 12) {
        Bytes packet;
        for (int first = from; first >= to; first -= step) {
            ASSERT_EQ(Send(wire::RgbFields(first, 12)), OutResult::Ack);
            while (Read(&packet, 12 * kRgbLineBytes) == InResult::Nak) {
                ASSERT_GT(device.NextMoment(), fakeNow);
                fakeNow = device.NextMoment();
            }
            ASSERT_EQ(packet.size(), size_t{12} * kRgbLineBytes);
            ASSERT_EQ(wire::Word(packet, 8), first);
        }
    }

    Clock clock{FakeNow};
    DeviceLog log{clock, ""};
    Device device{clock, log};
    uint32_t sequence = 0;
    int kind = 0;
};

struct StageCase {
    double speed;
    uint8_t mode;
    bool fetches;
    std::vector<uint16_t> words;
};
void PrintTo(const StageCase &c, std::ostream *out) {
    *out << "speed " << c.speed << ", mode " << int{c.mode} << (c.fetches ? ", fetches" : ", does not fetch");
}
class Stages : public DeviceTest, public testing::WithParamInterface<StageCase> {};

// A host with the waits of a real one: 10 ms between polls inside a scan, and no wait longer than 180 of
// them.
TEST_P(Stages, FollowOneAnotherInTimeForTheHost) {
    const StageCase &c = GetParam();
    clock.SetSpeed(c.speed);
    EXPECT_EQ(Poll(c.mode), 0);
    ASSERT_TRUE(device.InsertCard(wire::PlainCard()));
    EXPECT_FALSE(device.InsertCard(wire::PlainCard()));
    // The last lines that a host asks for are not the head's last; one that asks for none sees all pass by.
    const int longestRgb = c.fetches ? 40 : 270, longest = 150;
    std::vector<uint16_t> words;
    int polls = 0;
    for (uint16_t word; (word = Poll(c.mode)) != 0; polls++) {
        if (words.empty() || words.back() != word) {
            words.push_back(word);
            polls = 0;
            if (word == 0x0007 && c.fetches)
                FetchRgb(2188, 100, 144);
        }
        ASSERT_LE(polls, word == 0x0007 ? longestRgb : longest) << "in word " << word;
        Pass(0.01);
    }
    EXPECT_THAT(words, ElementsAreArray(c.words));
    EXPECT_THAT(Events(),
                ElementsAre("Reset - Power on", "Card in", "Scan Done", "Card ejected", "Card out"));
    EXPECT_TRUE(device.SlotFree());
    EXPECT_EQ(device.Observed().scans, 1u);
    EXPECT_EQ(device.Observed().cancelled, 0u);
    EXPECT_EQ(device.Observed().rgbBlocks, c.fetches ? 15u : 0u);
    for (int k = 0; k < 100; k++, Pass(0.1))
        ASSERT_EQ(Poll(c.mode), 0);
}

const std::vector<uint16_t> kFull = {0x0001, 0x0003, 0x0007, 0x001F, 0x005F, 0x8000};
const std::vector<uint16_t> kShort = {0x0001, 0x0003, 0x0007, 0x8000};
INSTANTIATE_TEST_SUITE_P(Device, Stages,
                         testing::Values(StageCase{1, 0, true, kFull}, StageCase{1, 82, true, kShort},
                                         StageCase{0, 0, true, kFull}, StageCase{0, 82, true, kShort},
                                         StageCase{0.5, 82, true, kShort}, StageCase{50, 0, true, kFull},
                                         StageCase{1, 0, false, kFull}, StageCase{0, 82, false, kShort}));

TEST_F(DeviceTest, HeadTakesTwoAndAHalfSecondsAndLinesComeAsItMoves) {
    BringToRgb();
    const auto start = fakeNow;
    Bytes packet;
    ASSERT_EQ(Send(wire::RgbFields(1100, 12)), OutResult::Ack);
    EXPECT_EQ(Read(&packet), InResult::Nak);
    fakeNow = device.NextMoment() - std::chrono::milliseconds(2);
    EXPECT_EQ(Read(&packet), InResult::Nak);
    fakeNow = device.NextMoment();
    ASSERT_EQ(Read(&packet), InResult::Data);
    EXPECT_EQ(wire::Word(packet, 8), 1100);
    EXPECT_EQ(wire::Word(packet, 16), 1200);
    EXPECT_EQ(wire::Dword(packet, 12), sequence);
    EXPECT_EQ(Read(&packet), InResult::Nak) << "a packet is sent once";
    EXPECT_EQ(device.NextMoment(), Clock::TimePoint::max());

    FetchRgb(1092, 0);
    EXPECT_NEAR(std::chrono::duration<double>(fakeNow - start).count(), 2.5, 0.01);
    ASSERT_EQ(Send(wire::RgbFields(0, 1)), OutResult::Ack);
    ASSERT_EQ(Read(&packet), InResult::Data);
    EXPECT_EQ(packet.size(), size_t{kRgbLineBytes});
    EXPECT_EQ(wire::Word(packet, 16), 2300);
}

TEST_F(DeviceTest, LinesAreThoseOfTheOpticsAndStayUntilTheyAreCleared) {
    clock.SetSpeed(0);
    device.SetSeed(77);
    BringToRgb();
    FetchRgb(100, 100);

    const auto card = wire::PlainCard();
    const WhiteResponse lamps = LampResponse();
    const Scene scene = MakeScene(*card, lamps, 77, 0);
    Bytes lines(size_t{3} * kRgbLineBytes), expected(24);
    for (const int line : {1000, 1001, 1002})
        RenderRgbLine(scene, line, &lines[static_cast<size_t>(line - 1000) * kRgbLineBytes]);
    Bytes packet = Exchange(wire::RgbFields(1000, 3));
    expected.assign(packet.begin(), packet.begin() + 24);
    expected.insert(expected.end(), lines.begin(), lines.end() - 24);
    EXPECT_EQ(packet, expected);

    // Lines beyond either end are black; a packet that no host has room for is refused.
    packet = Exchange(wire::RgbFields(2299, 24));
    EXPECT_THAT(Bytes(packet.begin() + 24 + kRgbLineBytes, packet.end()), testing::Each(0));
    packet = Exchange(wire::RgbFields(65535, 2));
    EXPECT_THAT(Bytes(packet.begin() + 24, packet.end()), testing::Each(0));
    for (const int count : {0, 25, 65535}) {
        EXPECT_EQ(Send(wire::RgbFields(1000, count)), OutResult::Stall) << count;
        EXPECT_EQ(Read(&packet), InResult::Stall) << count;
    }

    // After the scan they can be fetched once more, and a clear in the middle of a scan leaves them alone.
    Send({0x1A});
    while (Poll() != 0) {
    }
    packet = Exchange(wire::RgbFields(1000, 3));
    scanner::Put32(&expected[12], sequence);
    EXPECT_EQ(packet, expected);
    Send({0x1A});
    packet = Exchange(wire::RgbFields(1000, 3));
    EXPECT_THAT(Bytes(packet.begin() + 24, packet.end()), testing::Each(0));
}

struct EndCase {
    const char *name;
    std::function<void(DeviceTest &, Device &)> action;
    std::vector<std::string> events;
    bool hostSeesEnd; // word 0x8000 before 0
};
void PrintTo(const EndCase &c, std::ostream *out) { *out << c.name; }
class ScanEnds : public DeviceTest, public testing::WithParamInterface<EndCase> {};

void SendPlain(Device &device, uint8_t code) {
    const Bytes packet = wire::Packet({code}, 1);
    device.Out(packet.data(), packet.size());
}

TEST_P(ScanEnds, BeforeTheCardIsThroughAndDoesNotComeBack) {
    const EndCase &c = GetParam();
    BringToRgb();
    FetchRgb(2188, 1500, 86);
    c.action(*this, device);
    if (c.hostSeesEnd) {
        EXPECT_EQ(Poll(), 0x8000);
        Pass(0.4);
    }
    EXPECT_EQ(Poll(), 0);
    EXPECT_THAT(Events(), ElementsAreArray(c.events));
    EXPECT_EQ(device.Observed().cancelled, 1u);
    EXPECT_EQ(device.Observed().scans, 0u);
    EXPECT_TRUE(device.SlotFree());
    // What the head did not reach is black, at once.
    const Bytes packet = Exchange(wire::RgbFields(200, 12));
    const bool reached = std::string(c.name) == "vanished"; // the card was long through when it was noticed
    EXPECT_EQ(wire::Word(packet, 16) == 2300, reached);
    EXPECT_EQ(std::count(packet.begin() + 24, packet.end(), 0) == 12 * kRgbLineBytes - 24, !reached);
    for (int k = 0; k < 50; k++, Pass(0.1))
        ASSERT_EQ(Poll(), 0);
    EXPECT_THAT(Events(), IsEmpty());
    // The next card is scanned like any other.
    BringToRgb();
}

INSTANTIATE_TEST_SUITE_P(
    Device, ScanEnds,
    testing::Values(
        EndCase{"button",
                [](DeviceTest &, Device &d) { d.PressEject(); },
                {"Eject button", "Card ejected", "Card out"},
                true},
        EndCase{"door",
                [](DeviceTest &, Device &d) {
                    d.OpenDoor();
                    d.CloseDoor();
                },
                {"Door opened", "Door closed", "Card ejected", "Card out"},
                true},
        EndCase{
            "eject", [](DeviceTest &, Device &d) { SendPlain(d, 0x41); }, {"Card ejected", "Card out"}, true},
        EndCase{"broken off", [](DeviceTest &, Device &) { Pass(0.1); }, {"Card ejected", "Card out"}, true},
        EndCase{"vanished",
                [](DeviceTest &, Device &) { Pass(15); },
                {"Scan timeout", "Card ejected", "Card out"},
                false},
        EndCase{"close",
                [](DeviceTest &, Device &d) { SendPlain(d, 0x17); },
                {"Card ejected", "Card out"},
                false},
        EndCase{"reset", [](DeviceTest &, Device &d) { SendPlain(d, 0x75); }, {}, false},
        EndCase{"restart", [](DeviceTest &, Device &d) { d.Restart(); }, {"Reset - Button"}, false},
        EndCase{"power",
                [](DeviceTest &, Device &d) {
                    d.PowerOff();
                    d.PowerOn();
                },
                {"Reset - Power on"},
                false}));

TEST_F(DeviceTest, WaitingRequestIsAnsweredWhenTheScanEnds) {
    BringToRgb();
    ASSERT_EQ(Send(wire::RgbFields(100, 12)), OutResult::Ack);
    Bytes packet;
    ASSERT_EQ(Read(&packet), InResult::Nak);
    device.PressEject();
    EXPECT_EQ(Read(&packet), InResult::Data);
}

TEST_F(DeviceTest, HostThatFetchesAPartAndPollsOnGetsTheNextStage) {
    BringToRgb();
    FetchRgb(2188, 2000);
    int polls = 0;
    while (Poll() == 0x0007 && polls < 400) {
        Pass(0.01);
        polls++;
    }
    EXPECT_EQ(Poll(), 0x001F);
}

TEST_F(DeviceTest, BusyHostKeepsItsScan) {
    BringToRgb();
    Pass(14);
    EXPECT_EQ(Poll(), 0x0007);
    FetchRgb(2188, 100, 144);
    Pass(14);
    EXPECT_EQ(Poll(), 0x001F);
}

TEST_F(DeviceTest, CardWaitsForAnIdleScannerWithItsDoorClosed) {
    clock.SetSpeed(0);
    ASSERT_TRUE(device.InsertCard(wire::PlainCard()));
    EXPECT_FALSE(device.SlotFree());
    device.OpenDoor();
    for (int k = 0; k < 5; k++)
        EXPECT_EQ(Poll(), 0);
    device.CloseDoor();
    EXPECT_EQ(Poll(), 1);
}

TEST_F(DeviceTest, ResetNoticeAndEventsAreToldOnceAndOnlyWhenTheReplyWasTaken) {
    ASSERT_EQ(Send(wire::PollFields()), OutResult::Ack); // reply never read
    Poll();
    EXPECT_EQ(kind, 1);
    Poll();
    EXPECT_EQ(kind, 2);
    ASSERT_EQ(Send({0x15}), OutResult::Ack); // reply never read
    EXPECT_THAT(Events(), ElementsAre("Reset - Power on"));
    Poll();
    EXPECT_EQ(kind, 0);
    for (const auto &restart : std::vector<std::function<void()>>{
             [&] { device.Reset(); }, [&] { Send({0x75}); }, [&] { device.Restart(); },
             [&] { device.PowerOff(), device.PowerOn(); }}) {
        restart();
        Poll();
        EXPECT_EQ(kind, 1);
        Poll();
        EXPECT_NE(kind, 1);
    }
    device.Reconnect();
    Events();
    Poll();
    EXPECT_EQ(kind, 0);

    // A text that comes up between an empty answer's making and its reading is kept.
    Bytes reply;
    Send({0x15});
    device.State().events.Post("Door opened");
    Read(&reply);
    EXPECT_EQ(wire::Text(reply), "");
    EXPECT_THAT(Events(), ElementsAre("Door opened"));
}

TEST_F(DeviceTest, EventQueueKeepsTheFirstTexts) {
    EventQueue &events = device.State().events;
    events.Clear();
    EXPECT_TRUE(events.Post(std::string(200, 'x')));
    int taken = 1;
    while (events.Post("text " + std::to_string(taken)))
        taken++;
    const auto texts = Events();
    ASSERT_EQ(texts.size(), 32u);
    EXPECT_EQ(texts.front(), std::string(127, 'x'));
    EXPECT_EQ(texts.back(), "text 31");
}

TEST_F(DeviceTest, ResetInMidScanLosesTheReplyButNotTheScan) {
    clock.SetSpeed(0);
    BringToRgb();
    Bytes reply;
    ASSERT_EQ(Send(wire::RgbFields(2188, 12)), OutResult::Ack);
    device.Reset();
    EXPECT_EQ(Read(&reply), InResult::Nak);
    FetchRgb(2188, 100, 144);
    EXPECT_EQ(Poll(), 0x001F);
    EXPECT_EQ(kind, 1);
}

TEST_F(DeviceTest, LongReplyComesInWholeWirePacketsAndShortRoomLosesIt) {
    const Bytes whole = Exchange({0x13, 0, 0, 18908});
    ASSERT_EQ(whole.size(), 256u + 18908);
    Bytes pieces, piece;
    ASSERT_EQ(Send({0x13, 0, 0, 18908}), OutResult::Ack);
    for (int k = 0; k < 2; k++) {
        ASSERT_EQ(Read(&piece, 16384), InResult::Data);
        pieces.insert(pieces.end(), piece.begin(), piece.end());
    }
    ASSERT_EQ(pieces.size(), whole.size());
    EXPECT_EQ(Bytes(pieces.begin() + 256, pieces.end()), Bytes(whole.begin() + 256, whole.end()));
    EXPECT_EQ(Read(&piece), InResult::Nak);

    ASSERT_EQ(Send({0x14}), OutResult::Ack);
    EXPECT_EQ(Read(&piece, 100), InResult::Overflow);
    EXPECT_EQ(Read(&piece), InResult::Nak);
}

} // namespace
