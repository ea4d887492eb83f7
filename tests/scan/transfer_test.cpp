#include "include/k274.h"
#include "src/common/running.h"
#include "src/link/attach.h"
#include "src/passes/hires_pass.h"
#include "src/passes/line_transfer.h"
#include "src/scan/resend.h"
#include "src/state/flags.h"
#include "src/state/session.h"
#include "tests/support/library_fixture.h"

#include <gmock/gmock.h>

#include <cstring>

namespace {

using scripted::Bytes;
using scripted::Reply;
using scripted::Sent;
using scripted::TheDriver;
using testing::ElementsAre;
using testing::IsEmpty;

struct TransferTest : ScannerTest {
    void SetUp() override {
        ScannerTest::SetUp();
        K274_SetBcdOpt(0);
    }
};

bool Rgb() { return k274::XfrRgb(); }
bool Ir() { return k274::XfrIR(); }
bool Uv() { return k274::XfrUV(); }

TEST_F(TransferTest, FaultsAreRetriedCountedAndJudged) {
    const struct {
        const char *name;
        bool (*pass)();
        uint8_t code;
        int first, count; // the n-th exchange of the pass fails, and as many after it
        bool read;
        bool good;
        uint32_t errors;
        Texts lines; // among the log's
    } cases[] = {
        {"RGB send once", Rgb, 1, 10, 1, false, true, 1, {}},
        {"RGB read once", Rgb, 1, 10, 1, true, true, 1, {"XfrRgb USB ReadImgPkt retry OK, ln 2080 left"}},
        {"RGB send twice", Rgb, 1, 10, 2, false, false, 1, {"XfrRgb USB SendCmd err"}},
        {"RGB read twice", Rgb, 1, 10, 2, true, false, 1, {"XfrRgb USB ReadImgPkt retry FAIL, ln 2080 left"}},
        // The failed request counts in the RGB index: 220 passes, 232 does not.
        {"RGB late enough", Rgb, 1, 165, 2, true, true, 1, {"XfrRgb USB ReadImgPkt retry FAIL, ln 220 left"}},
        {"RGB too early", Rgb, 1, 164, 2, true, false, 1, {"XfrRgb USB ReadImgPkt retry FAIL, ln 232 left"}},
        {"IR send once", Ir, 2, 10, 1, false, true, 1, {}},
        {"IR read once", Ir, 2, 10, 1, true, true, 1, {"XfrIR USB ReadImgPkt retry OK, ln 199"}},
        {"IR send twice", Ir, 2, 10, 2, false, false, 2, {"XfrIR USB SendCmd err"}},
        // The IR index counts packets that were handled: 2278 passes.
        {"IR late enough", Ir, 2, 199, 2, true, true, 1, {"XfrIR USB ReadImgPkt retry FAIL, ln 2278"}},
        {"IR too early", Ir, 2, 198, 2, true, false, 1, {"XfrIR USB ReadImgPkt retry FAIL, ln 2267"}},
        {"UV read once", Uv, 3, 10, 1, true, true, 1, {"XfrUV USB ReadImgPkt retry OK, ln 1140 left"}},
        {"UV send twice", Uv, 3, 10, 2, false, false, 1, {"XfrUV USB SendCmd err"}},
        // UV counts lines: 1092 pass, 1086 do not.
        {"UV late enough", Uv, 3, 183, 2, true, true, 1, {"XfrUV USB ReadImgPkt retry FAIL, ln 102 left"}},
        {"UV too early", Uv, 3, 182, 2, true, false, 1, {"XfrUV USB ReadImgPkt retry FAIL, ln 108 left"}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        K274_ClrXfrErrs();
        scripted::Attach();
        TakeLog();
        TheDriver().calls.clear();
        k274::state.beepRequest = 0;
        int sends = 0, reads = 0;
        auto hits = [&](int number) { return number >= c.first && number < c.first + c.count; };
        TheDriver().onSend = [&](const Sent &sent) {
            return Reply{!c.read && sent.code == c.code && hits(++sends) ? 5u : 0u};
        };
        TheDriver().onRead = [&](const Sent &last, uint32_t size) {
            return c.read && last.code == c.code && hits(++reads) ? Reply{5} : scanner.Answer(last, size);
        };
        EXPECT_EQ(c.pass(), c.good);
        EXPECT_EQ(K274_GefXfrErrs(), c.errors);
        EXPECT_EQ(std::count(TheDriver().calls.begin(), TheDriver().calls.end(), "WDU_ResetDevice 1"),
                  c.errors);
        EXPECT_EQ(k274::state.beepRequest, c.read && c.count == 2 ? 0x100 : 0);
        const Texts log = TakeLog();
        for (const std::string &line : c.lines)
            EXPECT_THAT(log, testing::Contains("usb,     " + line));
    }
}

TEST_F(TransferTest, KeepsItsDistanceFromTheHead) {
    // The host waits when it has come within four packets of the head.
    struct Step {
        int packet, progress;
    };
    const struct {
        bool (*pass)();
        uint8_t code;
        uint32_t wait;
        std::vector<Step> waiting, going;
    } cases[] = {
        // RGB packet n is index 2200 - 12 n, the head stands at 2300 - progress: 47 lines wait, 48 do not.
        {Rgb, 1, 10, {{5, 207}, {7, 231}, {9, 1}}, {{1, 0}, {2, 2300}, {3, 65535}, {6, 220}, {8, 244}}},
        // IR packet n is index 89 + 11 n, the head stands at progress: 43 lines wait, 44 do not.
        {Ir, 2, 10, {{1, 143}, {3, 1}, {4, 176}}, {{2, 0}, {5, 188}, {6, 2400}}},
        // UV packet n is index 1200 - 6 n, the head stands at 1200 - progress: 23 lines wait, 24 do not.
        {Uv, 3, 20, {{2, 35}, {4, 1}}, {{1, 0}, {3, 42}, {5, 1200}}},
    };
    for (const auto &c : cases) {
        int packet = 0;
        TheDriver().onRead = [&](const Sent &last, uint32_t size) {
            scanner.progress = 65535;
            if (last.code == c.code) {
                ++packet;
                for (const auto *steps : {&c.waiting, &c.going})
                    for (const Step &step : *steps)
                        if (step.packet == packet)
                            scanner.progress = step.progress;
            }
            return scanner.Answer(last, size);
        };
        test_clock::Reset();
        EXPECT_TRUE(c.pass());
        // The preset's wait and the LED's are 10 ms each.
        const size_t others = c.wait == 10 ? 2 : 0;
        const std::vector<uint32_t> sleeps = test_clock::Sleeps();
        EXPECT_EQ(std::count(sleeps.begin(), sleeps.end(), c.wait), c.waiting.size() + others) << int{c.code};
    }
}

TEST_F(TransferTest, EndBitStopsTheVisiblePassAndCloseStopsAll) {
    k274::state.statusWord = 0x8000;
    EXPECT_FALSE(k274::XfrRgb());
    EXPECT_EQ(scripted::CountSent(1), 1);
    k274::state.resendRequest = 1;
    EXPECT_TRUE(k274::XfrRgb());
    k274::running = false;
    TheDriver().sent.clear();
    EXPECT_FALSE(k274::XfrRgb() || k274::XfrIR() || k274::XfrUV());
    EXPECT_EQ(scripted::CountSent(1) + scripted::CountSent(2) + scripted::CountSent(3), 1);
}

TEST_F(TransferTest, StripeImageAndTracksOutliveFaults) {
    const struct {
        const char *name;
        uint8_t code;
        int first, count; // failing reads
        size_t blocks;    // of the image that arrive
        bool tracks;
        Texts lines;
    } cases[] = {
        {"all", 7, 0, 0, 20, true, {}},
        {"one block twice", 7, 3, 1, 20, true, {"usb,     MsrIrImg USB ReadImgPkt retry ok"}},
        {"one block lost", 7, 3, 2, 2, true, {"usb,     MsrIrImg USB ReadPacket err-2"}},
        {"tracks lost", 0x20, 1, 1, 20, false, {}},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        scripted::Attach();
        TakeLog();
        k274::session.ClearCapture();
        K274_ClrXfrErrs();
        k274::session.magnetic.tracks[1].bits[0] = 77;
        int reads = 0;
        TheDriver().onRead = [&](const Sent &last, uint32_t size) {
            if (last.code == c.code && ++reads >= c.first && reads < c.first + c.count)
                return Reply{5};
            Reply reply = scanner.Answer(last, size);
            if (last.code == 7)
                std::fill(reply.bytes.begin() + 256, reply.bytes.end(), uint8_t{33});
            return reply;
        };
        k274::XfrMS();
        const uint8_t *image = K274_GetImgMsIr();
        EXPECT_EQ(std::count(image, image + 640 * 900, 33), c.blocks * 32 * 900);
        EXPECT_EQ(std::count(image, image + 640 * 900, 192), (20 - c.blocks) * 32 * 900);
        K274_Magnetic record;
        K274_GetMag(&record);
        EXPECT_EQ(record.tracks[1].bits[0], c.tracks ? 0 : 77);
        EXPECT_EQ(K274_GefXfrErrs(), c.code == 7 && c.count ? 1u : 0u);
        const Texts log = TakeLog();
        for (const std::string &line : c.lines)
            EXPECT_THAT(log, testing::Contains(line));
    }
}

TEST_F(TransferTest, BareRepliesAreBlackNotStale) {
    TheDriver().onRead = [&](const Sent &last, uint32_t size) {
        Reply reply = scanner.Answer(last, size);
        if (last.code == 7 || last.code == 0x20)
            reply.bytes = Bytes(20, 0xEE);
        return reply;
    };
    k274::XfrMS();
    const uint8_t *image = K274_GetImgMsIr();
    EXPECT_EQ(std::count(image, image + 640 * 900, 0), 640 * 900);
    EXPECT_EQ(K274_GefXfrErrs(), 0u);
}

TEST_F(TransferTest, FirstLineOnRequest) {
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

TEST_F(TransferTest, ShortHiresCaptureIsRetriedAndJudged) {
    const struct {
        int first, count; // failing reads
        bool good;
        Texts lines; // behind those of the transport
    } cases[] = {
        {0, 0, true, {"image,   00001, 12S  xfr 1050 lines"}},
        {1,
         1,
         true,
         {"usb,     Xfr12S USB ReadPacket err-1, ln 0:0", "usb,     Xfr12S USB ReadPacket retry OK"}},
        {1, 2, false, {"usb,     Xfr12S USB ReadPacket retry FAIL", "image,   00001, 12S  xfr 5 lines"}},
    };
    for (const auto &c : cases) {
        scripted::Attach();
        TakeLog();
        TheDriver().sent.clear();
        int reads = 0;
        TheDriver().onRead = [&](const Sent &, uint32_t) {
            ++reads;
            return reads >= c.first && reads < c.first + c.count ? Reply{5} : Reply{0, Bytes(256 + 75000)};
        };
        EXPECT_EQ(k274::Xfr12S(), c.good);
        const Texts log = TakeLog();
        EXPECT_EQ(log.front(), "image,   00001, 12S  Xfr[75000]...");
        for (const std::string &line : c.lines)
            EXPECT_THAT(log, testing::Contains(line));
        if (c.count == 0)
            EXPECT_EQ(scripted::CountSent(0x08), 210);
    }
    TheDriver().onSend = [](const Sent &) { return Reply{5}; };
    EXPECT_FALSE(k274::Xfr12S());
    EXPECT_THAT(Log(), testing::Contains("usb,     Xfr12S USB SendCmd err"));
}

// ---- re-send

TEST_F(TransferTest, ResendReportsEveryStageWhateverFails) {
    const struct {
        uint8_t mode;
        bool failing;
        std::vector<int> states;
    } cases[] = {
        {0, true, {2, 3, 5, 6, 7, 8}},
        {0, false, {2, 3, 5, 6, 7, 8}},
        {82, false, {2, 3, 5, 8}},
    };
    k274::state.statusWord = 0x8000;
    k274::state.resendRequest = 1;
    for (const auto &c : cases) {
        K274_ScanMode(c.mode);
        TheDriver().onRead = [&](const Sent &last, uint32_t size) {
            return c.failing && last.code != 0 ? Reply{5} : scanner.Answer(last, size);
        };
        TakeLog();
        k274::ResendLastScan();
        EXPECT_EQ(TakeStates(), c.states);
        const Texts log = TakeLog();
        EXPECT_EQ(log[0], " ");
        EXPECT_EQ(log[1], "image,   Re-send last scan");
        if (c.failing)
            EXPECT_THAT(log, testing::Contains("image,   CCD illum table is not valid -rs"));
    }
    EXPECT_EQ(k274::state.scanCounter, 0);
}

TEST_F(TransferTest, ResendDecodesBothImagesBeforeItsEnd) {
    K274_SetBcdOpt(1);
    std::vector<std::string> texts = {"FIRST", "SECOND"};
    size_t decodes = 0;
    scripted::TheDecoder().onDecode = [&](const scripted::DecodeRequest &) {
        EXPECT_EQ(States().back(), 7);
        return scripted::Symbol{0x1000, texts.at(decodes++)};
    };
    k274::ResendLastScan();
    EXPECT_EQ(decodes, 2u);
    K274_Barcode record;
    K274_GetBC(&record);
    EXPECT_EQ(std::memcmp(record.pdfText, "SECOND", 7), 0);
    EXPECT_EQ(record.decoder, 2);
    EXPECT_EQ(States().back(), 8);
}

TEST_F(TransferTest, MonitorTakesTheRequestUnlessTheScanIsCleared) {
    k274::DriverUninit(); // the session opens one of its own
    K274_Init(0);
    Await([&] { return scanner.polls > 2; });
    K274_ReSend();
    Await([&] { return !States().empty() && States().back() == 8; });
    TakeStates();
    K274_Clear(0);
    K274_ReSend();
    const size_t polls = scanner.polls;
    Await([&] { return scanner.polls > polls + 4; });
    EXPECT_THAT(States(), IsEmpty());
    EXPECT_EQ(k274::state.resendRequest, 0);
}

} // namespace
