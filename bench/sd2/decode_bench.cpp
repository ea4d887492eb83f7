// How many barcodes each engine reads of the standard set and of a damaged one, and how long one decode
// takes: median and worst, also where there is no code and where a dense code cannot be read. Then the stages
// that every decode pays for. Engine 0 is our own, 1 the packaged one.
#include "bench/frames/barcode_frames.h"
#include "platform/sd2/decode.h"
#include "platform/sd2/edges.h"
#include "platform/sd2/line_images.h"

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

const sd2::Engine &EngineOf(const benchmark::State &state) {
    return state.range(0) == 0 ? sd2::kOwnEngine : sd2::kZxingEngine;
}

/// One decode as the library makes it.
double DecodeMs(const sd2::Engine &engine, const Frame &frame, std::string *text) {
    constexpr int kLimitMs = 150;
    const auto begin = std::chrono::steady_clock::now();
    sd2::Request request;
    request.engine = &engine;
    request.image = {frame.grey.data(), frame.lines, frame.pixels, frame.pixels};
    request.pdf417 = request.code128 = request.code39 = true;
    request.budgetMs = kLimitMs;
    sd2::Result result;
    sd2::Decode(request, &result);
    *text = result.text;
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
}

class Times {
public:
    void Add(benchmark::State &state, double ms) {
        state.SetIterationTime(ms / 1000);
        ms_.push_back(ms);
    }
    void Report(benchmark::State &state, int right, int wrong) {
        std::sort(ms_.begin(), ms_.end());
        state.counters["right"] = right;
        state.counters["wrong"] = wrong;
        state.counters["median_ms"] = ms_[ms_.size() / 2];
        state.counters["worst_ms"] = ms_.back();
    }

private:
    std::vector<double> ms_;
};

void Standard(benchmark::State &state) {
    const bool linear = state.range(1) != 0;
    Times times;
    int right = 0, wrong = 0, number = 0;
    for (auto _ : state) {
        const Sample sample = StandardSample(linear, number);
        Truth truth;
        const Frame frame =
            SampleFrame(sample, Blank(number / 16 % kDegrees), static_cast<uint32_t>(number), &truth);
        std::string text;
        times.Add(state, DecodeMs(EngineOf(state), frame, &text));
        right += text == sample.symbol.text;
        wrong += !text.empty() && text != sample.symbol.text;
        ++number;
    }
    times.Report(state, right, wrong);
}
BENCHMARK(Standard)
    ->ArgNames({"engine", "linear"})
    ->ArgsProduct({{0, 1}, {0, 1}})
    ->Iterations(kSamples)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

/// Blur from less than half a module to two thirds of one, and up to more noise than any sensor has.
void Damaged(benchmark::State &state) {
    constexpr double kBlur[] = {0.45, 0.55, 0.6, 0.65}; // modules
    constexpr double kNoise[] = {4, 12, 18};
    constexpr Kind kKinds[] = {Kind::Pdf417, Kind::Code128, Kind::Code39};
    const Kind kind = kKinds[state.range(1)];
    Times times;
    int right = 0, wrong = 0, number = 0;
    for (auto _ : state) {
        Symbol symbol;
        symbol.kind = kind;
        symbol.module = kind == Kind::Pdf417 ? 3.4 : 4;
        symbol.text = SampleText(kind == Kind::Pdf417 ? 90 : 9, static_cast<uint32_t>(number));
        if (kind != Kind::Pdf417)
            std::replace(symbol.text.begin(), symbol.text.end(), ' ', '.');
        symbol.centreLine = symbol.centrePixel = 550;
        symbol.turn = number % 8;
        symbol.barModules = 20;
        const Damage damage{170, 60, kNoise[number % 3], kBlur[number / 3 % 4] * symbol.module,
                            (number % 5 - 2) * 1.3};
        Frame frame = BlankFrame(1100, 1100, damage, false, 0);
        Draw(frame, symbol, damage);
        AddNoise(frame, damage, static_cast<uint32_t>(number));
        std::string text;
        times.Add(state, DecodeMs(EngineOf(state), frame, &text));
        right += text == symbol.text;
        wrong += !text.empty() && text != symbol.text;
        ++number;
    }
    times.Report(state, right, wrong);
}
BENCHMARK(Damaged)
    ->ArgNames({"engine", "kind"})
    ->ArgsProduct({{0, 1}, {0, 1, 2}})
    ->Iterations(96)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

void NoCode(benchmark::State &state) {
    Times times;
    int right = 0, wrong = 0, degree = 0;
    for (auto _ : state) {
        Frame frame = Blank(degree % kDegrees);
        AddNoise(frame, StandardDamage(degree % kDegrees), static_cast<uint32_t>(degree));
        std::string text;
        times.Add(state, DecodeMs(EngineOf(state), frame, &text));
        right += text.empty();
        wrong += !text.empty();
        ++degree;
    }
    times.Report(state, right, wrong);
}
BENCHMARK(NoCode)
    ->ArgName("engine")
    ->Arg(0)
    ->Arg(1)
    ->Iterations(2 * kDegrees)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

/// The most codewords a symbol can have, and a third of them gone: the slowest that the engines know.
void Hopeless(benchmark::State &state) {
    Times times;
    int right = 0, wrong = 0, number = 0;
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
        times.Add(state, DecodeMs(EngineOf(state), frame, &text));
        right += text.empty();
        wrong += !text.empty();
        ++number;
    }
    times.Report(state, right, wrong);
}
BENCHMARK(Hopeless)->ArgName("engine")->Arg(0)->Arg(1)->Iterations(8)->UseManualTime()->Unit(
    benchmark::kMillisecond);

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
