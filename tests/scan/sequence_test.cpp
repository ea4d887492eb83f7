// White cards, and the scan that is sent again.
#include "src/scan/sequence.h"

#include "include/k274.h"
#include "src/link/attach.h"
#include "src/scan/resend.h"
#include "src/state/flags.h"
#include "src/state/monitor_record.h"
#include "tests/support/library_fixture.h"

#include <gmock/gmock.h>

#include <cstring>

namespace {

using scripted::Reply;
using scripted::Sent;
using scripted::TheDriver;
using testing::ElementsAre;
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
};

constexpr uint16_t kEnd = 0x8000;
const std::vector<uint16_t> kWholeScan = {3, 7, 0x1F, 0x5F, 0, 0};

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

TEST_F(SequenceTest, ResendDecodesBothImagesBeforeItsEnd) {
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

TEST_F(SequenceTest, MonitorTakesTheRequestUnlessTheScanIsCleared) {
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
