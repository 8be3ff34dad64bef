// Copy, cut and paste of cells inside the workbook, paste special, clearing
// contents, and the fill handle's series. Each command that changes cells
// registers one undo step and recalculates once at the end.
#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <set>

#include "editing/SumoraEditorView.h"
#include "engine/FormulaAdjuster.h"
#include "engine/FormulaValue.h"
#include "values/AsciiText.h"
#include "values/StrictNumber.h"

namespace sumora {

namespace {

SelectionRange normalised(const SelectionRange& r) {
    return {r.minCol(), r.minRow(), r.maxCol(), r.maxRow()};
}

int64_t floorMod(int64_t a, int64_t n) {
    return ((a % n) + n) % n;
}

// The text other applications receive: displayed values, tab between cells,
// line break between rows.
std::string blockText(const std::vector<std::vector<Cell>>& cells) {
    std::string text;
    for (size_t r = 0; r < cells.size(); ++r) {
        if (r > 0) text += '\n';
        for (size_t c = 0; c < cells[r].size(); ++c) {
            if (c > 0) text += '\t';
            text += cells[r][c].displayValue();
        }
    }
    return text;
}

// The cell written at a paste target for one mode. `target` is what is there
// now; (dr, dc) is the distance the source travelled.
Cell pastedCell(const Cell& source, const Cell& target, PasteMode mode, int64_t dr, int64_t dc, bool adjust) {
    // A spilled result belongs to its anchor's formula, which spills again
    // where it is pasted; only "values" turns it into a constant.
    const bool spilled = source.isSpillResult() && !source.hasContent();
    auto withContentOf = [&](Cell cell) {
        cell.setSpillResult(false);
        if (source.hasFormula()) {
            std::string_view formula = *source.formula();
            cell.setFormula(adjust ? FormulaAdjuster::adjustReferences(formula, dr, dc)
                                   : std::string(formula));
            cell.setValue("");
            cell.setComputedValue(source.computedValue());
        } else if (spilled) {
            cell.setFormula(std::nullopt);
            cell.setValue("");
            cell.setComputedValue(std::nullopt);
        } else {
            cell.setFormula(std::nullopt);
            cell.setValue(source.value());
            cell.setComputedValue(source.computedValue());
        }
        return cell;
    };
    switch (mode) {
    case PasteMode::all: {
        Cell cell = withContentOf(source);
        cell.setLocked(target.isLocked());
        return cell;
    }
    case PasteMode::formulasOnly:
        return withContentOf(target);
    case PasteMode::valuesOnly: {
        Cell cell = target;
        std::string shown(source.displayValue());
        cell.setSpillResult(false);
        cell.setFormula(std::nullopt);
        cell.setValue(shown);
        cell.setComputedValue(shown.empty() ? std::nullopt : std::optional<std::string_view>(shown));
        return cell;
    }
    case PasteMode::formattingOnly: {
        Cell cell = target;
        cell.setFormatHandle(source.formatHandle());
        return cell;
    }
    }
    return target;
}

bool refusesEntry(const Sheet& sheet, int64_t row, int64_t col) {
    return sheet.isProtected && sheet.cell(row, col).isLocked();
}

} // namespace

// ---- copy, cut, paste --------------------------------------------------------

void SumoraEditorView::copySelection() {
    Sheet* sheet = activeSheet();
    auto range = targetRange();
    if (!sheet || !range) return;
    CopiedBlock block;
    block.sheetId = sheet->id;
    block.range = normalised(*range);
    for (int64_t r = block.range.startRow; r <= block.range.endRow; ++r) {
        auto& row = block.cells.emplace_back();
        for (int64_t c = block.range.startCol; c <= block.range.endCol; ++c)
            row.push_back(sheet->cell(r, c));
    }
    if (clipboard) clipboard->setText(blockText(block.cells));
    copied_ = std::move(block);
}

void SumoraEditorView::cutSelection() {
    copySelection();
    if (copied_) copied_->isCut = true;
}

void SumoraEditorView::paste() {
    pasteCell();
}

bool SumoraEditorView::pasteCopiedCells(PasteMode mode) {
    if (!copied_) return false;
    // Something copied in another application since replaces our cells.
    if (clipboard && clipboard->text() != blockText(copied_->cells)) {
        copied_.reset();
        return false;
    }
    Sheet* sheet = activeSheet();
    if (!sheet) return true;
    std::optional<CellPosition> at = activeCell;
    if (selection) at = CellPosition{selection->minCol(), selection->minRow()};
    if (!at) return true;

    const CopiedBlock block = *copied_;
    const int64_t height = static_cast<int64_t>(block.cells.size());
    const int64_t width = height ? static_cast<int64_t>(block.cells[0].size()) : 0;
    if (height == 0 || width == 0) return true;
    // A selection that holds the block a whole number of times receives a copy in each place.
    int64_t tilesDown = 1, tilesAcross = 1;
    if (selection) {
        int64_t h = selection->maxRow() - selection->minRow() + 1,
                w = selection->maxCol() - selection->minCol() + 1;
        if (h % height == 0 && w % width == 0) {
            tilesDown = h / height;
            tilesAcross = w / width;
        }
    }
    // Cut cells move: their formulas keep the references they had.
    const bool moving = block.isCut && mode == PasteMode::all;
    const auto targetSheet = static_cast<size_t>(activeSheetIndex);
    const SelectionRange pasted{at->col, at->row, at->col + width * tilesAcross - 1,
                                at->row + height * tilesDown - 1};

    const std::optional<size_t> sourceSheet = document.sheetIndexById(block.sheetId);
    auto recalculate = [this, target = sheet->id, source = block.sheetId, moving] {
        recalculateChangedSheetWithId(target);
        if (moving && source != target) recalculateChangedSheetWithId(source);
    };
    groupUndoSteps(
        mode == PasteMode::all ? "Paste" : "Paste Special",
        [&] {
            document.ensureGridSize(activeSheetIndex, pasted.endRow + 1, pasted.endCol + 1);
            std::vector<std::pair<CellPosition, Cell>> writes;
            for (int64_t r = pasted.startRow; r <= pasted.endRow; ++r)
                for (int64_t c = pasted.startCol; c <= pasted.endCol; ++c) {
                    if (refusesEntry(*sheet, r, c)) continue;
                    const int64_t i = (r - pasted.startRow) % height, j = (c - pasted.startCol) % width;
                    const Cell& source = block.cells[static_cast<size_t>(i)][static_cast<size_t>(j)];
                    writes.push_back(
                        {CellPosition{c, r},
                         pastedCell(source, sheet->cell(r, c), mode, r - (block.range.startRow + i),
                                    c - (block.range.startCol + j), !moving)});
                }
            if (moving && sourceSheet) {
                for (int64_t r = block.range.startRow; r <= block.range.endRow; ++r)
                    for (int64_t c = block.range.startCol; c <= block.range.endCol; ++c) {
                        bool overwritten = *sourceSheet == targetSheet && r >= pasted.startRow &&
                                           r <= pasted.endRow && c >= pasted.startCol && c <= pasted.endCol;
                        if (!overwritten) replaceCell(*sourceSheet, {c, r}, Cell());
                    }
            }
            for (auto& [p, cell] : writes)
                replaceCell(targetSheet, p, std::move(cell));
        },
        UndoRecalculation::wholeSheet);
    recalculate();
    if (moving) copied_.reset();
    return true;
}

void SumoraEditorView::pasteSpecial(PasteMode mode) {
    if (mode == PasteMode::all) {
        paste();
        return;
    }
    if (pasteCopiedCells(mode)) return;
    // Text from elsewhere has no formats to paste; its values and formulas
    // are what typing them would give.
    if (mode != PasteMode::formattingOnly) pasteCell();
}

void SumoraEditorView::clearContents() {
    Sheet* sheet = activeSheet();
    auto range = targetRange();
    if (!sheet || !range) return;
    const auto sheetIndex = static_cast<size_t>(activeSheetIndex);
    std::vector<std::pair<CellPosition, Cell>> writes;
    const int64_t lastRow = std::min(range->maxRow(), sheet->storedRowCount() - 1);
    for (int64_t r = std::max<int64_t>(range->minRow(), 0); r <= lastRow; ++r) {
        const int64_t lastCol = std::min(range->maxCol(), sheet->storedColumnCount(r) - 1);
        for (int64_t c = std::max<int64_t>(range->minCol(), 0); c <= lastCol; ++c) {
            const Cell& now = sheet->cell(r, c);
            if (!now.hasContent() && !now.formula() && !now.computedValue()) continue;
            if (refusesEntry(*sheet, r, c)) continue;
            Cell cleared = now;
            cleared.setFormula(std::nullopt);
            cleared.setValue("");
            cleared.setComputedValue(std::nullopt);
            cleared.setSpillResult(false);
            writes.push_back({CellPosition{c, r}, std::move(cleared)});
        }
    }
    if (writes.empty()) return;
    auto recalculate = [this, sheetId = sheet->id] { recalculateChangedSheetWithId(sheetId); };
    groupUndoSteps(
        "Clear Contents",
        [&] {
            for (auto& [p, cell] : writes)
                replaceCell(sheetIndex, p, std::move(cell));
        },
        UndoRecalculation::wholeSheet);
    if (writes.size() == 1)
        recalculateChangedCell(sheetIndex, writes[0].first);
    else
        recalculate();
}

// ---- the fill handle ---------------------------------------------------------

void SumoraEditorView::performFill(const SelectionRange& sourceRange, const SelectionRange& targetRange) {
    Sheet* sheet = activeSheet();
    if (!sheet) return;
    const SelectionRange src = normalised(sourceRange), dst = normalised(targetRange);
    const bool vertical = dst.startCol == src.startCol && dst.endCol == src.endCol &&
                          (dst.startRow < src.startRow || dst.endRow > src.endRow);
    const bool horizontal = !vertical && dst.startRow == src.startRow && dst.endRow == src.endRow &&
                            (dst.startCol < src.startCol || dst.endCol > src.endCol);
    if (!vertical && !horizontal) return;
    const auto sheetIndex = static_cast<size_t>(activeSheetIndex);

    // One series per column (vertical) or per row (horizontal), seeded by
    // the source cells along it.
    const int64_t lanes = vertical ? src.endCol - src.startCol + 1 : src.endRow - src.startRow + 1;
    const int64_t seedCount = vertical ? src.endRow - src.startRow + 1 : src.endCol - src.startCol + 1;
    const int64_t first = vertical ? dst.startRow : dst.startCol, last = vertical ? dst.endRow : dst.endCol;
    const int64_t seedStart = vertical ? src.startRow : src.startCol;
    document.ensureGridSize(activeSheetIndex, dst.endRow + 1, dst.endCol + 1);

    std::vector<std::pair<CellPosition, Cell>> writes;
    for (int64_t lane = 0; lane < lanes; ++lane) {
        std::vector<Cell> seeds;
        std::vector<std::string> texts;
        bool anyFormula = false;
        for (int64_t k = 0; k < seedCount; ++k) {
            const Cell& cell = vertical ? sheet->cell(src.startRow + k, src.startCol + lane)
                                        : sheet->cell(src.startRow + lane, src.startCol + k);
            seeds.push_back(cell);
            texts.emplace_back(cell.value());
            anyFormula = anyFormula || cell.hasFormula();
        }
        for (int64_t pos = first; pos <= last; ++pos) {
            const int64_t p = pos - seedStart; // place relative to the first seed
            if (p >= 0 && p < seedCount) continue;
            const int64_t col = vertical ? src.startCol + lane : pos,
                          row = vertical ? pos : src.startRow + lane;
            if (refusesEntry(*sheet, row, col)) continue;
            const int64_t k = floorMod(p, seedCount);
            const Cell& seed = seeds[static_cast<size_t>(k)];
            Cell cell = pastedCell(seed, sheet->cell(row, col), PasteMode::all, vertical ? p - k : 0,
                                   vertical ? 0 : p - k, true);
            if (!seed.hasFormula() && !anyFormula) {
                std::string text = autoFillValue(texts, p - seedCount + 1);
                cell.setValue(text);
                cell.setComputedValue(text);
            }
            writes.push_back({CellPosition{col, row}, std::move(cell)});
        }
    }
    auto recalculate = [this, sheetId = sheet->id] { recalculateChangedSheetWithId(sheetId); };
    groupUndoSteps(
        "AutoFill",
        [&] {
            for (auto& [at, cell] : writes)
                replaceCell(sheetIndex, at, std::move(cell));
        },
        UndoRecalculation::wholeSheet);
    recalculate();
}

namespace {

constexpr std::array<const char*, 12> kMonths = {"January",   "February", "March",    "April",
                                                 "May",       "June",     "July",     "August",
                                                 "September", "October",  "November", "December"};
constexpr std::array<const char*, 7> kWeekdays = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                  "Thursday", "Friday", "Saturday"};

// A seed found in a cyclic list (months or weekdays).
struct NamedSeed {
    int64_t index = 0;
    bool isShort = false;
};

template <size_t N>
std::optional<NamedSeed> findName(const std::array<const char*, N>& names, std::string_view text) {
    for (size_t i = 0; i < N; ++i) {
        std::string_view full = names[i];
        if (equalsIgnoringCase(text, full)) return NamedSeed{static_cast<int64_t>(i), false};
        if (equalsIgnoringCase(text, full.substr(0, 3))) return NamedSeed{static_cast<int64_t>(i), true};
    }
    return std::nullopt;
}

// `name` written in the case style of `model`: "JAN" → "FEB", "jan" → "feb".
std::string inStyleOf(std::string_view model, std::string name) {
    bool anyLower = false, anyUpper = false;
    for (char c : model) {
        anyLower = anyLower || std::islower(static_cast<unsigned char>(c));
        anyUpper = anyUpper || std::isupper(static_cast<unsigned char>(c));
    }
    for (size_t i = 0; i < name.size(); ++i) {
        auto u = static_cast<unsigned char>(name[i]);
        if (!anyLower)
            name[i] = static_cast<char>(std::toupper(u));
        else if (!anyUpper || i > 0)
            name[i] = static_cast<char>(std::tolower(u));
    }
    return name;
}

template <size_t N>
std::optional<std::string> namedSeries(const std::array<const char*, N>& names,
                                       const std::vector<std::string_view>& seeds, int64_t stepIndex) {
    std::vector<NamedSeed> found;
    for (std::string_view s : seeds) {
        auto f = findName(names, s);
        if (!f) return std::nullopt;
        found.push_back(*f);
    }
    const auto n = static_cast<int64_t>(N);
    const int64_t step =
        found.size() > 1 ? floorMod(found.back().index - found[found.size() - 2].index, n) : 1;
    const int64_t index = floorMod(found.back().index + floorMod(step * floorMod(stepIndex, n), n), n);
    std::string name = names[static_cast<size_t>(index)];
    if (found.back().isShort) name.resize(3);
    return inStyleOf(seeds.back(), std::move(name));
}

int writtenDecimals(std::string_view text) {
    size_t point = text.find('.');
    if (point == std::string_view::npos) return 0;
    int n = 0;
    for (size_t i = point + 1; i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])); ++i)
        ++n;
    return n;
}

std::optional<double> seedNumber(std::string_view s) {
    if (s.empty() || !(std::isdigit(static_cast<unsigned char>(s.front())) || s.front() == '-' ||
                       s.front() == '+' || s.front() == '.'))
        return std::nullopt;
    return parseStrictNumber(s);
}

// Numbers advance by the seeds' average step; a lone number counts up by one.
std::optional<std::string> numberSeries(const std::vector<std::string_view>& seeds, int64_t stepIndex) {
    std::vector<double> xs;
    int decimals = 0;
    for (std::string_view s : seeds) {
        auto x = seedNumber(s);
        if (!x) return std::nullopt;
        xs.push_back(*x);
        decimals = std::max(decimals, writtenDecimals(s));
    }
    const double step = xs.size() > 1 ? (xs.back() - xs.front()) / static_cast<double>(xs.size() - 1) : 1.0;
    double value = xs.back() + step * static_cast<double>(stepIndex);
    const double scale = std::pow(10.0, std::min(decimals, 15));
    value = std::round(value * scale) / scale;
    if (value == 0) value = 0; // no "-0"
    if (std::trunc(value) == value && std::fabs(value) < 1e15) {
        char buf[64];
        std::snprintf(buf, sizeof buf, "%.0f", value);
        return std::string(buf);
    }
    return shortestNumberText(value);
}

// "Item 9" → "Item 10": the trailing integer counts on, keeping the width of
// zero-padded digits ("File 007" → "File 008").
std::optional<std::string> numberedTextSeries(const std::vector<std::string_view>& seeds, int64_t stepIndex) {
    std::string_view prefix;
    std::vector<int64_t> numbers;
    size_t width = 0;
    for (size_t i = 0; i < seeds.size(); ++i) {
        std::string_view s = seeds[i];
        size_t start = s.size();
        while (start > 0 && std::isdigit(static_cast<unsigned char>(s[start - 1])))
            --start;
        if (start == s.size() || start == 0 || s.size() - start > 15) return std::nullopt;
        if (i > 0 && s.substr(0, start) != prefix) return std::nullopt;
        prefix = s.substr(0, start);
        numbers.push_back(std::stoll(std::string(s.substr(start))));
        width = s[start] == '0' ? s.size() - start : 0;
    }
    int64_t step = 1;
    if (numbers.size() > 1) {
        const int64_t span = numbers.back() - numbers.front(),
                      gaps = static_cast<int64_t>(numbers.size()) - 1;
        if (span % gaps != 0) return std::nullopt;
        step = span / gaps;
    }
    const int64_t value = std::llabs(numbers.back() + step * stepIndex);
    std::string digits = std::to_string(value);
    if (digits.size() < width) digits.insert(0, width - digits.size(), '0');
    return std::string(prefix) + digits;
}

} // namespace

std::string SumoraEditorView::autoFillValue(const std::vector<std::string>& seeds, int64_t stepIndex) {
    if (seeds.empty()) return "";
    std::vector<std::string_view> trimmedSeeds;
    for (const std::string& s : seeds)
        trimmedSeeds.push_back(trimmedSpace(s));
    if (auto v = namedSeries(kMonths, trimmedSeeds, stepIndex)) return *v;
    if (auto v = namedSeries(kWeekdays, trimmedSeeds, stepIndex)) return *v;
    if (auto v = numberSeries(trimmedSeeds, stepIndex)) return *v;
    if (auto v = numberedTextSeries(trimmedSeeds, stepIndex)) return *v;
    // Anything else repeats the seeds in order.
    const auto n = static_cast<int64_t>(seeds.size());
    return seeds[static_cast<size_t>(floorMod(n - 1 + stepIndex, n))];
}

} // namespace sumora
