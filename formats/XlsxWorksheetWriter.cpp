#include "formats/XlsxWorksheetWriter.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "document/ColumnLetters.h"
#include "document/Sheet.h"
#include "formats/DeflatePieces.h"
#include "formats/OutlineLevels.h"
#include "formats/XlsxConditionalFormatsWriter.h"
#include "formats/XlsxFormulaText.h"
#include "formats/XlsxSharedStringsWriter.h"
#include "formats/XlsxSheetRulesWriter.h"
#include "formats/XlsxStylesWriter.h"
#include "formats/XlsxUnits.h"
#include "formats/XlsxWriterText.h"
#include "formats/XmlWriter.h"
#include "values/Log.h"

namespace sumora::xlsx {

namespace {

// The format's grid; cells beyond it cannot be addressed in a file.
constexpr int64_t kMaxRows = 1048576;
constexpr int64_t kMaxColumns = 16384;
// Excel's ceiling for a column width, in characters.
constexpr double kMaxColumnWidth = 255;

// The error values a file may carry as such; other "#" texts (the engine's
// own "#CIRC!" or parse messages) are written as text results.
constexpr std::array<std::string_view, 8> kErrorCodes = {"#NULL!", "#DIV/0!", "#VALUE!", "#REF!",
                                                         "#NAME?", "#NUM!",   "#N/A",    "#SPILL!"};

// The code of an error text: "#DIV/0!" itself, or the code that begins a
// text with detail such as "#NAME? (FOO)".
std::optional<std::string_view> errorCode(std::string_view text) {
    if (text.empty() || text.front() != '#') return std::nullopt;
    for (std::string_view code : kErrorCodes)
        if (text == code ||
            (text.size() > code.size() + 1 && text.starts_with(code) && text[code.size()] == ' '))
            return code;
    return std::nullopt;
}

// Where a run of hidden rows reaching the grid's end starts, when it is
// longer than the rows above it: such a sheet is written with rows hidden
// by default (zeroHeight) and its shown rows listed, not a million hidden ones.
std::optional<int64_t> hiddenToTheEnd(const Sheet& sheet) {
    const auto& spans = sheet.hiddenRows.spans();
    if (spans.empty()) return std::nullopt;
    const auto& [first, last] = *spans.rbegin();
    if (last < kMaxRows - 1 || first < 0 || kMaxRows - first <= first) return std::nullopt;
    return first;
}

bool isBlank(const Cell& cell) {
    return !cell.formatHandle() && cell.isLocked() && !cell.hasFormula() && cell.displayValue().empty();
}

class SheetDataWriter {
  public:
    SheetDataWriter(const Sheet& sheet, SharedStringTable& strings, StylesWriter& styles, PieceDeflater& part)
        : sheet_(sheet), strings_(strings), styles_(styles), part_(part), out_(part.text()) {}

    void write() {
        out_ += "<sheetData>";
        RowProperties properties(sheet_);
        int64_t rows = std::min(sheet_.storedRowCount(), kMaxRows);
        writeRows(properties);
        out_ += "</sheetData>";
        for (int64_t r = rows; r < sheet_.storedRowCount(); ++r)
            for (int64_t col = 0; col < sheet_.storedColumnCount(r); ++col)
                skipped_ += !isBlank(sheet_.cell(r, col));
        if (skipped_ > 0)
            Log::info("XLSX export left out " + std::to_string(skipped_) +
                      " cells beyond the format's grid on sheet '" + sheet_.name + "'");
    }

  private:
    // What a <row> element says besides its cells.
    struct RowAttributes;
    class RowProperties;

    // The rows that have cells or attributes, handed to the deflater as
    // they are written.
    void writeRows(const RowProperties& properties) {
        int64_t rows = std::min(sheet_.storedRowCount(), kMaxRows);
        int64_t row = 0, nextProperty = properties.next(0);
        while (true) {
            if (nextProperty < row) nextProperty = properties.next(row);
            int64_t next = std::min(row < rows ? row : kMaxRows, nextProperty);
            if (next >= kMaxRows) break;
            prefetchStrings(next + 1);
            writeRow(next, properties.at(next));
            part_.pieceMayEnd();
            row = next + 1;
        }
    }

    // The shared-string slots of a row's constant texts (numbers, told by
    // their first character, mostly are not).
    void prefetchStrings(int64_t row) const {
        if (row >= sheet_.storedRowCount()) return;
        const int64_t width = std::min(sheet_.storedColumnCount(row), kMaxColumns);
        for (int64_t col = 0; col < width; ++col) {
            const Cell& cell = sheet_.cell(row, col);
            if (cell.hasFormula() || cell.isSpillResult()) continue;
            std::string_view text = cell.displayValue();
            if (!text.empty() && (text.front() < '0' || text.front() > '9') && text.front() != '-')
                strings_.prefetch(text);
        }
    }

    uint32_t styleOf(const Cell& cell) { return styles_.styleIndex(cell.formatHandle(), cell.isLocked()); }

    struct RowAttributes {
        const double* height = nullptr;
        bool hidden = false, collapsed = false;
        bool shown = false; // written although plain: rows default to hidden
        int64_t level = 0;
        bool any() const { return height || hidden || collapsed || shown || level > 0; }
    };

    // The rows that carry attributes, visited in order.
    class RowProperties {
      public:
        explicit RowProperties(const Sheet& sheet)
            : sheet_(sheet), levels_(outlineLevels(rowOutlineSpans(sheet))),
              collapsed_(collapsedSummaryLines(rowOutlineSpans(sheet))),
              hiddenFrom_(hiddenToTheEnd(sheet).value_or(kMaxRows)) {}

        // The first row at or after `row` with attributes (kMaxRows when none).
        int64_t next(int64_t row) const {
            if (row < hiddenFrom_ && hiddenFrom_ < kMaxRows) return row;
            int64_t best = kMaxRows;
            if (auto it = sheet_.rowHeights.lower_bound(row); it != sheet_.rowHeights.end())
                best = std::min(best, std::max<int64_t>(it->first, 0));
            if (auto it = levels_.lower_bound(row); it != levels_.end()) best = std::min(best, it->first);
            if (auto it = collapsed_.lower_bound(row); it != collapsed_.end()) best = std::min(best, *it);
            const auto& hidden = sheet_.hiddenRows.spans();
            auto it = hidden.upper_bound(row);
            // Rows hidden by default need no element.
            int64_t hiddenRow = kMaxRows;
            if (it != hidden.begin() && std::prev(it)->second >= row)
                hiddenRow = row;
            else if (it != hidden.end())
                hiddenRow = it->first;
            return hiddenRow < hiddenFrom_ ? std::min(best, hiddenRow) : best;
        }

        RowAttributes at(int64_t row) const {
            RowAttributes a;
            if (auto it = sheet_.rowHeights.find(row); it != sheet_.rowHeights.end()) a.height = &it->second;
            if (auto it = levels_.find(row); it != levels_.end()) a.level = it->second;
            a.collapsed = collapsed_.count(row) > 0;
            a.hidden = sheet_.hiddenRows.contains(row);
            a.shown = !a.hidden && row < hiddenFrom_ && hiddenFrom_ < kMaxRows;
            return a;
        }

      private:
        const Sheet& sheet_;
        std::map<int64_t, int64_t> levels_;
        std::set<int64_t> collapsed_;
        int64_t hiddenFrom_;
    };

    void writeRow(int64_t row, const RowAttributes& attributes) {
        auto [end, ec] = std::to_chars(rowText_, rowText_ + sizeof rowText_, row + 1);
        rowTextLength_ = static_cast<size_t>(end - rowText_);
        bool open = false;
        if (attributes.any()) {
            openRow(attributes);
            open = true;
        }
        int64_t width = row < sheet_.storedRowCount() ? sheet_.storedColumnCount(row) : 0;
        if (width > kMaxColumns) {
            for (int64_t col = kMaxColumns; col < width; ++col)
                skipped_ += !isBlank(sheet_.cell(row, col));
            width = kMaxColumns;
        }
        for (int64_t col = 0; col < width; ++col) {
            const Cell& cell = sheet_.cell(row, col);
            if (isBlank(cell)) continue;
            if (!open) {
                openRow({});
                open = true;
            }
            writeCell(row, col, cell);
        }
        if (open) out_ += "</row>";
    }

    void openRow(const RowAttributes& attributes) {
        out_ += "<row r=\"";
        out_.append(rowText_, rowTextLength_);
        if (attributes.height) {
            out_ += "\" ht=\"";
            appendXmlDouble(out_, rowPointsFromPixels(*attributes.height));
            out_ += "\" customHeight=\"1";
        }
        if (attributes.hidden) out_ += "\" hidden=\"1";
        if (attributes.level > 0) {
            out_ += "\" outlineLevel=\"";
            appendInt(out_, attributes.level);
        }
        if (attributes.collapsed) out_ += "\" collapsed=\"1";
        out_ += "\">";
    }

    const std::string& letters(int64_t col) {
        while (static_cast<int64_t>(columnLetters_.size()) <= col)
            columnLetters_.push_back(columnLetter(static_cast<int64_t>(columnLetters_.size())));
        return columnLetters_[static_cast<size_t>(col)];
    }

    void writeCell(int64_t row, int64_t col, const Cell& cell) {
        out_ += "<c r=\"";
        out_ += letters(col);
        out_.append(rowText_, rowTextLength_);
        out_ += '"';
        if (uint32_t style = styleOf(cell)) {
            out_ += " s=\"";
            appendInt(out_, style);
            out_ += '"';
        }
        if (cell.hasFormula()) return writeFormulaCell(row, col, cell);
        if (cell.isSpillResult()) {
            // Written by an array formula: only its result, which reading
            // places back inside the formula's range.
            std::string_view text = cell.displayValue();
            if (text.empty()) {
                out_ += "/>";
                return;
            }
            appendResultType(text);
            out_ += '>';
            appendResult(text);
            out_ += "</c>";
            return;
        }
        std::string_view text = cell.displayValue();
        if (text.empty()) {
            out_ += "/>";
        } else if (isExactNumberText(text)) {
            out_ += "><v>";
            out_ += text;
            out_ += "</v></c>";
        } else if (text == "TRUE" || text == "FALSE") {
            out_ += text == "TRUE" ? " t=\"b\"><v>1</v></c>" : " t=\"b\"><v>0</v></c>";
        } else {
            out_ += " t=\"s\"><v>";
            appendInt(out_, strings_.index(text));
            out_ += "</v></c>";
        }
    }

    void writeFormulaCell(int64_t row, int64_t col, const Cell& cell) {
        // A formula's last result; a reader may have left it in `value`.
        std::optional<std::string_view> result = cell.computedValue();
        if (!result && !cell.value().empty()) result = cell.value();
        if (result) appendResultType(*result);
        out_ += "><f";
        appendArrayRange(row, col);
        out_ += '>';
        appendXmlEscaped(out_, exportedFormula(*cell.formula()));
        out_ += "</f>";
        if (result) appendResult(*result);
        out_ += "</c>";
    }

    // A formula whose result spills into the cells right of or below it is
    // written as an array formula over that block, so that other
    // applications show the whole result.
    void appendArrayRange(int64_t row, int64_t col) {
        if (!sheet_.cell(row, col).isArrayAnchor()) return;
        auto spilled = [&](int64_t r, int64_t c) {
            const Cell& cell = sheet_.cell(r, c);
            return cell.isSpillResult() && !cell.hasFormula();
        };
        int64_t lastCol = col, lastRow = row;
        while (lastCol + 1 < kMaxColumns && spilled(row, lastCol + 1))
            ++lastCol;
        while (lastRow + 1 < kMaxRows && spilled(lastRow + 1, col))
            ++lastRow;
        if (lastCol == col && lastRow == row) return;
        out_ += " t=\"array\" ref=\"";
        out_ += rangeRef(col, row, lastCol, lastRow);
        out_ += '"';
    }

    void appendResultType(std::string_view text) {
        if (isExactNumberText(text)) return;
        if (text == "TRUE" || text == "FALSE")
            out_ += " t=\"b\"";
        else if (errorCode(text))
            out_ += " t=\"e\"";
        else
            out_ += " t=\"str\"";
    }

    void appendResult(std::string_view text) {
        out_ += "<v>";
        if (isExactNumberText(text))
            out_ += text;
        else if (text == "TRUE" || text == "FALSE")
            out_ += text == "TRUE" ? '1' : '0';
        else if (auto code = errorCode(text))
            out_ += *code;
        else
            appendStringText(out_, text);
        out_ += "</v>";
    }

    const Sheet& sheet_;
    SharedStringTable& strings_;
    StylesWriter& styles_;
    PieceDeflater& part_;
    std::string& out_; // the part's text; the same string throughout
    std::vector<std::string> columnLetters_;
    char rowText_[24] = {};
    size_t rowTextLength_ = 0;
    int64_t skipped_ = 0;
};

void appendSheetViews(std::string& out, const Sheet& sheet) {
    out += "<sheetViews><sheetView tabSelected=\"1\" workbookViewId=\"0\">";
    int64_t rows = std::clamp<int64_t>(sheet.frozenRows, 0, kMaxRows - 1);
    int64_t cols = std::clamp<int64_t>(sheet.frozenColumns, 0, kMaxColumns - 1);
    if (rows > 0 || cols > 0) {
        out += "<pane";
        if (cols > 0) {
            out += " xSplit=\"";
            appendInt(out, cols);
            out += '"';
        }
        if (rows > 0) {
            out += " ySplit=\"";
            appendInt(out, rows);
            out += '"';
        }
        out += " topLeftCell=\"";
        appendCellRef(out, {cols, rows});
        out += "\" activePane=\"";
        out += rows > 0 && cols > 0 ? "bottomRight" : rows > 0 ? "bottomLeft" : "topRight";
        out += "\" state=\"frozen\"/>";
    }
    out += "</sheetView></sheetViews>";
}

// The outline depths Excel needs to size its outline margin, and whether
// rows are hidden unless listed.
void appendSheetFormat(std::string& out, const Sheet& sheet) {
    int64_t rowDepth = 0, columnDepth = 0;
    for (const OutlineGroup& g : sheet.outlineGroups)
        rowDepth = std::max(rowDepth, std::clamp<int64_t>(g.level, 0, kMaxOutlineLevel));
    for (const ColumnOutlineGroup& g : sheet.columnOutlineGroups)
        columnDepth = std::max(columnDepth, std::clamp<int64_t>(g.level, 0, kMaxOutlineLevel));
    bool zeroHeight = hiddenToTheEnd(sheet).has_value();
    if (rowDepth == 0 && columnDepth == 0 && !zeroHeight) return;
    out += "<sheetFormatPr defaultRowHeight=\"15\"";
    if (zeroHeight) out += " zeroHeight=\"1\"";
    if (rowDepth > 0) {
        out += " outlineLevelRow=\"";
        appendInt(out, rowDepth);
        out += '"';
    }
    if (columnDepth > 0) {
        out += " outlineLevelCol=\"";
        appendInt(out, columnDepth);
        out += '"';
    }
    out += "/>";
}

// One <col> per run of neighbouring columns that share width, hidden flag
// and outline level.
void appendColumns(std::string& out, const Sheet& sheet) {
    struct ColumnAttributes {
        std::optional<double> pixels;
        bool hidden = false, collapsed = false;
        int64_t level = 0;
        bool operator==(const ColumnAttributes&) const = default;
    };
    std::vector<OutlineSpan> spans = columnOutlineSpans(sheet);
    std::map<int64_t, int64_t> levels = outlineLevels(spans);
    std::set<int64_t> collapsed = collapsedSummaryLines(spans);
    std::set<int64_t> columns;
    for (const auto& [col, pixels] : sheet.columnWidths)
        columns.insert(col);
    for (const auto& [first, last] : sheet.hiddenColumns.spans())
        for (int64_t c = std::max<int64_t>(first, 0); c <= std::min(last, kMaxColumns - 1); ++c)
            columns.insert(c);
    for (const auto& [col, level] : levels)
        columns.insert(col);
    columns.insert(collapsed.begin(), collapsed.end());
    auto attributesOf = [&](int64_t col) {
        ColumnAttributes a;
        if (auto it = sheet.columnWidths.find(col); it != sheet.columnWidths.end()) a.pixels = it->second;
        a.hidden = sheet.hiddenColumns.contains(col);
        if (auto it = levels.find(col); it != levels.end()) a.level = it->second;
        a.collapsed = collapsed.count(col) > 0;
        return a;
    };
    bool open = false;
    for (auto it = columns.begin(); it != columns.end();) {
        int64_t first = *it;
        if (first < 0 || first >= kMaxColumns) {
            ++it;
            continue;
        }
        ColumnAttributes a = attributesOf(first);
        int64_t last = first;
        for (++it; it != columns.end() && *it == last + 1 && *it < kMaxColumns && attributesOf(*it) == a;
             ++it)
            last = *it;
        if (!open) out += "<cols>";
        open = true;
        out += "<col min=\"";
        appendInt(out, first + 1);
        out += "\" max=\"";
        appendInt(out, last + 1);
        out += '"';
        if (a.pixels) {
            out += " width=\"";
            appendXmlDouble(out, std::min(columnWidthFromPixels(*a.pixels), kMaxColumnWidth));
            out += "\" customWidth=\"1\"";
        }
        if (a.hidden) out += " hidden=\"1\"";
        if (a.level > 0) {
            out += " outlineLevel=\"";
            appendInt(out, a.level);
            out += '"';
        }
        if (a.collapsed) out += " collapsed=\"1\"";
        out += "/>";
    }
    if (open) out += "</cols>";
}

// External links name their address through the relationship ids the
// package plan gave them, in the order of the sheet's hyperlinks.
void appendHyperlinks(std::string& out, const Sheet& sheet, const std::vector<std::string>& externalIds) {
    if (sheet.hyperlinks.empty()) return;
    size_t external = 0;
    std::string body;
    for (const auto& [address, link] : sheet.hyperlinks) {
        auto at = parseCellAddress(address);
        bool hasId = !link.target.empty() && external < externalIds.size();
        const std::string* id = hasId ? &externalIds[external++] : nullptr;
        if (!at || at->row >= kMaxRows || at->col >= kMaxColumns) continue;
        body += "<hyperlink ref=\"";
        appendCellRef(body, *at);
        body += '"';
        if (id) body += " r:id=\"" + *id + '"';
        if (!link.location.empty()) appendAttribute(body, "location", link.location);
        if (link.tooltip) appendAttribute(body, "tooltip", *link.tooltip);
        body += "/>";
    }
    if (body.empty()) return;
    out += "<hyperlinks>";
    out += body;
    out += "</hyperlinks>";
}

void appendMergeCells(std::string& out, const Sheet& sheet) {
    std::vector<const MergedRegion*> regions;
    // A one-cell merge means nothing and other applications reject it.
    for (const MergedRegion& m : sheet.mergedRegions)
        if (m.startCol != m.endCol || m.startRow != m.endRow) regions.push_back(&m);
    if (regions.empty()) return;
    out += "<mergeCells count=\"";
    appendInt(out, static_cast<int64_t>(regions.size()));
    out += "\">";
    for (const MergedRegion* m : regions)
        out += "<mergeCell ref=\"" + rangeRef(m->startCol, m->startRow, m->endCol, m->endRow) + "\"/>";
    out += "</mergeCells>";
}

} // namespace

DeflatedPart deflatedWorksheet(const Sheet& sheet, SharedStringTable& strings, StylesWriter& styles,
                               const WorksheetLinks& links, int level, int smallPartLevel) {
    PieceDeflater part(level, smallPartLevel);
    std::string& out = part.text();
    out += "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
           "<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" "
           "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\">";
    if (sheet.tabColorHex)
        out += "<sheetPr><tabColor rgb=\"FF" + hexColor(*sheet.tabColorHex) + "\"/></sheetPr>";
    appendSheetViews(out, sheet);
    appendSheetFormat(out, sheet);
    appendColumns(out, sheet);
    SheetDataWriter(sheet, strings, styles, part).write();
    appendSheetProtection(out, sheet);
    appendMergeCells(out, sheet);
    appendConditionalFormatting(out, sheet, styles);
    appendDataValidations(out, sheet);
    appendHyperlinks(out, sheet, links.hyperlinks);
    out += links.carriedBeforeDrawings;
    if (links.drawing) out += "<drawing r:id=\"" + *links.drawing + "\"/>";
    if (links.legacyDrawing) out += "<legacyDrawing r:id=\"" + *links.legacyDrawing + "\"/>";
    out += links.carriedAfterDrawings;
    out += "</worksheet>";
    return part.finish();
}

} // namespace sumora::xlsx
