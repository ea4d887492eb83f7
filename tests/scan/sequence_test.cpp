#include "src/scan/sequence.h"

#include "include/k274.h"
#include "src/capture/ccd_pix.h"
#include "src/common/bytes.h"
#include "src/common/state.h"
#include "src/link/session.h"
#include "src/scan/line_transfer.h"
#include "src/scan/monitor.h"
#include "src/scan/status.h"
#include "tests/support/library_fixture.h"

#include <gmock/gmock.h>

namespace {

using scripted::Bytes;
using scripted::Reply;
using scripted::Sent;
using scripted::TheDriver;
using testing::ElementsAre;
using testing::IsEmpty;

struct SequenceTest : LibraryTest {
    void SetUp() override {
        LibraryTest::SetUp();
        OpenDriver();
        scanner.Serve();
        k274::monitor.uptime = 5;
        TakeLog();
    }
    HealthyScanner scanner;
};

const char kRgbStart[] = "image,   00001, RGB  Xfr[97920]...";
const char kRgbEnd[] = "image,   00001, RGB  xfr 2100 lines, 000, 000";

TEST_F(SequenceTest, ModeRDeliversStatesAndLinesInOrder) {
    K274_ScanMode(82);
    scanner.words = {3, 7, 0x8000};
    k274::ScanSequence();
    EXPECT_THAT(States(), ElementsAre(1, 3, 5, 8));
    EXPECT_THAT(Log(), ElementsAre(kRgbStart, kRgbEnd));
    EXPECT_EQ(k274::state.scanCounter, 1);
    // Tables, first wait, second scan, RGB wait, 175 blocks, transfer LED, end.
    std::vector<uint8_t> codes = {0x13, 0x00, 0x66, 0x00};
    codes.insert(codes.end(), 175, 0x01);
    codes.insert(codes.end(), {0x73, 0x00});
    EXPECT_EQ(scripted::SentCodes(), codes);
    const auto blocks = scripted::SentPackets(0x01);
    EXPECT_EQ(blocks.front().bytes.size(), 24u);
    EXPECT_EQ(k274::Load16(&blocks.front().bytes[8]), 2188);
    EXPECT_EQ(k274::Load16(&blocks.front().bytes[10]), 12);
    EXPECT_EQ(k274::Load16(&blocks.back().bytes[8]), 100);

    scanner.polls = 0;
    k274::ScanSequence();
    EXPECT_EQ(Log().back(), "image,   00002, RGB  xfr 2100 lines, 000, 000");
}

TEST_F(SequenceTest, FullModeFollowsTheScannerToItsEnd) {
    scanner.words = {3, 7, 0x1F, 0x5F, 0, 0};
    K274_IrEnhance(0);
    k274::ScanSequence();
    EXPECT_THAT(States(), ElementsAre(1, 3, 5, 8));
    EXPECT_EQ(scripted::SentPackets(0x66).at(0).bytes[1], 1);
}

TEST_F(SequenceTest, EveryCancellationSaysWhy) {
    const struct {
        std::vector<uint16_t> words;
        const char *line;
        std::vector<int> states;
    } cases[] = {
        {{0x1001}, "EV_CANCEL - Card jam", {1, 9}},
        {{0x3001}, "EV_CANCEL - Card jam", {1, 9}},
        {{0x2001}, "EV_CANCEL - Cleaning card", {1, 34, 9}},
        {{0x0001}, "EV_CANCEL - Timeout", {1, 9}},
        {{0x0002}, "EV_CANCEL - Timeout waiting for STE_SCAN_RGB", {1, 9}},
        {{0x0006}, "EV_CANCEL - Timeout waiting for STE_SCAN_IR", {1, 3, 5, 9}},
        {{0x0016}, "EV_CANCEL - Timeout waiting for STE_SCAN_LST", {1, 3, 5, 9}},
    };
    for (const auto &c : cases) {
        const size_t before = States().size();
        scanner.words = c.words;
        scanner.polls = 0;
        k274::ScanSequence();
        EXPECT_EQ(TakeLog().back(), std::string("image,   ") + c.line);
        const std::vector<int> all = States();
        EXPECT_EQ(std::vector<int>(all.begin() + static_cast<ptrdiff_t>(before), all.end()), c.states)
            << c.line;
        EXPECT_EQ(k274::state.scanCounter, 0);
    }
}

TEST_F(SequenceTest, EventCancelsWithoutALine) {
    scanner.words = {3, 7, 0x1F};
    TheDriver().onRead = [&](const Sent &last, uint32_t size) {
        if (last.code == 0x00 && scanner.polls == 2)
            scanner.events = {"Card jammed"};
        return scanner.Answer(last, size);
    };
    k274::ScanSequence();
    EXPECT_THAT(States(), ElementsAre(1, 3, 5, 29, 9));
    EXPECT_THAT(Log().back(), "fw,      Card jammed");
}

TEST_F(SequenceTest, InvalidTablesAreToldAndTheScanGoesOn) {
    const struct {
        std::function<void(Reply &)> damage;
        Texts first;
    } cases[] = {
        {[](Reply &reply) { reply.status = 5; },
         {"usb,     WDU_Bulk_In err ReadPacket(18908:0) 5", "CcdPix::Init ReadPacket err"}},
        {[](Reply &reply) { reply.bytes[256] ^= 1; }, {"CcdPix::Init Len err"}},
        {[](Reply &reply) { reply.bytes[260] ^= 1; }, {}},
        {[](Reply &reply) { reply.bytes.resize(20); }, {"CcdPix::Init Len err"}},
    };
    scanner.words = {0x2001}; // the scan gets no further than its first wait
    for (const auto &c : cases) {
        scripted::Attach();
        TakeLog();
        TheDriver().onRead = [&](const Sent &last, uint32_t size) {
            Reply reply = scanner.Answer(last, size);
            if (last.code == 0x13)
                c.damage(reply);
            if (reply.status)
                reply.bytes.clear();
            return reply;
        };
        scanner.polls = 0;
        k274::ScanSequence();
        Texts lines = TakeLog();
        Texts expected = c.first;
        expected.push_back("image,   CCD illum table is not valid");
        lines.resize(expected.size());
        EXPECT_EQ(lines, expected);
        EXPECT_EQ(States().back(), 9);
    }
    scanner.Serve();
    scanner.polls = 0;
    k274::ScanSequence();
    EXPECT_EQ(k274::ccdPix.valid, 1);
}

// Fails the n-th send or read of image lines, and as many after it.
struct LineFault {
    int first, count;
    bool read;
};

TEST_F(SequenceTest, LineFaultsAreRetriedCountedAndJudged) {
    K274_ScanMode(82);
    const struct {
        const char *name;
        LineFault fault;
        uint32_t errors;
        std::vector<int> states;
        Texts lines; // the last ones
    } cases[] = {
        {"send once", {10, 1, false}, 1, {1, 3, 5, 8}, {}},
        {"read once",
         {10, 1, true},
         1,
         {1, 3, 5, 8},
         {"usb,     XfrRgb USB ReadImgPkt retry OK, ln 2080 left", kRgbEnd}},
        {"send twice",
         {10, 2, false},
         1,
         {1, 9},
         {"usb,     XfrRgb USB SendCmd err", "image,   00001, RGB  xfr 108 lines, 000, 000",
          "image,   EV_CANCEL - Error during XfrRGB"}},
        {"read twice",
         {10, 2, true},
         1,
         {1, 9},
         {"usb,     XfrRgb USB ReadImgPkt retry FAIL, ln 2080 left",
          "image,   00001, RGB  xfr 108 lines, 000, 000", "image,   EV_CANCEL - Error during XfrRGB"}},
        // The failed request counts in the index: 220 passes, 232 does not.
        {"late enough",
         {165, 2, true},
         1,
         {1, 3, 5, 8},
         {"usb,     XfrRgb USB ReadImgPkt retry FAIL, ln 220 left",
          "image,   00001, RGB  xfr 1968 lines, 000, 000"}},
        {"too early",
         {164, 2, true},
         1,
         {1, 9},
         {"usb,     XfrRgb USB ReadImgPkt retry FAIL, ln 232 left",
          "image,   00001, RGB  xfr 1956 lines, 000, 000", "image,   EV_CANCEL - Error during XfrRGB"}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        K274_ClrXfrErrs();
        k274::state.scanCounter = 0;
        scripted::Attach();
        TakeLog();
        const size_t before = States().size();
        scanner.words = {7, 7, 0};
        scanner.polls = 0;
        int sends = 0, reads = 0;
        auto hits = [&](int number) {
            return number >= c.fault.first && number < c.fault.first + c.fault.count;
        };
        TheDriver().onSend = [&](const Sent &sent) {
            return Reply{sent.code == 1 && hits(++sends) && !c.fault.read ? 5u : 0u};
        };
        TheDriver().onRead = [&](const Sent &last, uint32_t size) {
            if (last.code == 1 && hits(++reads) && c.fault.read)
                return Reply{0x20000015};
            return scanner.Answer(last, size);
        };
        k274::ScanSequence();
        EXPECT_EQ(K274_GefXfrErrs(), c.errors);
        const std::vector<int> all = States();
        EXPECT_EQ(std::vector<int>(all.begin() + static_cast<ptrdiff_t>(before), all.end()), c.states);
        Texts lines = TakeLog();
        ASSERT_GE(lines.size(), c.lines.size());
        EXPECT_EQ(Texts(lines.end() - static_cast<ptrdiff_t>(c.lines.size()), lines.end()), c.lines);
        EXPECT_EQ(scripted::CountSent(0x74), c.fault.read && c.fault.count == 2 ? 1 : 0);
        TheDriver().sent.clear();
    }
}

TEST_F(SequenceTest, JamDuringTheTransferEndsWithoutAState) {
    scanner.words = {7, 7, 0x1000};
    TheDriver().onRead = [&](const Sent &last, uint32_t size) {
        return last.code == 1 ? Reply{5} : scanner.Answer(last, size);
    };
    k274::ScanSequence();
    EXPECT_THAT(States(), ElementsAre(1));
    EXPECT_EQ(Log().back(), "image,   EV_CANCEL - Card jam during XfrRGB");
}

TEST_F(SequenceTest, TransferKeepsItsDistanceFromTheHead) {
    // The host waits when it has come within four packets, 48 lines, of the head.
    const struct {
        int packet, progress;
        bool waits;
    } cases[] = {
        // The n-th packet is that of index 2200 - 12 n; the head stands at index 2300 - progress.
        {1, 0, false},   {2, 2300, false}, {3, 65535, false}, {4, 2299, false}, {5, 207, true},
        {6, 220, false}, {7, 231, true},   {8, 244, false},   {9, 1, true},
    };
    int packet = 0;
    TheDriver().onRead = [&](const Sent &last, uint32_t size) {
        if (last.code == 1) {
            ++packet;
            scanner.progress = 2299;
            for (const auto &c : cases)
                if (c.packet == packet)
                    scanner.progress = c.progress;
        }
        return scanner.Answer(last, size);
    };
    test_clock::Reset();
    EXPECT_TRUE(k274::XfrRgb());
    const std::vector<uint32_t> sleeps = test_clock::Sleeps();
    // One before the first request and one after the LED beside those of the table.
    EXPECT_EQ(std::count(sleeps.begin(), sleeps.end(), 10u), 2 + 3);
}

TEST_F(SequenceTest, EndBitAndCloseStopTheTransfer) {
    k274::state.statusWord = 0x8000;
    EXPECT_FALSE(k274::XfrRgb());
    EXPECT_EQ(scripted::CountSent(1), 1);
    k274::state.statusWord = 4;
    k274::state.running = 0;
    EXPECT_FALSE(k274::XfrRgb());
    EXPECT_EQ(scripted::CountSent(1), 2);
}

TEST_F(SequenceTest, FirstLineOnRequest) {
    std::vector<uint8_t> line = Bytes(8160);
    for (size_t i = 0; i < 4; ++i)
        line[24 + i] = static_cast<uint8_t>(0x11 * (i + 1));
    const struct {
        bool attached;
        uint32_t sendStatus;
        Reply reply;
        uint32_t result;
    } cases[] = {
        {true, 0, {0, line}, 0x44332211},
        {true, 0x20000015, {}, 0x20000015},
        {true, 0, {0, Bytes(100)}, 0},
        {false, 0, {}, 0xFFFFFFFF},
    };
    for (const auto &c : cases) {
        TheDriver().onSend = [&](const Sent &) { return Reply{c.sendStatus}; };
        TheDriver().onRead = [&](const Sent &, uint32_t) { return c.reply; };
        if (!c.attached)
            scripted::Detach();
        EXPECT_EQ(K274_RdCcUv(), c.result);
    }
    EXPECT_EQ(K274_GefXfrErrs(), 0u);
    EXPECT_EQ(Log()[0], "image,   RGB get 1st line");
}

} // namespace
