#include "src/scan/sequence.h"

#include "include/k274.h"
#include "src/state/capture_state.h"
#include "src/state/flags.h"
#include "src/state/monitor_record.h"
#include "tests/support/library_fixture.h"
#include "wire/bytes.h"

#include <gmock/gmock.h>

namespace {

using scripted::Reply;
using scripted::Sent;
using scripted::TheDriver;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

struct SequenceTest : ScannerTest {
    void SetUp() override {
        ScannerTest::SetUp();
        K274_SetBcdOpt(0);
        k274::monitor.uptime = 5;
    }
    /// Runs one scan along these status words.
    void Scan(std::vector<uint16_t> words) {
        scanner.words = std::move(words);
        scanner.polls = 0;
        k274::ScanSequence();
    }
    /// The line index of a request, and its lines.
    static std::pair<int, int> Lines(const Sent &request) {
        return {wire::Load16(&request.bytes[8]), wire::Load16(&request.bytes[10])};
    }
};

constexpr uint16_t kEnd = 0x8000;
const std::vector<uint16_t> kWholeScan = {3, 7, 0x1F, 0x5F, 0, 0};

TEST_F(SequenceTest, ModeRDeliversStatesAndLinesInOrder) {
    K274_ScanMode(82);
    Scan({3, 7, kEnd});
    EXPECT_THAT(States(), ElementsAre(1, 2, 3, 5, 8));
    EXPECT_THAT(Log(), ElementsAre("image,   00001, MS   0:0:0", "image,   00001, RGB  Xfr[97920]...",
                                   "image,   00001, RGB  xfr 2100 lines, 000, 000"));
    EXPECT_EQ(k274::state.scanCounter, 1);
    // Tables, first wait, second scan, stripe image, tracks, LED, RGB wait, 175 blocks, LED, end.
    std::vector<uint8_t> codes = {0x13, 0x00, 0x66};
    codes.insert(codes.end(), 20, 0x07);
    codes.insert(codes.end(), {0x20, 0x73, 0x00});
    codes.insert(codes.end(), 175, 0x01);
    codes.insert(codes.end(), {0x73, 0x00});
    EXPECT_EQ(scripted::SentCodes(), codes);
    Scan({3, 7, kEnd});
    EXPECT_EQ(Log().back(), "image,   00002, RGB  xfr 2100 lines, 000, 000");
}

TEST_F(SequenceTest, FullModeFetchesEveryLine) {
    K274_IrEnhance(0);
    Scan(kWholeScan);
    // Black pictures have other lengths in each light.
    EXPECT_THAT(States(), ElementsAre(1, 2, 3, 5, 6, 7, 23, 8));
    EXPECT_THAT(
        Log(),
        ElementsAre("image,   00001, MS   0:0:0", "image,   00001, RGB  Xfr[97920]...",
                    "image,   00001, RGB  xfr 2100 lines, 000, 000", "image,   00001, IR   Xfr[29920]...",
                    "image,   00001, IR   xfr 2200 lines, 000, 000", "image,   00001, UV   Xfr[24624]...",
                    "image,   00001, UV   xfr 1200 lines, 000, 000", "UV  FPGA LED test 0.0 - Warning Uv 1"));
    EXPECT_EQ(scripted::SentPackets(0x66).at(0).bytes[1], 1);
    const struct {
        uint8_t code;
        size_t packets;
        int first, last, lines, status;
    } cases[] = {
        {0x07, 20, 0, 608, 32, 0xFF},
        {0x01, 175, 2188, 100, 12, 0xFF},
        {0x02, 200, 100, 2289, 11, 0},
        {0x03, 200, 1194, 0, 6, 0xFF},
    };
    for (const auto &c : cases) {
        const auto requests = scripted::SentPackets(c.code);
        ASSERT_EQ(requests.size(), c.packets) << int{c.code};
        EXPECT_EQ(Lines(requests.front()), std::make_pair(c.first, c.lines));
        EXPECT_EQ(Lines(requests.back()), std::make_pair(c.last, c.lines));
        EXPECT_EQ(requests.front().bytes.size(), c.code == 7 ? 256u : 24u);
        EXPECT_EQ(requests.front().bytes[2], c.status);
    }
}

TEST_F(SequenceTest, OtherLastScanModesFetchNoUltravioletLines) {
    K274_LstScan(3, 0);
    Scan(kWholeScan);
    EXPECT_THAT(States(), ElementsAre(1, 2, 3, 5, 6, 7, 8));
    EXPECT_EQ(scripted::CountSent(0x03), 0);
}

TEST_F(SequenceTest, EveryCancellationSaysWhy) {
    const struct {
        std::vector<uint16_t> words;
        int failing; // command whose reads fail, or -1
        const char *line;
        std::vector<int> states;
    } cases[] = {
        {{0x1001}, -1, "EV_CANCEL - Card jam", {1, 9}},
        {{0x3001}, -1, "EV_CANCEL - Card jam", {1, 9}},
        {{0x2001}, -1, "EV_CANCEL - Cleaning card", {1, 34, 9}},
        {{0x0001}, -1, "EV_CANCEL - Timeout", {1, 9}},
        {{0x0002}, -1, "EV_CANCEL - Timeout waiting for STE_SCAN_RGB", {1, 2, 9}},
        {{3, 7, 7}, 1, "EV_CANCEL - Error during XfrRGB", {1, 2, 9}},
        {{3, 7, 0x1000}, 1, "EV_CANCEL - Card jam during XfrRGB", {1, 2}},
        {{0x0006}, -1, "EV_CANCEL - Timeout waiting for STE_SCAN_IR", {1, 2, 3, 5, 9}},
        {{3, 7, 0x1F}, 2, "EV_CANCEL - Timeout waiting for XfrIR", {1, 2, 3, 5, 9}},
        {{0x0016}, -1, "EV_CANCEL - Timeout waiting for STE_SCAN_LST", {1, 2, 3, 5, 6, 9}},
        {{3, 7, 0x1F, 0x5F, 0}, 3, "EV_CANCEL - Error during XfrUV", {1, 2, 3, 5, 6, 9}},
        {{3, 7, 0x1F, 0x5F, 0x1000}, 3, "EV_CANCEL - Card jam during XfrUV", {1, 2, 3, 5, 6}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.line);
        TheDriver().onRead = [&](const Sent &last, uint32_t size) {
            return last.code == c.failing ? Reply{5} : scanner.Answer(last, size);
        };
        Scan(c.words);
        EXPECT_EQ(TakeLog().back(), std::string("image,   ") + c.line);
        EXPECT_EQ(TakeStates(), c.states);
        EXPECT_EQ(k274::state.scanCounter, 0);
    }
}

TEST_F(SequenceTest, EventCancelsWithoutALine) {
    for (const size_t poll : {2u, 3u}) {
        TheDriver().onRead = [&](const Sent &last, uint32_t size) {
            if (last.code == 0x00 && scanner.polls == poll)
                scanner.events = {"Card jammed"};
            return scanner.Answer(last, size);
        };
        Scan({3, 7, 0x1F, 0x5F});
        const std::vector<int> states = TakeStates();
        if (poll == 2)
            EXPECT_THAT(states, ElementsAre(1, 2, 3, 5, 29, 9));
        else
            EXPECT_THAT(states, ElementsAre(1, 2, 3, 5, 6, 29, 9));
        EXPECT_EQ(Log().back(), "fw,      Card jammed");
    }
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
        Scan({0x2001}); // gets no further than its first wait
        Texts lines = TakeLog();
        Texts expected = c.first;
        expected.push_back("image,   CCD illum table is not valid");
        lines.resize(expected.size());
        EXPECT_EQ(lines, expected);
        EXPECT_EQ(States().back(), 9);
    }
    scanner.Serve();
    Scan({0x2001});
    EXPECT_EQ(k274::ccdPix.valid, 1);
}

TEST_F(SequenceTest, WhiteCardsAreToldByTheirBarcode) {
    const struct {
        const char *forward, *backward; // what the decoder reads in each region
        int state;                      // after 8; 0 none
        const char *line;               // of the log
        const char *text;               // in the record
        int number;                     // sent to the scanner; -1 nothing
    } cases[] = {
        {"C1A.123", "", 31, "image,   WCC Calibra fwd (123)", "C1A.123", 123},
        {"", "C1A.123", 33, "image,   WCC Calibra rev (123)", "V1A.123", 123},
        {"C1A-123", "F1B.300", 32, "image,   WCC Factory rev (300)", "f1B.300", 44},
        {"F1B.007", "", 35, "image,   WCC Factory fwd (7)", "F1B.007", 7},
        {"F2B.007", "", 0, "image,   WCC Factory fwd (7)", "F2B.007", 7}, // not a maintenance card
        {"X1B.007", "toolongtext", 0, nullptr, "", -1},
    };
    // A picture as bright as a white card.
    TheDriver().onRead = [&](const Sent &last, uint32_t size) {
        Reply reply = scanner.Answer(last, size);
        if (last.code == 1)
            std::fill(reply.bytes.begin() + 24, reply.bytes.end(), uint8_t{180});
        return reply;
    };
    for (const bool visibleOnly : {true, false}) {
        K274_ScanMode(visibleOnly ? 82 : 0);
        for (const auto &c : cases) {
            SCOPED_TRACE(c.forward);
            int region = 0;
            scripted::TheDecoder().onDecode = [&](const scripted::DecodeRequest &request) {
                EXPECT_TRUE(request.lines == 280 && request.pixels == 632 && !request.linear);
                const char *text = ++region == 1 ? c.forward : c.backward;
                return *text ? scripted::Symbol{0x1000, text} : scripted::Symbol{};
            };
            TheDriver().sent.clear();
            TakeLog();
            if (visibleOnly)
                Scan({3, 7, kEnd});
            else
                Scan(kWholeScan);
            std::vector<int> after = TakeStates();
            EXPECT_THAT(after, testing::Contains(30));
            after.erase(after.begin(), std::find(after.begin(), after.end(), 8) + 1);
            // A scan of visible light alone tells only which way the card was put in.
            const bool maintenance = c.text[0] && c.text[1] == '1';
            const int state = !visibleOnly || !maintenance ? c.state : *c.backward ? 33 : 31;
            after.erase(std::remove(after.begin(), after.end(), 23), after.end());
            if (state)
                EXPECT_THAT(after, ElementsAre(state));
            else
                EXPECT_THAT(after, IsEmpty());
            if (c.line)
                EXPECT_THAT(Log(), testing::Contains(c.line));
            K274_Barcode record;
            K274_GetBC(&record);
            EXPECT_EQ(record.pdfLength, std::string(c.text).size());
            EXPECT_EQ(std::string(reinterpret_cast<char *>(record.pdfText), 7).c_str(), std::string(c.text));
            const auto numbers = scripted::SentPackets(0x16);
            ASSERT_EQ(numbers.size(), c.number >= 0 ? 1u : 0u);
            if (c.number >= 0)
                EXPECT_EQ(numbers[0].bytes[1], c.number);
            EXPECT_EQ(scripted::CountSent(0x60),
                      maintenance + (!visibleOnly && c.state == 35)); // read, written
        }
    }
}

} // namespace
