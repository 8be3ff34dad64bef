#include "engine/Recalculation.h"

#include "engine/FormulaEvaluator.h"
#include "engine/FormulaParser.h"
#include "engine/WorkbookResolver.h"

namespace sumora {

// Row-major evaluation of the sheet's formulas; results are written as text.
void recalculateSheet(SumoraDocument& document, size_t sheetIndex) {
    if (sheetIndex >= document.sheets.size()) return;
    WorkbookResolver resolver(document, sheetIndex);
    FormulaEvaluator evaluator(resolver);
    auto isName = [&](std::string_view n) { return findNamedRange(document.namedRanges, n).has_value(); };
    document.sheets[sheetIndex].forEachStoredCell([&](int64_t row, int64_t col, Cell& cell) {
        if (!cell.hasFormula() && !cell.value().empty() && cell.value().front() == '=') {
            cell.setFormula(cell.value().substr(1));
            cell.setValue("");
        }
        if (!cell.hasFormula()) return;
        try {
            FormulaTree tree = parseFormula(*cell.formula(), nullptr, isName);
            resolver.setCurrentCell(CellRef{col, row, std::nullopt});
            cell.setComputedValue(evaluator.evaluate(tree).description());
        } catch (const FormulaParseError&) {
            // A formula that fails to parse keeps its previous computed text.
        }
    });
}

void recalculateDocument(SumoraDocument& document) {
    for (size_t i = 0; i < document.sheets.size(); ++i) recalculateSheet(document, i);
}

} // namespace sumora
