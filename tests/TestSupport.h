#pragma once
// Helpers for table-driven formula tests: a small workbook whose cells are
// filled by address, and evaluation of one formula against it.
#include <string>
#include <string_view>

#include "document/ColumnLetters.h"
#include "document/SumoraDocument.h"
#include "engine/FormulaEvaluator.h"
#include "engine/FormulaParser.h"
#include "engine/WorkbookResolver.h"

namespace sumora::test {

struct TestBook {
    SumoraDocument doc;

    // "=…" stores a formula (its computed text stays absent until evaluated);
    // anything else is a constant, as a CSV file or the editor stores it.
    TestBook& set(std::string_view address, std::string_view text, size_t sheet = 0) {
        auto at = parseCellAddress(address);
        if (!at) throw std::invalid_argument("bad address");
        Cell& c = doc.sheets[sheet].cellForWriting(at->row, at->col);
        if (!text.empty() && text.front() == '=') {
            c.setFormula(text.substr(1));
            c.setValue("");
        } else {
            c.setValue(text);
            c.setComputedValue(text);
        }
        return *this;
    }
    // Stores a computed result text on a cell (as recalculation would).
    TestBook& computed(std::string_view address, std::string_view text, size_t sheet = 0) {
        auto at = parseCellAddress(address);
        doc.sheets[sheet].cellForWriting(at->row, at->col).setComputedValue(text);
        return *this;
    }
    Sheet& addSheet(std::string name) {
        doc.sheets.push_back(SumoraDocument::makeNewSheet(std::move(name)));
        return doc.sheets.back();
    }

    // Evaluates `formula` as if it stood in cell AZ1 of the given sheet.
    FormulaValue evalValue(std::string_view formula, size_t sheet = 0) {
        WorkbookResolver resolver(doc, sheet, CellRef{51, 0, std::nullopt});
        FormulaEvaluator evaluator(resolver);
        try {
            FormulaTree tree = parseFormula(formula, nullptr, [this](std::string_view name) {
                return findNamedRange(doc.namedRanges, name).has_value();
            });
            return evaluator.evaluate(tree);
        } catch (const FormulaParseError& e) {
            return FormulaValue::error(e.error);
        }
    }
    std::string eval(std::string_view formula, size_t sheet = 0) { return evalValue(formula, sheet).description(); }
};

} // namespace sumora::test
