// Cells keep their true positions. Repeated empty cells and rows only move
// the position on, so the huge repeats other programs write to fill a sheet
// to its edge cost nothing; repeated cells with content are copied, within
// bounds that keep a hostile file from taking the machine's memory.
// Formatting on empty cells is kept inside the grid the content spans (at
// least 500 × 26); the rest (formats of whole columns and rows) is dropped.
#include "formats/OdsContentHandler.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

#include "document/ColumnLetters.h"
#include "formats/OdsFormulaTranslation.h"
#include "formats/OdsHyperlinks.h"
#include "formats/ReaderLimits.h"
#include "values/Log.h"

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace sumora::ods {

namespace {

constexpr int64_t kMaxRows = 1048576;
constexpr int64_t kMaxColumns = 16384;
// Copies made of one repeated row with content, beyond the row itself.
constexpr int64_t kMaxCopiesPerRun = 65536;
// Memory the repeated copies of one handler may take, counted as cells plus
// their texts.
constexpr int64_t kMaxCopyBytes = int64_t{64} << 20;
// Empty but formatted cells stored per handler.
constexpr int64_t kMaxFormattedEmptyCells = int64_t{1} << 21;
constexpr size_t kMaxRuns = size_t{1} << 20;
constexpr size_t kMaxMerges = 100000;
// Array formulas whose result blocks one handler tracks at a time.
constexpr size_t kMaxMatrixAreas = 10000;
// Spaces one <text:s> may stand for.
constexpr int64_t kMaxSpaceRun = 4096;
// Cell slots (rows are stored up to their last cell) one handler may fill:
// about 1.6 GB, far past any real spreadsheet, and a bound on what a hostile
// file can make this process allocate.
constexpr int64_t kMaxCellSlots = int64_t{1} << 25;

std::atomic<bool> plainCellsEnabled{true};
// Cells of one row read before they are applied, at most: a longer row is
// read cell by cell, so that no row's markup costs more than this in records.
constexpr std::size_t kMaxPlainRowCells = 1024;

std::optional<int64_t> integerAttribute(std::optional<std::string_view> text) {
    if (!text) return std::nullopt;
    int64_t value = 0;
    auto [end, ec] = std::from_chars(text->data(), text->data() + text->size(), value);
    if (ec != std::errc() || end != text->data() + text->size()) return std::nullopt;
    return value;
}

// A repeat or span count: 1 when absent, unparsable or below 1.
int64_t countAttribute(std::optional<std::string_view> text, int64_t limit) {
    return std::clamp<int64_t>(integerAttribute(text).value_or(1), 1, limit);
}

// Elements inside a cell whose paragraphs are not the cell's text.
bool isForeignInCell(std::string_view name) {
    static constexpr std::string_view kNames[] = {
        "annotation", "frame",    "custom-shape", "rect",   "line",      "ellipse", "circle",
        "polygon",    "polyline", "path",         "g",      "connector", "measure", "caption",
        "control",    "note",     "table",        "object", "image"};
    return std::find(std::begin(kNames), std::end(kNames), name) != std::end(kNames);
}

// A percentage's display text ("12.50 %") gives the built-in percent format
// with or without decimals.
void applyPercentFormat(Cell& cell, std::string_view display) {
    if (cell.format().numberFormat) return;
    std::string_view number = display.substr(0, display.find('%'));
    size_t separator = number.find_first_of(".,");
    bool decimals = separator != std::string_view::npos && separator + 1 < number.size() &&
                    number[separator + 1] >= '0' && number[separator + 1] <= '9';
    cell.updateFormat([&](CellFormat& f) {
        f.numberFormat = decimals ? "0.00%" : "0%";
        f.numberFormatId = decimals ? 10 : 9;
    });
}

// "collapse" hides a row or column; "filter" hides it for an active filter.
bool isHiddenVisibility(std::optional<std::string_view> visibility) {
    return visibility && (*visibility == "collapse" || *visibility == "filter");
}

} // namespace

std::optional<std::string_view> OdsContentHandler::attr(const XmlAttributes& a,
                                                        std::string_view qualifiedName) {
    if (auto v = a.get(xmlLocalName(qualifiedName))) return v;
    return a.getQualified(qualifiedName);
}

// ---------------------------------------------------------------------------
// Events

void OdsContentHandler::startElement(std::string_view name, const XmlAttributes& a) {
    if (styles_.startElement(name, a)) return;
    if (nestedTables_ > 0) {
        if (name == "table") ++nestedTables_;
        return;
    }
    if (conditionalFormats_.inBlock() || (inTable && !inTableCell && name == "conditional-formats"))
        return conditionalFormats_.startElement(name, a);
    if (inTableCell) {
        bool paragraph = name == "p" || name == "h";
        if (foreignDepth_ > 0 || (!paragraph && isForeignInCell(name))) {
            ++foreignDepth_;
            if (name == "annotation" && foreignDepth_ == 1) {
                inAnnotation_ = true;
                annotationText_.clear();
                annotationParagraphs_ = 0;
            } else if (inAnnotation_ && foreignDepth_ == 2 && paragraph) {
                if (annotationParagraphs_++ > 0) appendText(annotationText_, 1, '\n');
                inAnnotationP_ = true;
            } else if (inAnnotationP_) {
                startParagraphPiece(name, a);
            }
            return;
        }
        if (paragraph) {
            startParagraph();
        } else if (inTextP) {
            startParagraphPiece(name, a);
        }
        return;
    }
    if (name == "table-cell" || name == "covered-table-cell") return startCell(a);
    if (name == "table-row") return startRow(a);
    if (name == "table-column") return startColumn(a);
    if (name == "table-row-group" || name == "table-column-group") return startGroup(name, a);
    if (name == "table") {
        if (inTable)
            ++nestedTables_;
        else
            startTable(a);
    }
}

void OdsContentHandler::endElement(std::string_view name) {
    if (styles_.endElement(name)) return;
    if (nestedTables_ > 0) {
        if (name == "table") --nestedTables_;
        return;
    }
    if (conditionalFormats_.inBlock()) return conditionalFormats_.endElement(name);
    if (inTableCell) {
        if (foreignDepth_ > 0) {
            if (inAnnotationP_ && foreignDepth_ == 2 && (name == "p" || name == "h")) inAnnotationP_ = false;
            if (--foreignDepth_ == 0) inAnnotation_ = false;
            return;
        }
        if (name == "p" || name == "h")
            inTextP = false;
        else if (name == "table-cell" || name == "covered-table-cell")
            endCell();
        return;
    }
    if (name == "table-row") {
        endRow();
    } else if (name == "table-row-group" || name == "table-column-group") {
        endGroup(name);
    } else if (name == "table" && inTable) {
        endTable();
    }
}

void OdsContentHandler::endRow() {
    if (!inTableRow) return;
    inTableRow = false;
    nextRow_ = std::min(nextRow_ + rowRepeatCount, kMaxRows + 1);
}

void OdsContentHandler::startParagraph() {
    if (paragraphs_++ > 0) appendText(currentText, 1, '\n');
    inTextP = true;
}

void OdsContentHandler::characters(std::string_view text) {
    if (inTextP && foreignDepth_ == 0) {
        if (valueSource_ != ValueSource::attribute) appendText(currentText, text);
    } else if (inAnnotationP_) {
        appendText(annotationText_, text);
    }
}

// Spaces, tabs and line breaks inside a paragraph are elements.
void OdsContentHandler::startParagraphPiece(std::string_view name, const XmlAttributes& a) {
    if (!inAnnotationP_ && valueSource_ == ValueSource::attribute && name != "a") return;
    std::string& target = inAnnotationP_ ? annotationText_ : currentText;
    if (name == "a" && !inAnnotationP_ && !currentLink_) {
        if (auto href = attr(a, "xlink:href"); href && !href->empty())
            currentLink_ = hyperlinkFromHref(*href);
        return;
    }
    if (name == "s")
        appendText(target, static_cast<size_t>(countAttribute(attr(a, "text:c"), kMaxSpaceRun)), ' ');
    else if (name == "tab")
        appendText(target, 1, '\t');
    else if (name == "line-break")
        appendText(target, 1, '\n');
}

void OdsContentHandler::countText(size_t bytes) {
    auto n = static_cast<int64_t>(bytes);
    if (textBytes_->fetch_add(n, std::memory_order_relaxed) + n > kMaxStoredTextBytes) throwTooMuchText();
}

void OdsContentHandler::appendText(std::string& target, std::string_view text) {
    countText(text.size());
    target.append(text);
}

void OdsContentHandler::appendText(std::string& target, size_t count, char c) {
    countText(count);
    target.append(count, c);
}

// ---------------------------------------------------------------------------
// Tables, columns and rows

void OdsContentHandler::startTable(const XmlAttributes& a) {
    inTable = true;
    setReadsElements(plainCellsEnabled.load(std::memory_order_relaxed));
    std::string name(attr(a, "table:name").value_or(""));
    if (name.empty()) name = "Sheet " + std::to_string(sheets.size() + 1);
    currentSheet_ = Sheet(std::move(name), 0, 0);
    if (attr(a, "table:display") == std::optional<std::string_view>("false")) currentSheet_.isHidden = true;
    if (auto style = attr(a, "table:style-name"); style && styles_.hidesTable(*style))
        currentSheet_.isHidden = true;
    nextColumn_ = nextRow_ = currentRow_ = nextCol_ = 0;
    rowCopies_ = 0;
    usedRows_ = usedCols_ = 0;
    expectedWidth_ = 1;
    anyColumnFormat_ = false;
    columns_.clear();
    formatRuns_.clear();
    matrixAreas_.clear();
    rowRuns_.clear();
    openRowGroups_.clear();
    openColumnGroups_.clear();
    rowGroups_.clear();
    columnGroups_.clear();
    copyBytesLeft_ = kMaxCopyBytes;
    formattedEmptyLeft_ = kMaxFormattedEmptyCells;
}

void OdsContentHandler::endTable() {
    inTable = false;
    setReadsElements(false);
    for (ConditionalFormatRule& rule : conditionalFormats_.takeRules())
        currentSheet_.conditionalFormats.push_back(std::move(rule));
    if (std::string dropped = conditionalFormats_.droppedSentence(currentSheet_.name); !dropped.empty()) {
        Log::progress("  " + dropped);
        if (droppedOnOpen_) droppedOnOpen_->push_back(std::move(dropped));
    }
    if (role_ == Role::continuation) {
        // The first half finishes the table once it has taken these rows over.
        continuationComplete_ = true;
        return;
    }
    Sheet& sheet = currentSheet_;
    for (const MergedRegion& m : sheet.mergedRegions) {
        usedRows_ = std::max(usedRows_, m.endRow + 1);
        usedCols_ = std::max(usedCols_, m.endCol + 1);
    }
    int64_t rows = std::max(usedRows_, SumoraDocument::kNewSheetRows);
    int64_t cols = std::max(usedCols_, SumoraDocument::kNewSheetColumns);
    sheet.growTo(rows, cols);

    for (const CellRun& run : formatRuns_) {
        int64_t rowEnd = std::min(run.row + run.rows, rows);
        int64_t colEnd = std::min(run.col + run.cols, cols);
        for (int64_t r = run.row; r < rowEnd && formattedEmptyLeft_ > 0; ++r)
            for (int64_t c = run.col; c < colEnd && formattedEmptyLeft_ > 0; ++c, --formattedEmptyLeft_) {
                int64_t slots = slotsFor({c, r});
                if (cellSlots_ + slots > kMaxCellSlots) break;
                cellSlots_ += slots;
                Cell& cell = sheet.cellForWriting(r, c);
                if (!cell.hasContent() && !cell.formatHandle()) cell.setFormatHandle(run.format);
            }
    }
    for (const ColumnRun& run : columns_) {
        if (run.hidden) sheet.hiddenColumns.add(run.start, std::min(run.start + run.count, kMaxColumns) - 1);
        if (!run.width) continue;
        for (int64_t c = run.start; c < std::min(run.start + run.count, cols); ++c)
            sheet.columnWidths[c] = *run.width;
    }
    applyRowRuns(rows);
    if (!rowGroups_.empty()) setRowOutline(sheet, rowGroups_);
    if (!columnGroups_.empty()) setColumnOutline(sheet, columnGroups_);
    sheet.compact();
    sheets.push_back(std::move(sheet));
    currentSheet_ = Sheet();
    columns_.clear();
    formatRuns_.clear();
}

void OdsContentHandler::startColumn(const XmlAttributes& a) {
    if (!inTable) return;
    ColumnRun run;
    run.start = nextColumn_;
    run.count = countAttribute(attr(a, "table:number-columns-repeated"), kMaxColumns);
    if (auto style = attr(a, "table:style-name")) run.width = styles_.columnWidth(*style);
    if (auto style = attr(a, "table:default-cell-style-name")) run.defaultFormat = styles_.cellFormat(*style);
    run.hidden = isHiddenVisibility(attr(a, "table:visibility"));
    anyColumnFormat_ = anyColumnFormat_ || run.defaultFormat;
    nextColumn_ = std::min(nextColumn_ + run.count, kMaxColumns);
    if (run.start < kMaxColumns) columns_.push_back(run);
}

const CellFormat* OdsContentHandler::columnDefaultFormat(int64_t col) const {
    if (!anyColumnFormat_) return nullptr;
    auto it = std::upper_bound(columns_.begin(), columns_.end(), col,
                               [](int64_t c, const ColumnRun& run) { return c < run.start; });
    if (it == columns_.begin()) return nullptr;
    --it;
    return col < it->start + it->count ? it->defaultFormat : nullptr;
}

void OdsContentHandler::startRow(const XmlAttributes& a) {
    if (!inTable) return;
    inTableRow = true;
    rowRepeatCount = countAttribute(attr(a, "table:number-rows-repeated"), kMaxRows);
    currentRow_ = nextRow_;
    rowCopies_ = std::max<int64_t>(0, std::min(rowRepeatCount, kMaxRows - currentRow_));
    RowRun run{currentRow_, rowCopies_, std::nullopt, isHiddenVisibility(attr(a, "table:visibility"))};
    if (auto style = attr(a, "table:style-name")) run.height = styles_.rowHeight(*style);
    if ((run.height || run.hidden) && run.count > 0 && rowRuns_.size() < kMaxRuns) rowRuns_.push_back(run);
    nextCol_ = 0;
    rowReserved_ = false;
    if (!matrixAreas_.empty())
        std::erase_if(matrixAreas_, [&](const MatrixArea& m) { return m.endRow < currentRow_; });
}

// Row and column groups nest; a group shown folded is collapsed.
void OdsContentHandler::startGroup(std::string_view name, const XmlAttributes& a) {
    if (!inTable || inTableRow) return;
    bool collapsed = attr(a, "table:display") == std::optional<std::string_view>("false");
    if (name == "table-row-group")
        openRowGroups_.push_back({nextRow_, collapsed});
    else
        openColumnGroups_.push_back({nextColumn_, collapsed});
}

void OdsContentHandler::endGroup(std::string_view name) {
    bool rows = name == "table-row-group";
    std::vector<OpenGroup>& open = rows ? openRowGroups_ : openColumnGroups_;
    // A continuation meets the ends of groups opened before its cut: not its own.
    if (open.empty()) return;
    OpenGroup group = open.back();
    open.pop_back();
    int64_t end = std::min(rows ? nextRow_ : nextColumn_, rows ? kMaxRows : kMaxColumns) - 1;
    auto level = static_cast<int64_t>(open.size()) + 1;
    std::vector<OutlineSpan>& spans = rows ? rowGroups_ : columnGroups_;
    if (end >= group.start && level <= kMaxOutlineLevel && spans.size() < kMaxRuns)
        spans.push_back({group.start, end, level, group.collapsed});
}

// Hidden rows are kept wherever they lie; heights only within the grid the
// content spans, since files repeat a default row to the sheet's end.
void OdsContentHandler::applyRowRuns(int64_t rows) {
    for (const RowRun& run : rowRuns_) {
        if (run.hidden) currentSheet_.hiddenRows.add(run.start, run.start + run.count - 1);
        if (run.height)
            for (int64_t r = run.start; r < std::min(run.start + run.count, rows); ++r)
                currentSheet_.rowHeights[r] = *run.height;
    }
    rowRuns_.clear();
}

// ---------------------------------------------------------------------------
// Cells

const CellFormat* OdsContentHandler::styleFormat(std::string_view name) {
    if (name != lastStyleName_) {
        lastStyleName_.assign(name);
        lastStyleFormat_ = styles_.cellFormat(name);
    }
    return lastStyleFormat_;
}

void CellTag::add(std::string_view localName, std::string_view v) {
    if (localName == "value-type") {
        if (!hasValueType) valueType = v; // office: comes before a producer's own copy
        hasValueType = true;
    } else if (localName == "value") {
        value = v;
        hasValue = true;
    } else if (localName == "style-name") {
        styleName = v;
        hasStyle = true;
    } else if (localName == "formula") {
        formula = v;
        hasFormula = true;
    } else if (localName == "number-columns-repeated") {
        repeat = countAttribute(v, kMaxColumns);
    } else if (localName == "date-value") {
        dateValue = v;
    } else if (localName == "boolean-value") {
        booleanValue = v;
    } else if (localName == "string-value") {
        stringValue = v;
    } else if (localName == "number-columns-spanned") {
        spannedColumns = countAttribute(v, kMaxColumns);
    } else if (localName == "number-rows-spanned") {
        spannedRows = countAttribute(v, kMaxRows);
    } else if (localName == "number-matrix-columns-spanned") {
        matrixColumns = countAttribute(v, kMaxColumns);
    } else if (localName == "number-matrix-rows-spanned") {
        matrixRows = countAttribute(v, kMaxRows);
    }
}

void OdsContentHandler::startCell(const XmlAttributes& a) {
    CellTag tag;
    for (size_t i = 0; i < a.size(); ++i)
        tag.add(xmlLocalName(a.qualifiedName(i)), a.value(i));
    startCell(tag);
}

void OdsContentHandler::startCell(const CellTag& tag) {
    if (!inTableRow) return;
    inTableCell = true;
    currentCell = Cell();
    currentText.clear();
    paragraphs_ = 0;
    foreignDepth_ = 0;
    inTextP = inAnnotation_ = inAnnotationP_ = false;
    annotationText_.clear();
    currentLink_.reset();
    repeatCount = tag.repeat;
    spannedColumns_ = tag.spannedColumns;
    spannedRows_ = tag.spannedRows;
    matrixColumns_ = tag.matrixColumns;
    matrixRows_ = tag.matrixRows;
    valueSource_ = ValueSource::text;
    explicitStyle_ = tag.hasStyle;

    const std::string_view valueType = tag.valueType, value = tag.value;
    const bool hasValue = tag.hasValue;
    const std::optional<std::string_view>&dateValue = tag.dateValue, &booleanValue = tag.booleanValue,
          &stringValue = tag.stringValue;
    if ((valueType == "float" || valueType == "currency" || valueType == "percentage") && hasValue) {
        currentCell.setValue(value);
        valueSource_ = valueType == "percentage" ? ValueSource::percentage : ValueSource::attribute;
    } else if (valueType == "date" && dateValue) {
        currentCell.setValue(*dateValue);
        valueSource_ = ValueSource::attribute;
    } else if (valueType == "boolean" && booleanValue) {
        currentCell.setValue(*booleanValue == "true" || *booleanValue == "1" ? "TRUE" : "FALSE");
        valueSource_ = ValueSource::attribute;
    } else if (valueType == "string" && stringValue) {
        currentCell.setValue(*stringValue);
        valueSource_ = ValueSource::attribute;
    }
    if (tag.hasFormula) currentCell.setFormula(formulaFromOpenFormula(stripFormulaPrefix(tag.formula)));
    const CellFormat* format = explicitStyle_ ? styleFormat(tag.styleName) : columnDefaultFormat(nextCol_);
    if (format) currentCell.setFormatHandle(format);
}

void setPlainCellsEnabled(bool enabled) {
    plainCellsEnabled = enabled;
}

// Rows and cells read without their events where they have the plain shape;
// each goes through the same steps its events would take.
std::size_t OdsContentHandler::readElements(const char* data, std::size_t size) {
    if (inTableCell || nestedTables_ > 0 || styles_.inStyle() || conditionalFormats_.inBlock()) return 0;
    std::size_t used = 0;
    if (inTableRow) {
        PlainCell cell;
        while (std::size_t length = readPlainCell(data + used, size - used, cell)) {
            applyPlainCell(cell);
            used += length;
        }
    } else if (inTable) {
        while (std::size_t length = readPlainRow(data + used, size - used))
            used += length;
    }
    return used;
}

// A row is taken whole or not at all: its cells are all read before any applies.
std::size_t OdsContentHandler::readPlainRow(const char* data, std::size_t size) {
    PlainRowStart row;
    std::size_t used = readPlainRowStart(data, size, row);
    if (!used) return 0;
    std::size_t cells = 0;
    for (;;) {
        if (cells == kMaxPlainRowCells) return 0;
        if (cells == plainCells_.size()) plainCells_.emplace_back();
        if (std::size_t length = readPlainCell(data + used, size - used, plainCells_[cells])) {
            used += length;
            ++cells;
            continue;
        }
        std::size_t length = readPlainRowEnd(data + used, size - used);
        if (!length) return 0;
        used += length;
        break;
    }
    startRow(XmlAttributes(row.pairs.data(), row.attributeCount, row.lengths.data()));
    for (std::size_t k = 0; k < cells; ++k)
        applyPlainCell(plainCells_[k]);
    endRow();
    return used;
}

void OdsContentHandler::applyPlainCell(const PlainCell& cell) {
    startCell(cell.tag);
    for (std::size_t k = 0; k < cell.paragraphCount; ++k) {
        startParagraph();
        if (!cell.paragraphs[k].empty()) characters(cell.paragraphs[k]);
        inTextP = false;
    }
    endCell();
}

void OdsContentHandler::endCell() {
    inTableCell = inTextP = false;
    if (valueSource_ == ValueSource::text)
        currentCell.setValue(currentText);
    else if (valueSource_ == ValueSource::percentage)
        applyPercentFormat(currentCell, currentText);
    int64_t columns = std::max<int64_t>(0, std::min(repeatCount, kMaxColumns - nextCol_));
    if (columns > 0 && rowCopies_ > 0) {
        if (role_ == Role::continuation && !explicitStyle_) noteUnstyled(columns);
        placeCell(columns);
    }
    nextCol_ = std::min(nextCol_ + repeatCount, kMaxColumns);
}

// A continuation does not know its table's columns: cells without a style of
// their own are noted, row by row, for their column defaults.
void OdsContentHandler::noteUnstyled(int64_t columns) {
    if (!unstyledRuns_.empty()) {
        CellRun& last = unstyledRuns_.back();
        if (last.row == currentRow_ && last.col + last.cols == nextCol_) {
            last.cols += columns;
            return;
        }
    }
    if (unstyledRuns_.size() < kMaxRuns)
        unstyledRuns_.push_back(CellRun{currentRow_, rowCopies_, nextCol_, columns, nullptr});
}

// Stores the cell at its position and at the positions its column and row
// repeats give it.
void OdsContentHandler::placeCell(int64_t columns) {
    Sheet& sheet = currentSheet_;
    int64_t row = currentRow_, col = nextCol_;
    if (!annotationText_.empty()) {
        if (role_ == Role::continuation)
            pendingComments_.push_back({row, col, annotationText_});
        else
            sheet.cellComments[cellAddress({col, row})] = annotationText_;
    }
    if (currentLink_) {
        if (role_ == Role::continuation)
            pendingLinks_.push_back({row, col, *currentLink_});
        else
            sheet.hyperlinks[cellAddress({col, row})] = *currentLink_;
    }
    if ((spannedColumns_ > 1 || spannedRows_ > 1) && sheet.mergedRegions.size() < kMaxMerges)
        for (int64_t c = 0; c < columns && sheet.mergedRegions.size() < kMaxMerges; ++c)
            sheet.mergedRegions.push_back(MergedRegion{col + c, row,
                                                       std::min(col + c + spannedColumns_, kMaxColumns) - 1,
                                                       std::min(row + spannedRows_, kMaxRows) - 1});

    if (currentCell.hasFormula() && (matrixColumns_ > 1 || matrixRows_ > 1) &&
        matrixAreas_.size() < kMaxMatrixAreas) {
        currentCell.setArrayAnchor(true);
        matrixAreas_.push_back(MatrixArea{col, row, std::min(col + matrixColumns_, kMaxColumns) - 1,
                                          std::min(row + matrixRows_, kMaxRows) - 1});
    } else if (!matrixAreas_.empty() && !currentCell.hasFormula() && currentCell.hasContent() &&
               insideMatrix({col, row}))
        markSpilled(currentCell);

    if (!currentCell.hasContent() && !currentCell.isSpillResult()) {
        if (currentCell.formatHandle() && formatRuns_.size() < kMaxRuns)
            formatRuns_.push_back(CellRun{row, rowCopies_, col, columns, currentCell.formatHandle()});
        return;
    }

    int64_t rows = std::min(rowCopies_, kMaxCopiesPerRun + 1);
    int64_t wanted = rows * columns - 1; // copies beyond the cell itself
    if (wanted > 0) {
        int64_t cost = static_cast<int64_t>(sizeof(Cell) + currentCell.value().size() +
                                            (currentCell.formula() ? currentCell.formula()->size() : 0));
        int64_t affordable = copyBytesLeft_ / cost;
        if ((wanted > affordable || rows < rowCopies_) && !reportedCopyLimit_) {
            Log::progress("  ODS: repeated cells in sheet '" + sheet.name + "' cut short at " +
                          cellAddress({col, row}));
            reportedCopyLimit_ = true;
        }
        wanted = std::min(wanted, affordable);
        copyBytesLeft_ -= wanted * cost;
    }

    if (!rowReserved_) {
        sheet.reserveRow(row, std::max(expectedWidth_, col + columns));
        rowReserved_ = true;
    }
    int64_t placed = 0;
    for (int64_t r = 0; r < rows && placed <= wanted; ++r) {
        for (int64_t c = 0; c < columns && placed <= wanted; ++c, ++placed) {
            if (placed == wanted)
                storeCell({col + c, row + r}) = std::move(currentCell);
            else
                storeCell({col + c, row + r}) = currentCell;
            usedRows_ = std::max(usedRows_, row + r + 1);
            usedCols_ = std::max(usedCols_, col + c + 1);
        }
    }
    expectedWidth_ = std::clamp<int64_t>(usedCols_, 1, 256);
}

bool OdsContentHandler::insideMatrix(CellPosition at) const {
    return std::any_of(matrixAreas_.begin(), matrixAreas_.end(),
                       [&](const MatrixArea& m) { return m.contains(at); });
}

// A value inside an array formula's block is the formula's result, which the
// next calculation writes again.
void OdsContentHandler::markSpilled(Cell& cell) {
    std::string text(cell.value());
    cell.setValue("");
    cell.setComputedValue(text);
    cell.setSpillResult(true);
}

Cell& OdsContentHandler::storeCell(CellPosition at) {
    const auto [col, row] = at;
    cellSlots_ += slotsFor(at);
    if (cellSlots_ > kMaxCellSlots)
        throw std::runtime_error("the spreadsheet holds more than " + std::to_string(kMaxCellSlots) +
                                 " cells, more than can be opened");
    return currentSheet_.cellForWriting(row, col);
}

// ---------------------------------------------------------------------------
// Taking over a continuation

void OdsContentHandler::absorb(OdsContentHandler& other) {
    const int64_t shift = nextRow_;
    Sheet& from = other.currentSheet_;
    // From the last row up, so this sheet's row list grows once and the other
    // sheet's storage is released as its rows are taken over. Cells are
    // copied, not moved: the other half was filled by another thread, whose
    // allocator can hand its memory back only once nothing in it lives on.
    for (int64_t r = from.storedRowCount() - 1; r >= 0; --r) {
        int64_t row = shift + r;
        int64_t width = from.storedColumnCount(r);
        if (row < kMaxRows && width > 0) {
            currentSheet_.reserveRow(row, width);
            for (int64_t c = 0; c < width; ++c) {
                const Cell* cell = from.storedCell(r, c);
                if (!cell || cell->isDefault()) continue;
                storeCell({c, row}) = *cell;
                usedRows_ = std::max(usedRows_, row + 1);
                usedCols_ = std::max(usedCols_, c + 1);
            }
        }
        if (r % 16384 == 0) {
            from.setGridSize(r, from.columnCount());
#if defined(__GLIBC__)
            malloc_trim(0);
#endif
        }
    }
    // Array formulas above the cut whose results reach below it.
    for (const MatrixArea& m : matrixAreas_)
        for (int64_t r = std::max(m.startRow, shift); r <= m.endRow; ++r)
            for (int64_t c = m.startCol; c <= std::min(m.endCol, currentSheet_.storedColumnCount(r) - 1);
                 ++c) {
                Cell* cell = currentSheet_.storedCell(r, c);
                if (cell && cell->hasContent() && !cell->hasFormula() && !cell->isSpillResult())
                    markSpilled(*cell);
            }
    for (const PendingComment& c : other.pendingComments_)
        if (shift + c.row < kMaxRows)
            currentSheet_.cellComments[cellAddress({c.col, shift + c.row})] = c.text;
    for (const PendingLink& l : other.pendingLinks_)
        if (shift + l.row < kMaxRows) currentSheet_.hyperlinks[cellAddress({l.col, shift + l.row})] = l.link;
    for (OutlineSpan group : other.rowGroups_) {
        group.first += shift;
        group.last = std::min(group.last + shift, kMaxRows - 1);
        if (group.first < kMaxRows && rowGroups_.size() < kMaxRuns) rowGroups_.push_back(group);
    }
    for (RowRun run : other.rowRuns_) {
        run.start += shift;
        run.count = std::min(run.count, kMaxRows - run.start);
        if (run.count > 0 && rowRuns_.size() < kMaxRuns) rowRuns_.push_back(run);
    }
    for (MergedRegion m : from.mergedRegions) {
        if (shift + m.startRow >= kMaxRows) continue;
        m.startRow += shift;
        m.endRow = std::min(m.endRow + shift, kMaxRows - 1);
        if (currentSheet_.mergedRegions.size() < kMaxMerges) currentSheet_.mergedRegions.push_back(m);
    }
    for (CellRun run : other.formatRuns_) {
        run.row += shift;
        if (run.row < kMaxRows && formatRuns_.size() < kMaxRuns) formatRuns_.push_back(run);
    }
    if (anyColumnFormat_) {
        for (CellRun& run : other.unstyledRuns_)
            run.row += shift;
        applyColumnDefaults(other.unstyledRuns_);
    }
    for (const ConditionalFormatRule& rule : from.conditionalFormats)
        currentSheet_.conditionalFormats.push_back(rule);
    nextRow_ = std::min(shift + other.nextRow_, kMaxRows + 1);
}

// Gives the cells of the runs their column's default format: stored cells at
// once, empty ones as formatted runs for the end of the table.
void OdsContentHandler::applyColumnDefaults(const std::vector<CellRun>& unstyled) {
    for (const CellRun& run : unstyled) {
        for (const ColumnRun& column : columns_) {
            if (!column.defaultFormat) continue;
            int64_t first = std::max(run.col, column.start);
            int64_t last = std::min(run.col + run.cols, column.start + column.count);
            if (first >= last || run.row >= kMaxRows) continue;
            int64_t rowEnd = std::min(run.row + run.rows, kMaxRows);
            for (int64_t r = run.row; r < rowEnd; ++r)
                for (int64_t c = first; c < std::min(last, currentSheet_.storedColumnCount(r)); ++c) {
                    Cell* cell = currentSheet_.storedCell(r, c);
                    if (cell && cell->hasContent() && !cell->formatHandle())
                        cell->setFormatHandle(column.defaultFormat);
                }
            if (formatRuns_.size() < kMaxRuns)
                formatRuns_.push_back(
                    CellRun{run.row, rowEnd - run.row, first, last - first, column.defaultFormat});
        }
    }
}

} // namespace sumora::ods
