// The rows and cells of sheetData read straight from the markup when they
// take the plain form producers write (<row r spans><c r s t><f>..</f>
// <v>..</v></c></row>), sparing each cell the five or more events of the
// generic path. A cell, or a row with all its cells, is parsed whole before
// any of it is applied, and applied through the same openRow, openCell,
// openFormula and endCell as its events, so what is declined halfway leaves
// no trace and the scanner reads it as usual.
#include "formats/XlsxWorksheetHandler.h"
#include "formats/XmlElementCursor.h"

#include <optional>
#include <utility>

namespace sumora::xlsx {

namespace {

// Names of attributes a record leaves unread, seen on one start tag, so
// that a duplicate is declined. Left uninitialised until used.
class SeenNames {
  public:
    bool add(std::string_view name) {
        if (count_ == kMax) return false;
        for (std::size_t i = 0; i < count_; ++i)
            if (std::string_view(data_[i], size_[i]) == name) return false;
        data_[count_] = name.data();
        size_[count_++] = name.size();
        return true;
    }

  private:
    static constexpr std::size_t kMax = 16;
    const char* data_[kMax];
    std::size_t size_[kMax];
    std::size_t count_ = 0;
};

// A start tag's attributes into `record`, each name once: a duplicate
// declines the tag, and so does a name the record does not read unless
// `othersIgnored`.
template <class Record> bool takeAttributes(XmlElementCursor& in, Record& record, bool othersIgnored) {
    unsigned taken = 0; // the record's fields stored so far, a bit each
    SeenNames others;
    std::string_view name, value;
    while (in.attribute(name, value)) {
        if (const int field = record.take(name, value)) {
            if (taken & (1u << field)) return false;
            taken |= 1u << field;
        } else if (!othersIgnored || !others.add(name)) {
            return false;
        }
    }
    return true;
}

} // namespace

int WorksheetHandler::RowStart::take(std::string_view name, std::string_view value) {
    auto store = [&](std::optional<std::string_view>& to, int field) {
        to = value;
        return field;
    };
    switch (name.size()) {
    case 1:
        return name[0] == 'r' ? store(r, 1) : 0;
    case 2:
        return name == "ht" ? store(ht, 2) : 0;
    case 5:
        return name == "spans" ? store(spans, 3) : 0;
    case 6:
        return name == "hidden" ? store(hidden, 4) : 0;
    case 9:
        return name == "collapsed" ? store(collapsed, 5) : 0;
    case 12:
        if (name == "customHeight") return store(customHeight, 6);
        return name == "outlineLevel" ? store(outlineLevel, 7) : 0;
    default:
        return 0;
    }
}

int WorksheetHandler::CellStart::take(std::string_view name, std::string_view value) {
    if (name.size() != 1) return 0;
    switch (name[0]) {
    case 'r':
        reference = value;
        positioned = true;
        return 1;
    case 't':
        type = value;
        return 2;
    case 's':
        style = value;
        return 3;
    default:
        return 0;
    }
}

int WorksheetHandler::FormulaStart::take(std::string_view name, std::string_view value) {
    if (name == "t") {
        type = value;
        return 1;
    }
    if (name == "si") {
        sharedIndex = value;
        shared = true;
        return 2;
    }
    if (name == "ref") {
        ref = value;
        return 3;
    }
    return 0;
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
    bool empty = false;
    if (!takeAttributes(in, row, true) || !in.tagEnd(empty)) return decline();
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
    bool empty = false;
    if (!takeAttributes(in, out.cell, false) || !in.tagEnd(empty)) return decline();

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
            if (!takeAttributes(in, out.formula, false) || !in.tagEnd(childEmpty)) return decline();
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
