// What a loaded sheet costs: heap bytes per stored cell (target: at most 52)
// and the in-process time of opening, for W1 (200,000 rows × 10 constants)
// read from XLSX and from CSV.
//
// Heap in use is read from the allocator (mallinfo2) before and after the
// open, once the file's bytes are released, so the counter bytes_per_cell
// counts the document alone: cells, texts, rows and the sheet's own
// structures, divided by the cells that hold something.
//
// Usage: storage_bench [benchmark flags] [bench-data-dir]   (default
// build/bench-data; the files are made by bench/perf_targets.sh)
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

#include "formats/DocumentIO.h"
#include "values/Log.h"

namespace {

using namespace sumora;

size_t heapInUse() {
    struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

std::string readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

void openAndCount(benchmark::State& state, const std::filesystem::path& path) {
    if (!std::filesystem::exists(path)) {
        state.SkipWithError((path.string() + " is missing (run bench/perf_targets.sh first)").c_str());
        return;
    }
    double bytesPerCell = 0, cells = 0;
    for (auto _ : state) {
        state.PauseTiming();
        std::optional<std::string> bytes = readFile(path);
        malloc_trim(0);
        const size_t before = heapInUse();
        state.ResumeTiming();
        SumoraDocument doc = openDocument(bytes, path.filename().string(), contentTypeForPath(path));
        state.PauseTiming();
        bytes.reset();
        malloc_trim(0);
        const size_t after = heapInUse();
        size_t filled = 0;
        for (const Sheet& sheet : doc.sheets)
            sheet.forEachStoredCell(
                [&](int64_t, int64_t, const Cell& cell) { filled += cell.isDefault() ? 0 : 1; });
        cells = static_cast<double>(filled);
        bytesPerCell = filled && after > before ? static_cast<double>(after - before) / cells : 0;
        doc = SumoraDocument();
        state.ResumeTiming();
    }
    state.counters["bytes_per_cell"] = bytesPerCell;
    state.counters["cells"] = cells;
    state.SetLabel("target <= 52 bytes per cell");
}

} // namespace

int main(int argc, char** argv) {
    Log::setEnabled(false);
    benchmark::Initialize(&argc, argv);
    const std::filesystem::path data = argc > 1 ? argv[1] : "build/bench-data";
    benchmark::RegisterBenchmark("BM_StoredCells/W1.xlsx", openAndCount, data / "w1.xlsx")
        ->Unit(benchmark::kMillisecond)
        ->Iterations(3);
    benchmark::RegisterBenchmark("BM_StoredCells/W1.csv", openAndCount, data / "w1-source.csv")
        ->Unit(benchmark::kMillisecond)
        ->Iterations(3);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
