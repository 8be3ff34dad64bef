#include "cli/ProfileReport.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

#include "cli/ReportText.h"
#include "document/SumoraDocument.h"
#include "engine/RecalcProfiler.h"
#include "engine/WorkbookDependencies.h"
#include "functions/BuiltinFunctions.h"

namespace sumora::cli {

namespace {

constexpr size_t kListed = 10;
// A long chain prints its first and last links only.
constexpr size_t kChainEnds = 4;

std::string milliseconds(int64_t ns) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.3f ms", static_cast<double>(ns) / 1e6);
    return buffer;
}

std::string share(int64_t part, int64_t whole) {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "%.1f%%",
                  whole > 0 ? 100.0 * static_cast<double>(part) / static_cast<double>(whole) : 0.0);
    return buffer;
}

std::string padLeft(std::string s, size_t width) {
    return s.size() >= width ? s : std::string(width - s.size(), ' ') + s;
}

} // namespace

void printProfileReport(const SumoraDocument& doc, const RecalcProfiler& profiler, int64_t total) {
    std::vector<RecalcProfiler::FormulaTiming> formulas = profiler.formulas();
    std::cout << "Recalculated " << formulas.size() << " formulas in " << milliseconds(total) << "\n\n";

    size_t listed = std::min(kListed, formulas.size());
    std::partial_sort(formulas.begin(), formulas.begin() + static_cast<std::ptrdiff_t>(listed),
                      formulas.end(),
                      [](const auto& a, const auto& b) { return a.nanoseconds > b.nanoseconds; });
    std::cout << "Slowest formulas:\n" << padLeft("time", 14) << padLeft("share", 8) << "  cell  formula\n";
    for (size_t i = 0; i < listed; ++i) {
        const auto& f = formulas[i];
        const Sheet& sheet = doc.sheets[f.sheet];
        std::cout << padLeft(milliseconds(f.nanoseconds), 14) << padLeft(share(f.nanoseconds, total), 8)
                  << "  " << cellLabel(sheet.name, {f.col, f.row}) << "  ="
                  << sheet.cell(f.row, f.col).formula().value_or("") << '\n';
    }

    std::vector<RecalcProfiler::FunctionTiming> functions = profiler.functions();
    std::cout << "\nSlowest functions (own time, calls inside their arguments excluded):\n"
              << padLeft("time", 14) << padLeft("share", 8) << padLeft("calls", 10) << "  function\n";
    for (size_t i = 0; i < std::min(kListed, functions.size()); ++i) {
        const auto& f = functions[i];
        std::cout << padLeft(milliseconds(f.selfNanoseconds), 14)
                  << padLeft(share(f.selfNanoseconds, total), 8) << padLeft(std::to_string(f.calls), 10)
                  << "  " << f.name << '\n';
    }

    std::vector<SheetCell> chain = WorkbookDependencies(doc, builtinFunctions()).longestChain();
    std::cout << "\nLongest dependency chain: " << chain.size()
              << (chain.size() == 1 ? " formula" : " formulas");
    for (size_t i = 0; i < chain.size(); ++i) {
        if (chain.size() > 2 * kChainEnds && i == kChainEnds) {
            std::cout << " ← …";
            i = chain.size() - kChainEnds;
        }
        std::cout << (i ? " ← " : "\n  ")
                  << cellLabel(doc.sheets[chain[i].sheet].name, {chain[i].col, chain[i].row});
    }
    std::cout << '\n';
}

} // namespace sumora::cli
