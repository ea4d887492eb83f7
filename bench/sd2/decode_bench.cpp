// How many barcodes of the standard set are read, and how long one decode takes: median and worst, also where
// there is no code and where a dense code cannot be read. Then the stages that every decode pays for.
#include "bench/frames/barcode_frames.h"
#include "platform/sd2/edges.h"
#include "platform/sd2/line_images.h"
#include "platform/sd2/sd2.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstring>

namespace {

using namespace barcode_frames;

const Frame &Blank(int degree) {
    static const std::array<Frame, kDegrees> frames = [] {
        std::array<Frame, kDegrees> made;
        for (int i = 0; i < kDegrees; ++i)
            made[static_cast<size_t>(i)] =
                BlankFrame(2540, 2300, StandardDamage(i), true, static_cast<uint32_t>(i));
        return made;
    }();
    return frames[static_cast<size_t>(degree)];
}

/// One decode as the library makes it.
double DecodeMs(const Frame &frame, std::string *text) {
    const auto begin = std::chrono::steady_clock::now();
    void *handle = SD_Create();
    SD_Set(handle, SD_PROP_IMAGE, reinterpret_cast<intptr_t>(frame.grey.data()));
    SD_Set(handle, SD_PROP_LINES, frame.lines);
    SD_Set(handle, SD_PROP_PIXELS, frame.pixels);
    SD_Set(handle, SD_PROP_STRIDE, frame.pixels);
    for (const uint32_t symbology : {SD_PROP_PDF417, SD_PROP_CODE128, SD_PROP_CODE39})
        SD_Set(handle, symbology, 1);
    SD_Decode(handle);
    int32_t length = 0;
    SD_Get(handle, SD_PROP_TEXT_LENGTH, &length);
    text->resize(static_cast<size_t>(length));
    SD_Get(handle, SD_PROP_TEXT, text->data());
    SD_Destroy(handle);
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
}

class Times {
public:
    void Add(benchmark::State &state, double ms) {
        state.SetIterationTime(ms / 1000);
        ms_.push_back(ms);
    }
    void Report(benchmark::State &state, int right) {
        std::sort(ms_.begin(), ms_.end());
        state.counters["right"] = right;
        state.counters["median_ms"] = ms_[ms_.size() / 2];
        state.counters["worst_ms"] = ms_.back();
    }

private:
    std::vector<double> ms_;
};

void Standard(benchmark::State &state) {
    const bool linear = state.range(0) != 0;
    Times times;
    int right = 0, number = 0;
    for (auto _ : state) {
        const Sample sample = StandardSample(linear, number);
        Truth truth;
        const Frame frame =
            SampleFrame(sample, Blank(number / 16 % kDegrees), static_cast<uint32_t>(number), &truth);
        std::string text;
        times.Add(state, DecodeMs(frame, &text));
        right += text == sample.symbol.text;
        ++number;
    }
    times.Report(state, right);
}
BENCHMARK(Standard)->ArgName("linear")->Arg(0)->Arg(1)->Iterations(kSamples)->UseManualTime()->Unit(
    benchmark::kMillisecond);

void NoCode(benchmark::State &state) {
    Times times;
    int right = 0, degree = 0;
    for (auto _ : state) {
        Frame frame = Blank(degree % kDegrees);
        AddNoise(frame, StandardDamage(degree % kDegrees), static_cast<uint32_t>(degree));
        std::string text;
        times.Add(state, DecodeMs(frame, &text));
        right += text.empty();
        ++degree;
    }
    times.Report(state, right);
}
BENCHMARK(NoCode)->Iterations(2 * kDegrees)->UseManualTime()->Unit(benchmark::kMillisecond);

/// The most codewords a symbol can have, and a third of them gone: the slowest that the engine knows.
void Hopeless(benchmark::State &state) {
    Times times;
    int right = 0, number = 0;
    for (auto _ : state) {
        Sample sample;
        sample.damage = StandardDamage(1);
        sample.symbol.text = std::string(2400, '0');
        for (size_t i = 0; i < sample.symbol.text.size(); ++i)
            sample.symbol.text[i] = static_cast<char>('0' + (i * 7 + i / 11) % 10);
        sample.symbol.correctionLevel = 1;
        sample.symbol.module = 3.4;
        sample.symbol.turn = 2 * (number % 4);
        Truth truth;
        Frame frame = SampleFrame(sample, Blank(1), static_cast<uint32_t>(number), &truth);
        for (int line = truth.firstLine + 40; line < truth.lastLine - 40; ++line)
            std::memset(frame.grey.data() + static_cast<ptrdiff_t>(line) * frame.pixels + 850, 190, 600);
        std::string text;
        times.Add(state, DecodeMs(frame, &text));
        right += text.empty();
        ++number;
    }
    times.Report(state, right);
}
BENCHMARK(Hopeless)->Iterations(8)->UseManualTime()->Unit(benchmark::kMillisecond);

sd2::GreyImage ViewOf(const Frame &frame) {
    return {frame.grey.data(), frame.lines, frame.pixels, frame.pixels};
}

void AverageLines(benchmark::State &state) {
    const Frame &frame = Blank(3);
    sd2::LineImages lines;
    for (auto _ : state)
        sd2::AverageLines(ViewOf(frame), 8, lines);
}
BENCHMARK(AverageLines)->Unit(benchmark::kMillisecond);

void AveragePixels(benchmark::State &state) {
    const Frame &frame = Blank(3);
    sd2::LineImages lines;
    for (auto _ : state)
        sd2::AveragePixels(ViewOf(frame), 8, lines);
}
BENCHMARK(AveragePixels)->Unit(benchmark::kMillisecond);

void FindEdges(benchmark::State &state) {
    const Frame &frame = Blank(3);
    sd2::LineImages lines;
    sd2::AverageLines(ViewOf(frame), 8, lines);
    sd2::Edges edges;
    for (auto _ : state)
        sd2::FindEdges(lines.image, edges);
}
BENCHMARK(FindEdges)->Unit(benchmark::kMillisecond);

/// The same traffic without any work, for comparison.
void Copy(benchmark::State &state) {
    const Frame &frame = Blank(3);
    std::vector<uint8_t> copy(frame.grey.size());
    for (auto _ : state) {
        std::memcpy(copy.data(), frame.grey.data(), copy.size());
        benchmark::DoNotOptimize(copy.data());
    }
}
BENCHMARK(Copy)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
