// Decodes, their record (barcode_reads.txt), and the threads that run them (barcode_modes.txt), behind a
// scripted decoder.
#include "src/decoders/barcode.h"

#include "include/k274.h"
#include "platform/os/os.h"
#include "src/decoders/barcode_threads.h"
#include "src/log/log.h"
#include "src/state/flags.h"
#include "src/state/line_buffers.h"
#include "src/state/measures.h"
#include "tests/support/data.h"
#include "tests/support/library_fixture.h"
#include "tests/support/system.h"

#include <gmock/gmock.h>

#include <cstring>
#include <filesystem>
#include <future>
#include <sstream>

namespace {

using scripted::DecodeRequest;
using scripted::Symbol;
using scripted::TheDecoder;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr uint32_t kWatchdogMs = 200;

struct BarcodeTest : LibraryTest {
    void SetUp() override {
        LibraryTest::SetUp();
        std::memset(k274::RGBc, 50, sizeof k274::RGBc);
        std::memset(k274::IRc, 77, sizeof k274::IRc);
        k274::measures.cardClass = -1;
        k274::SdVersion();
        TakeLog();
        test_clock::Hold(kWatchdogMs);
    }
    static K274_Barcode Record() {
        K274_Barcode record;
        K274_GetBC(&record);
        return record;
    }
    static std::string PdfText() {
        const K274_Barcode record = Record();
        return {reinterpret_cast<const char *>(record.pdfText), static_cast<size_t>(record.pdfLength)};
    }
    /// The decoder that a request belongs to, by what its image shows.
    static int Number(const DecodeRequest &request) {
        const uint8_t pixel = request.image[1000 * request.pixels + 500];
        return pixel == 77 ? 3 : pixel == 50 ? 2 : 1;
    }
    /// Waits for the decoders, in time before the watchdog wakes.
    void FinishInTime() {
        Await([] { return os::RunningThreads() <= 1; });
        Finish();
    }
    void Finish() {
        test_clock::Release();
        AwaitThreadsEnd();
        k274::log.FlushDeferred();
    }
};

Symbol Pdf(std::string text) { return {0x1000, std::move(text)}; }

TEST_F(BarcodeTest, RecordAndLineTellWhatWasRead) {
    for (const auto &row : Table("carddata/barcode_reads.txt")) {
        SCOPED_TRACE(row[0]);
        Symbol found;
        int times = 0;
        Take(row[1], found.symbology, times, found.claimedLength, found.orientation, found.position[0],
             found.position[1]);
        while (times-- > 0)
            found.text += row[2];
        const auto info = Ints(row[3]);
        std::copy(info.begin(), info.end(), found.info);
        TheDecoder().onDecode = [&](const DecodeRequest &request) {
            EXPECT_TRUE(request.lines == 2540 && request.pixels == 2300 && request.linear);
            return found;
        };
        k274::BarcodeRecord read;
        ASSERT_TRUE(k274::BcDecode(k274::BarcodeSource::Red0, k274::DrawBarcodeTicket(), false, read));
        const K274_Barcode record = Record();
        EXPECT_THAT(Numbers(row[4]), ElementsAre(record.pdfLength, record.linearLength,
                                                 record.pdfCode + record.linearCode, record.orientation));
        EXPECT_EQ(record.decoder, 2);
        EXPECT_EQ(record.position[0], found.symbology ? found.position[0] : 0);
        EXPECT_EQ(PdfText(), found.text.substr(0, static_cast<size_t>(record.pdfLength)));
        EXPECT_EQ(std::memcmp(record.linearText, found.text.data(), static_cast<size_t>(record.linearLength)),
                  0);
        EXPECT_EQ(record.decoderMajor * 10 + record.decoderMinor, 15);
        EXPECT_STREQ(record.decoderText, "1.5.");
        k274::log.FlushDeferred();
        std::string line = TakeLog().back();
        line.erase(line.find("dur:") + 4, 3);
        EXPECT_EQ(line, "SD22,    00001, " + row[5]);
    }
}

/// Symbology, last line and text.
Symbol Found(const std::string &column) {
    std::istringstream words(column);
    Symbol symbol;
    words >> std::setbase(0) >> symbol.symbology >> symbol.position[1];
    std::getline(words.ignore(), symbol.text, '\0');
    return symbol;
}

TEST_F(BarcodeTest, ModesChooseTheDecoders) {
    for (const auto &row : Table("carddata/barcode_modes.txt")) {
        SCOPED_TRACE(row[0]);
        const Symbol found[] = {{}, Found(row[4]), Found(row[5]), Found(row[6])};
        TakeStates();
        TakeLog();
        k274::ClearBarcode();
        K274_SetBcDecMode(std::stoi(row[1]));
        k274::measures.whiteDark[1] = std::stoi(row[2]);
        k274::state.irProgress = std::stoi(row[3]);
        test_clock::Hold(kWatchdogMs);
        std::vector<int64_t> decoded;
        TheDecoder().onDecode = [&](const DecodeRequest &request) {
            decoded.push_back(Number(request));
            return found[decoded.back()];
        };
        k274::StartBarcodeDecode();
        FinishInTime();
        EXPECT_EQ(decoded, Numbers(row[7]));
        EXPECT_THAT(States(), testing::ElementsAreArray(Numbers(row[8])));
        EXPECT_THAT(Numbers(row[9]),
                    ElementsAre(K274_GetBcDec1Cnt(), K274_GetBcDec2Cnt(), K274_GetBcDecKCnt()));
        EXPECT_EQ(PdfText(), found[std::stoi(row[10])].text);
        const bool modeCard = row[0] == "mode card";
        EXPECT_EQ(K274_GetBcDecMode(), modeCard ? 7 : std::stoi(row[1]));
        const Texts log = Log();
        EXPECT_EQ(std::count(log.begin(), log.end(), "SD,      SetDecMode  7"), modeCard);
        EXPECT_EQ(std::count(log.begin(), log.end(), "SD,      BcdTimeout"), K274_GetBcDecKCnt());
    }
}

// A first decoder that is overdue, and what the library does meanwhile.
struct OverdueTest : BarcodeTest {
    void SetUp() override {
        BarcodeTest::SetUp();
        k274::state.irProgress = 1;
        TheDecoder().onDecode = [this](const DecodeRequest &request) {
            if (Number(request) != 1)
                return Pdf("SECOND");
            ++waiting;
            opened.wait();
            return Pdf("LATE");
        };
        k274::StartBarcodeDecode();
        Await([this] { return waiting == 1; });
    }
    std::promise<void> gate;
    std::shared_future<void> opened = gate.get_future();
    std::atomic<int> waiting{0};
};

TEST_F(OverdueTest, TheSecondDecoderTakesOver) {
    test_clock::Release();
    Await([] { return States().size() == 1; });
    EXPECT_EQ(PdfText(), "SECOND");
    EXPECT_EQ(Record().decoder, 2);
    EXPECT_THAT(States(), ElementsAre(4));
    gate.set_value();
    Finish();
    EXPECT_EQ(PdfText(), "SECOND");
    EXPECT_THAT(States(), ElementsAre(4));
    EXPECT_THAT((std::vector<uint32_t>{K274_GetBcDec1Cnt(), K274_GetBcDec2Cnt(), K274_GetBcDecKCnt()}),
                ElementsAre(0, 1, 1));
    const Texts log = Log();
    EXPECT_THAT(log, testing::Contains("SD,      BcdTimeout"));
    EXPECT_THAT(log, testing::Not(testing::Contains(HasSubstr("SD21"))));
}

TEST_F(OverdueTest, ClearEndsTheDecoders) {
    K274_Clear(0);
    gate.set_value();
    FinishInTime();
    EXPECT_EQ(PdfText(), "");
    EXPECT_THAT(States(), IsEmpty());
    EXPECT_EQ(K274_GetBcDecKCnt(), 0u);
    EXPECT_THAT(Log(), IsEmpty());
}

// Each keeps its image; when no place for another is left, decodes find nothing until one has ended.
TEST_F(OverdueTest, ManyAbandonedOnesLeaveTheLibraryGoing) {
    for (int scan = 2; scan <= 5; ++scan) {
        k274::ClearBarcode();
        k274::StartBarcodeDecode();
        Await([&] { return waiting >= std::min(scan, 4) || !States().empty(); });
    }
    gate.set_value();
    Finish();
    k274::BarcodeRecord read;
    EXPECT_TRUE(k274::BcDecode(k274::BarcodeSource::Red0, k274::DrawBarcodeTicket(), false, read));
    EXPECT_EQ(PdfText(), "SECOND");
}

TEST_F(BarcodeTest, WhiteCardsAreNotDecoded) {
    TheDecoder().onDecode = [](const DecodeRequest &) -> Symbol { throw std::logic_error("decoded"); };
    k274::measures.cardClass = 0;
    k274::StartBarcodeDecode();
    EXPECT_EQ(TakeLog().back(), "white,   00001, WC   [no BC]");
    EXPECT_THAT(States(), IsEmpty());
    k274::barcode.record.pdfLength = 7;
    k274::StartBarcodeDecode();
    EXPECT_THAT(States(), ElementsAre(4));
}

TEST_F(BarcodeTest, ReParseTakesAPictureOfTheHost) {
    const std::string drive = DriveC(folder);
    std::filesystem::create_directories(drive + "K274/BMP");
    const uint8_t picture[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    for (const auto &row : Table("carddata/barcode_reparse.txt")) {
        SCOPED_TRACE(row[0]);
        std::vector<int64_t> seen;
        TheDecoder().onDecode = [&](const DecodeRequest &request) {
            for (int line = 0; line < 3; ++line)
                seen.insert(seen.end(), request.image + line * 2300, request.image + line * 2300 + 4);
            return Found(row[1]);
        };
        int32_t rows = 0, columns = 0, format = 0;
        Take(row[0], rows, columns, format);
        EXPECT_EQ(K274_ReParseBC(picture, rows, columns, format), std::stoi(row[2]));
        EXPECT_EQ(seen, Numbers(row[3]));
        EXPECT_EQ(TakeStates(), seen.empty() ? std::vector<int>{} : std::vector<int>{4});
        EXPECT_EQ(std::filesystem::file_size(drive + "K274/BMP/K274_RED_REPARSE.bmp"), 2700u * 2300 + 1078);
    }
    EXPECT_EQ(K274_ReParseBC(nullptr, 2, 2, 1), -1);
}

} // namespace
