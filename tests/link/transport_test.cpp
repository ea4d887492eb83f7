#include "src/link/transport.h"

#include "src/link/attach.h"
#include "tests/support/library_fixture.h"

#include <gmock/gmock.h>

namespace {

using k274::CmdPkt;
using k274::transport;
using scripted::Bytes;
using scripted::Reply;
using scripted::Sent;
using scripted::TheDriver;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

struct TransportTest : LibraryTest {
    void SetUp() override {
        LibraryTest::SetUp();
        OpenDriver();
        TakeLog();
    }
    static void AnswerReads(Reply reply) {
        TheDriver().onRead = [reply](const Sent &, uint32_t) { return reply; };
    }
    static void AnswerSends(Reply reply) {
        TheDriver().onSend = [reply](const Sent &) { return reply; };
    }
};

TEST_F(TransportTest, FreshPacketIsZeroButForItsStatus) {
    CmdPkt packet;
    const uint8_t *bytes = packet.Bytes();
    for (size_t i = 0; i < k274::kPacketSize; ++i)
        EXPECT_EQ(bytes[i], i == 2 ? 0xFF : 0) << i;
}

TEST_F(TransportTest, SendsStampConsecutiveNumbers) {
    CmdPkt first(0x13), second(0x42), third(0x00);
    EXPECT_EQ(transport.SendCmd(first), 0u);
    EXPECT_EQ(transport.SendCmdHeader(second), 0u);
    EXPECT_EQ(transport.SendCmdData(third, 80), 0u);
    const auto &sent = TheDriver().sent;
    ASSERT_THAT(sent, SizeIs(3));
    EXPECT_THAT((std::vector<size_t>{sent[0].bytes.size(), sent[1].bytes.size(), sent[2].bytes.size()}),
                ElementsAre(256, 24, 80));
    for (size_t i = 0; i < 3; ++i)
        EXPECT_EQ(k274::Load32(&sent[i].bytes[12]), i + 1);
    EXPECT_THAT(TheDriver().calls, testing::Not(testing::Contains("wrong pipe or time-out")));
}

TEST_F(TransportTest, FailedSendsAreLoggedTwiceThenByVerbosity) {
    AnswerSends({0xC0000011});
    const struct {
        uint32_t verbose;
        Texts expected;
    } cases[] = {
        {0,
         {"usb,     WDU_Bulk_Out Err SendCmd(hdr) USBD_STATUS_XACT_ERROR 256",
          "usb,     WDU_Bulk_Out Err SendCmd(CMD_HDR) USBD_STATUS_XACT_ERROR 24",
          "usb,     WDU_Bulk_Out Err SendCmd(CMD_HDR) USBD_STATUS_XACT_ERROR 24"}},
        {1,
         {"usb,     WDU_Bulk_Out Err SendCmd(hdr) USBD_STATUS_XACT_ERROR 256",
          "usb,     WDU_Bulk_Out Err SendCmd(CMD_HDR) USBD_STATUS_XACT_ERROR 24",
          "usb,     WDU_Bulk_Out Err SendCmd(hdr) USBD_STATUS_XACT_ERROR 256",
          "usb,     WDU_Bulk_Out Err SendCmd(80:7A) USBD_STATUS_XACT_ERROR",
          "usb,     WDU_Bulk_In err ReadPacket(80:0) TIMEOUT_EXPIRED"}},
        {2,
         {"usb,     WDU_Bulk_Out Err SendCmd(hdr) USBD_STATUS_XACT_ERROR 256",
          "usb,     WDU_Bulk_Out Err SendCmd(CMD_HDR) USBD_STATUS_XACT_ERROR 24"}},
    };
    AnswerReads({0x20000015});
    for (const auto &c : cases) {
        transport.SetVerbose(c.verbose);
        scripted::Attach(); // counts anew
        TakeLog();
        CmdPkt packet(0x7A);
        EXPECT_EQ(transport.SendCmd(packet), 0xC0000011u);
        EXPECT_EQ(transport.SendCmdHeader(packet), 0xC0000011u);
        transport.SendCmdHeader(packet);
        transport.SendCmd(packet);
        EXPECT_EQ(transport.SendCmdData(packet, 80), 0xC0000011u);
        EXPECT_EQ(transport.ReadPacket(80), k274::kReadFailed);
        EXPECT_EQ(Log(), c.expected) << c.verbose;
    }
}

TEST_F(TransportTest, ShortSendIsLoggedAndReturnsItsStatus) {
    AnswerSends({0, {}, 255});
    CmdPkt packet(0x41);
    EXPECT_EQ(transport.SendCmd(packet), 0u);
    EXPECT_THAT(Log(), ElementsAre("usb,     WDU_Bulk_Out Err SendCmd(hdr) WD_STATUS_SUCCESS 256"));
}

TEST_F(TransportTest, DataRepliesByLength) {
    const struct {
        uint32_t asked;
        size_t came;
        int64_t claimed;
        uint32_t result;
        Texts lines;
    } cases[] = {
        {80, 336, -1, 1, {}},
        {80, 80, -1, 1, {}},
        {80, 20, -1, 1, {}},
        {4096, 4352, -1, 1, {}},
        {4096, 20, -1, 1, {}},
        {4096, 4096, -1, 0, {"usb,     ReadPacket  ?"}},
        {4096, 80, -1, 0, {"usb,     ReadPacket err pktsz 4096, xfred 80, sn 0:0"}},
        {4096, 0, -1, 0, {"usb,     ReadPacket err pktsz 4096, xfred 0, sn 0:0"}},
        {4096, 300000, -1, 0, {"usb,     ReadPacket err pktsz 4096, xfred 196608, sn 0:0"}},
        {80, 0, 0x7FFFFFFF, 0, {"usb,     ReadPacket err pktsz 80, xfred 2147483647, sn 0:0"}},
    };
    for (const auto &c : cases) {
        AnswerReads({0, Bytes(c.came), c.claimed});
        EXPECT_EQ(transport.ReadPacket(c.asked), c.result) << c.asked << ' ' << c.came;
        EXPECT_EQ(TakeLog(), c.lines) << c.asked << ' ' << c.came;
    }
}

TEST_F(TransportTest, ReplyErrorsAreLoggedSixTimesInARow) {
    CmdPkt packet;
    AnswerReads({0x123ABC});
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(transport.ReadPacketHdr(packet), 0u);
    EXPECT_EQ(TakeLog(), Texts(6, "usb,     WDU_Bulk_in err ReadPacket(hdr) 123ABC 256:0"));
    AnswerReads({0, Bytes(255)}); // incomplete, but the transfer itself went well
    EXPECT_EQ(transport.ReadPacketHdr(packet), 0u);
    AnswerReads({0x123ABC});
    transport.ReadPacketHdr(packet);
    EXPECT_THAT(Log(), SizeIs(1));
    AnswerReads({0, Bytes(256)});
    EXPECT_EQ(transport.ReadPacketHdr(packet), 1u);
}

TEST_F(TransportTest, ImagePacketsByLength) {
    std::vector<uint8_t> packet = Bytes(1000);
    packet[8] = 0x94;
    packet[9] = 0x08;
    const struct {
        Reply reply;
        uint32_t result;
        Texts lines;
    } cases[] = {
        {{0, packet}, 1, {}},
        {{0x20000015, {}}, 0, {"usb,     WDU_Bulk_In err ReadImgPkt(1000:0) TIMEOUT_EXPIRED "}},
        {{0, packet, 999}, 0, {"usb,     ReadImgPkt err ln 2196, pktsz 1000, xfred 999, sn -1:0"}},
        {{0, packet, 99999999}, 0, {"usb,     ReadImgPkt err ln 2196, pktsz 1000, xfred 99999999, sn -1:0"}},
    };
    for (const auto &c : cases) {
        AnswerReads(c.reply);
        EXPECT_EQ(transport.ReadImgPkt(transport.imagePacketBuffer, 1000), c.result);
        EXPECT_EQ(TakeLog(), c.lines);
    }
}

TEST_F(TransportTest, WithoutScannerNothingIsTransferred) {
    scripted::Detach();
    TheDriver().sent.clear();
    CmdPkt packet;
    EXPECT_EQ(transport.SendCmd(packet), 0xFFFFFFFFu);
    EXPECT_EQ(transport.SendCmdHeader(packet), 0xFFFFFFFFu);
    EXPECT_EQ(transport.LastOutStatus(), 0u);
    EXPECT_EQ(transport.SendCmdData(packet, 80), 0xFFFFFFFFu);
    EXPECT_EQ(transport.LastOutStatus(), 0xC0007000u);
    EXPECT_EQ(transport.ReadPacketHdr(packet), 0x20000001u);
    EXPECT_EQ(transport.ReadPacket(80), 0x20000001u);
    EXPECT_EQ(transport.ReadImgPkt(transport.imagePacketBuffer, 1000), 0x20000001u);
    EXPECT_EQ(transport.WritePacket(0), 0x20000001u);
    EXPECT_THAT(TheDriver().sent, IsEmpty());
    EXPECT_FALSE(transport.HardReset());
    EXPECT_FALSE(transport.ResetPipes());
}

TEST_F(TransportTest, WritePacketSendsHeaderAndData) {
    EXPECT_EQ(transport.WritePacket(1000), 1u);
    EXPECT_THAT(TheDriver().sent[0].bytes, SizeIs(1256));
    EXPECT_EQ(TheDriver().sent[0].bytes[2], 0xFF);
    AnswerSends({0, {}, 1255});
    EXPECT_EQ(transport.WritePacket(1000), 0u);
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(TransportTest, CyclePortWaitsForTheScanner) {
    const Texts done = {"usb,     Cycle Port...", "usb,     Cycle Port OK", "usb,     Cycle Port offline"};
    auto with = [&](const char *last) {
        Texts lines = done;
        lines.push_back(last);
        return lines;
    };
    test_clock::Reset();
    transport.CyclePort(); // the scanner never goes
    EXPECT_EQ(TakeLog(), with("usb,     Cycle Port ONLINE"));
    EXPECT_EQ(test_clock::TotalSlept(), 100u + 500u);

    TheDriver().onReset = [](uint32_t) { scripted::Detach(); };
    test_clock::Reset();
    transport.CyclePort(); // the scanner goes and never comes back
    EXPECT_EQ(TakeLog(), with("usb,     Cycle Port OFFLINE"));
    EXPECT_EQ(test_clock::TotalSlept(), 100u + 1000u);

    test_clock::Reset();
    transport.CyclePort(); // there is none: the driver is not asked
    EXPECT_EQ(TakeLog()[1], "usb,     Cycle Port ERR");
    EXPECT_THAT(TheDriver().calls, testing::Contains("WDU_ResetDevice 2").Times(2));
}

TEST_F(TransportTest, FwCmdRetriesOnceAfterAReset) {
    const struct {
        std::vector<uint32_t> sends, reads; // statuses, one for each attempt
        bool result;
        size_t commands;
        int resets;
    } cases[] = {
        {{0}, {0}, true, 1, 0},        {{1}, {}, false, 1, 0},        {{0, 0}, {5, 0}, true, 2, 1},
        {{0, 0}, {5, 5}, false, 2, 1}, {{0, 1}, {5, 0}, false, 2, 1},
    };
    for (const auto &c : cases) {
        TheDriver().sent.clear();
        TheDriver().calls.clear();
        size_t sends = 0, reads = 0;
        TheDriver().onSend = [&](const Sent &) { return Reply{c.sends[sends++]}; };
        TheDriver().onRead = [&](const Sent &, uint32_t) { return Reply{c.reads[reads++], Bytes(256)}; };
        TakeLog();
        test_clock::Reset();
        CmdPkt packet(0x66);
        EXPECT_EQ(k274::FwCmd(packet), c.result);
        EXPECT_EQ(TheDriver().sent.size(), c.commands);
        EXPECT_THAT(TheDriver().calls, testing::Contains("WDU_ResetDevice 1").Times(c.resets));
        EXPECT_EQ(test_clock::TotalSlept(), c.resets * 320u);
        const Texts lines = Log();
        EXPECT_EQ(!lines.empty() && lines.back() == "usb,     ReadPacket ERR in FwCmd(), ResetDevice",
                  c.commands == 2 && !c.result);
    }
}

} // namespace
