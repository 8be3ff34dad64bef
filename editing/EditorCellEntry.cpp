// Typed and pasted content: classification and locale-aware normalisation of
// what the user enters, recalculation, and the commands built on entry
// (AutoSum, fill, text paste, function insertion) or on direct changes of the
// grid (insert and delete rows and columns, merge, decimals, statistics).
#include <unicode/dcfmtsym.h>
#include <unicode/fmtable.h>
#include <unicode/numfmt.h>
#include <unicode/parsepos.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>

#include "document/ColumnLetters.h"
#include "editing/SumoraEditorView.h"
#include "engine/FormulaAdjuster.h"
#include "engine/FormulaValue.h"
#include "functions/FunctionCatalogue.h"
#include "values/Log.h"
#include "values/StrictNumber.h"

namespace sumora {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

// The locale-independent notation: optional sign, digits with at most one
// point, optional exponent; nothing before or after.
bool isFixedNotationNumber(std::string_view s) {
    size_t i = 0;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
    size_t digits = 0;
    while (i < s.size() && isDigit(s[i]))
        ++i, ++digits;
    if (i < s.size() && s[i] == '.') {
        ++i;
        while (i < s.size() && isDigit(s[i]))
            ++i, ++digits;
    }
    if (digits == 0) return false;
    if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
        ++i;
        if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
        size_t expDigits = 0;
        while (i < s.size() && isDigit(s[i]))
            ++i, ++expDigits;
        if (expDigits == 0) return false;
    }
    return i == s.size();
}

std::optional<double> fixedNotationNumber(std::string_view s) {
    if (!isFixedNotationNumber(s)) return std::nullopt;
    return parseStrictNumber(s);
}

// The user's decimal number format; building one costs far more than a
// parse, so each locale's is kept.
struct LocaleNumberParser {
    std::unique_ptr<icu::NumberFormat> format;
    std::string decimalSeparator;
    // The point separates thousands here (de_DE), so "1.234" is ambiguous.
    bool pointGroups = false;
};

const LocaleNumberParser& localeNumberParser(const std::string& localeIdentifier) {
    thread_local std::map<std::string, LocaleNumberParser> parsers;
    auto it = parsers.find(localeIdentifier);
    if (it != parsers.end()) return it->second;
    LocaleNumberParser p;
    icu::Locale locale(localeIdentifier.c_str());
    UErrorCode status = U_ZERO_ERROR;
    p.format.reset(icu::NumberFormat::createInstance(locale, status));
    if (U_FAILURE(status)) p.format.reset();
    // Strict: group sizes are checked and nothing is skipped.
    if (p.format) p.format->setLenient(false);
    status = U_ZERO_ERROR;
    icu::DecimalFormatSymbols symbols(locale, status);
    std::string grouping;
    if (U_SUCCESS(status)) {
        symbols.getConstSymbol(icu::DecimalFormatSymbols::kDecimalSeparatorSymbol)
            .toUTF8String(p.decimalSeparator);
        symbols.getConstSymbol(icu::DecimalFormatSymbols::kGroupingSeparatorSymbol).toUTF8String(grouping);
    }
    if (p.decimalSeparator.empty()) p.decimalSeparator = ".";
    p.pointGroups = grouping == "." && p.decimalSeparator != ".";
    return parsers.emplace(localeIdentifier, std::move(p)).first->second;
}

std::optional<double> localeNumber(const LocaleNumberParser& parser, std::string_view text) {
    if (!parser.format) return std::nullopt;
    icu::UnicodeString u =
        icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    icu::Formattable result;
    icu::ParsePosition pos(0);
    parser.format->parse(u, result, pos);
    if (pos.getErrorIndex() >= 0 || pos.getIndex() != u.length()) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    double d = result.getDouble(status);
    if (U_FAILURE(status) || !std::isfinite(d)) return std::nullopt;
    return d;
}

// What a typed literal is stored as: fixed notation as typed, else the
// locale's reading of it in fixed notation, else the text itself.
//
// Where the point groups thousands, a text that is a correctly grouped
// locale number ("1.234" in de_DE) means that number, not 1.234: the locale
// parse is strict about group sizes, so "1234.5" and "1.5" stay fixed notation.
std::string normalisedLiteral(std::string_view text, const std::string& localeIdentifier) {
    if (text.empty()) return std::string(text);
    const bool fixed = isFixedNotationNumber(text);
    const LocaleNumberParser& parser = localeNumberParser(localeIdentifier);
    if (fixed && !(parser.pointGroups && text.find('.') != std::string_view::npos)) return std::string(text);
    auto d = localeNumber(parser, text);
    if (!d) return std::string(text);
    std::string normalised;
    if (std::trunc(*d) == *d && text.find(parser.decimalSeparator) == std::string_view::npos) {
        char buf[400];
        std::snprintf(buf, sizeof buf, "%.0f", *d);
        normalised = buf;
    } else {
        normalised = shortestNumberText(*d);
    }
    Log::info("Locale-parsed \"" + std::string(text) + "\" as " + normalised);
    return normalised;
}

// Stores typed text into a cell as a formula ("=…") or a normalised literal.
void storeEntry(Cell& cell, std::string_view text, const std::string& localeIdentifier) {
    if (!text.empty() && text.front() == '=') {
        cell.setFormula(text.substr(1));
        cell.setValue("");
        // A bare "=" leaves nothing to compute; the old result would linger.
        if (text.size() == 1) cell.setComputedValue(std::nullopt);
        return;
    }
    std::string literal = normalisedLiteral(text, localeIdentifier);
    cell.setFormula(std::nullopt);
    cell.setValue(literal);
    cell.setComputedValue(literal);
}

std::string quoted(std::string_view s) {
    return "\"" + std::string(s) + "\"";
}

bool holdsNumber(const Cell& cell) {
    if (cell.hasFormula()) {
        auto computed = cell.computedValue();
        return computed && parseStrictNumber(*computed).has_value();
    }
    return parseStrictNumber(cell.value()).has_value();
}

std::vector<std::string> clipboardLines(std::string_view text) {
    std::vector<std::string> lines;
    size_t start = 0;
    for (;;) {
        size_t nl = text.find('\n', start);
        std::string_view line =
            text.substr(start, nl == std::string_view::npos ? std::string_view::npos : nl - start);
        // Text copied on other systems ends its lines with "\r\n".
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        lines.emplace_back(line);
        if (nl == std::string_view::npos) break;
        start = nl + 1;
    }
    while (!lines.empty() && lines.back().empty())
        lines.pop_back();
    return lines;
}

std::vector<std::string> tabFields(std::string_view line) {
    std::vector<std::string> fields;
    size_t start = 0;
    for (;;) {
        size_t tab = line.find('\t', start);
        fields.emplace_back(
            line.substr(start, tab == std::string_view::npos ? std::string_view::npos : tab - start));
        if (tab == std::string_view::npos) return fields;
        start = tab + 1;
    }
}

std::string formatted(const char* format, double x) {
    char buf[400];
    std::snprintf(buf, sizeof buf, format, x);
    return buf;
}

// Digits after the point of a number as written ("3.140" → 3, "1e5" → 0).
int writtenDecimals(std::string_view text) {
    size_t point = text.find('.');
    if (point == std::string_view::npos) return 0;
    int n = 0;
    for (size_t i = point + 1; i < text.size() && isDigit(text[i]); ++i)
        ++n;
    return n;
}

} // namespace

// ---- entry -------------------------------------------------------------------

std::string SumoraEditorView::storedEntryText(std::string_view text) const {
    if (!text.empty() && text.front() == '=') return std::string(text);
    return normalisedLiteral(text, localeIdentifier);
}

void SumoraEditorView::setCellValue(CellPosition address, std::string_view value) {
    Log::info("setCellValue: addr=" + cellAddress(address) + ", value=" + quoted(value) +
              ", sheet=" + std::to_string(activeSheetIndex));
    Sheet* sheet = activeSheet();
    if (!sheet) {
        Log::info("setCellValue BAIL: sheet index out of range");
        return;
    }
    if (address.col < 0 || address.row < 0) return;
    const int64_t col = address.col, row = address.row;
    document.ensureGridSize(activeSheetIndex, row + 1, col + 1);
    if (sheet->isProtected && sheet->cell(row, col).isLocked()) return;

    // Inside a collection the record notes the cell; alone, the entry is a
    // "Typing" step whose undo recalculates nothing (see UndoRecalculation).
    std::optional<Cell> before;
    if (collecting_)
        collecting_->noteBefore(*sheet, address);
    else
        before = sheet->cell(row, col);
    storeEntry(sheet->cellForWriting(row, col), value, localeIdentifier);
    recalculateCell(address);

    const Cell& after = sheet->cell(row, col);
    Log::info("After recalc: value=" + quoted(after.value()) +
              ", formula=" + (after.formula() ? std::string(*after.formula()) : std::string("nil")) +
              ", computed=" + quoted(after.computedValue().value_or("")) +
              ", display=" + quoted(after.displayValue()));
    if (!before) return;
    CellChangeRecord record;
    record.add(*sheet, address, std::move(*before), after);
    registerCellChanges("Typing", std::move(record), UndoRecalculation::entry);
}

void SumoraEditorView::recalculateCell(CellPosition cell) {
    if (!activeSheet()) return;
    recalculateChangedCell(static_cast<size_t>(activeSheetIndex), cell);
}

void SumoraEditorView::recalculateAllFormulas() {
    if (!activeSheet()) return;
    recalculateChangedSheet(static_cast<size_t>(activeSheetIndex));
}

// ---- commands built on entry -------------------------------------------------

void SumoraEditorView::insertAutoSum() {
    Sheet* sheet = activeSheet();
    if (!sheet) return;
    if (selection && !selection->isSingleCell()) {
        const SelectionRange& s = *selection;
        std::string formula = "=SUM(" + cellAddress({s.minCol(), s.minRow()}) + ":" +
                              cellAddress({s.maxCol(), s.maxRow()}) + ")";
        document.ensureGridSize(activeSheetIndex, s.maxRow() + 2, s.maxCol() + 1);
        groupUndoSteps(
            "AutoSum",
            [&] {
                setCellValue({s.minCol(), s.maxRow() + 1}, formula);
            },
            UndoRecalculation::entry);
        return;
    }
    if (!activeCell) return;
    const int64_t c = activeCell->col, r = activeCell->row;
    int64_t top = r;
    while (top > 0 && holdsNumber(sheet->cell(top - 1, c)))
        --top;
    if (top == r) return;
    std::string formula = "=SUM(" + cellAddress({c, top}) + ":" + columnLetter(c) + std::to_string(r) + ")";
    groupUndoSteps(
        "AutoSum",
        [&] {
            setCellValue({c, r}, formula);
        },
        UndoRecalculation::entry);
}

// Fill passes the stored formula, which has no "=", through the adjuster and
// enters the result as typed text: the copies arrive as literals (A2+1).
// That is how these two commands have always behaved; the fill handle
// (performFill) is the one that copies formulas as formulas.
void SumoraEditorView::fillDown() {
    Sheet* sheet = activeSheet();
    if (!sheet || !selection) return;
    const SelectionRange s = *selection;
    if (s.minRow() == s.maxRow()) return;
    groupUndoSteps(
        "Fill Down",
        [&] {
            for (int64_t c = s.minCol(); c <= s.maxCol(); ++c) {
                const Cell source = activeSheet()->cell(s.minRow(), c);
                for (int64_t r = s.minRow() + 1; r <= s.maxRow(); ++r) {
                    if (source.hasFormula())
                        setCellValue({c, r},
                                     FormulaAdjuster::adjustReferences(*source.formula(), r - s.minRow(), 0));
                    else
                        setCellValue({c, r}, source.value());
                }
            }
        },
        UndoRecalculation::entry);
}

void SumoraEditorView::fillRight() {
    Sheet* sheet = activeSheet();
    if (!sheet || !selection) return;
    const SelectionRange s = *selection;
    if (s.minCol() == s.maxCol()) return;
    groupUndoSteps(
        "Fill Right",
        [&] {
            for (int64_t r = s.minRow(); r <= s.maxRow(); ++r) {
                const Cell source = activeSheet()->cell(r, s.minCol());
                for (int64_t c = s.minCol() + 1; c <= s.maxCol(); ++c) {
                    if (source.hasFormula())
                        setCellValue({c, r},
                                     FormulaAdjuster::adjustReferences(*source.formula(), 0, c - s.minCol()));
                    else
                        setCellValue({c, r}, source.value());
                }
            }
        },
        UndoRecalculation::entry);
}

void SumoraEditorView::pasteCell() {
    if (pasteCopiedCells(PasteMode::all)) return;
    if (!activeSheet()) return;
    std::optional<CellPosition> at = activeCell;
    if (!at && selection) at = CellPosition{selection->minCol(), selection->minRow()};
    auto text = clipboard ? clipboard->text() : std::nullopt;
    if (!at || !text) return;
    std::vector<std::string> lines = clipboardLines(*text);
    if (lines.empty()) return;
    groupUndoSteps(
        "Paste",
        [&] {
            if (lines.size() == 1 && lines[0].find('\t') == std::string::npos) {
                setCellValue(*at, lines[0]);
                return;
            }
            for (size_t i = 0; i < lines.size(); ++i) {
                std::vector<std::string> fields = tabFields(lines[i]);
                for (size_t j = 0; j < fields.size(); ++j)
                    setCellValue({at->col + static_cast<int64_t>(j), at->row + static_cast<int64_t>(i)},
                                 fields[j]);
            }
        },
        UndoRecalculation::entry);
}

void SumoraEditorView::commitFunctionArgs(std::string_view name, const std::vector<std::string>& args,
                                          CellPosition target) {
    FunctionArgsCommit commit = sumora::commitFunctionArgs(name, args, target.col, target.row);
    setCellValue(target, commit.formula);
}

int SumoraEditorView::insertFunction(std::string_view name) {
    int slots = 0;
    for (const FunctionDef& f : sumoraFunctionLibrary())
        if (f.name == name) {
            slots = argumentSlotCount(f);
            break;
        }
    Log::debug("insertFunction called: " + std::string(name) + ", argCount=" + std::to_string(slots));
    return slots;
}

// ---- structure: cells move, formulas are not rewritten, no undo step --------

void SumoraEditorView::insertRowAbove() {
    Sheet* sheet = activeSheet();
    if (!sheet || !activeCell || activeCell->row < 0) return;
    if (sheet->isProtected && !sheet->protectionOptions.allowInsertRows) return;
    sheet->insertRows(std::min(activeCell->row, sheet->rowCount()));
    forgetCalculatedState(static_cast<size_t>(activeSheetIndex));
}

void SumoraEditorView::insertColumnLeft() {
    Sheet* sheet = activeSheet();
    if (!sheet || !activeCell || activeCell->col < 0) return;
    if (sheet->isProtected && !sheet->protectionOptions.allowInsertColumns) return;
    sheet->insertColumns(std::min(activeCell->col, sheet->columnCount()));
    forgetCalculatedState(static_cast<size_t>(activeSheetIndex));
}

void SumoraEditorView::deleteSelectedRow() {
    Sheet* sheet = activeSheet();
    if (!sheet || !activeCell || sheet->rowCount() < 2) return;
    if (sheet->isProtected && !sheet->protectionOptions.allowDeleteRows) return;
    if (activeCell->row < 0 || activeCell->row >= sheet->rowCount()) return;
    sheet->removeRows(activeCell->row);
    activeCell->row = std::min(activeCell->row, sheet->rowCount() - 1);
    forgetCalculatedState(static_cast<size_t>(activeSheetIndex));
}

void SumoraEditorView::deleteSelectedColumn() {
    Sheet* sheet = activeSheet();
    if (!sheet || !activeCell || sheet->columnCount() < 2) return;
    if (sheet->isProtected && !sheet->protectionOptions.allowDeleteColumns) return;
    if (activeCell->col < 0 || activeCell->col >= sheet->columnCount()) return;
    sheet->removeColumns(activeCell->col);
    activeCell->col = std::min(activeCell->col, sheet->columnCount() - 1);
    forgetCalculatedState(static_cast<size_t>(activeSheetIndex));
}

void SumoraEditorView::toggleMergeCells() {
    Sheet* sheet = activeSheet();
    if (!sheet || !selection) return;
    const MergedRegion wanted{selection->minCol(), selection->minRow(), selection->maxCol(),
                              selection->maxRow()};
    std::vector<MergedRegion> before = sheet->mergedRegions;
    std::vector<MergedRegion>& regions = sheet->mergedRegions;
    auto same = std::find(regions.begin(), regions.end(), wanted);
    const bool unmerge = same != regions.end();
    if (unmerge) {
        regions.erase(same);
    } else {
        std::erase_if(regions, [&](const MergedRegion& m) {
            return m.startCol >= wanted.startCol && m.endCol <= wanted.endCol &&
                   m.startRow >= wanted.startRow && m.endRow <= wanted.endRow;
        });
        regions.push_back(wanted);
    }
    auto put = [this, sheetId = activeSheet()->id](const std::vector<MergedRegion>& r) {
        if (auto index = document.sheetIndexById(sheetId)) document.sheets[*index].mergedRegions = r;
    };
    registerUndoStep(
        unmerge ? "Unmerge Cells" : "Merge Cells", [put, before] { put(before); },
        [put, after = regions] { put(after); });
}

// ---- status bar and decimals -------------------------------------------------

SelectionStats SumoraEditorView::selectionStats() const {
    SelectionStats stats;
    auto range = targetRange();
    if (!range || activeSheetIndex < 0 || static_cast<size_t>(activeSheetIndex) >= document.sheets.size())
        return stats;
    const Sheet& sheet = document.sheets[static_cast<size_t>(activeSheetIndex)];
    std::string text;
    // Only stored cells can hold numbers, so a whole-column selection costs
    // what the sheet holds, not what the grid spans.
    const int64_t lastRow = std::min(range->maxRow(), sheet.storedRowCount() - 1);
    for (int64_t r = std::max<int64_t>(range->minRow(), 0); r <= lastRow; ++r) {
        const int64_t lastCol = std::min(range->maxCol(), sheet.storedColumnCount(r) - 1);
        for (int64_t c = std::max<int64_t>(range->minCol(), 0); c <= lastCol; ++c) {
            text.clear();
            for (char ch : sheet.cell(r, c).displayValue())
                if (ch != ',' && ch != '$' && ch != '%') text += ch;
            auto x = fixedNotationNumber(text);
            if (!x) continue;
            stats.sum += *x;
            ++stats.count;
            stats.min = stats.min ? std::min(*stats.min, *x) : *x;
            stats.max = stats.max ? std::max(*stats.max, *x) : *x;
        }
    }
    if (stats.count > 0) stats.average = stats.sum / static_cast<double>(stats.count);
    return stats;
}

std::vector<std::string> SumoraEditorView::statusTexts() const {
    std::vector<std::string> texts;
    if (activeCell) texts.push_back("Cell: " + cellAddress(*activeCell));
    SelectionStats stats = selectionStats();
    if (stats.count == 0) return texts;
    texts.push_back("Sum: " + formatted("%.2f", stats.sum));
    texts.push_back("Average: " + formatted("%.2f", *stats.average));
    texts.push_back("Min: " + formatted("%.2f", *stats.min));
    texts.push_back("Max: " + formatted("%.2f", *stats.max));
    char count[32];
    std::snprintf(count, sizeof count, "%lld", static_cast<long long>(stats.count));
    texts.push_back(std::string("Count: ") + count);
    return texts;
}

namespace {

bool isGeneral(const std::optional<std::string>& code) {
    return !code || code->empty() || *code == "General" || *code == "general";
}

// A cell without a format starts from the decimals its value shows (3.14 →
// "0.00"), so the first click adds one visible digit as users expect.
std::optional<std::string> increasedDecimals(const std::optional<std::string>& code, std::string_view shown) {
    std::string format;
    if (isGeneral(code)) {
        int decimals = writtenDecimals(shown);
        format = decimals > 0 ? "0." + std::string(static_cast<size_t>(decimals), '0') : "0";
    } else {
        format = *code;
    }
    return format.find('.') != std::string::npos ? format + "0" : format + ".0";
}

std::optional<std::string> decreasedDecimals(const std::optional<std::string>& code, std::string_view) {
    std::string format = code ? *code : std::string("0.00");
    if (format.find('.') == std::string::npos) return code;
    if (format.back() != '.') format.pop_back();
    if (!format.empty() && format.back() == '.') format.pop_back();
    return format;
}

} // namespace

void SumoraEditorView::increaseDecimal() {
    Sheet* sheet = activeSheet();
    if (!sheet || !activeCell) return;
    Cell cell = sheet->cell(activeCell->row, activeCell->col);
    if (!parseStrictNumber(cell.displayValue())) return;
    cell.updateFormat(
        [&](CellFormat& f) { f.numberFormat = increasedDecimals(f.numberFormat, cell.displayValue()); });
    groupUndoSteps(
        "Increase Decimal",
        [&] { replaceCell(static_cast<size_t>(activeSheetIndex), *activeCell, std::move(cell)); },
        UndoRecalculation::entry);
}

void SumoraEditorView::decreaseDecimal() {
    Sheet* sheet = activeSheet();
    if (!sheet || !activeCell) return;
    Cell cell = sheet->cell(activeCell->row, activeCell->col);
    if (!parseStrictNumber(cell.displayValue())) return;
    cell.updateFormat(
        [&](CellFormat& f) { f.numberFormat = decreasedDecimals(f.numberFormat, cell.displayValue()); });
    groupUndoSteps(
        "Decrease Decimal",
        [&] { replaceCell(static_cast<size_t>(activeSheetIndex), *activeCell, std::move(cell)); },
        UndoRecalculation::entry);
}

} // namespace sumora
