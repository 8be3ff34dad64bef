// The cells of sheetData read straight from the markup when they take the
// plain form producers write (<c r s t><f>..</f><v>..</v></c>), sparing each
// cell the five or more events of the generic path. A cell is parsed whole
// before any of it is applied, and applied through the same openCell,
// openFormula and endCell as its events, so a cell declined halfway leaves
// no trace and the scanner reads it as usual.
#include "formats/XlsxWorksheetHandler.h"
#include "formats/XmlElementCursor.h"

#include <utility>

namespace sumora::xlsx {

std::size_t WorksheetHandler::readElements(const char* data, std::size_t size) {
    // Between cells the texts the markup leaves (blanks) mean nothing, and
    // the cell events go where startElement sends them.
    if (inCell_ || inValue_ || inFormula_ || inText_ || validations_.inRule() ||
        conditionalFormats_.inBlock())
        return 0;
    XmlElementCursor in(data, size);
    std::size_t done = 0;
    while (readCell(in)) {
        done = in.consumed();
        in.skipBlanks();
    }
    return done;
}

bool WorksheetHandler::readCell(XmlElementCursor& in) {
    const std::size_t from = in.consumed();
    auto decline = [&] {
        in.rewind(from);
        return false;
    };
    if (!in.startTag("c")) return false;
    CellStart cell;
    std::string_view name, value;
    bool typed = false, styled = false, empty = false;
    while (in.attribute(name, value)) {
        if (name.size() != 1) return decline();
        bool seen;
        if (name[0] == 'r') {
            seen = std::exchange(cell.positioned, true);
            cell.reference = value;
        } else if (name[0] == 't') {
            seen = std::exchange(typed, true);
            cell.type = value;
        } else if (name[0] == 's') {
            seen = std::exchange(styled, true);
            cell.style = value;
        } else {
            return decline();
        }
        if (seen) return decline();
    }
    if (!in.tagEnd(empty)) return decline();

    bool valued = false, formulated = false;
    std::string_view valueText, formulaText;
    FormulaStart formula;
    while (!empty) {
        in.skipBlanks();
        if (in.endTag("c")) break;
        bool childEmpty = false;
        if (in.startTag("v")) {
            if (std::exchange(valued, true) || !in.tagEnd(childEmpty)) return decline();
            if (!childEmpty && !(in.text(valueText) && in.endTag("v"))) return decline();
        } else if (in.startTag("f")) {
            if (std::exchange(formulated, true)) return decline();
            bool typedFormula = false, ranged = false;
            while (in.attribute(name, value)) {
                bool seen;
                if (name == "t") {
                    seen = std::exchange(typedFormula, true);
                    formula.type = value;
                } else if (name == "si") {
                    seen = std::exchange(formula.shared, true);
                    formula.sharedIndex = value;
                } else if (name == "ref") {
                    seen = std::exchange(ranged, true);
                    formula.ref = value;
                } else {
                    return decline();
                }
                if (seen) return decline();
            }
            if (!in.tagEnd(childEmpty)) return decline();
            if (!childEmpty && !(in.text(formulaText) && in.endTag("f"))) return decline();
        } else {
            return decline();
        }
    }

    // As the events would: <c>, then <v> and <f> (their order does not
    // matter: each fills its own buffer), then </c>.
    openCell(cell);
    if (valued) {
        hasValue_ = true;
        value_.append(valueText);
    }
    if (formulated) {
        openFormula(formula);
        formula_.append(formulaText);
        inFormula_ = false;
    }
    endCell();
    return true;
}

} // namespace sumora::xlsx
