#include "formats/XlsxWorksheetHandler.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <stdexcept>
#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include "document/ColumnLetters.h"
#include "document/Sheet.h"
#include "document/StorageAhead.h"
#include "formats/OutlineLevels.h"
#include "formats/XlsxColors.h"
#include "formats/XlsxPackage.h"
#include "formats/XlsxSharedStringsReader.h"
#include "formats/XlsxStylesReader.h"
#include "formats/XlsxText.h"
#include "formats/XlsxUnits.h"
#include "values/Log.h"

namespace sumora::xlsx {

namespace {

// Cells stored per handler before reading gives up: about 1.6 GB of cells,
// far past what a real worksheet holds, and a bound on what a hostile part
// can make this process allocate.
constexpr int64_t kMaxCellSlots = int64_t{1} << 25;
// Shared formulas longer than this (the format allows 8,192 characters) are
// not copied to the cells that share them.
constexpr size_t kMaxSharedFormulaLength = 16384;
// Array formulas whose results are still being read, at most.
constexpr size_t kMaxOpenArrays = 1024;
// Rows are preallocated for at most this many cells from a size hint.
constexpr int64_t kMaxReservedColumns = 256;
// Rows between two hints of the storage the next rows will take, and how
// far ahead a hint reaches: far enough for the pages to be ready before the
// reader gets there, never so far that wide rows promise much at once.
constexpr int64_t kRowsPerStorageHint = 2048;
constexpr int64_t kRowsOfStorageAhead = 16384;
constexpr int64_t kMaxStorageAheadBytes = int64_t{8} << 20;
// A stored row takes at least this many bytes of the part ("<row><c><v>1</v></c></row>"
// is 26), so a `dimension` claiming more rows than the part can hold is not
// believed beyond that.
constexpr uint64_t kMinRowBytes = 16;

std::optional<int64_t> smallInteger(std::string_view text) {
    // Plain digits, as every cell's style and string index is written, are
    // read without from_chars' sign and overflow handling.
    if (!text.empty() && text.size() <= 18) {
        int64_t value = 0;
        size_t i = 0;
        for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i)
            value = value * 10 + (text[i] - '0');
        if (i == text.size()) return value;
    }
    int64_t value = 0;
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc() || end != text.data() + text.size() || text.empty()) return std::nullopt;
    return value;
}

// The digits of a cell reference as row from 0, or -1 when they name no row.
inline int64_t referenceRow(std::string_view digits) {
    if (digits.empty() || digits.size() > 7) return -1;
    int64_t row = 0;
    for (char c : digits) {
        if (c < '0' || c > '9') return -1;
        row = row * 10 + (c - '0');
    }
    return row < 1 || row > kMaxRows ? -1 : row - 1;
}

// The column letters at the start of a cell reference as column from 0 and
// their count; a count of 0 when they name no column.
inline size_t referenceColumn(std::string_view text, int64_t& col) {
    size_t i = 0;
    int64_t letters = 0;
    for (; i < text.size() && i < 4; ++i) {
        char c = text[i];
        if (c >= 'A' && c <= 'Z')
            letters = letters * 26 + (c - 'A' + 1);
        else if (c >= 'a' && c <= 'z')
            letters = letters * 26 + (c - 'a' + 1);
        else
            break;
    }
    if (i > 3 || letters > kMaxColumns) return 0;
    col = letters - 1;
    return i;
}

} // namespace

WorksheetHandler::WorksheetHandler(const WorksheetContext& context, Sheet& sheet, Role role)
    : context_(context), sheet_(sheet), role_(role),
      conditionalFormats_(context.styles ? &context.styles->differentialFormats : nullptr, context.colors) {}

WorksheetHandler::ValueKind WorksheetHandler::valueKind(std::string_view t) {
    if (t.empty() || t == "n") return ValueKind::number;
    if (t == "s") return ValueKind::sharedString;
    if (t == "str") return ValueKind::formulaString;
    if (t == "inlineStr") return ValueKind::inlineString;
    if (t == "b") return ValueKind::boolean;
    if (t == "e") return ValueKind::error;
    if (t == "d") return ValueKind::date;
    return ValueKind::number;
}

std::optional<WorksheetHandler::Area> WorksheetHandler::parseArea(std::string_view ref) {
    size_t colon = ref.find(':');
    auto a = parseCellReference(ref.substr(0, colon));
    auto b = colon == std::string_view::npos ? a : parseCellReference(ref.substr(colon + 1));
    if (!a || !b) return std::nullopt;
    return Area{std::min(a->col, b->col), std::min(a->row, b->row), std::max(a->col, b->col),
                std::max(a->row, b->row)};
}

// ---------------------------------------------------------------------------
// Events. The cell path (c, v, f, is/t) is the hot one: attributes are read
// in one pass over the list, texts go into reused buffers, and a cell is
// written once, when its element ends.

void WorksheetHandler::startElement(std::string_view name, const XmlAttributes& a) {
    if (validations_.inRule()) return startInValidation(name);
    if (conditionalFormats_.inBlock()) return conditionalFormats_.startElement(name, a);
    if (name == "c") return startCell(a);
    if (name == "v") {
        inValue_ = inCell_;
        hasValue_ = inCell_;
        return;
    }
    // Drawing anchors inside the part (xdr:row) are no rows of the sheet.
    if (name == "row" && inSheetData_) return startRow(a);
    if (name == "f") return startFormula(a);
    if (name == "t") {
        inText_ = inInline_ && phoneticDepth_ == 0;
        return;
    }
    if (name == "is") {
        inInline_ = inCell_;
        hasInline_ = inCell_;
        return;
    }
    if (name == "rPh") {
        ++phoneticDepth_;
        return;
    }
    startOther(name, a);
}

void WorksheetHandler::endElement(std::string_view name) {
    if (validations_.inRule()) return endInValidation(name);
    if (conditionalFormats_.inBlock()) return conditionalFormats_.endElement(name);
    if (name == "v")
        inValue_ = false;
    else if (name == "c")
        endCell();
    else if (name == "f")
        inFormula_ = false;
    else if (name == "t")
        inText_ = false;
    else if (name == "is")
        inInline_ = false;
    else if (name == "rPh")
        phoneticDepth_ = std::max(0, phoneticDepth_ - 1);
    else if (name == "row" && inSheetData_) {
        endRow();
        inRow_ = false;
    } else if (name == "sheetData") {
        inSheetData_ = false;
        setReadsElements(false);
    } else if (name == "sheetView")
        inFirstView_ = false;
    else if (name == "sheetPr")
        inSheetProperties_ = false;
}

void WorksheetHandler::characters(std::string_view text) {
    if (inValue_)
        value_.append(text);
    else if (inFormula_)
        formula_.append(text);
    else if (inText_)
        inline_.append(text);
    else if (validations_.inChild())
        validations_.text(text);
    else if (conditionalFormats_.inBlock())
        conditionalFormats_.characters(text);
}

// ---------------------------------------------------------------------------
// Rows and cells

void WorksheetHandler::startRow(const XmlAttributes& a) {
    RowStart start;
    for (size_t i = 0; i < a.size(); ++i)
        start.take(a.qualifiedName(i), a.value(i));
    openRow(start);
}

void WorksheetHandler::openRow(const RowStart& start) {
    endRow();
    inRow_ = true;
    std::optional<int64_t> row;
    std::optional<double> height;
    bool customHeight = false, hidden = false, collapsed = false;
    int64_t level = 0;
    std::optional<std::string_view> outsideGrid; // a row number the grid cannot hold
    if (start.r) {
        if (auto r = smallInteger(*start.r); r && *r >= 1 && *r <= kMaxRows)
            row = *r - 1;
        else
            outsideGrid = *start.r;
    }
    if (start.spans) {
        std::string_view spans = *start.spans;
        size_t colon = spans.rfind(':');
        if (auto last = smallInteger(spans.substr(colon == std::string_view::npos ? 0 : colon + 1)))
            expectedWidth_ = std::clamp<int64_t>(*last, 1, kMaxReservedColumns);
    }
    if (start.ht) height = parseDouble(*start.ht);
    if (start.customHeight) customHeight = parseBoolean(*start.customHeight).value_or(false);
    if (start.hidden) hidden = parseBoolean(*start.hidden).value_or(false);
    if (start.outlineLevel)
        level = std::clamp<int64_t>(smallInteger(*start.outlineLevel).value_or(0), 0, kMaxOutlineLevel);
    if (start.collapsed) collapsed = parseBoolean(*start.collapsed).value_or(false);
    // A half that starts mid-sheet cannot count rows that carry no number.
    if (!row && role_ == Role::continuation) throw SplitMismatch();
    currentRow_ = row.value_or(nextRow_);
    nextRow_ = currentRow_ + 1;
    nextCol_ = 0;
    rowReserved_ = false;
    bool sized = customHeight && height && std::isfinite(*height) && *height >= 0 && *height < 10000;
    if (outsideGrid) {
        if (sized || hidden || level > 0 || collapsed) {
            if (skippedRowProperties_++ == 0) firstSkippedRow_ = std::string(outsideGrid->substr(0, 24));
        }
        return;
    }
    if (sized) sheet_.rowHeights[currentRow_] = rowPixelsFromPoints(*height);
    if (hidden)
        sheet_.hiddenRows.add(currentRow_);
    else
        listedRows_.add(currentRow_);
    if (level > 0) rowLevels_[currentRow_] = level;
    if (collapsed) collapsedRows_.insert(currentRow_);
}

void WorksheetHandler::endRow() {
    if (rowWidth_ > 0) {
        cellSlots_ += rowWidth_;
        expectedWidth_ = std::min(rowWidth_, kMaxReservedColumns);
    }
    rowWidth_ = 0;
}

void WorksheetHandler::startCell(const XmlAttributes& a) {
    CellStart start;
    for (size_t i = 0; i < a.size(); ++i)
        start.take(a.qualifiedName(i), a.value(i));
    openCell(start);
}

void WorksheetHandler::openCell(const CellStart& start) {
    inCell_ = true;
    arrayAnchor_ = false;
    kind_ = start.type.empty() ? ValueKind::number : valueKind(start.type);
    style_ = start.style.empty() ? -1 : smallInteger(start.style).value_or(-1);
    position_.reset();
    if (start.positioned) {
        // Read in place: an optional returned through memory stalls the
        // read that follows it on every cell.
        int64_t col = 0;
        std::string_view reference = start.reference;
        if (size_t letters = referenceColumn(reference, col)) {
            // A row's cells repeat its number: compared, it need not be read again.
            std::string_view digits = reference.substr(letters);
            int64_t row = lastRowNumber_;
            if (digits != std::string_view(lastRowDigits_.data(), lastRowDigitsSize_)) {
                row = referenceRow(digits);
                if (row >= 0) {
                    std::copy(digits.begin(), digits.end(), lastRowDigits_.begin());
                    lastRowDigitsSize_ = digits.size();
                    lastRowNumber_ = row;
                }
            }
            if (row >= 0) position_ = CellPosition{col, row};
        }
    }
    if (!start.positioned && role_ == Role::continuation && currentRow_ < 0) throw SplitMismatch();
    unaddressable_ = start.positioned && !position_;
    value_.clear();
    valueLent_ = false;
    inline_.clear();
    formula_.clear();
    hasValue_ = hasInline_ = hasFormula_ = false;
    formulaKind_ = FormulaKind::normal;
    sharedIndex_ = -1;
}

void WorksheetHandler::startFormula(const XmlAttributes& a) {
    FormulaStart start;
    for (size_t i = 0; i < a.size(); ++i)
        start.take(a.qualifiedName(i), a.value(i));
    openFormula(start);
}

void WorksheetHandler::openFormula(const FormulaStart& start) {
    if (!inCell_) return;
    inFormula_ = true;
    hasFormula_ = true;
    if (start.shared) sharedIndex_ = smallInteger(start.sharedIndex).value_or(-1);
    if (start.type == "shared")
        formulaKind_ = FormulaKind::shared;
    else if (start.type == "array")
        formulaKind_ = FormulaKind::array;
    else if (start.type == "dataTable")
        formulaKind_ = FormulaKind::dataTable;
    if (formulaKind_ == FormulaKind::array && !start.ref.empty())
        if (auto area = parseArea(start.ref)) pendingArray_ = *area;
}

void WorksheetHandler::endCell() {
    inCell_ = false;
    int64_t row, col;
    if (position_) {
        row = position_->row;
        col = position_->col;
    } else {
        row = currentRow_ < 0 ? 0 : currentRow_;
        col = nextCol_;
    }
    position_.reset();
    nextCol_ = col + 1;
    // A reference beyond the grid (or no reference at all) names no cell.
    if (unaddressable_ || row >= kMaxRows || col >= kMaxColumns) return;

    const CellFormat* format =
        context_.styles && style_ >= 0 ? context_.styles->format(static_cast<size_t>(style_)) : nullptr;
    bool unlocked =
        context_.styles && style_ >= 0 && context_.styles->isUnlocked(static_cast<size_t>(style_));

    std::string_view text = resolvedText();
    if (context_.date1904 && kind_ == ValueKind::number && !text.empty() && context_.styles && style_ >= 0 &&
        context_.styles->isDated(static_cast<size_t>(style_)))
        text = shiftedFrom1904(text);
    bool follower = false;
    std::optional<std::string> formula = formulaFor({col, row});
    if (!formula && role_ == Role::continuation && hasFormula_ && formulaKind_ == FormulaKind::shared &&
        sharedIndex_ >= 0 && formula_.empty() && !shared_.count(sharedIndex_))
        follower = true; // its master may lie in the first half
    bool inArray = !formula && !follower && !arrays_.empty() && insideArray({col, row});
    if (!formula && !follower && !inArray && text.empty() && !format && !unlocked) return;

    Cell& cell = writableCell({col, row});
    countText(text.size() + (formula ? formula->size() : 0));
    if (formula) {
        cell.setFormula(*formula);
        // An empty number is no result at all; an empty string result is one.
        if ((hasValue_ || hasInline_) && !(text.empty() && kind_ == ValueKind::number))
            cell.setComputedValue(text);
        cell.setArrayAnchor(arrayAnchor_);
    } else if (follower) {
        cell.setComputedValue(text);
        pendingFollowers_.push_back({row, col, sharedIndex_});
    } else if (inArray) {
        // Filled by the array formula: a result the next calculation may replace.
        cell.setComputedValue(text);
        cell.setSpillResult(true);
    } else {
        cell.setValue(text);
    }
    if (format) cell.setFormatHandle(format);
    if (unlocked) cell.setLocked(false);
}

void WorksheetHandler::countText(size_t bytes) {
    if (bytes <= CompactText::kInlineCapacity || !context_.storedTextBytes) return;
    countedTextBytes_ += static_cast<int64_t>(bytes);
    if (context_.storedTextBytes->fetch_add(static_cast<int64_t>(bytes)) + static_cast<int64_t>(bytes) >
        kMaxStoredTextBytes)
        throwTooMuchText();
}

Cell& WorksheetHandler::writableCell(CellPosition at) {
    const auto [col, row] = at;
    if (row != currentRow_) {
        endRow();
        currentRow_ = row;
        nextRow_ = row + 1;
        rowReserved_ = false;
    }
    bool hintDue = false;
    int64_t width = 0;
    if (!rowReserved_) {
        rowReserved_ = true;
        width = std::max(expectedWidth_, std::min(col + 1, kMaxReservedColumns));
        sheet_.reserveRow(row, width);
        hintDue = ++reservedRows_ % kRowsPerStorageHint == 0;
    }
    rowWidth_ = std::max(rowWidth_, col + 1);
    if (cellSlots_ + rowWidth_ > kMaxCellSlots)
        throw std::runtime_error("The worksheet holds more than " + std::to_string(kMaxCellSlots) +
                                 " cells, more than can be opened.");
    usedRows_ = std::max(usedRows_, row + 1);
    usedCols_ = std::max(usedCols_, col + 1);
    Cell& cell = sheet_.cellForWriting(row, col);
    if (hintDue) {
        // The next rows' cells, as wide as this one, as far as the dimension
        // still claims rows: no hint at all without a dimension.
        const int64_t rowBytes = width * static_cast<int64_t>(sizeof(Cell));
        const int64_t ahead =
            std::min({kRowsOfStorageAhead, kMaxStorageAheadBytes / rowBytes, claimedRows_ - row - 1});
        if (ahead > 0) expectStorage(&cell, static_cast<size_t>(ahead * rowBytes));
    }
    return cell;
}

// The cell's text for `value` (constants) or `computedValue` (formulas).
std::string_view WorksheetHandler::resolvedText() {
    switch (kind_) {
    case ValueKind::sharedString: {
        if (!hasValue_) return {};
        auto index = smallInteger(valueText());
        if (context_.sharedStrings && index && *index >= 0 &&
            static_cast<size_t>(*index) < context_.sharedStrings->size())
            return (*context_.sharedStrings)[static_cast<size_t>(*index)];
        return valueText(); // the raw index, as the file has it
    }
    case ValueKind::inlineString:
        if (!hasInline_) return valueText();
        decodeOoxmlEscapes(inline_);
        return inline_;
    case ValueKind::boolean:
        if (!hasValue_ || valueText().empty()) return {};
        return parseBoolean(valueText()).value_or(false) ? "TRUE" : "FALSE";
    case ValueKind::formulaString:
        decodeOoxmlEscapes(ownedValue());
        return value_;
    case ValueKind::date:
        if (auto serial = serialTextFromIsoDate(valueText())) {
            value_ = *serial;
            valueLent_ = false;
        }
        return valueText();
    case ValueKind::error:
    case ValueKind::number:
        return valueText();
    }
    return valueText();
}

std::string& WorksheetHandler::ownedValue() {
    if (valueLent_) {
        value_.assign(lentValue_);
        valueLent_ = false;
    }
    return value_;
}

std::optional<std::string> WorksheetHandler::formulaFor(CellPosition at) {
    const auto [col, row] = at;
    if (!hasFormula_ || formulaKind_ == FormulaKind::dataTable) return std::nullopt;
    if (formulaKind_ == FormulaKind::shared && sharedIndex_ >= 0) {
        if (!formula_.empty()) {
            auto [master, added] =
                shared_.insert_or_assign(sharedIndex_, SharedFormula(importedFormula(formula_), at));
            return master->second.text();
        }
        const SharedFormula* master = usableMaster(sharedIndex_);
        if (!master) {
            // A continuation's master may still lie in the first half.
            if (role_ == Role::whole || shared_.count(sharedIndex_)) unusableGroups_.insert(sharedIndex_);
            return std::nullopt;
        }
        if (master->origin() == at) return master->text();
        return master->textAt(at);
    }
    if (formula_.empty()) return std::nullopt;
    if (formulaKind_ == FormulaKind::array && pendingArray_) {
        // Results beyond the anchor are marked while their rows stream past;
        // a hostile number of open ranges would make that quadratic.
        arrayAnchor_ = pendingArray_->endRow > row || pendingArray_->endCol > col;
        if (arrayAnchor_ && arrays_.size() < kMaxOpenArrays) arrays_.push_back(*pendingArray_);
        pendingArray_.reset();
    }
    return importedFormula(formula_);
}

bool WorksheetHandler::insideArray(CellPosition at) {
    // Rows arrive in order, so ranges that ended above this row are done.
    std::erase_if(arrays_, [&](const Area& a) { return a.endRow < at.row; });
    for (const Area& a : arrays_)
        if (a.contains(at)) return true;
    return false;
}

std::string_view WorksheetHandler::shiftedFrom1904(std::string_view text) {
    // 1 January 1904 is serial 1462 in the 1900 count.
    constexpr double kDays1904 = 1462;
    auto serial = parseDouble(text);
    if (!serial || !std::isfinite(*serial)) return text;
    char buffer[32];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, *serial + kDays1904);
    if (ec != std::errc()) return text;
    value_.assign(buffer, end);
    return value_;
}

// ---------------------------------------------------------------------------
// Everything around the cells

void WorksheetHandler::startOther(std::string_view name, const XmlAttributes& a) {
    if (name == "col") return column(a);
    if (name == "mergeCell") return mergeCell(a);
    if (name == "hyperlink") return hyperlink(a);
    if (name == "sheetData") {
        inSheetData_ = true;
        setReadsElements(true);
    } else if (name == "sheetPr") {
        inSheetProperties_ = true;
    } else if (name == "sheetFormatPr") {
        rowsHiddenByDefault_ = parseBoolean(a.get("zeroHeight").value_or("0")).value_or(false);
    } else if (name == "tabColor" && inSheetProperties_ && context_.colors) {
        if (auto color = context_.colors->resolve(ColorElement::fromAttributes(a)))
            sheet_.tabColorHex = *color;
    } else if (name == "sheetView") {
        inFirstView_ = !sawView_;
        sawView_ = true;
    } else if (name == "pane" && inFirstView_) {
        pane(a);
    } else if (name == "sheetProtection") {
        protection(a);
    } else if (name == "dimension" && !inSheetData_ && role_ == Role::whole) {
        dimension(a);
    } else if (name == "conditionalFormatting") {
        conditionalFormats_.startElement(name, a);
    } else if (name == "dataValidation") {
        validations_.beginRule();
        for (size_t i = 0; i < a.size(); ++i)
            validations_.attribute(xmlLocalName(a.qualifiedName(i)), a.value(i));
    }
}

void WorksheetHandler::dimension(const XmlAttributes& a) {
    auto ref = a.get("ref");
    auto area = ref ? parseArea(*ref) : std::nullopt;
    if (!area) return;
    // Storing the last claimed row lays out every row before it at once,
    // instead of regrowing the row list as rows stream in; rows the part
    // does not fill are dropped again when the sheet is compacted.
    uint64_t rows = std::min<uint64_t>(static_cast<uint64_t>(area->endRow) + 1, partBytes_ / kMinRowBytes);
    rows = std::min<uint64_t>(rows, kMaxRows);
    if (rows > 1) sheet_.reserveRow(static_cast<int64_t>(rows) - 1, 1);
    claimedRows_ = static_cast<int64_t>(rows);
}

void WorksheetHandler::startInValidation(std::string_view name) {
    if (name == "formula1" || name == "formula2" || name == "sqref") validations_.beginChild(name);
}

void WorksheetHandler::endInValidation(std::string_view name) {
    if (name == "formula1" || name == "formula2" || name == "sqref")
        validations_.endChild();
    else if (name == "dataValidation")
        validations_.endRule();
}

void WorksheetHandler::column(const XmlAttributes& a) {
    auto first = parseInteger(a.get("min").value_or(""));
    auto last = parseInteger(a.get("max").value_or(""));
    if (!first || !last) return;
    ColumnSpan span;
    auto width = parseDouble(a.get("width").value_or(""));
    if (width && std::isfinite(*width) && *width >= 0 && *width <= 65535)
        span.pixels = columnPixelsFromWidth(*width);
    span.hidden = parseBoolean(a.get("hidden").value_or("0")).value_or(false);
    span.collapsed = parseBoolean(a.get("collapsed").value_or("0")).value_or(false);
    span.level = std::clamp<int64_t>(parseInteger(a.get("outlineLevel").value_or("0")).value_or(0), 0,
                                     kMaxOutlineLevel);
    if (!span.pixels && !span.hidden && !span.collapsed && span.level == 0) return;
    span.first = std::clamp<int64_t>(*first, 1, kMaxColumns) - 1;
    span.last = std::clamp<int64_t>(*last, 1, kMaxColumns) - 1;
    if (span.last >= span.first) columns_.push_back(span);
}

// A link on a cell or a block: an external address through the worksheet's
// relationships, a place in the workbook (location), or both.
void WorksheetHandler::hyperlink(const XmlAttributes& a) {
    std::string_view ref = a.get("ref").value_or("");
    std::optional<std::string_view> id;
    for (size_t i = 0; i < a.size(); ++i)
        if (a.qualifiedName(i) != "id" && xmlLocalName(a.qualifiedName(i)) == "id") id = a.value(i);
    auto skip = [&] {
        if (skippedHyperlinks_++ == 0) firstSkippedHyperlink_ = std::string(ref.substr(0, 32));
    };
    auto area = parseArea(ref);
    if (!area) return skip();
    CellHyperlink link;
    link.location = std::string(a.get("location").value_or(""));
    if (auto tip = a.get("tooltip")) link.tooltip = std::string(*tip);
    if (id) {
        const Relationship* target = nullptr;
        if (context_.relationships)
            for (const Relationship& r : *context_.relationships)
                if (r.id == *id && hasType(r, "hyperlink")) target = &r;
        if (!target) {
            if (link.location.empty()) return skip();
        } else {
            link.target = target->target;
        }
    }
    // Neither address nor place: some producers write a tooltip alone; kept as written.
    // A link over a block links each of its cells; a huge block only its corner.
    constexpr int64_t kMaxLinkedCells = 1024;
    bool whole = (area->endRow - area->startRow + 1) * (area->endCol - area->startCol + 1) <= kMaxLinkedCells;
    for (int64_t r = area->startRow; r <= (whole ? area->endRow : area->startRow); ++r)
        for (int64_t c = area->startCol; c <= (whole ? area->endCol : area->startCol); ++c)
            sheet_.hyperlinks[cellAddress({c, r})] = link;
}

void WorksheetHandler::mergeCell(const XmlAttributes& a) {
    std::string_view ref = a.get("ref").value_or("");
    size_t colon = ref.find(':');
    if (colon == std::string_view::npos) return;
    auto start = parseCellAddress(ref.substr(0, colon));
    auto end = parseCellAddress(ref.substr(colon + 1));
    if (!start || !end) return;
    sheet_.mergedRegions.push_back({start->col, start->row, end->col, end->row});
}

void WorksheetHandler::pane(const XmlAttributes& a) {
    std::string_view state = a.get("state").value_or("split");
    if (state != "frozen" && state != "frozenSplit") return;
    auto columns = parseDouble(a.get("xSplit").value_or("0"));
    auto rows = parseDouble(a.get("ySplit").value_or("0"));
    if (columns && *columns >= 1 && *columns < kMaxColumns)
        sheet_.frozenColumns = static_cast<int64_t>(*columns);
    if (rows && *rows >= 1 && *rows < kMaxRows) sheet_.frozenRows = static_cast<int64_t>(*rows);
}

// The attributes name what is protected: formatCells="0" allows formatting.
void WorksheetHandler::protection(const XmlAttributes& a) {
    auto flag = [&](std::string_view name, bool fallback) {
        auto v = a.get(name);
        return v ? parseBoolean(*v).value_or(fallback) : fallback;
    };
    sheet_.isProtected = flag("sheet", false);
    SheetProtectionOptions& o = sheet_.protectionOptions;
    o.allowSelectLockedCells = !flag("selectLockedCells", false);
    o.allowSelectUnlockedCells = !flag("selectUnlockedCells", false);
    o.allowFormatCells = !flag("formatCells", true);
    o.allowFormatColumns = !flag("formatColumns", true);
    o.allowFormatRows = !flag("formatRows", true);
    o.allowInsertColumns = !flag("insertColumns", true);
    o.allowInsertRows = !flag("insertRows", true);
    o.allowDeleteColumns = !flag("deleteColumns", true);
    o.allowDeleteRows = !flag("deleteRows", true);
    o.allowSort = !flag("sort", true);
    o.allowAutoFilter = !flag("autoFilter", true);
}

// ---------------------------------------------------------------------------
// Completion

void WorksheetHandler::absorb(WorksheetHandler& other, Sheet& otherSheet) {
    // From the last row up, so this sheet's row list grows once and the
    // other sheet's storage is released as its rows are taken over. The other
    // half was filled by another thread, whose allocator can hand its memory
    // back only once nothing allocated there lives on: cells holding heap
    // memory (long texts, formulas) are copied, the others moved.
    auto ownsHeapMemory = [](const Cell& c) {
        return c.formula() || c.value().size() > CompactText::kInlineCapacity ||
               c.computedValue().value_or(std::string_view()).size() > CompactText::kInlineCapacity;
    };
    for (int64_t row = otherSheet.storedRowCount() - 1; row >= 0; --row) {
        if (int64_t width = otherSheet.storedColumnCount(row); width > 0) {
            sheet_.reserveRow(row, width);
            sheet_.cellForWriting(row, width - 1); // sizes the row once
            for (int64_t col = 0; col < width; ++col) {
                Cell& from = *otherSheet.storedCell(row, col);
                Cell& to = *sheet_.storedCell(row, col);
                if (ownsHeapMemory(from))
                    to = from;
                else
                    to = std::move(from);
            }
        }
        // Shrinking walks every row left, so it is done in steps; the memory
        // released is handed back at once, or it would double the peak.
        if (row % 16384 == 0) {
            otherSheet.setGridSize(row, otherSheet.columnCount());
#if defined(__GLIBC__)
            malloc_trim(0);
#endif
        }
    }
    for (const auto& [row, height] : otherSheet.rowHeights)
        sheet_.rowHeights[row] = height;
    for (const auto& [first, last] : otherSheet.hiddenRows.spans())
        sheet_.hiddenRows.add(first, last);
    for (const auto& [first, last] : other.listedRows_.spans())
        listedRows_.add(first, last);
    rowLevels_.insert(other.rowLevels_.begin(), other.rowLevels_.end());
    collapsedRows_.insert(other.collapsedRows_.begin(), other.collapsedRows_.end());
    if (skippedRowProperties_ == 0) firstSkippedRow_ = other.firstSkippedRow_;
    skippedRowProperties_ += other.skippedRowProperties_;

    for (const PendingFollower& p : other.pendingFollowers_) {
        Cell* cell = sheet_.storedCell(p.row, p.col);
        if (!cell) continue;
        const SharedFormula* master = usableMaster(p.sharedIndex);
        if (!master) {
            // No usable master anywhere: the cell keeps its result as a constant, as a whole read does.
            unusableGroups_.insert(p.sharedIndex);
            std::string text(cell->computedValue().value_or(""));
            cell->setComputedValue(std::nullopt);
            cell->setValue(text);
            continue;
        }
        cell->setFormula(master->textAt({p.col, p.row}));
    }
    unusableGroups_.insert(other.unusableGroups_.begin(), other.unusableGroups_.end());
    // Array formulas anchored in this half whose results reach into the other.
    for (const Area& area : arrays_)
        for (int64_t row = std::max(area.startRow, usedRows_);
             row <= std::min(area.endRow, sheet_.storedRowCount() - 1); ++row)
            for (int64_t col = area.startCol; col <= std::min(area.endCol, sheet_.storedColumnCount(row) - 1);
                 ++col) {
                Cell* cell = sheet_.storedCell(row, col);
                if (!cell || cell->hasFormula() || cell->isSpillResult()) continue;
                std::string text(cell->value());
                cell->setValue("");
                cell->setComputedValue(text);
                cell->setSpillResult(true);
            }
    usedRows_ = std::max(usedRows_, other.usedRows_);
    usedCols_ = std::max(usedCols_, other.usedCols_);
}

// The master of a shared-formula group, when its cells can share it: beyond
// the format's own limit on formula length, or unparsable, they keep their results.
const SharedFormula* WorksheetHandler::usableMaster(int64_t sharedIndex) const {
    auto master = shared_.find(sharedIndex);
    if (master == shared_.end() || master->second.text().size() > kMaxSharedFormulaLength ||
        !master->second.parses())
        return nullptr;
    return &master->second;
}

void WorksheetHandler::finish() {
    endRow();
    if (!unusableGroups_.empty())
        Log::progress("  Shared formulas without a usable master in '" + sheet_.name + "': " +
                      std::to_string(unusableGroups_.size()) + "; their cells keep their saved results");
    sheet_.growTo(std::max<int64_t>(usedRows_, 500), std::max<int64_t>(usedCols_, 26));
    applyColumns();
    if (rowsHiddenByDefault_) {
        LineSet hidden;
        hidden.add(0, kMaxRows - 1);
        for (const auto& [first, last] : listedRows_.spans())
            hidden.remove(first, last);
        for (const auto& [first, last] : sheet_.hiddenRows.spans())
            hidden.add(first, last);
        sheet_.hiddenRows = std::move(hidden);
    }
    if (!rowLevels_.empty() || !collapsedRows_.empty())
        setRowOutline(sheet_, outlineSpans(rowLevels_, collapsedRows_));
    reportSkipped();
    if (!validations_.markup().empty()) sheet_.dataValidations = parseDataValidations(validations_.markup());
    sheet_.conditionalFormats = conditionalFormats_.takeRules();
    if (std::string dropped = conditionalFormats_.droppedSentence(sheet_.name); !dropped.empty()) {
        Log::progress("  " + dropped);
        if (context_.dropped) context_.dropped->push_back(std::move(dropped));
    }
    sheet_.compact();
}

// Widths apply within the grid; hidden flags and outline levels to every
// column they name (a file often hides all columns right of its data).
void WorksheetHandler::applyColumns() {
    std::map<int64_t, int64_t> levels;
    std::set<int64_t> collapsed;
    for (const ColumnSpan& span : columns_) {
        if (span.pixels)
            for (int64_t c = span.first; c <= span.last && c < sheet_.columnCount(); ++c)
                sheet_.columnWidths[c] = *span.pixels;
        if (span.hidden) sheet_.hiddenColumns.add(span.first, span.last);
        if (span.level > 0 || span.collapsed)
            for (int64_t c = span.first; c <= span.last; ++c) {
                if (span.level > 0) levels[c] = span.level;
                if (span.collapsed) collapsed.insert(c);
            }
    }
    if (!levels.empty() || !collapsed.empty()) setColumnOutline(sheet_, outlineSpans(levels, collapsed));
}

void WorksheetHandler::reportSkipped() {
    auto note = [&](const std::string& sentence) {
        Log::info(sentence);
        if (context_.dropped) context_.dropped->push_back(sentence);
    };
    if (skippedRowProperties_ > 0)
        note("Sheet '" + sheet_.name + "': the height, hidden flag or outline level of " +
             std::to_string(skippedRowProperties_) + " row(s) beyond the grid (first: row " +
             firstSkippedRow_ + ") was skipped.");
    if (skippedHyperlinks_ > 0)
        note("Sheet '" + sheet_.name + "': " + std::to_string(skippedHyperlinks_) +
             " hyperlink(s) whose target is missing or whose cell lies outside the grid (first: '" +
             firstSkippedHyperlink_ + "') were skipped.");
}

// ---------------------------------------------------------------------------
// Text helpers

std::optional<CellPosition> parseCellReference(std::string_view text) {
    int64_t col = 0;
    size_t letters = referenceColumn(text, col);
    if (letters == 0) return std::nullopt;
    int64_t row = referenceRow(text.substr(letters));
    if (row < 0) return std::nullopt;
    return CellPosition{col, row};
}

std::vector<CellArea> parseSqref(std::string_view list, size_t limit) {
    std::vector<CellArea> boxes;
    while (!list.empty() && boxes.size() < limit) {
        const size_t space = list.find(' ');
        const std::string_view range = list.substr(0, space);
        list = space == std::string_view::npos ? std::string_view() : list.substr(space + 1);
        if (range.empty()) continue;
        const size_t colon = range.find(':');
        auto start = parseCellReference(range.substr(0, colon));
        auto end = colon == std::string_view::npos ? start : parseCellReference(range.substr(colon + 1));
        if (!start || !end) continue;
        boxes.push_back({std::min(start->col, end->col), std::min(start->row, end->row),
                         std::max(start->col, end->col), std::max(start->row, end->row)});
    }
    return boxes;
}

std::string importedFormula(std::string_view text) {
    if (!text.empty() && text.front() == '=') text.remove_prefix(1);
    if (text.find("_xl") == std::string_view::npos) return std::string(text);
    std::string out;
    out.reserve(text.size());
    char quote = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (quote) {
            if (c == quote) quote = 0; // a doubled quote reopens at once
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '_' && i + 6 <= text.size()) {
            std::string_view prefix = text.substr(i, 6);
            if (prefix == "_xlfn." || prefix == "_xlws." || prefix == "_xlpm.") {
                i += 5;
                continue;
            }
        }
        out += c;
    }
    return out;
}

} // namespace sumora::xlsx
