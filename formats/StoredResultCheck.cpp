#include "formats/StoredResultCheck.h"

#include <algorithm>
#include <cmath>

#include "engine/FormulaValue.h"
#include "engine/Recalculation.h"
#include "engine/WorkbookDependencies.h"
#include "formats/XlsxWorksheetReader.h"
#include "functions/BuiltinFunctions.h"
#include "values/AsciiText.h"
#include "values/StrictNumber.h"

namespace sumora {

namespace {

// Producers store the rounding noise of sums such as 0.1+0.2-0.3 as 0; below
// this magnitude two numbers both count as zero.
constexpr double kRoundingNoise = 1e-14;

std::optional<double> numberOrDate(std::string_view text) {
    if (auto n = parseStrictNumber(text)) return n;
    if (auto serial = xlsx::serialTextFromIsoDate(text)) return parseStrictNumber(*serial);
    return std::nullopt;
}

// "#NAME? (FOO)" carries a detail after the code that files do not store.
std::string_view errorCode(std::string_view text) {
    return text.substr(0, text.find(' '));
}

} // namespace

std::vector<StoredResult> storedFormulaResults(const SumoraDocument& asStored,
                                               std::optional<size_t> onlySheet) {
    std::vector<StoredResult> out;
    for (size_t s = 0; s < asStored.sheets.size(); ++s) {
        if (onlySheet && *onlySheet != s) continue;
        asStored.sheets[s].forEachStoredCell([&](int64_t row, int64_t col, const Cell& cell) {
            if (!cell.hasFormula()) return;
            // XLSX keeps the cached result as the computed text, ODS as the value.
            std::optional<std::string> text;
            if (auto computed = cell.computedValue())
                text = std::string(*computed);
            else if (!cell.value().empty())
                text = std::string(cell.value());
            out.push_back({s, col, row, std::move(text)});
        });
    }
    return out;
}

bool storedResultAgrees(std::string_view stored, std::string_view computed, double tolerance) {
    if (stored == computed) return true;
    auto a = numberOrDate(stored), b = parseStrictNumber(computed);
    if (a && b) {
        double larger = std::max(std::fabs(*a), std::fabs(*b));
        return larger < kRoundingNoise || std::fabs(*a - *b) <= tolerance * larger;
    }
    if (!stored.empty() && stored.front() == '#' && !computed.empty() && computed.front() == '#')
        return errorCode(stored) == errorCode(computed);
    bool booleans = (equalsIgnoringCase(stored, "TRUE") || equalsIgnoringCase(stored, "FALSE"));
    return booleans && equalsIgnoringCase(stored, computed);
}

ResultCheckReport checkStoredResults(SumoraDocument& document, const ResultCheckOptions& options) {
    std::vector<StoredResult> stored = storedFormulaResults(document, options.onlySheet);
    recalculateWorkbook(document, builtinFunctions(), options.profiler);

    ResultCheckReport report;
    report.formulasChecked = stored.size();
    std::vector<ResultDifference> differing;
    for (StoredResult& s : stored) {
        if (!s.text) {
            ++report.withoutStoredResult;
            continue;
        }
        std::string_view computed = document.sheets[s.sheet].cell(s.row, s.col).displayValue();
        if (!storedResultAgrees(*s.text, computed, options.tolerance))
            differing.push_back({s.sheet, s.col, s.row, std::move(*s.text), std::string(computed)});
    }
    if (differing.empty()) return report;

    // Only a workbook that disagrees pays for the dependency view.
    WorkbookDependencies dependencies(document, builtinFunctions());
    std::vector<SheetCell> volatileCells = dependencies.volatileFormulas();
    for (ResultDifference& d : differing) {
        SheetCell at{d.sheet, static_cast<int32_t>(d.col), static_cast<int32_t>(d.row)};
        bool isVolatile = std::binary_search(volatileCells.begin(), volatileCells.end(), at);
        (isVolatile ? report.volatileDifferences : report.differences).push_back(std::move(d));
    }
    return report;
}

} // namespace sumora
