#include "formats/XlsxWorksheetWriter.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "document/ColumnLetters.h"
#include "document/Sheet.h"
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

bool isBlank(const Cell& cell) {
    return !cell.formatHandle() && cell.isLocked() && !cell.hasFormula() && cell.displayValue().empty();
}

class SheetDataWriter {
  public:
    SheetDataWriter(const Sheet& sheet, SharedStringTable& strings, StylesWriter& styles, std::string& out)
        : sheet_(sheet), strings_(strings), styles_(styles), out_(out) {}

    void write() {
        out_ += "<sheetData>";
        auto height = sheet_.rowHeights.begin();
        int64_t rows = std::min(sheet_.storedRowCount(), kMaxRows);
        for (int64_t row = 0; row < rows; ++row) {
            while (height != sheet_.rowHeights.end() && height->first < row)
                ++height;
            bool hasHeight = height != sheet_.rowHeights.end() && height->first == row;
            writeRow(row, hasHeight ? &height->second : nullptr);
        }
        for (; height != sheet_.rowHeights.end(); ++height)
            if (height->first >= rows && height->first >= 0 && height->first < kMaxRows)
                writeRow(height->first, &height->second);
        out_ += "</sheetData>";
        for (int64_t row = rows; row < sheet_.storedRowCount(); ++row)
            for (int64_t col = 0; col < sheet_.storedColumnCount(row); ++col)
                skipped_ += !isBlank(sheet_.cell(row, col));
        if (skipped_ > 0)
            Log::info("XLSX export left out " + std::to_string(skipped_) +
                      " cells beyond the format's grid on sheet '" + sheet_.name + "'");
    }

  private:
    void writeRow(int64_t row, const double* height) {
        auto [end, ec] = std::to_chars(rowText_, rowText_ + sizeof rowText_, row + 1);
        rowTextLength_ = static_cast<size_t>(end - rowText_);
        bool open = false;
        if (height) {
            openRow(height);
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
                openRow(nullptr);
                open = true;
            }
            writeCell(row, col, cell);
        }
        if (open) out_ += "</row>";
    }

    void openRow(const double* height) {
        out_ += "<row r=\"";
        out_.append(rowText_, rowTextLength_);
        if (height) {
            out_ += "\" ht=\"";
            appendXmlDouble(out_, rowPointsFromPixels(*height));
            out_ += "\" customHeight=\"1";
        }
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
        if (uint32_t style = styles_.styleIndex(cell.formatHandle(), cell.isLocked())) {
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
    std::string& out_;
    std::vector<std::string> columnLetters_;
    char rowText_[24] = {};
    size_t rowTextLength_ = 0;
    int64_t skipped_ = 0;
};

// Bytes to reserve: about 40 per stored cell covers a reference, a style
// and a typical value.
size_t estimatedSize(const Sheet& sheet) {
    size_t cells = 0;
    for (int64_t row = 0; row < sheet.storedRowCount(); ++row)
        cells += static_cast<size_t>(sheet.storedColumnCount(row));
    return 4096 + cells * 40 + static_cast<size_t>(sheet.storedRowCount()) * 20 +
           sheet.rowHeights.size() * 48;
}

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
        appendCellRef(out, cols, rows);
        out += "\" activePane=\"";
        out += rows > 0 && cols > 0 ? "bottomRight" : rows > 0 ? "bottomLeft" : "topRight";
        out += "\" state=\"frozen\"/>";
    }
    out += "</sheetView></sheetViews>";
}

void appendColumns(std::string& out, const Sheet& sheet) {
    bool open = false;
    for (const auto& [col, pixels] : sheet.columnWidths) {
        if (col < 0 || col >= kMaxColumns) continue;
        if (!open) out += "<cols>";
        open = true;
        out += "<col min=\"";
        appendInt(out, col + 1);
        out += "\" max=\"";
        appendInt(out, col + 1);
        out += "\" width=\"";
        appendXmlDouble(out, std::min(columnWidthFromPixels(pixels), kMaxColumnWidth));
        out += "\" customWidth=\"1\"/>";
    }
    if (open) out += "</cols>";
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

std::string worksheetXml(const Sheet& sheet, SharedStringTable& strings, StylesWriter& styles,
                         const WorksheetLinks& links) {
    std::string out;
    out.reserve(estimatedSize(sheet));
    out += "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n"
           "<worksheet xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" "
           "xmlns:r=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships\">";
    if (sheet.tabColorHex)
        out += "<sheetPr><tabColor rgb=\"FF" + hexColor(*sheet.tabColorHex) + "\"/></sheetPr>";
    appendSheetViews(out, sheet);
    appendColumns(out, sheet);
    SheetDataWriter(sheet, strings, styles, out).write();
    appendSheetProtection(out, sheet);
    appendMergeCells(out, sheet);
    appendConditionalFormatting(out, sheet, styles);
    appendDataValidations(out, sheet);
    out += links.carriedBeforeDrawings;
    if (links.drawing) out += "<drawing r:id=\"" + *links.drawing + "\"/>";
    if (links.legacyDrawing) out += "<legacyDrawing r:id=\"" + *links.legacyDrawing + "\"/>";
    out += links.carriedAfterDrawings;
    out += "</worksheet>";
    return out;
}

} // namespace sumora::xlsx
