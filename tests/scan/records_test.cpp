// What the exchanges leave in records and images, and the request for the last scan.
#include "include/k274.h"
#include "src/decoders/barcode.h"
#include "src/link/attach.h"
#include "src/maint/version.h"
#include "src/passes/stripe_pass.h"
#include "src/scan/startup.h"
#include "src/scan/status.h"
#include "src/state/flags.h"
#include "src/state/pass_results.h"
#include "src/state/records.h"
#include "tests/support/library_fixture.h"
#include "wire/bytes.h"

#include <gmock/gmock.h>

#include <cstring>

namespace {

using scripted::Bytes;
using scripted::Reply;
using scripted::Sent;
using scripted::TheDriver;
using testing::ElementsAre;
using testing::IsEmpty;

struct RecordsTest : ScannerTest {};

TEST_F(RecordsTest, StatusTakesTheReplyFieldByField) {
    TheDriver().onRead = [](const Sent &, uint32_t) {
        Reply reply{0, Bytes(336)};
        for (size_t i = 0; i < 80; ++i)
            reply.bytes[i] = static_cast<uint8_t>(i + 100);
        reply.bytes[4] = 0;
        return reply;
    };
    k274::passResults.measure = {3, 4, 1856, 1169, 1170, 0.f};
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

TEST_F(RecordsTest, VersionBlockIsFilled) {
    k274::SdVersion();
    k274::StartupChecks();
    K274_Version version;
    K274_GetVersion(&version);
    EXPECT_EQ(version.serialNumber, 4711u);
    EXPECT_EQ(version.serialNumber2Low, 77u);
    EXPECT_EQ(version.serialNumber2High, 5u);
    EXPECT_THAT(version.library, ElementsAre(2, 3, 7));
    EXPECT_THAT(version.barcodeLibrary, ElementsAre(1, 5));
    EXPECT_THAT(version.firmware, ElementsAre(2, 3, 7));
    EXPECT_THAT(version.fpga, ElementsAre(1, 12));
    EXPECT_EQ(version.hardware, 3);
    EXPECT_EQ(version.device38, 9);
    const auto *bytes = reinterpret_cast<const uint8_t *>(&version);
    EXPECT_EQ(bytes[27], 2);
    EXPECT_EQ(bytes[37], 3);
    // A silent scanner has no serial number; the rest stays.
    TheDriver().onRead = [](const Sent &, uint32_t) { return Reply{0x20000015}; };
    EXPECT_FALSE(k274::ReadVersion());
    K274_GetVersion(&version);
    EXPECT_EQ(version.serialNumber, 0u);
    EXPECT_THAT(version.firmware, ElementsAre(2, 3, 7));
}

TEST_F(RecordsTest, StripeImageAndTracksOutliveFaults) {
    const struct {
        uint8_t code;
        int first, count; // failing reads
        size_t blocks;    // of the image that arrive
        bool tracks;
    } cases[] = {{7, 0, 0, 20, true}, {7, 3, 1, 20, true}, {7, 3, 2, 2, true}, {0x20, 1, 1, 20, false}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.blocks);
        k274::ClearCapture();
        k274::records.magnetic.tracks[1].bits[0] = 77;
        int reads = 0;
        TheDriver().onRead = [&](const Sent &last, uint32_t) {
            if (last.code == c.code && ++reads >= c.first && reads < c.first + c.count)
                return Reply{5};
            Reply reply = scanner.Answer(last);
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
    }
}

TEST_F(RecordsTest, BareRepliesAreBlackNotStale) {
    TheDriver().onRead = [&](const Sent &last, uint32_t) {
        Reply reply = scanner.Answer(last);
        if (last.code == 7 || last.code == 0x20)
            reply.bytes = Bytes(20, 0xEE);
        return reply;
    };
    k274::XfrMS();
    const uint8_t *image = K274_GetImgMsIr();
    EXPECT_EQ(std::count(image, image + 640 * 900, 0), 640 * 900);
    // The poll before has left its bytes in the buffer.
    scanner.words = {0x1234};
    K274_Status record;
    k274::PollStatus();
    TheDriver().onRead = [](const Sent &, uint32_t) { return Reply{0, Bytes(20, 3)}; };
    EXPECT_EQ(k274::PollStatus(), 0x0303);
    K274_UpdateStatus(&record);
    EXPECT_EQ(record.device36, 0);
}

TEST_F(RecordsTest, MonitorTakesTheRequestUnlessTheScanIsCleared) {
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
