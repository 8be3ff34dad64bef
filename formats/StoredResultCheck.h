#pragma once
// Whether a workbook's stored formula results are what this engine computes:
// the results a file holds (XLSX <v>, ODS office:value) are kept from a
// document opened as stored, the document is recalculated, and each formula
// cell's new text is compared with the stored one. Cells whose result may
// change by itself (they call a volatile function or read one that does)
// are kept apart from the real differences.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/SumoraDocument.h"

namespace sumora {

class RecalcProfiler;

struct StoredResult {
    size_t sheet = 0;
    int64_t col = 0, row = 0;
    std::optional<std::string> text; // absent: the file stored no result
};

struct ResultDifference {
    size_t sheet = 0;
    int64_t col = 0, row = 0;
    std::string stored, computed;
};

struct ResultCheckReport {
    size_t formulasChecked = 0;
    size_t withoutStoredResult = 0;
    std::vector<ResultDifference> differences;
    std::vector<ResultDifference> volatileDifferences;
    bool agrees() const { return differences.empty(); }
};

struct ResultCheckOptions {
    double tolerance = 1e-9;            // relative, for numbers
    std::optional<size_t> onlySheet;    // check the formulas of this sheet only
    RecalcProfiler* profiler = nullptr; // times the recalculation
};

// The stored result of every formula cell of a document opened as stored.
std::vector<StoredResult> storedFormulaResults(const SumoraDocument& asStored,
                                               std::optional<size_t> onlySheet = std::nullopt);

// Whether a stored result text and a computed one say the same: numbers
// within the relative tolerance, or both below 1e-14 (rounding noise that
// producers store as 0; an ISO date stands for its serial number),
// errors by their code, TRUE and FALSE in any case, other texts exactly.
bool storedResultAgrees(std::string_view stored, std::string_view computed, double tolerance);

// Takes the stored results, recalculates the document in place and compares.
ResultCheckReport checkStoredResults(SumoraDocument& asStored, const ResultCheckOptions& options = {});

} // namespace sumora
