// Every heavy step of a scan beside the same step as plain loops and a memcpy of the bytes that it moves,
// interleaved in one run. Prints the best CPU times and their ratios.
#include "bench/capture/step_table.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace k274::bench {
namespace {

constexpr int kRepetitions = 15;

std::vector<StepRow> AllRows() {
    std::vector<StepRow> rows;
    for (const auto &pass : {RgbRows(), IrRows(), UvRows()})
        rows.insert(rows.end(), pass.begin(), pass.end());
    rows.push_back({"whole scan", All<PlainRgbPass, PlainIrPass, PlainUvPass>, All<RgbPass, IrPass, UvPass>,
                    CopyRgbRaw, ">= 4 x plain, <= 16 copies of RGBr"});
    const std::vector<StepRow> fine = HrRows();
    rows.insert(rows.end(), fine.begin(), fine.end());
    return rows;
}

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
    /// 0 for what a filter left out.
    double Of(const std::string &name) const {
        const auto found = times_.find(name);
        return found == times_.end() ? 0 : found->second;
    }

private:
    std::map<std::string, double> times_;
};

std::string NameOf(const StepRow &row, const char *form) { return std::string(row.name) + ", " + form; }

void Register(const std::string &name, Step prepare, Step step) {
    benchmark::RegisterBenchmark(name.c_str(),
                                 [prepare, step](benchmark::State &state) {
                                     if (prepare)
                                         prepare();
                                     for (auto _ : state) {
                                         step();
                                         benchmark::ClobberMemory();
                                     }
                                 })
        ->Iterations(1)
        ->Repetitions(kRepetitions)
        ->Unit(benchmark::kMillisecond);
}

void PrintTable(const std::vector<StepRow> &rows, const BestTimes &times) {
    std::printf("%-22s %9s %9s %9s %9s %9s  %s\n", "best of 15, CPU ms", "plain", "library", "copy",
                "plain/lib", "lib/copy", "wanted");
    for (const StepRow &row : rows) {
        const double plain = times.Of(NameOf(row, "plain")), library = times.Of(NameOf(row, "library")),
                     copy = times.Of(NameOf(row, "copy"));
        if (library > 0)
            std::printf("%-22s %9.2f %9.2f %9.2f %9.2f %9.2f  %s\n", row.name, plain, library, copy,
                        plain / library, library / copy, row.wanted);
    }
}

} // namespace
} // namespace k274::bench

int main(int argc, char **argv) {
    using namespace k274::bench;
    std::vector<char *> arguments(argv, argv + argc);
    std::string interleave = "--benchmark_enable_random_interleaving=true";
    arguments.insert(arguments.begin() + 1, interleave.data());
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());

    const std::vector<StepRow> rows = AllRows();
    for (const StepRow &row : rows) {
        row.library();
        Register(NameOf(row, "plain"), row.prepare, row.plain);
        Register(NameOf(row, "library"), row.prepare, row.library);
        Register(NameOf(row, "copy"), row.prepare, row.copy);
    }
    BestTimes times;
    benchmark::RunSpecifiedBenchmarks(&times);
    PrintTable(rows, times);
    return 0;
}
