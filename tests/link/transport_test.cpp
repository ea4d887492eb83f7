// Packets to and from the scanner: lengths, statuses, retries and what is logged.
#include "src/link/transport.h"

#include "src/link/attach.h"
#include "tests/support/library_fixture.h"

#include <gmock/gmock.h>

#include <tuple>

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

TEST_F(TransportTest, SendsTheirLengthsWithConsecutiveNumbers) {
    CmdPkt first(0x13), second(0x42), third(0x00);
    EXPECT_EQ(transport.SendCmd(first), 0u);
    EXPECT_EQ(transport.SendCmdHeader(second), 0u);
    EXPECT_EQ(transport.SendCmdData(third, 80), 0u);
    EXPECT_EQ(transport.WritePacket(1000), 1u);
    const size_t lengths[] = {256, 24, 80, 1256};
    ASSERT_THAT(TheDriver().sent, SizeIs(4));
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_THAT(TheDriver().sent[i].bytes, SizeIs(lengths[i]));
        EXPECT_EQ(TheDriver().sent[i].bytes[2], 0xFF) << "status of a fresh packet";
        if (i < 3) {
            EXPECT_EQ(wire::Load32(&TheDriver().sent[i].bytes[12]), i + 1);
        }
    }
    EXPECT_THAT(TheDriver().calls, testing::Not(testing::Contains("wrong pipe or time-out")));
    AnswerSends({0, {}, 255});
    EXPECT_EQ(transport.WritePacket(1000), 0u);
    EXPECT_EQ(transport.SendCmd(first), 0u) << "a short send returns its status";
    EXPECT_THAT(Log(), ElementsAre("usb,     WDU_Bulk_Out Err SendCmd(hdr) WD_STATUS_SUCCESS 256"));
}

TEST_F(TransportTest, FailedSendsAreLoggedTwiceThenByVerbosity) {
    AnswerSends({0xC0000011});
    const std::string whole = "usb,     WDU_Bulk_Out Err SendCmd(hdr) USBD_STATUS_XACT_ERROR 256",
                      header = "usb,     WDU_Bulk_Out Err SendCmd(CMD_HDR) USBD_STATUS_XACT_ERROR 24",
                      data = "usb,     WDU_Bulk_Out Err SendCmd(80:7A) USBD_STATUS_XACT_ERROR",
                      read = "usb,     WDU_Bulk_In err ReadPacket(80:0) TIMEOUT_EXPIRED";
    const std::tuple<uint32_t, Texts> cases[] = {
        {0, {whole, header, header}}, {1, {whole, header, whole, data, read}}, {2, {whole, header}}};
    AnswerReads({0x20000015});
    for (const auto &[verbose, expected] : cases) {
        transport.SetVerbose(verbose);
        scripted::Attach(); // counts anew
        TakeLog();
        CmdPkt packet(0x7A);
        EXPECT_EQ(transport.SendCmd(packet), 0xC0000011u);
        EXPECT_EQ(transport.SendCmdHeader(packet), 0xC0000011u);
        transport.SendCmdHeader(packet);
        transport.SendCmd(packet);
        EXPECT_EQ(transport.SendCmdData(packet, 80), 0xC0000011u);
        EXPECT_EQ(transport.ReadPacket(80), k274::kReadFailed);
        EXPECT_EQ(Log(), expected) << verbose;
    }
}

TEST_F(TransportTest, DataRepliesByLength) {
    const std::string wrong = "usb,     ReadPacket err pktsz 4096, xfred ";
    const std::tuple<uint32_t, Reply, uint32_t, Texts> cases[] = {
        {80, {0, Bytes(336)}, 1, {}},
        {80, {0, Bytes(80)}, 1, {}},
        {4096, {0, Bytes(4352)}, 1, {}},
        {4096, {0, Bytes(20)}, 1, {}},
        {4096, {0, Bytes(4096)}, 0, {"usb,     ReadPacket  ?"}},
        {4096, {0, Bytes(80)}, 0, {wrong + "80, sn 0:0"}},
        {4096, {0, {}}, 0, {wrong + "0, sn 0:0"}},
        {4096, {0, Bytes(300000)}, 0, {wrong + "196608, sn 0:0"}},
        {4096, {0, {}, 0x7FFFFFFF}, 0, {wrong + "2147483647, sn 0:0"}}};
    for (const auto &[asked, reply, result, lines] : cases) {
        AnswerReads(reply);
        EXPECT_EQ(transport.ReadPacket(asked), result) << asked << ' ' << reply.bytes.size();
        EXPECT_EQ(TakeLog(), lines) << asked << ' ' << reply.bytes.size();
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
    const std::string wrong = "usb,     ReadImgPkt err ln 2196, pktsz 1000, xfred ";
    const std::tuple<Reply, uint32_t, Texts> cases[] = {
        {{0, packet}, 1, {}},
        {{0x20000015, {}}, 0, {"usb,     WDU_Bulk_In err ReadImgPkt(1000:0) TIMEOUT_EXPIRED "}},
        {{0, packet, 999}, 0, {wrong + "999, sn -1:0"}},
        {{0, packet, 99999999}, 0, {wrong + "99999999, sn -1:0"}}};
    for (const auto &[reply, result, lines] : cases) {
        AnswerReads(reply);
        EXPECT_EQ(transport.ReadImgPkt(transport.imagePacketBuffer, 1000), result);
        EXPECT_EQ(TakeLog(), lines);
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

TEST_F(TransportTest, CyclePortWaitsForTheScanner) {
    const auto cycle = [&](const char *last, uint32_t slept) {
        test_clock::Reset();
        transport.CyclePort();
        EXPECT_THAT(TakeLog(), ElementsAre("usb,     Cycle Port...", "usb,     Cycle Port OK",
                                           "usb,     Cycle Port offline", last));
        EXPECT_EQ(test_clock::TotalSlept(), slept);
    };
    cycle("usb,     Cycle Port ONLINE", 100 + 500); // the scanner never goes
    TheDriver().onReset = [](uint32_t) { scripted::Detach(); };
    cycle("usb,     Cycle Port OFFLINE", 100 + 1000); // it goes and never comes back
    transport.CyclePort();                            // there is none: the driver is not asked
    EXPECT_EQ(Log()[1], "usb,     Cycle Port ERR");
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
