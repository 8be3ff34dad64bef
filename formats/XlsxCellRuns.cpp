// The rows and cells of sheetData read straight from the markup when they
// take the plain form producers write (<row r spans><c r s t><f>..</f>
// <v>..</v></c></row>), sparing each cell the five or more events of the
// generic path. A cell, or a row with all its cells, is parsed whole before
// any of it is applied, and applied through the same openRow, openCell,
// openFormula and endCell as its events, so what is declined halfway leaves
// no trace and the scanner reads it as usual.
#include "formats/XlsxWorksheetHandler.h"
#include "formats/XmlElementCursor.h"

#include <array>
#include <optional>
#include <utility>

namespace sumora::xlsx {

namespace {

// Attribute names seen on one start tag, so that a duplicate is declined.
class SeenNames {
  public:
    bool add(std::string_view name) {
        if (count_ == names_.size()) return false;
        for (std::size_t i = 0; i < count_; ++i)
            if (names_[i] == name) return false;
        names_[count_++] = name;
        return true;
    }

  private:
    std::array<std::string_view, 16> names_;
    std::size_t count_ = 0;
};

} // namespace

std::optional<std::string_view>* WorksheetHandler::RowStart::slot(std::string_view name) {
    switch (name.size()) {
    case 1:
        return name[0] == 'r' ? &r : nullptr;
    case 2:
        return name == "ht" ? &ht : nullptr;
    case 5:
        return name == "spans" ? &spans : nullptr;
    case 6:
        return name == "hidden" ? &hidden : nullptr;
    case 9:
        return name == "collapsed" ? &collapsed : nullptr;
    case 12:
        if (name == "customHeight") return &customHeight;
        return name == "outlineLevel" ? &outlineLevel : nullptr;
    default:
        return nullptr;
    }
}

std::size_t WorksheetHandler::readElements(const char* data, std::size_t size) {
    // Between rows and cells the texts the markup leaves (blanks) mean
    // nothing, and the cell events go where startElement sends them.
    if (!inSheetData_ || inCell_ || inValue_ || inFormula_ || inText_ || validations_.inRule() ||
        conditionalFormats_.inBlock())
        return 0;
    XmlElementCursor in(data, size);
    std::size_t done = 0;
    CellMarkup cell;
    for (;;) {
        if (parseCell(in, cell))
            applyCell(cell);
        else if (!readRow(in))
            break;
        done = in.consumed();
        in.skipBlanks();
    }
    return done;
}

bool WorksheetHandler::readRow(XmlElementCursor& in) {
    const std::size_t from = in.consumed();
    auto decline = [&] {
        in.rewind(from);
        return false;
    };
    if (!in.startTag("row")) return false;
    RowStart row;
    SeenNames seen;
    std::string_view name, value;
    bool empty = false;
    while (in.attribute(name, value)) {
        if (!seen.add(name)) return decline();
        if (std::optional<std::string_view>* slot = row.slot(name)) *slot = value;
    }
    if (!in.tagEnd(empty)) return decline();
    // The buffers are reused row after row: each is reset as it is parsed.
    std::size_t cells = 0;
    if (!empty) {
        for (;;) {
            in.skipBlanks();
            if (in.tagKind() == '/') {
                if (!in.endTag("row")) return decline();
                break;
            }
            if (cells == rowCells_.size()) rowCells_.emplace_back();
            if (!parseCell(in, rowCells_[cells++])) return decline();
        }
    }
    openRow(row);
    for (std::size_t i = 0; i < cells; ++i)
        applyCell(rowCells_[i]);
    endRow();
    inRow_ = false;
    return true;
}

bool WorksheetHandler::parseCell(XmlElementCursor& in, CellMarkup& out) {
    const std::size_t from = in.consumed();
    auto decline = [&] {
        in.rewind(from);
        return false;
    };
    if (!in.startTag("c")) return false;
    // Reset part by part, each as its element is met: a whole-struct reset
    // is a block fill that costs more than the rest of a plain cell.
    out.cell = CellStart{};
    out.valued = out.formulated = false;
    CellStart& cell = out.cell;
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

    while (!empty) {
        in.skipBlanks();
        const char kind = in.tagKind();
        if (kind == '/') {
            if (!in.endTag("c")) return decline();
            break;
        }
        bool childEmpty = false;
        if (kind == 'v' && in.startTag("v")) {
            if (std::exchange(out.valued, true) || !in.tagEnd(childEmpty)) return decline();
            out.value = {};
            if (!childEmpty && !(in.text(out.value) && in.endTag("v"))) return decline();
        } else if (kind == 'f' && in.startTag("f")) {
            if (std::exchange(out.formulated, true)) return decline();
            out.formula = FormulaStart{};
            out.formulaText = {};
            FormulaStart& formula = out.formula;
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
            if (!childEmpty && !(in.text(out.formulaText) && in.endTag("f"))) return decline();
        } else {
            return decline();
        }
    }
    return true;
}

// As the events would: <c>, then <v> and <f> (their order does not matter:
// each fills its own buffer), then </c>.
void WorksheetHandler::applyCell(const CellMarkup& markup) {
    openCell(markup.cell);
    if (markup.valued) {
        hasValue_ = true;
        lentValue_ = markup.value;
        valueLent_ = true;
    }
    if (markup.formulated) {
        openFormula(markup.formula);
        formula_.append(markup.formulaText);
        inFormula_ = false;
    }
    endCell();
}

} // namespace sumora::xlsx
