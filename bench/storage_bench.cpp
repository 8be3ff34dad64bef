// What a loaded sheet costs: heap bytes per stored cell, and the in-process
// time of opening, for W1 (200,000 rows × 10 constants) read from XLSX and
// from CSV. Target: at most 52 bytes per stored cell.
//
// Heap in use is read from the allocator before and after the open, once the
// file's bytes are released, so it counts the document alone: cells, texts,
// rows and the sheet's own structures. The open time is printed against a
// reference timed in the same run (copying the file's bytes ten times),
// because the machine is shared and absolute times drift.
//
// Usage: storage_bench [bench-data-dir]   (default build/bench-data; the
// files are made by bench/perf_targets.sh)
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "formats/DocumentIO.h"
#include "values/Log.h"

namespace {

using namespace sumora;
using Clock = std::chrono::steady_clock;

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

double referenceMs(const std::string& bytes) {
    std::string copy(bytes.size(), '\0');
    auto start = Clock::now();
    for (int i = 0; i < 10; ++i) {
        std::memcpy(copy.data(), bytes.data(), bytes.size());
        copy[static_cast<size_t>(i)] ^= 1; // keeps the copies from being folded away
    }
    double ms = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    volatile char sink = copy[copy.size() / 2];
    (void)sink;
    return ms;
}

void measure(const char* label, const std::filesystem::path& path) {
    if (!std::filesystem::exists(path)) {
        std::printf("%-6s %s is missing (run bench/perf_targets.sh first)\n", label, path.c_str());
        return;
    }
    std::vector<double> openMs, refMs;
    size_t bytesPerCell = 0, cells = 0, stored = 0;
    for (int run = 0; run < 5; ++run) {
        std::optional<std::string> bytes = readFile(path);
        refMs.push_back(referenceMs(*bytes));
        malloc_trim(0);
        size_t before = heapInUse();
        auto start = Clock::now();
        SumoraDocument doc = openDocument(bytes, path.filename().string(), contentTypeForPath(path));
        openMs.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
        bytes.reset();
        malloc_trim(0);
        size_t after = heapInUse();
        size_t used = after > before ? after - before : 0;
        cells = stored = 0;
        for (const Sheet& sheet : doc.sheets)
            sheet.forEachStoredCell([&](int64_t, int64_t, const Cell& cell) {
                ++stored;
                if (!cell.isDefault()) ++cells;
            });
        bytesPerCell = cells ? used / cells : 0;
    }
    std::sort(openMs.begin(), openMs.end());
    std::sort(refMs.begin(), refMs.end());
    double open = openMs[openMs.size() / 2], ref = refMs[refMs.size() / 2];
    std::printf("%-6s %zu cells (%zu stored): %zu heap bytes per cell (target <= 52); open %.0f ms = %.1f × "
                "reference (%.1f ms)\n",
                label, cells, stored, bytesPerCell, open, open / ref, ref);
}

} // namespace

int main(int argc, char** argv) {
    Log::setEnabled(false);
    std::filesystem::path data = argc > 1 ? argv[1] : "build/bench-data";
    measure("XLSX", data / "w1.xlsx");
    measure("CSV", data / "w1-source.csv");
    return 0;
}
