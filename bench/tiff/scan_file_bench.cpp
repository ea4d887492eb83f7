// Assembly of a scan file against plain copies of the same blocks.
#include "src/tiff/scan_file.h"

#include <benchmark/benchmark.h>

#include <cstring>

namespace k274 {
namespace {

ImageSet images;
MagneticRecord magnetic;
BarcodeRecord barcode;
uint8_t responses[3][kResponseBytes];
ScanFileBuffer file;

ScanContents Contents() {
    // Touched, so that every page is really there.
    std::memset(&images, 0x5A, sizeof images);
    std::memset(file, 0xA5, sizeof file);
    return {&images, &magnetic, &barcode, responses[0], responses[1], responses[2]};
}

void Assemble(benchmark::State &state) {
    const ScanContents contents = Contents();
    const auto variant = VariantOfLastScan(static_cast<int32_t>(state.range(0)));
    uint8_t header[kScanHeaderBytes];
    BuildHeader({}, {}, header);
    for (auto _ : state) {
        AssembleScanFile(header, contents, variant, file);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(ScanFileBytes(variant)));
}

void CopyBlocks(benchmark::State &state) {
    const auto variant = VariantOfLastScan(static_cast<int32_t>(state.range(0)));
    const ScanBlocks blocks = BlocksOf(Contents(), variant);
    for (auto _ : state) {
        size_t end = 0;
        for (const ScanBlock &block : blocks) {
            std::memset(file + end, 0, block.at - end);
            std::memcpy(file + block.at, block.data, block.size);
            end = block.at + block.size;
        }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(ScanFileBytes(variant)));
}

BENCHMARK(Assemble)->DenseRange(0, 2);
BENCHMARK(CopyBlocks)->DenseRange(0, 2);

} // namespace
} // namespace k274

BENCHMARK_MAIN();
