// The device alone, with a clock that the test moves: stages and their times, lines as the head reads them,
// hosts that give up or vanish, cards that misbehave, replies on the wire.
#include "device_fixture.h"

#include <gmock/gmock.h>

#include <functional>

namespace {

using namespace wire;
using testing::Each;
using testing::ElementsAre;

const std::vector<std::string> kOut = {"Card ejected", "Card out"};

// A host with the waits of a real one: 10 ms between polls inside a scan, and no wait longer than 180 of
// them.
TEST_F(DeviceTest, StagesFollowOneAnotherInTimeForTheHost) {
    const struct {
        double speed;
        uint8_t scanMode, lastMode;
        unsigned fetched; // passes: 1 visible, 2 infrared, 4 ultraviolet
    } kCases[] = {{1, 0, 0, 7}, {1, 'R', 0, 1}, {0, 0, 0, 7}, {0.5, 'R', 0, 1}, {50, 0, 0, 7},
                  {1, 0, 1, 3}, {0, 0, 2, 3},   {1, 0, 0, 0}, {0, 0, 0, 0},     {0, 'R', 0, 0}};
    for (const auto &c : kCases) {
        SCOPED_TRACE(&c - kCases);
        clock.SetSpeed(c.speed);
        Exchange({0x62, c.lastMode});
        Wait(1);
        EXPECT_EQ(Poll(c.scanMode), 0);
        Events();
        const VS_Observed before = device.Observed();
        ASSERT_TRUE(device.InsertCard(PlainCard()));
        std::vector<uint16_t> words;
        int polls = 0;
        for (uint16_t word; (word = Poll(c.scanMode)) != 0; polls++, Wait(0.01)) {
            if (words.empty() || words.back() != word) {
                words.push_back(word);
                polls = 0;
                for (const Fetched &f : kPassesFetched)
                    if (word == f.word && (c.fetched >> (f.Code() - 1) & 1) != 0)
                        Fetch(f);
            }
            // One that does not fetch sees the visible pass go by.
            ASSERT_LE(polls, word == 0x0007 && c.fetched == 0 ? 270 : 155) << "in word " << word;
        }
        if (c.scanMode == 'R')
            EXPECT_THAT(words, ElementsAre(0x0001, 0x0003, 0x0007, 0x8000));
        else
            EXPECT_THAT(words, ElementsAre(0x0001, 0x0003, 0x0007, 0x001F, 0x005F, 0x8000));
        EXPECT_THAT(Events(), ElementsAre("Card in", "Scan Done", "Card ejected", "Card out"));
        const VS_Observed after = device.Observed();
        EXPECT_TRUE(after.scans == before.scans + 1 && after.cancelled == 0);
        for (const Fetched &f : kPassesFetched)
            EXPECT_EQ(after.*f.blocks > before.*f.blocks, (c.fetched >> (f.Code() - 1) & 1) != 0);
    }
}

TEST_F(DeviceTest, LinesComeAsTheHeadMoves) {
    BringTo(0x0007);
    for (const Fetched &f : kPassesFetched) {
        PollTo(f.word);
        const auto start = fakeNow;
        const int half = Info(f.pass).lines / 2, asked = f.pass == Pass::Ir ? half - 1 : half;
        Bytes packet;
        ASSERT_EQ(Send(LineFields(f.Code(), asked, 1)), OutResult::Ack);
        EXPECT_EQ(Read(&packet), InResult::Nak);
        fakeNow = device.NextMoment() - std::chrono::milliseconds(3);
        EXPECT_EQ(Read(&packet), InResult::Nak);
        fakeNow = device.NextMoment();
        ASSERT_EQ(Read(&packet), InResult::Data);
        EXPECT_EQ(Word(packet, 8), asked);
        EXPECT_EQ(Word(packet, 16), half);
        EXPECT_EQ(Dword(packet, 12), sequence);
        EXPECT_EQ(Read(&packet), InResult::Nak) << "a packet is sent once";
        EXPECT_EQ(device.NextMoment(), Clock::TimePoint::max());
        Exchange(LineFields(f.Code(), f.pass == Pass::Ir ? 2399 : 0, 1));
        EXPECT_NEAR(std::chrono::duration<double>(fakeNow - start).count(), f.seconds, 0.01);
    }
}

TEST_F(DeviceTest, LinesAreThoseOfTheOpticsAndStayUntilTheyAreCleared) {
    clock.SetSpeed(0);
    device.SetSeed(77);
    const auto card = PlainCard();
    const WhiteResponse lamps = LampResponse();
    const Scene scene = MakeScene(*card, lamps, 77, 0);
    std::vector<Bytes> expected;
    BringTo(0x0007);
    for (const Fetched &f : kPassesFetched) {
        PollTo(f.word);
        Fetch(f);
        Bytes lines(2 * f.LineBytes());
        f.render(scene, 1000, lines.data());
        f.render(scene, 1001, &lines[f.LineBytes()]);
        EXPECT_FALSE(std::equal(lines.begin(), lines.begin() + static_cast<ptrdiff_t>(f.LineBytes()),
                                &lines[f.LineBytes()]));
        for (const auto &[seed, scan] : {std::pair(78u, 0u), {77u, 1u}}) {
            Bytes other(f.LineBytes());
            f.render(MakeScene(*card, lamps, seed, scan), 1000, other.data());
            EXPECT_FALSE(std::equal(other.begin(), other.end(), lines.begin())) << "no two scans are alike";
        }
        lines.resize(lines.size() - 24); // the header takes the room of the last line's end
        expected.push_back(lines);
        EXPECT_EQ(Lines(f, 1000, 2), lines);
        // Lines beyond the far end are black; a packet that no host has room for is refused.
        const Bytes end = Lines(f, Info(f.pass).lines - 1, 3);
        EXPECT_NE(end, Bytes(end.size()));
        EXPECT_THAT(Bytes(end.begin() + static_cast<ptrdiff_t>(f.LineBytes()), end.end()), Each(0));
        EXPECT_THAT(Lines(f, 65535, 2), Each(0));
        for (const int count : {0, static_cast<int>(kMaxReplyBytes / f.LineBytes()) + 1, 65535})
            EXPECT_EQ(Send(LineFields(f.Code(), 1000, count)), OutResult::Stall) << count;
    }
    Send({0x1A}); // in the middle of a scan, it leaves the lines alone
    PollTo(0);
    for (const bool cleared : {false, true}) {
        for (const Fetched &f : kPassesFetched)
            EXPECT_EQ(Lines(f, 1000, 2),
                      cleared ? Bytes(expected[size_t(f.pass)].size()) : expected[size_t(f.pass)]);
        Send({0x1A});
    }
}

TEST_F(DeviceTest, ScanEndsBeforeTheCardIsThroughAndDoesNotComeBack) {
    const auto command = [](uint8_t code) {
        return [packet = Packet({code}, 1)](Device &d) { d.Out(packet.data(), packet.size()); };
    };
    const struct {
        const char *name;
        std::function<void(Device &)> action;
        std::vector<std::string> events; // after kOut
        bool hostSeesEnd;                // word 0x8000 before 0
    } kCases[] = {
        {"button", &Device::PressEject, {"Eject button", kOut[0], kOut[1]}, true},
        {"door",
         [](Device &d) { d.OpenDoor(), d.CloseDoor(); },
         {"Door opened", "Door closed", kOut[0], kOut[1]},
         true},
        {"eject", command(0x41), kOut, true},
        {"broken off", [](Device &) { Wait(0.1); }, kOut, true},
        {"vanished", [](Device &) { Wait(15); }, {"Scan timeout", kOut[0], kOut[1]}, false},
        {"close", command(0x17), kOut, false},
        {"reset", command(0x75), {}, false},
        {"restart", &Device::Restart, {"Reset - Button"}, false},
        {"power", [](Device &d) { d.PowerOff(), d.PowerOn(); }, {"Reset - Power on"}, false},
    };
    uint32_t cancelled = 0;
    for (const auto &c : kCases) {
        for (const Fetched &f : {kRgb, kIr}) {
            SCOPED_TRACE(c.name);
            BringTo(0x0007);
            if (f.pass == Pass::Ir)
                Fetch(kRgb);
            PollTo(f.word);
            Exchange(LineFields(f.Code(), f.first, f.block));
            const int late = f.pass == Pass::Rgb ? 600 : 1500;
            Bytes packet;
            ASSERT_EQ(Send(LineFields(f.Code(), late, 1)), OutResult::Ack);
            ASSERT_EQ(Read(&packet), InResult::Nak);
            c.action(device);
            if (c.events.size() > 2 && c.hostSeesEnd)
                EXPECT_EQ(Read(&packet), InResult::Data) << "what waited is answered";
            if (c.hostSeesEnd) {
                EXPECT_EQ(Poll(), 0x8000);
                Wait(0.4);
            }
            EXPECT_EQ(Poll(), 0);
            EXPECT_EQ(Events(), c.events);
            EXPECT_EQ(device.Observed().cancelled, ++cancelled);
            // What the head did not reach is black, at once. One card was long through when it was noticed.
            const Bytes line = Lines(f, late, 1);
            EXPECT_EQ(line == Bytes(line.size()), std::string(c.name) != "vanished");
            for (int k = 0; k < 20; k++, Wait(0.1))
                ASSERT_EQ(Poll(), 0);
            EXPECT_TRUE(Events().empty());
        }
    }
    EXPECT_EQ(device.Observed().scans, 0u);
}

TEST_F(DeviceTest, HostsThatAreSlowOrStopEarlyKeepTheirScan) {
    device.OpenDoor();
    ASSERT_TRUE(device.InsertCard(PlainCard()));
    for (int k = 0; k < 5; k++, Wait(1))
        EXPECT_EQ(Poll(), 0) << "the door is open";
    device.CloseDoor();
    PollTo(0x0007);
    Wait(14);
    EXPECT_EQ(Poll(), 0x0007);
    Exchange(LineFields(1, 2188, 12));
    PollTo(0x001F);
    Fetch(kIr);
    Wait(14);
    EXPECT_EQ(Poll(), 0x005F);
    // A reset of the bus loses the reply but not the scan.
    Bytes reply;
    ASSERT_EQ(Send(LineFields(3, 1194, 6)), OutResult::Ack);
    device.Reset();
    EXPECT_EQ(Read(&reply), InResult::Nak);
    Fetch(kUv);
    Wait(1);
    EXPECT_EQ(Poll(), 0x8000);
    EXPECT_EQ(kind, 1) << "the host is told of the reset";
    EXPECT_EQ(device.Observed().cancelled, 0u);
}

TEST_F(DeviceTest, CardThatJamsGivesNoMoreLines) {
    for (const double speed : {1.0, 0.0}) {
        clock.SetSpeed(speed);
        BringTo(0x0007, {{}, false, false, false, Behaviour::kJamming});
        Exchange(LineFields(1, 1100, 12));
        for (int k = 0; k < 2; k++)
            Exchange(LineFields(1, 1088, 12), InResult::Stall);
        EXPECT_EQ(Poll(), 0x1000);
        PollTo(0);
        EXPECT_THAT(Events(), ElementsAre("Card jammed illum = 1", "Card ejected", "Card out"));
    }
}

TEST_F(DeviceTest, CleaningCardNeverComesToTheFirstStage) {
    for (const double speed : {1.0, 0.0}) {
        clock.SetSpeed(speed);
        BringTo(0x0001, {{}, false, false, false, Behaviour::kCleaning});
        PollTo(0x2000);
        for (int k = 0; k < 200; k++, Wait(0.01)) // a host that waits for it
            ASSERT_EQ(Poll(), 0x2000);
        EXPECT_THAT(Events(), ElementsAre("Cleaning card"));
        for (int k = 0; Poll() == 0x2000; k++, Wait(0.1)) // and has given up
            ASSERT_LT(k, 10);
        PollTo(0);
        EXPECT_EQ(Events(), kOut);
    }
}

TEST_F(DeviceTest, ResetNoticeAndEventsAreToldOnceAndOnlyWhenTheReplyWasTaken) {
    Send(PollFields()); // reply never read
    Poll();
    EXPECT_EQ(kind, 1);
    Poll();
    EXPECT_EQ(kind, 2);
    Send({0x15}); // reply never read
    EXPECT_THAT(Events(), ElementsAre("Reset - Power on"));
    // A text that comes up between an empty answer's making and its reading is kept; of too many, the first.
    EventQueue &events = device.State().events;
    Bytes reply;
    Send({0x15});
    events.Post(std::string(200, 'x'));
    Read(&reply);
    EXPECT_EQ(Text(reply), "");
    for (int k = 1; k < 32; k++)
        EXPECT_TRUE(events.Post("text"));
    EXPECT_FALSE(events.Post("one more"));
    EXPECT_EQ(Events().front(), std::string(127, 'x'));
}

TEST_F(DeviceTest, ReplyThatDoesNotFitIsLost) {
    Bytes reply;
    Send({0x14});
    EXPECT_EQ(Read(&reply, 100), InResult::Overflow);
    EXPECT_EQ(Read(&reply), InResult::Nak);
}

} // namespace
