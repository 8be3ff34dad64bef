// Sort, automatic filter, find and replace, text to columns and removal of
// duplicate rows on the active sheet.
//
// Choices made here:
// - A sort covers the rows of the selection when it spans several rows (the
//   rows below a selected table, such as its total, stay), else every row
//   from the first through the sheet's last used row. sortColumn does not
//   guess a header row (the sort dialog's "has header row" keeps the first
//   row of those in place for performMultiSort). Both sorts are stable, so rows that tie
//   on every key keep their order; later keys break ties of earlier ones.
// - Find skips empty cells (a pattern that matches only the empty text finds
//   nothing), and a regular expression that does not compile finds nothing.
// - Replace rewrites the text that was searched: the formula text when
//   searching in formulas (the cell is re-entered as "=" + new formula), the
//   value otherwise. A formula cell matched by its result is left alone, since
//   rewriting the result would throw the formula away.
// - Text to columns and both sorts register undo steps ("Text to Columns",
//   "Sort"); removing duplicates registers none, as its dialog warns.
// - Removing duplicates examines the rows through the last used row, so the
//   blank rows of the grid below the data are not counted as duplicates of one
//   another; with no column checked there is nothing to compare and nothing
//   happens.
#include <algorithm>
#include <memory>
#include <numeric>
#include <optional>
#include <unordered_set>

#include <unicode/regex.h>
#include <unicode/unistr.h>

#include "editing/SumoraEditorView.h"
#include "engine/FormulaValue.h"
#include "engine/Recalculation.h"
#include "functions/BuiltinFunctions.h"
#include "functions/TextSupport.h"
#include "values/Log.h"
#include "values/StrictNumber.h"

namespace sumora {

namespace {

// ---- shared by the tools ---------------------------------------------------

// After cells moved or many cells were written on sheet `index`: the cached
// calculators are stale, and every formula is computed afresh.
void refreshSheet(SumoraEditorView& editor, size_t index) {
    editor.invalidateCalculators();
    if (static_cast<int64_t>(index) == editor.activeSheetIndex)
        editor.recalculateAllFormulas();
    else if (index < editor.document.sheets.size())
        recalculateSheet(editor.document, index, builtinFunctions());
}

// Stores `text` as a typed constant would be stored (no formula, computed text
// equal to the value).
void writeConstant(Sheet& sheet, int64_t row, int64_t col, std::string_view text) {
    Cell& cell = sheet.cellForWriting(row, col);
    cell.setFormula(std::nullopt);
    cell.setValue(text);
    cell.setComputedValue(text);
}

// ---- sorting -----------------------------------------------------------------

// One key's column, read once: the texts as for sorting and which of them are
// numbers.
struct SortColumnTexts {
    std::vector<std::string_view> texts;
    std::vector<std::optional<double>> numbers;
    bool ascending = true;
};

// Both numbers: numerically; otherwise localised and ignoring case, with the
// empty text as the empty string.
int compareSortTexts(const SortColumnTexts& key, size_t a, size_t b) {
    const auto& na = key.numbers[a];
    const auto& nb = key.numbers[b];
    if (na && nb) return *na < *nb ? -1 : (*nb < *na ? 1 : 0);
    return collateCaseInsensitive(key.texts[a], key.texts[b]);
}

// The new order of rows [first, end): element i is the offset of the row that
// moves to first + i.
std::vector<int64_t> sortedRowOrder(const Sheet& sheet, int64_t first, int64_t end,
                                    const std::vector<SortKey>& keys) {
    const auto count = static_cast<size_t>(end - first);
    std::vector<SortColumnTexts> columns;
    for (const SortKey& key : keys) {
        if (key.column < 0) continue;
        SortColumnTexts col;
        col.ascending = key.ascending;
        col.texts.reserve(count);
        col.numbers.reserve(count);
        for (int64_t r = first; r < end; ++r) {
            std::string_view text = sheet.cell(r, key.column).displayValue();
            col.texts.push_back(text);
            col.numbers.push_back(parseStrictNumber(text));
        }
        columns.push_back(std::move(col));
    }
    std::vector<int64_t> order(count);
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](int64_t a, int64_t b) {
        for (const SortColumnTexts& col : columns) {
            int c = compareSortTexts(col, static_cast<size_t>(a), static_cast<size_t>(b));
            if (c != 0) return col.ascending ? c < 0 : c > 0;
        }
        return false;
    });
    return order;
}

// Sorts rows `first` through the last used row of the active sheet by `keys`
// and registers the "Sort" step.
void sortActiveSheet(SumoraEditorView& editor, const std::vector<SortKey>& keys, bool hasHeaderRow) {
    Sheet* sheet = editor.activeSheet();
    if (!sheet || keys.empty()) return;
    int64_t first = 0, end = sheet->usedExtent().rows;
    if (const auto& block = editor.selection; block && block->maxRow() > block->minRow()) {
        first = block->minRow();
        end = std::min(end, block->maxRow() + 1);
    }
    if (hasHeaderRow) ++first;
    if (end - first < 2) return;

    std::vector<int64_t> order = sortedRowOrder(*sheet, first, end, keys);
    std::vector<int64_t> inverse(order.size());
    for (size_t i = 0; i < order.size(); ++i)
        inverse[static_cast<size_t>(order[i])] = static_cast<int64_t>(i);

    auto reorder = [&editor, sheetId = sheet->id, first](const std::vector<int64_t>& rows) {
        auto index = editor.document.sheetIndexById(sheetId);
        if (!index) return;
        editor.document.sheets[*index].permuteRows(first, rows);
        refreshSheet(editor, *index);
    };
    reorder(order);
    if (editor.undoManager)
        editor.undoManager->registerStep(
            "Sort", [reorder, inverse = std::move(inverse)] { reorder(inverse); },
            [reorder, order = std::move(order)] { reorder(order); });
}

// ---- find ------------------------------------------------------------------

// Whether a cell's text matches the find bar's text under its options, and
// that text with its matches replaced.
class TextMatcher {
  public:
    struct Options {
        std::string_view needle;
        bool matchCase = false;
        bool entireCell = false;
        bool regularExpression = false;
    };

    explicit TextMatcher(Options options) : options_(options), asciiNeedle_(isPlainAscii(options.needle)) {
        if (options_.regularExpression) {
            compileRegex();
        } else if (!options_.matchCase) {
            foldedNeedle_ = caseFolded(options_.needle);
        }
    }

    // False for a regular expression that does not compile.
    bool isValid() const { return !options_.regularExpression || matcher_ != nullptr; }

    bool matches(std::string_view text) {
        if (options_.regularExpression) return regexMatches(text);
        const std::string_view needle = options_.needle;
        const bool ascii = asciiNeedle_ && isPlainAscii(text);
        if (options_.entireCell) {
            if (options_.matchCase) return text == needle;
            return ascii ? equalIgnoringAsciiCase(text, needle) : caseFolded(text) == foldedNeedle_;
        }
        if (options_.matchCase && ascii) return text.find(needle) != std::string_view::npos;
        if (ascii) return containsIgnoringAsciiCase(text, needle);
        return findText(text, CharacterIndex(text), needle, 0, !options_.matchCase).has_value();
    }

    // `text` with every match replaced (the whole text when matching entire
    // cells); nothing when it does not match.
    std::optional<std::string> replaced(std::string_view text, std::string_view replacement) {
        if (options_.regularExpression) return regexReplaced(text, replacement);
        if (options_.entireCell)
            return matches(text) ? std::optional<std::string>(replacement) : std::nullopt;
        auto spans = findAll(text, CharacterIndex(text), options_.needle, !options_.matchCase);
        if (spans.empty()) return std::nullopt;
        std::string out;
        size_t from = 0;
        for (const TextSpan& span : spans) {
            out.append(text.substr(from, span.begin - from));
            out.append(replacement);
            from = span.end;
        }
        out.append(text.substr(from));
        return out;
    }

  private:
    static char asciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }
    static bool equalIgnoringAsciiCase(std::string_view a, std::string_view b) {
        return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
                   return asciiLower(x) == asciiLower(y);
               });
    }
    static bool containsIgnoringAsciiCase(std::string_view text, std::string_view needle) {
        return std::search(text.begin(), text.end(), needle.begin(), needle.end(),
                           [](char x, char y) { return asciiLower(x) == asciiLower(y); }) != text.end();
    }

    void compileRegex() {
        UErrorCode status = U_ZERO_ERROR;
        uint32_t flags = options_.matchCase ? 0 : UREGEX_CASE_INSENSITIVE;
        icu::UnicodeString pattern = icu::UnicodeString::fromUTF8(
            icu::StringPiece(options_.needle.data(), static_cast<int32_t>(options_.needle.size())));
        std::unique_ptr<icu::RegexPattern> compiled(icu::RegexPattern::compile(pattern, flags, status));
        if (U_FAILURE(status) || !compiled) {
            Log::info("Find: invalid regular expression \"" + std::string(options_.needle) + "\"");
            return;
        }
        matcher_.reset(compiled->matcher(status));
        if (U_FAILURE(status)) matcher_.reset();
        pattern_ = std::move(compiled);
    }

    // Points the matcher at `text`; true when the text matches.
    bool regexMatches(std::string_view text) {
        if (!matcher_) return false;
        subject_ =
            icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
        matcher_->reset(subject_);
        UErrorCode status = U_ZERO_ERROR;
        bool hit = options_.entireCell ? matcher_->matches(status) : matcher_->find();
        return U_SUCCESS(status) && hit;
    }

    std::optional<std::string> regexReplaced(std::string_view text, std::string_view replacement) {
        if (!regexMatches(text)) return std::nullopt;
        UErrorCode status = U_ZERO_ERROR;
        icu::UnicodeString with = icu::UnicodeString::fromUTF8(
            icu::StringPiece(replacement.data(), static_cast<int32_t>(replacement.size())));
        icu::UnicodeString result;
        if (options_.entireCell) {
            // The whole text matched: its replacement is the expanded template.
            matcher_->appendReplacement(result, with, status);
            matcher_->appendTail(result);
        } else {
            matcher_->reset(subject_);
            result = matcher_->replaceAll(with, status);
        }
        if (U_FAILURE(status)) return std::nullopt;
        std::string out;
        result.toUTF8String(out);
        return out;
    }

    Options options_;
    bool asciiNeedle_;
    std::string foldedNeedle_;
    std::unique_ptr<icu::RegexPattern> pattern_;
    std::unique_ptr<icu::RegexMatcher> matcher_;
    icu::UnicodeString subject_;
};

// The text find looks at in a cell.
std::string_view searchedText(const Cell& cell, bool inFormulas) {
    if (inFormulas && cell.hasFormula()) return *cell.formula();
    return cell.displayValue();
}

bool rowMajorBefore(const CellPosition& a, const CellPosition& b) {
    return a.row != b.row ? a.row < b.row : a.col < b.col;
}

// ---- text to columns -------------------------------------------------------

std::string_view trimmedOfBlanks(std::string_view text) {
    const auto blank = [](char c) { return c == ' ' || c == '\t'; };
    while (!text.empty() && blank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && blank(text.back()))
        text.remove_suffix(1);
    return text;
}

std::string countText(size_t n) {
    return std::to_string(n);
}

} // namespace

// ---- sorting -----------------------------------------------------------------

void SumoraEditorView::sortColumn(bool ascending) {
    if (!activeCell) return;
    sortActiveSheet(*this, {SortKey{activeCell->col, ascending}}, false);
}

void SumoraEditorView::performMultiSort(const SortRequest& request) {
    sortActiveSheet(*this, request.keys, request.hasHeaderRow);
}

// ---- automatic filter --------------------------------------------------------

bool SumoraEditorView::filteredRowVisible(int64_t row) const {
    if (activeSheetIndex < 0 || static_cast<size_t>(activeSheetIndex) >= document.sheets.size()) return true;
    return autoFilter.rowVisible(document.sheets[static_cast<size_t>(activeSheetIndex)], row);
}

// ---- find and replace ----------------------------------------------------------

namespace {

TextMatcher::Options matcherOptions(const FindRequest& request) {
    return {request.findText, request.matchCase, request.matchEntireCell, request.useRegularExpression};
}

// The text to enter in `cell` to replace its matches, or nothing when it is
// not to be changed.
std::optional<std::string> replacementEntry(const Cell& cell, bool inFormulas, TextMatcher& matcher,
                                            std::string_view replacement) {
    if (inFormulas && cell.hasFormula()) {
        auto formula = matcher.replaced(*cell.formula(), replacement);
        if (!formula) return std::nullopt;
        return "=" + *formula;
    }
    if (cell.hasFormula()) return std::nullopt;
    return matcher.replaced(cell.value(), replacement);
}

} // namespace

void SumoraEditorView::showMatch(size_t index) {
    findResult_.currentMatchIndex = index;
    const CellPosition at = findResult_.matches[index];
    activeCell = at;
    selection = SelectionRange{at.col, at.row, at.col, at.row};
    findResult_.statusText = countText(index + 1) + " of " + countText(findResult_.matches.size());
}

const FindResult& SumoraEditorView::performFind(const FindRequest& request) {
    findRequest_ = request;
    findResult_ = {};
    if (request.findText.empty()) return findResult_;
    Sheet* sheet = activeSheet();
    TextMatcher matcher(matcherOptions(request));
    if (sheet && matcher.isValid()) {
        for (int64_t r = 0; r < sheet->storedRowCount(); ++r) {
            for (int64_t c = 0, n = sheet->storedColumnCount(r); c < n; ++c) {
                std::string_view text = searchedText(sheet->cell(r, c), request.searchInFormulas);
                if (!text.empty() && matcher.matches(text)) findResult_.matches.push_back({c, r});
            }
        }
    }
    if (findResult_.matches.empty()) {
        findResult_.statusText = "No matches";
        return findResult_;
    }
    showMatch(0);
    return findResult_;
}

const FindResult& SumoraEditorView::findNext(const FindRequest& request) {
    if (!request.searchesLike(findRequest_) || findResult_.matches.empty()) return performFind(request);
    const auto& i = findResult_.currentMatchIndex;
    showMatch(i ? (*i + 1) % findResult_.matches.size() : 0);
    return findResult_;
}

const FindResult& SumoraEditorView::findPrevious(const FindRequest& request) {
    if (!request.searchesLike(findRequest_) || findResult_.matches.empty()) return performFind(request);
    const size_t n = findResult_.matches.size();
    const auto& i = findResult_.currentMatchIndex;
    showMatch(i ? (*i + n - 1) % n : n - 1);
    return findResult_;
}

const FindResult& SumoraEditorView::replaceCurrentMatch(const FindRequest& request) {
    if (!request.searchesLike(findRequest_) || findResult_.matches.empty() || !findResult_.currentMatchIndex)
        performFind(request);
    const auto& matches = findResult_.matches;
    const auto current = findResult_.currentMatchIndex;
    if (matches.empty() || !current || *current >= matches.size()) return findResult_;
    Sheet* sheet = activeSheet();
    TextMatcher matcher(matcherOptions(request));
    if (!sheet || !matcher.isValid()) return findResult_;

    const CellPosition at = matches[*current];
    if (auto entry = replacementEntry(sheet->cell(at.row, at.col), request.searchInFormulas, matcher,
                                      request.replaceText))
        setCellValue(at, *entry);

    // Look again and go on with the first match after the replaced cell.
    performFind(request);
    if (matches.empty()) return findResult_;
    auto next = std::find_if(matches.begin(), matches.end(),
                             [&](const CellPosition& p) { return rowMajorBefore(at, p); });
    showMatch(next == matches.end() ? 0 : static_cast<size_t>(next - matches.begin()));
    return findResult_;
}

const FindResult& SumoraEditorView::replaceAllMatches(const FindRequest& request) {
    performFind(request);
    Sheet* sheet = activeSheet();
    TextMatcher matcher(matcherOptions(request));
    if (findResult_.matches.empty() || !sheet || !matcher.isValid()) return findResult_;

    // Every cell is entered like typed text (classified and recalculated), and
    // the entries are collected into one "Replace All" step.
    const auto sheetIndex = static_cast<size_t>(activeSheetIndex);
    beginCellChanges();
    for (const CellPosition& at : findResult_.matches) {
        const Cell& current = document.sheets[sheetIndex].cell(at.row, at.col);
        if (auto entry = replacementEntry(current, request.searchInFormulas, matcher, request.replaceText))
            setCellValue(at, *entry);
    }
    CellChangeRecord record = endCellChanges();
    record.dropUnchanged();
    const size_t replaced = record.size();
    registerCellChanges("Replace All", std::move(record), UndoRecalculation::wholeSheet);
    performFind(request);
    findResult_.replacedCells = replaced;
    return findResult_;
}

// ---- text to columns -------------------------------------------------------------

void SumoraEditorView::performTextToColumns(const TextToColumnsRequest& request) {
    if (!selection) return;
    if (!activeSheet()) return;
    const auto sheetIndex = static_cast<size_t>(activeSheetIndex);
    const int64_t col = selection->minCol();
    CellChangeRecord record;
    for (int64_t row = selection->minRow(); row <= selection->maxRow(); ++row) {
        std::vector<std::string> pieces =
            splitText(std::string(document.sheets[sheetIndex].cell(row, col).displayValue()), request);
        if (pieces.empty()) continue;
        document.ensureGridSize(activeSheetIndex, row + 1, col + static_cast<int64_t>(pieces.size()));
        Sheet& sheet = document.sheets[sheetIndex];
        for (size_t i = 0; i < pieces.size(); ++i) {
            const int64_t target = col + static_cast<int64_t>(i);
            std::string_view piece = trimmedOfBlanks(pieces[i]);
            const Cell& current = sheet.cell(row, target);
            if (!current.formula() && current.value() == piece && current.displayValue() == piece) continue;
            record.noteBefore(sheet, {target, row});
            writeConstant(sheet, row, target, piece);
        }
    }
    if (record.empty()) return;
    refreshSheet(*this, sheetIndex);
    record.readAfter(document);
    registerCellChanges("Text to Columns", std::move(record), UndoRecalculation::wholeSheet);
}

// ---- remove duplicates -------------------------------------------------------------

RemoveDuplicatesResult SumoraEditorView::performRemoveDuplicates(const RemoveDuplicatesRequest& request) {
    Sheet* sheet = activeSheet();
    if (!sheet) return {};
    const int64_t first = request.hasHeaders ? 1 : 0;
    const int64_t end = sheet->usedExtent().rows;
    if (end <= first) return {};
    std::vector<int64_t> columns;
    for (int64_t c : request.columns)
        if (c >= 0) columns.push_back(c);
    if (columns.empty()) return {};

    // Kept rows first, duplicates after them, as offsets from `first`.
    std::vector<int64_t> kept, duplicates;
    std::unordered_set<std::string> seen;
    seen.reserve(static_cast<size_t>(end - first));
    std::string key;
    for (int64_t r = first; r < end; ++r) {
        key.clear();
        for (size_t i = 0; i < columns.size(); ++i) {
            if (i > 0) key += '\t';
            key += sheet->cell(r, columns[i]).value();
        }
        (seen.insert(key).second ? kept : duplicates).push_back(r - first);
    }

    RemoveDuplicatesResult result{countText(duplicates.size()) + " duplicate row(s) removed, " +
                                  countText(kept.size()) + " unique row(s) remain."};
    if (duplicates.empty()) return result;
    const auto keptCount = static_cast<int64_t>(kept.size());
    const auto duplicateCount = static_cast<int64_t>(duplicates.size());
    kept.insert(kept.end(), duplicates.begin(), duplicates.end());
    sheet->permuteRows(first, kept);
    sheet->removeRows(first + keptCount, duplicateCount);
    refreshSheet(*this, static_cast<size_t>(activeSheetIndex));
    return result;
}

} // namespace sumora
