// The jitter test: band, fringes, score, series, and what it draws.
#include "src/analysis/jitter.h"

#include "include/k274.h"
#include "src/analysis/jitter_chart.h"
#include "src/decoders/barcode.h"
#include "src/decoders/barcode_threads.h"
#include "src/decoders/jitter_step.h"
#include "src/state/barcode_state.h"
#include "src/state/flags.h"
#include "src/state/image_set.h"
#include "src/state/measures.h"
#include "src/state/records.h"
#include "tests/capture/drawings.h"
#include "tests/support/data.h"
#include "tests/support/images.h"
#include "tests/support/library_fixture.h"

#include <gtest/gtest.h>

#include <cstring>
#include <mutex>
#include <utility>

namespace k274 {
namespace {

// A place, an orientation and a text.
BarcodeRecord Read(std::istream &words) {
    BarcodeRecord read{};
    std::string text;
    words >> read.position[0] >> read.position[1] >> read.orientation >> std::ws;
    std::getline(words, text);
    read.pdfLength = static_cast<int16_t>(text.size());
    std::memcpy(read.pdfText, text.data(), text.size());
    return read;
}

// The rows that differ from the one before, and in them runs of one colour up to a column.
std::string Drawn(ConstColourView image) {
    std::string text, before;
    for (int row = 0; row < image.rows; row++) {
        std::string runs;
        for (int column = 1; column <= image.columns; column++) {
            const uint8_t *last = image.Pixel(row, column - 1);
            if (column == image.columns || std::memcmp(last, last + 3, 3) != 0)
                runs += ", " + Words(last[0], last[1], last[2]) + " to " + Words(column);
        }
        if (runs != before)
            text += Words(row) + runs + "\n";
        before = runs;
    }
    return text + "\n";
}

struct JitterTest : LibraryTest {};

TEST_F(JitterTest, BandScoreSeriesAndDrawings) {
    constexpr JitterBand kBand = {100, 1775, 130, 630, 744, 4};
    const ColourView natBk{imageSet.NatBk, K274_NAT_HEIGHT, K274_NAT_WIDTH};
    std::string drawn;
    state.scanCounter = 12;
    TakeLog();
    PlayDrawings(
        "analysis/jitter.txt", {{"natBk", natBk}},
        {{"Band",
          [&](auto &words) {
              const auto band = ChooseJitterBand(Read(words));
              return band ? Words(band->x0, band->x1, band->y0, band->y1, band->chartRow, band->divisor) : "";
          }},
         {"Fringes",
          [&](auto &words) {
              JitterBand band = kBand;
              words >> band.y0 >> band.y1 >> band.divisor;
              return WordsAt(MeasureFringes(natBk, band), words);
          }},
         {"Score",
          [&](auto &words) {
              FringeLevels levels{};
              size_t column = 1785; // the last columns that count are those before this one
              levels[1785] = levels[89] = 255;
              for (int columns = 0, level = 0; words >> columns >> level; column -= columns)
                  std::fill_n(&levels[column - columns], columns, level);
              return Words(JitterScore(levels, kBand));
          }},
         {"Chart",
          [&](auto &words) {
              FringeLevels levels{};
              words >> levels[1001] >> levels[1002];
              DrawJitterChart(kBand, levels, natBk);
              return "";
          }},
         {"Boxes",
          [&](auto &words) {
              int value = 0, most = 0;
              words >> value >> most;
              DrawJitterBoxes(kBand, value, most, natBk);
              return "";
          }},
         {"Test",
          [&](auto &words) {
              words >> records.version.serialNumber;
              barcode.record = Read(words);
              const int32_t result = k274::JitterTest();
              std::string found = Words(result >> 16, static_cast<int16_t>(result));
              for (const std::string &line : TakeLog())
                  found += ", " + line;
              return found;
          }},
         {"Drawn", [&](auto &) {
              drawn += Drawn(natBk);
              return "";
          }}});
    ExpectKept("analysis/jitter_drawn.txt", drawn);
}

// Reads of the jitter card's length alone keep the series.
TEST_F(JitterTest, DecodersEndIt) {
    measures.cardClass = -1;
    for (const auto &row : Table("analysis/jitter_reads.txt")) {
        SCOPED_TRACE(row[0] + ", " + row[1]);
        ClearBarcode();
        SetDecodeMode(1);
        measures.jitter.count = 3;
        size_t decoder = 0;
        scripted::TheDecoder().onDecode = [&](const scripted::DecodeRequest &) {
            const std::string &text = row[decoder++];
            return text.empty() ? scripted::Symbol{} : scripted::Symbol{0x1000, text};
        };
        StartBarcodeDecode();
        AwaitThreadsEnd();
        EXPECT_EQ(measures.jitter.count, std::stoi(row[2]));
    }
}

} // namespace
} // namespace k274
