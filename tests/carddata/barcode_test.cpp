// Decodes, their record, and the threads that run them, behind a scripted decoder.
#include "src/decoders/barcode.h"

#include "include/k274.h"
#include "platform/os/os.h"
#include "src/log/log.h"
#include "src/state/flags.h"
#include "src/state/line_buffers.h"
#include "src/state/measures.h"
#include "tests/support/library_fixture.h"
#include "tests/support/system.h"

#include <gmock/gmock.h>

#include <cstring>
#include <filesystem>
#include <future>

namespace {

using scripted::DecodeRequest;
using scripted::Symbol;
using scripted::TheDecoder;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr uint32_t kWatchdogMs = 200;
constexpr uint16_t kFrontLine = 200, kBackLine = 2000;

struct BarcodeTest : LibraryTest {
    void SetUp() override {
        LibraryTest::SetUp();
        K274_SetLogPath(folder.c_str());
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

Symbol Pdf(std::string text, uint16_t line = kFrontLine) {
    Symbol symbol{0x1000, std::move(text)};
    symbol.position[1] = line;
    return symbol;
}

TEST_F(BarcodeTest, RecordAndLineTellWhatWasRead) {
    Symbol large = Pdf("x", kBackLine);
    for (uint16_t &word : large.info)
        word = 300;
    Symbol notAccepted = Pdf("abc");
    notAccepted.info[0] = 0;
    Symbol atTheMiddle = Pdf("abc", 1350);
    Symbol turned = Pdf("abc", kBackLine);
    turned.orientation = 2;
    Symbol nowhere = Pdf("abc");
    nowhere.position[0] = 0;
    Symbol nowhereLinear{0x20, "AB1"};
    nowhereLinear.position[0] = 0;
    Symbol hostile = Pdf("abc");
    hostile.claimedLength = 2'000'000;
    const struct {
        const char *name;
        Symbol found;
        int pdf, linear, code, orientation;
        const char *line; // behind the duration
    } cases[] = {
        {"nothing", {}, 0, 0, 0, 0, "xxx  dur:, ori:0"},
        {"PDF417", Pdf("hello"), 5, 0, 12, 3, "PDF  dur:, ori:3, rc:12.05, m:002, w:041, l:005"},
        {"long PDF417", Pdf(std::string(2001, 'p'), kBackLine), 2000, 0, 12, 1,
         "PDF  dur:, ori:1, rc:12.05, m:002, w:041, l:2000"},
        {"large words", large, 1, 0, 12, 1, "PDF  dur:, ori:1, rc:255.255, m:255, w:255, l:001"},
        {"not accepted", notAccepted, 0, 0, 12, 3, "PDF  dur:, ori:3"},
        {"at the middle", atTheMiddle, 3, 0, 12, 0, "PDF  dur:, ori:0, rc:12.05, m:002, w:041, l:003"},
        {"turned", turned, 3, 0, 12, 2, "PDF  dur:, ori:2, rc:12.05, m:002, w:041, l:003"},
        // Without a place a PDF417 code keeps its orientation, a linear one does not.
        {"nowhere", nowhere, 3, 0, 12, 3, "PDF  dur:, ori:3, rc:12.05, m:002, w:041, l:003"},
        {"linear nowhere", nowhereLinear, 0, 3, 5, 0, "C39  dur:, ori:0, l:003"},
        {"Code 128", {0x10, std::string(91, 'l')}, 0, 90, 4, 3, "128  dur:, ori:3, l:090"},
        {"hostile", hostile, 0, 0, 12, 3, "PDF  dur:, ori:3"},
        {"unknown", {0x40, "q"}, 0, 0, 0, 3, "xxx  dur:, ori:3"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        TheDecoder().onDecode = [&](const DecodeRequest &request) {
            EXPECT_TRUE(request.lines == 2540 && request.pixels == 2300 && request.linear);
            return c.found;
        };
        k274::BarcodeRecord read;
        ASSERT_TRUE(k274::BcDecode(k274::BarcodeSource::Red0, k274::DrawBarcodeTicket(), false, read));
        const K274_Barcode record = Record();
        EXPECT_EQ(record.pdfLength, c.pdf);
        EXPECT_EQ(record.linearLength, c.linear);
        EXPECT_EQ(record.pdfCode + record.linearCode, c.code);
        EXPECT_EQ(record.orientation, c.orientation);
        EXPECT_EQ(record.decoder, 2);
        EXPECT_EQ(record.position[0], c.found.symbology ? c.found.position[0] : 0);
        EXPECT_EQ(PdfText(), c.found.text.substr(0, static_cast<size_t>(c.pdf)));
        EXPECT_EQ(std::memcmp(record.linearText, c.found.text.data(), static_cast<size_t>(c.linear)), 0);
        EXPECT_EQ(record.decoderMajor * 10 + record.decoderMinor, 15);
        EXPECT_STREQ(record.decoderText, "1.5.");
        k274::log.FlushDeferred();
        std::string line = TakeLog().back();
        EXPECT_EQ(line.substr(0, 16), "SD22,    00001, ");
        line.erase(line.find("dur:") + 4, 3);
        EXPECT_EQ(line.substr(16), c.line);
    }
}

// What the three decoders find, and what comes of it in each mode.
TEST_F(BarcodeTest, ModesChooseTheDecoders) {
    const struct {
        const char *name;
        int mode, backDark, irProgress;
        Symbol found[3];          // by decoders 1, 2 and 3
        std::vector<int> decoded; // in this order
        std::vector<int> states;
        std::vector<uint32_t> counters; // first, second, ended
        const char *text;
    } cases[] = {
        {"first reads", 0, 0, 1, {Pdf("A")}, {1}, {4}, {1, 0, 0}, "A"},
        {"first in peace", 1, 99, 1, {Pdf("A")}, {1}, {4}, {1, 0, 0}, "A"},
        {"plain image first", 2, 99, 1, {Pdf("A"), Pdf("B")}, {2}, {4}, {0, 1, 0}, "B"},
        {"second reads", 0, 0, 1, {{}, Pdf("B")}, {1, 2}, {4}, {0, 1, 0}, "B"},
        {"third reads", 0, 0, 1, {{}, {}, Pdf("C")}, {1, 2, 3}, {4}, {0, 0, 0}, "C"},
        {"no infrared image", 0, 0, -1, {{}, {}, Pdf("C")}, {1, 2}, {4}, {0, 0, 0}, ""},
        {"linear code in the first", 0, 0, 1, {{0x10, "L"}, {}, Pdf("C")}, {1, 2, 3}, {4}, {0, 0, 0}, "C"},
        {"linear code in the second", 0, 0, 1, {{}, {0x10, "L"}, Pdf("C")}, {1, 2}, {4}, {0, 0, 0}, ""},
        {"bright back", 3, 24, 1, {Pdf("A")}, {1}, {4}, {0, 1, 0}, "A"},
        {"dark back, after the delay", 3, 25, 1, {Pdf("A"), Pdf("B")}, {2}, {4}, {0, 1, 1}, "B"},
        {"dark back", 5, 25, 1, {Pdf("A"), Pdf("B")}, {}, {}, {0, 0, 0}, ""},
        {"bright enough", 9, 24, 1, {Pdf("A")}, {1}, {4}, {0, 1, 0}, "A"},
        {"dark back, not at all", 9, 26, 1, {Pdf("A")}, {}, {}, {0, 0, 0}, ""},
        {"mode card", 0, 0, 1, {Pdf("Decode Mode: 7")}, {1}, {4}, {0, 0, 0}, "Decode Mode: 7"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        TakeStates();
        TakeLog();
        k274::ClearBarcode();
        K274_SetBcDecMode(c.mode);
        k274::measures.whiteDark[1] = c.backDark;
        k274::state.irProgress = c.irProgress;
        test_clock::Hold(kWatchdogMs);
        std::vector<int> decoded;
        TheDecoder().onDecode = [&](const DecodeRequest &request) {
            decoded.push_back(Number(request));
            return c.found[decoded.back() - 1];
        };
        k274::StartBarcodeDecode();
        FinishInTime();
        EXPECT_EQ(decoded, c.decoded);
        EXPECT_EQ(States(), c.states);
        EXPECT_THAT(c.counters, ElementsAre(K274_GetBcDec1Cnt(), K274_GetBcDec2Cnt(), K274_GetBcDecKCnt()));
        EXPECT_EQ(PdfText(), c.text);
        const bool modeCard = std::string(c.name) == "mode card";
        EXPECT_EQ(K274_GetBcDecMode(), modeCard ? 7 : c.mode);
        const Texts log = Log();
        EXPECT_EQ(std::count(log.begin(), log.end(), "SD,      SetDecMode  7"), modeCard);
        EXPECT_EQ(std::count(log.begin(), log.end(), "SD,      BcdTimeout"), c.counters[2]);
    }
}

TEST_F(BarcodeTest, KnownMisreadsAreDropped) {
    std::string longText(325, 'n'), shortText(207, 's');
    longText.replace(119, 6, "NORVA,");
    shortText.replace(39, 6, "FOCUS\n");
    const struct {
        std::string text;
        uint16_t line;
        bool byFirst, bySecond; // dropped
    } cases[] = {
        {longText, kFrontLine, true, true},          {shortText, kFrontLine, true, false},
        {longText, kBackLine, false, false},         {longText.substr(1), kFrontLine, false, false},
        {shortText + "s", kFrontLine, false, false},
    };
    k274::state.irProgress = -1;
    for (const auto &c : cases) {
        for (const bool first : {true, false}) {
            test_clock::Hold(kWatchdogMs);
            TheDecoder().onDecode = [&](const DecodeRequest &request) {
                return (Number(request) == 1) == first ? Pdf(c.text, c.line) : Symbol{};
            };
            k274::StartBarcodeDecode();
            FinishInTime();
            EXPECT_EQ(PdfText().empty(), first ? c.byFirst : c.bySecond) << c.text << c.line << first;
            EXPECT_THAT(TakeStates(), ElementsAre(4));
        }
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
    void Close() {
        gate = {};
        opened = gate.get_future();
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

TEST_F(OverdueTest, WhatEndsAScanEndsItsDecoders) {
    const struct {
        const char *name;
        std::function<void()> end;
    } ends[] = {
        {"new scan", [] { k274::ClearBarcode(); }},
        {"clear", [] { K274_Clear(0); }},
    };
    for (const auto &end : ends) {
        SCOPED_TRACE(end.name);
        end.end();
        gate.set_value();
        FinishInTime();
        EXPECT_EQ(PdfText(), "");
        EXPECT_THAT(States(), IsEmpty());
        EXPECT_EQ(K274_GetBcDecKCnt(), 0u);
        EXPECT_THAT(Log(), IsEmpty());
        Close();
        waiting = 0;
        test_clock::Hold(kWatchdogMs);
        k274::StartBarcodeDecode();
        Await([this] { return waiting == 1; });
    }
    gate.set_value();
}

TEST_F(BarcodeTest, ManyAbandonedDecodersLeaveTheLibraryGoing) {
    std::promise<void> gate;
    const std::shared_future<void> opened = gate.get_future();
    std::atomic<int> waiting{0};
    // Each keeps its image; when no place for another is left, decodes find nothing until one has ended.
    TheDecoder().onDecode = [&](const DecodeRequest &) {
        ++waiting;
        opened.wait();
        return Pdf("LATE");
    };
    for (int scan = 0; scan < 5; ++scan) {
        k274::ClearBarcode();
        k274::StartBarcodeDecode();
        Await([&] { return waiting >= std::min(scan + 1, 4) || !States().empty(); });
    }
    gate.set_value();
    Finish();
    k274::BarcodeRecord read;
    TheDecoder().onDecode = [](const DecodeRequest &) { return Pdf("AGAIN"); };
    EXPECT_TRUE(k274::BcDecode(k274::BarcodeSource::Red0, k274::DrawBarcodeTicket(), false, read));
    EXPECT_EQ(PdfText(), "AGAIN");
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
    const std::vector<uint8_t> colour = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    const struct {
        const char *name;
        int rows, columns, format;
        Symbol found;
        int result;
    } cases[] = {
        {"colour", 2, 2, 0, Pdf("abcd"), 4}, {"colour, linear", 2, 2, 24, {0x20, "XYZ"}, 3},
        {"grey", 3, 4, 1, Pdf("ab"), 2},     {"grey, linear", 3, 4, 1, {0x20, "XYZ"}, 0},
        {"empty", 0, 0, 1, {}, 0},           {"too high", 2701, 1, 1, {}, -1},
        {"too wide", 1, 2301, 1, {}, -1},    {"negative", -1, 5, 1, {}, -1},
        {"negative", 5, -1, 0, {}, -1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<uint8_t> first;
        TheDecoder().onDecode = [&](const DecodeRequest &request) {
            for (int row = 0; row < 3; ++row)
                first.insert(first.end(), request.image + row * 2300, request.image + row * 2300 + 4);
            return c.found;
        };
        EXPECT_EQ(K274_ReParseBC(colour.data(), c.rows, c.columns, c.format), c.result);
        if (c.result < 0) {
            EXPECT_THAT(TakeStates(), IsEmpty());
            continue;
        }
        EXPECT_THAT(TakeStates(), ElementsAre(4));
        EXPECT_EQ(std::filesystem::file_size(drive + "K274/BMP/K274_RED_REPARSE.bmp"), 2700u * 2300 + 1078);
        // The last row comes first; of colour pixels the third byte counts.
        if (c.rows == 2)
            EXPECT_THAT(first, ElementsAre(9, 12, 0, 0, 3, 6, 0, 0, 0, 0, 0, 0));
        else if (c.rows == 3)
            EXPECT_THAT(first, ElementsAre(9, 10, 11, 12, 5, 6, 7, 8, 1, 2, 3, 4));
    }
    EXPECT_EQ(K274_ReParseBC(nullptr, 2, 2, 1), -1);
}

} // namespace
