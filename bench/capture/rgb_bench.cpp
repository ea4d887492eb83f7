// Every heavy step of the visible-light pass beside the same step as plain loops and a memcpy of the bytes
// that it moves, interleaved in one run. Prints the best CPU times and their ratios.
#include "src/analysis/image_processor.h"
#include "src/capture/measure.h"
#include "src/capture/rgb_lines.h"
#include "tests/support/reference_rgb.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace k274 {
namespace {

constexpr int kRepetitions = 15;
constexpr int kFirstBlock = 2188, kLastBlock = 100;
constexpr int kBlocks = (kFirstBlock - kLastBlock) / kRgbLinesPerPacket + 1;
constexpr size_t kImageBytes = size_t{kSensorRows} * kRgbColumns * 3;

// Static like the library's own buffers.
uint8_t lines[kBlocks][kRgbBlockBytes];
uint8_t rawBytes[kImageBytes], correctedBytes[kImageBytes];
uint8_t frontBytes[1180 * 1880 * 3], backBytes[1180 * 1880 * 3], edgeBytes[60 * 500 * 3];
RgbGains gains;
ImageProcessor processor;
ResponseTable rawTable, correctedTable;

const ColourView raw{rawBytes, kSensorRows, kRgbColumns};
const ColourView corrected{correctedBytes, kSensorRows, kRgbColumns};
const ColourView natFr{frontBytes, 1180, 1880}, natBk{backBytes, 1180, 1880}, edge{edgeBytes, 60, 500};

// A bright noisy card on dark ground.
void PrepareLines() {
    std::mt19937 random(1);
    for (int block = 0; block < kBlocks; block++)
        for (int i = 0; i < kRgbBlockBytes; i++) {
            const int line = kFirstBlock - block * kRgbLinesPerPacket + i / kRgbLineBytes;
            const int pixel = i % kRgbLineBytes / 3;
            const bool card = line > 290 && line < 2150 && ((pixel > 20 && pixel < 1155) || pixel > 1480);
            lines[block][i] = static_cast<uint8_t>((card ? 100 : 0) + (random() >> 8) % (card ? 128 : 8));
        }
    for (auto &row : gains)
        for (uint16_t &gain : row)
            gain = static_cast<uint16_t>(100 + random() % 227);
}

// ---- The steps: as plain loops, as the library does them, as copies

using Step = void (*)();

template <void (*store)(const uint8_t *, int, ColourView)>
void StoreLines() {
    for (int block = 0; block < kBlocks; block++)
        store(lines[block], kFirstBlock - block * kRgbLinesPerPacket, raw);
}
void CopyLines() {
    for (int block = 0; block < kBlocks; block++)
        std::memcpy(rawBytes + size_t{kRgbBlockBytes} * static_cast<size_t>(block), lines[block],
                    kRgbBlockBytes);
}

void PlainCopy() { reference::CopyImage(raw, corrected); }
void Copy() { CopyImage(raw, corrected); }
void CopyWhole() { std::memcpy(correctedBytes, rawBytes, kImageBytes); }

void PlainGain() {
    reference::CopyImage(raw, corrected);
    reference::RgbIllumGain(gains, corrected);
}
void Gain() { RgbIllumGain(raw, gains, corrected); }

template <void (*crop)(ColourView, ConstColourView, CardPosition &, ColourView, ColourView, ColourView)>
void Crop() {
    CardPosition position{};
    crop(raw, corrected, position, natFr, natBk, edge);
    benchmark::DoNotOptimize(position);
}
void CopyCrops() {
    std::memcpy(frontBytes, correctedBytes, sizeof frontBytes);
    std::memcpy(backBytes, correctedBytes + kImageBytes / 2, sizeof backBytes);
    std::memcpy(edgeBytes, rawBytes, sizeof edgeBytes);
}

// Copies a span of columns of so many rows, one after another, into a buffer that stays in the cache.
void CopySpans(ConstColourView image, int firstRow, int rows, int rowStep, int firstColumn, int columns) {
    static uint8_t span[kRgbColumns * 3];
    for (int i = 0; i < rows; i++) {
        std::memcpy(span, image.Pixel(firstRow + i * rowStep, firstColumn), static_cast<size_t>(3 * columns));
        benchmark::ClobberMemory();
    }
}

void PlainRawProfile() { reference::RgbResp(raw, rawTable); }
void RawProfile() { processor.RgbResp(raw, rawTable); }
void CopyRawProfile() { CopySpans(raw, 0, kSensorRows, 1, 500, 1000); }

void PlainCorrectedProfile() { reference::RgbCorResp(corrected, correctedTable); }
void CorrectedProfile() { processor.RgbCorResp(corrected, correctedTable); }
void CopyCorrectedProfile() { CopySpans(corrected, 0, kSensorRows, 1, 1155, 580); }

void PlainLevels() {
    int front = 0, back = 0;
    reference::RgbLevels(raw, front, back);
    benchmark::DoNotOptimize(front + back);
    benchmark::DoNotOptimize(reference::WhiteTest(raw));
}
void LevelsAndWhiteTest() {
    benchmark::DoNotOptimize(RgbLevels(raw));
    benchmark::DoNotOptimize(processor.WhiteTest(raw));
}
void CopyLevels() {
    for (const int side : {0, kBackFirstRow}) {
        CopySpans(raw, 25 + side, 220, 5, 200, 1900);
        CopySpans(raw, 150 + side, 100, 8, 650, 1000);
    }
}

template <Step... steps>
void All() {
    (steps(), ...);
}

struct Row {
    const char *name;
    Step plain, library, copy;
    const char *wanted;
};
// Lines and gain come first, so that the other steps find a card.
const Row kRows[] = {
    {"line store", StoreLines<reference::RgbLineStore>, StoreLines<RgbLineStore>, CopyLines, "<= 6.5 copies"},
    {"copy", PlainCopy, Copy, CopyWhole, ""},
    {"copy and gain", PlainGain, Gain, CopyWhole, "<= 1.3 copies"},
    {"search and crops", Crop<reference::RgbCrop>, Crop<RgbCrop>, CopyCrops, ""},
    {"raw profile", PlainRawProfile, RawProfile, CopyRawProfile, ""},
    {"corrected profile", PlainCorrectedProfile, CorrectedProfile, CopyCorrectedProfile, ""},
    {"levels, white test", PlainLevels, LevelsAndWhiteTest, CopyLevels, ""},
    {"whole pass",
     All<StoreLines<reference::RgbLineStore>, PlainLevels, PlainGain, Crop<reference::RgbCrop>,
         PlainRawProfile, PlainCorrectedProfile>,
     All<StoreLines<RgbLineStore>, LevelsAndWhiteTest, Gain, Crop<RgbCrop>, RawProfile, CorrectedProfile>,
     All<CopyLines, CopyLevels, CopyWhole, CopyCrops, CopyRawProfile, CopyCorrectedProfile>, ">= 4 x plain"},
};

// Keeps the best time of every benchmark.
class BestTimes : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context &) override { return true; }
    void ReportRuns(const std::vector<Run> &runs) override {
        for (const Run &run : runs) {
            if (run.run_type != Run::RT_Iteration)
                continue;
            const double time = run.GetAdjustedCPUTime();
            const auto [best, isFirst] = times_.try_emplace(run.run_name.function_name, time);
            if (!isFirst)
                best->second = std::min(best->second, time);
        }
    }
    double Of(const std::string &name) const { return times_.at(name); }

private:
    std::map<std::string, double> times_;
};

std::string NameOf(const Row &row, const char *form) { return std::string(row.name) + ", " + form; }

void Register(const std::string &name, Step step) {
    benchmark::RegisterBenchmark(name.c_str(),
                                 [step](benchmark::State &state) {
                                     for (auto _ : state) {
                                         step();
                                         benchmark::ClobberMemory();
                                     }
                                 })
        ->Iterations(1)
        ->Repetitions(kRepetitions)
        ->Unit(benchmark::kMillisecond);
}

void PrintTable(const BestTimes &times) {
    std::printf("%-20s %9s %9s %9s %9s %9s  %s\n", "best of 15, CPU ms", "plain", "library", "copy",
                "plain/lib", "lib/copy", "wanted");
    for (const Row &row : kRows) {
        const double plain = times.Of(NameOf(row, "plain")), library = times.Of(NameOf(row, "library")),
                     copy = times.Of(NameOf(row, "copy"));
        std::printf("%-20s %9.2f %9.2f %9.2f %9.2f %9.2f  %s\n", row.name, plain, library, copy,
                    plain / library, library / copy, row.wanted);
    }
}

} // namespace
} // namespace k274

int main(int argc, char **argv) {
    using namespace k274;
    std::vector<char *> arguments(argv, argv + argc);
    std::string interleave = "--benchmark_enable_random_interleaving=true";
    arguments.insert(arguments.begin() + 1, interleave.data());
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());

    PrepareLines();
    for (const Row &row : kRows) {
        row.library();
        Register(NameOf(row, "plain"), row.plain);
        Register(NameOf(row, "library"), row.library);
        Register(NameOf(row, "copy"), row.copy);
    }
    BestTimes times;
    benchmark::RunSpecifiedBenchmarks(&times);
    PrintTable(times);
    return 0;
}
