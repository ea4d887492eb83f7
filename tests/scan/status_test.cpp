#include "src/common/running.h"
#include "src/scan/status.h"

#include "include/k274.h"
#include "src/decoders/barcode.h"
#include "src/link/transport.h"
#include "src/scan/monitor.h"
#include "src/scan/wait.h"
#include "src/state/flags.h"
#include "src/state/image_set.h"
#include "src/state/monitor_record.h"
#include "src/state/session.h"
#include "tests/support/library_fixture.h"
#include "wire/bytes.h"

#include <gmock/gmock.h>

#include <cstring>

namespace {

using k274::monitor;
using k274::state;
using scripted::Bytes;
using scripted::Reply;
using scripted::Sent;
using scripted::TheDriver;
using testing::ElementsAre;
using testing::IsEmpty;

struct StatusTest : ScannerTest {
    void SetUp() override {
        ScannerTest::SetUp();
        monitor.uptime = 5;
    }
};

TEST_F(StatusTest, PollCarriesLoginAndScanMode) {
    state.loginFlag = 7;
    K274_ScanMode(82);
    k274::PollStatus();
    const Sent &poll = TheDriver().sent.at(0);
    EXPECT_EQ(poll.bytes.size(), 80u);
    EXPECT_EQ(poll.bytes[10], 80);
    EXPECT_EQ(poll.bytes[16], 7);
    EXPECT_EQ(poll.bytes[17], 82);
}

TEST_F(StatusTest, RecordTakesTheReplyFieldByField) {
    TheDriver().onRead = [](const Sent &, uint32_t) {
        Reply reply{0, Bytes(336)};
        for (size_t i = 0; i < 80; ++i)
            reply.bytes[i] = static_cast<uint8_t>(i + 100);
        reply.bytes[4] = 0;
        return reply;
    };
    k274::session.measure = {3, 4, 1856, 1169, 1170, 0.f};
    EXPECT_EQ(k274::PollStatus(), 107 << 8 | 106);
    uint8_t record[80];
    std::memset(record, 0xEE, sizeof record);
    K274_UpdateStatus(record);
    // Offsets of the reply for every 16-bit word of the record; -1: a measured value or unwritten.
    constexpr int kFrom[40] = {5,  6,  17, 18, 38, 36, 20, 22, 24, 26, 28, 30, 32, 34,
                               -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 40, -2, 42, -2,
                               48, -2, 50, -2, 44, 46, 52, 54, 56, 58, -1, -1};
    for (size_t word = 0; word < 40; ++word) {
        const uint16_t value = wire::Load16(record + 2 * word);
        const int from = kFrom[word];
        const bool single = word == 0 || word == 2 || word == 3;
        if (from >= 0)
            EXPECT_EQ(value, single ? from + 100 : (from + 101) << 8 | (from + 100)) << word;
        else if (from == -2)
            EXPECT_EQ(value, 0) << word;
    }
    const auto *status = reinterpret_cast<const K274_Status *>(record);
    EXPECT_EQ(status->cardWidth, 1856);
    EXPECT_EQ(status->frontHeight, 1169);
    EXPECT_EQ(status->backHeight, 1170);
    EXPECT_EQ(status->topEdge, 3);
    EXPECT_EQ(status->backOffset, 4);
}

TEST_F(StatusTest, FailedPolls) {
    const struct {
        bool attached;
        uint32_t sendStatus;
        Reply reply;
        int32_t result;
    } cases[] = {
        {true, 0x20000015, {}, 0},
        {true, 0, {0x20000015, {}}, -1},
        {true, 0, {0, Bytes(79)}, -1},
        {true, 0, {0, Bytes(20, 0xFF)}, 0xFFFF}, // a bare reply counts; what it lacks is zero
        {false, 0, {}, -1},
    };
    for (const auto &c : cases) {
        scanner.words = {0x1234};
        scripted::Attach();
        scanner.Serve();
        TheDriver().onSend = nullptr;
        EXPECT_EQ(k274::PollStatus(), 0x1234);
        TheDriver().onSend = [&](const Sent &) { return Reply{c.sendStatus}; };
        TheDriver().onRead = [&](const Sent &, uint32_t) { return c.reply; };
        if (!c.attached)
            scripted::Detach();
        EXPECT_EQ(k274::PollStatus(), c.result);
        EXPECT_EQ(K274_ScanState(), static_cast<uint32_t>(c.result));
        K274_Status record;
        K274_UpdateStatus(&record);
        EXPECT_EQ(record.statusWord, 0xFFFF);
    }
}

TEST_F(StatusTest, MailboxesAreSentInRangeAndEmptied) {
    const struct {
        std::function<void()> post;
        std::vector<uint8_t> codes; // before the poll itself
        int arg0;
    } cases[] = {
        {[] { K274_Eject(); }, {0x41}, -1},
        {[] { K274_UserLED(4); }, {0x42}, 4},
        {[] { K274_UserLED(0); }, {0x42}, 0},
        {[] { K274_UserLED(5); }, {}, -1},
        {[] { K274_UserLED(-1); }, {}, -1},
        {[] { K274_UserBeep(5); }, {0x74}, 5},
        {[] { K274_UserBeep(6); }, {}, -1},
        {[] {
             K274_UserBeep(1);
             K274_UserBeep(2);
         },
         {0x74},
         2},
        {[] {
             K274_UserBeep(1);
             K274_UserLED(1);
             K274_Eject();
         },
         {0x41, 0x42, 0x74},
         -1},
    };
    for (const auto &c : cases) {
        TheDriver().sent.clear();
        c.post();
        k274::PollStatus();
        std::vector<uint8_t> expected = c.codes;
        expected.push_back(0x00);
        EXPECT_EQ(scripted::SentCodes(), expected);
        if (c.arg0 >= 0)
            EXPECT_EQ(TheDriver().sent[0].bytes[16], c.arg0);
        k274::PollStatus();
        EXPECT_EQ(TheDriver().sent.size(), expected.size() + 1);
    }
}

TEST_F(StatusTest, EventsBecomeLinesStatesAndCancellation) {
    const struct {
        const char *text;
        Texts lines;
        std::vector<int> states;
        bool cancels;
    } cases[] = {
        {"Card in", {" ", "fw,      Card in"}, {20}, false},
        {"Card out", {}, {21}, false},
        {"Door opened", {"fw,      Door opened"}, {24}, false},
        {"Door closed", {"fw,      Door closed"}, {25}, false},
        {"Eject button", {"fw,      Eject button"}, {26}, false},
        {"Cleaning card", {"fw,      Cleaning card"}, {34}, false},
        {"Reset - Power on", {" "}, {}, false},
        {"Reset - Button", {"fw,      Reset - Button", " "}, {}, false},
        {"Card ejected", {}, {}, false},
        {"Scan Done", {}, {}, false},
        {"Card in ", {"fw,      Card in "}, {}, false},
        {"Anything else", {"fw,      Anything else"}, {}, false},
        {"Card jammed illum = 5", {"fw,      Card jammed illum = 5"}, {29}, true},
        {"card slipped during IR", {"fw,      card slipped during IR"}, {}, true},
        {"Scan timeout", {"fw,      Scan timeout"}, {}, true},
        {"Undef IRQ 3", {"fw,      Undef IRQ 3"}, {-6}, false},
        {"card slipped, Card jammed, Undef IRQ",
         {"fw,      card slipped, Card jammed, Undef IRQ"},
         {29, -6},
         true},
    };
    for (const auto &c : cases) {
        const size_t before = States().size();
        monitor.cancelled = false;
        k274::imageSet.NatFr[0] = k274::imageSet.SliFr[0] = 9;
        scanner.events = {c.text};
        k274::PollStatus();
        EXPECT_EQ(TakeLog(), c.lines) << c.text;
        const std::vector<int> all = States();
        EXPECT_EQ(std::vector<int>(all.begin() + static_cast<ptrdiff_t>(before), all.end()), c.states)
            << c.text;
        EXPECT_EQ(monitor.cancelled, c.cancels) << c.text;
        const bool clears = std::strstr(c.text, "card slipped") || std::strstr(c.text, "Scan timeout");
        EXPECT_EQ(k274::imageSet.NatFr[0], clears ? 0 : 9) << c.text;
        EXPECT_EQ(k274::imageSet.SliFr[0], 9);
    }
}

TEST_F(StatusTest, EventsOfTheFirstSecondsAndUnendedTexts) {
    monitor.uptime = 1;
    scanner.events = {"Card in"};
    k274::PollStatus();
    EXPECT_THAT(Log(), IsEmpty());
    EXPECT_THAT(States(), IsEmpty());

    monitor.uptime = 2;
    scanner.events = {std::string(128, 'E')}; // fills the reply to its last byte
    k274::PollStatus();
    EXPECT_THAT(TakeLog(), ElementsAre("fw,      " + std::string(118, 'E')));
}

TEST_F(StatusTest, ResetNoticeReadsVersionsAndTablesAgain) {
    k274::SdVersion();
    scanner.replyKind = 1;
    monitor.uptime = 2;
    k274::PollStatus();
    EXPECT_THAT(States(), IsEmpty());
    monitor.uptime = 3;
    TheDriver().sent.clear();
    k274::PollStatus();
    EXPECT_THAT(States(), ElementsAre(12));
    // It asks for no firmware, so that the checks of the start follow.
    EXPECT_THAT(scripted::SentCodes(), ElementsAre(0x00, 0x7F, 0x13, 0x72, 0x60, 0x7F));
}

TEST_F(StatusTest, LinkStateTable) {
    const struct {
        int32_t before;
        bool good;
        int32_t after;
        std::vector<int> states;
        Texts lines; // without those of a port cycle
    } cases[] = {
        {1, false, 2, {}, {}},
        {2, true, 1, {}, {}},
        {2, false, 3, {}, {}},
        {3, true, 1, {}, {"usb,     Err cleared P3"}},
        {3, false, -1, {11}, {"usb,     DIS event"}},
        {-1, true, 1, {10}, {"usb,     CON event"}},
        {-1, false, -1, {}, {}},
        {0, true, 1, {10}, {"usb,     CON event"}},
        {0, false, 0, {}, {}},
    };
    for (const auto &c : cases) {
        const size_t before = States().size();
        state.linkState = c.before;
        TheDriver().calls.clear();
        k274::LinkStep(c.good);
        EXPECT_EQ(state.linkState, c.after);
        EXPECT_EQ(K274_UsbIsOnline(), c.after == 1);
        EXPECT_EQ(States().size() - before, c.states.size());
        if (!c.states.empty())
            EXPECT_EQ(States().back(), c.states[0]);
        const bool cycles = c.before == 2 && !c.good;
        EXPECT_THAT(TheDriver().calls, testing::Contains("WDU_ResetDevice 2").Times(cycles));
        Texts lines = TakeLog();
        if (!cycles)
            EXPECT_EQ(lines, c.lines) << c.before;
    }
    K274_Version version;
    k274::LinkStep(true);
    K274_GetVersion(&version);
    EXPECT_EQ(version.serialNumber, 4711u);
    state.linkState = 3;
    k274::LinkStep(false);
    K274_GetVersion(&version);
    EXPECT_EQ(version.serialNumber, 0u);
}

TEST_F(StatusTest, WaitsEndByTheirRules) {
    using Words = std::vector<uint16_t>;
    auto after = [](size_t polls, uint16_t last) {
        Words words(polls, 1);
        words.push_back(last);
        return words;
    };
    const struct {
        Words words;
        uint32_t mask;
        bool acceptIdle;
        int32_t result;
        size_t polls;
    } cases[] = {
        {{0x0006}, 0x0004, false, 6, 1},
        {{1, 1, 7}, 0x0006, false, 7, 3},
        {{0}, 0, false, 0, 1},
        {{1, 0}, 0x0004, true, 0, 2},
        {{0x8000}, 0x0004, false, 0x8000, 1},
        {after(179, 4), 0x0004, false, 4, 180},
        {after(180, 4), 0x0004, false, -1, 181},
        {after(190, 4), 0x0004, false, -1, 191},
        {{1}, 0x0004, false, -1, 200},
    };
    for (const auto &c : cases) {
        scanner.words = c.words;
        scanner.polls = 0;
        test_clock::Reset();
        EXPECT_EQ(k274::WaitForStatus(c.mask, c.acceptIdle), c.result);
        EXPECT_EQ(scanner.polls, c.polls);
        EXPECT_EQ(test_clock::TotalSlept(), 10 * (c.polls - (c.polls == 200 ? 0 : 1)));
    }
    scripted::Detach();
    EXPECT_EQ(k274::WaitForStatus(0x0004, false), -1);
    scripted::Attach();
    scanner.polls = 0;
    k274::running = false;
    k274::WaitForStatus(0x0004, false);
    EXPECT_EQ(scanner.polls, 0u);
}

} // namespace
