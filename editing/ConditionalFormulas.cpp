#include "editing/ConditionalFormulas.h"

#include <memory>
#include <string>
#include <unordered_map>

#include "engine/FormulaEvaluator.h"
#include "engine/FormulaParser.h"
#include "engine/ReferenceShifter.h"
#include "engine/WorkbookResolver.h"
#include "functions/BuiltinFunctions.h"

namespace sumora {

namespace {

// A repaint asks the same few formulas for many cells: each formula's pieces
// are found once, and each moved text parsed once. Bounded, since a sheet can
// hold a great many distinct positions.
constexpr size_t kMaxParsedFormulas = 20000;

struct FormulaCache {
    const SumoraDocument& document;
    size_t sheetIndex;
    std::unordered_map<std::string, ReferenceShifter> shifters;
    std::unordered_map<std::string, std::optional<FormulaTree>> trees; // nothing: did not parse

    const FormulaTree* tree(const std::string& text) {
        auto it = trees.find(text);
        if (it != trees.end()) return it->second ? &*it->second : nullptr;
        if (trees.size() >= kMaxParsedFormulas) trees.clear();
        std::optional<FormulaTree> parsed;
        try {
            parsed = parseFormula(text, builtinFunctions(), [this](std::string_view name) {
                return findNamedRange(document.namedRanges, name).has_value();
            });
        } catch (const FormulaParseError&) {
        }
        auto& slot = trees.emplace(text, std::move(parsed)).first->second;
        return slot ? &*slot : nullptr;
    }
};

std::optional<double> asNumber(const FormulaValue& v) {
    switch (v.kind()) {
    case FormulaValue::Kind::number:
        return v.numberValue();
    case FormulaValue::Kind::boolean:
        return v.boolValue() ? 1.0 : 0.0;
    case FormulaValue::Kind::empty:
        return 0.0;
    case FormulaValue::Kind::array: {
        const ValueRows& rows = v.arrayRows(); // a cell shows its array's first element
        if (rows.empty() || rows.front().empty()) return std::nullopt;
        return asNumber(rows.front().front());
    }
    case FormulaValue::Kind::text:
        // Results are kept as text, so a formula's TRUE may come back as text.
        if (v.textValue() == "TRUE") return 1.0;
        if (v.textValue() == "FALSE") return 0.0;
        return std::nullopt;
    case FormulaValue::Kind::error:
        return std::nullopt;
    }
    return std::nullopt;
}

} // namespace

ConditionalFormulaNumber conditionalFormulaNumbers(const SumoraDocument& document, size_t sheetIndex) {
    auto cache = std::make_shared<FormulaCache>(FormulaCache{document, sheetIndex, {}, {}});
    return [cache](std::string_view formula, const ConditionalFormatRule& rule,
                   CellPosition at) -> std::optional<double> {
        if (!formula.empty() && formula.front() == '=') formula.remove_prefix(1);
        if (formula.empty() || cache->sheetIndex >= cache->document.sheets.size()) return std::nullopt;
        std::string key(formula);
        auto shifter = cache->shifters.find(key);
        if (shifter == cache->shifters.end())
            shifter = cache->shifters.emplace(key, ReferenceShifter(key)).first;
        const int64_t originCol = std::min(rule.startCol, rule.endCol);
        const int64_t originRow = std::min(rule.startRow, rule.endRow);
        const FormulaTree* tree =
            cache->tree(shifter->second.shifted(at.row - originRow, at.col - originCol));
        if (!tree) return std::nullopt;
        WorkbookResolver resolver(cache->document, cache->sheetIndex, CellRef{at.col, at.row, std::nullopt});
        FormulaEvaluator evaluator(resolver);
        return asNumber(evaluator.evaluate(*tree));
    };
}

std::optional<ConditionalFormat> conditionalFormatAt(const SumoraDocument& document, size_t sheetIndex,
                                                     CellPosition at) {
    if (sheetIndex >= document.sheets.size()) return std::nullopt;
    const Sheet& sheet = document.sheets[sheetIndex];
    return evaluateConditionalFormats(sheet.conditionalFormats, at, sheet,
                                      conditionalFormulaNumbers(document, sheetIndex));
}

} // namespace sumora
