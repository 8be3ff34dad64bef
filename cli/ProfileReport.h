#pragma once
// The report of `recalc --profile`: the slowest formulas and functions of a
// recalculation, with their share of its time, and the longest chain of
// formulas each reading the next.
#include <cstdint>

namespace sumora {
class SumoraDocument;
class RecalcProfiler;
} // namespace sumora

namespace sumora::cli {

void printProfileReport(const SumoraDocument& doc, const RecalcProfiler& profiler, int64_t totalNanoseconds);

} // namespace sumora::cli
