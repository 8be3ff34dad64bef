#include "document/SheetLineEdits.h"

#include <map>
#include <optional>

#include "document/ColumnLetters.h"
#include "document/Sheet.h"

namespace sumora {

namespace {

// Where line `line` goes when `count` lines are inserted at `at`.
int64_t inserted(int64_t line, int64_t at, int64_t count) {
    return line >= at ? line + count : line;
}

// Where line `line` goes when [at, at+count) is removed; nothing when removed.
std::optional<int64_t> removed(int64_t line, int64_t at, int64_t count) {
    if (line < at) return line;
    if (line >= at + count) return line - count;
    return std::nullopt;
}

// A span [first, last] after an insertion: lines inserted inside it widen it.
void insertIntoSpan(int64_t& first, int64_t& last, int64_t at, int64_t count) {
    first = inserted(first, at, count);
    last = inserted(last, at, count);
}

// A span after a removal; false when nothing of it is left.
bool removeFromSpan(int64_t& first, int64_t& last, int64_t at, int64_t count) {
    int64_t newFirst = first < at ? first : (first >= at + count ? first - count : at);
    int64_t newLast = last < at ? last : (last >= at + count ? last - count : at - 1);
    first = newFirst;
    last = newLast;
    return first <= last;
}

template <class Move> void moveKeys(std::map<int64_t, double>& sizes, Move&& move) {
    std::map<int64_t, double> moved;
    for (const auto& [line, size] : sizes)
        if (auto to = move(line)) moved[*to] = size;
    sizes = std::move(moved);
}

// Re-keys the hyperlinks; `move` maps a cell to its new place or nothing.
template <class Move> void moveHyperlinks(Sheet& sheet, Move&& move) {
    if (sheet.hyperlinks.empty()) return;
    std::map<std::string, CellHyperlink> moved;
    for (auto& [address, link] : sheet.hyperlinks) {
        auto at = parseCellAddress(address);
        if (!at) {
            moved.emplace(address, std::move(link));
            continue;
        }
        if (auto to = move(*at)) moved[cellAddress(*to)] = std::move(link);
    }
    sheet.hyperlinks = std::move(moved);
}

} // namespace

void insertRowProperties(Sheet& sheet, int64_t at, int64_t count) {
    moveKeys(sheet.rowHeights, [&](int64_t r) -> std::optional<int64_t> { return inserted(r, at, count); });
    sheet.hiddenRows.insertLines(at, count);
    for (OutlineGroup& g : sheet.outlineGroups) {
        insertIntoSpan(g.startRow, g.endRow, at, count);
        g.summaryRow = inserted(g.summaryRow, at, count);
    }
    moveHyperlinks(sheet, [&](CellPosition p) -> std::optional<CellPosition> {
        return CellPosition{p.col, inserted(p.row, at, count)};
    });
}

void removeRowProperties(Sheet& sheet, int64_t at, int64_t count) {
    moveKeys(sheet.rowHeights, [&](int64_t r) { return removed(r, at, count); });
    sheet.hiddenRows.removeLines(at, count);
    std::erase_if(sheet.outlineGroups, [&](OutlineGroup& g) {
        g.summaryRow = removed(g.summaryRow, at, count).value_or(g.summaryRow >= at ? at : g.summaryRow);
        return !removeFromSpan(g.startRow, g.endRow, at, count);
    });
    moveHyperlinks(sheet, [&](CellPosition p) -> std::optional<CellPosition> {
        if (auto to = removed(p.row, at, count)) return CellPosition{p.col, *to};
        return std::nullopt;
    });
}

void insertColumnProperties(Sheet& sheet, int64_t at, int64_t count) {
    moveKeys(sheet.columnWidths, [&](int64_t c) -> std::optional<int64_t> { return inserted(c, at, count); });
    sheet.hiddenColumns.insertLines(at, count);
    for (ColumnOutlineGroup& g : sheet.columnOutlineGroups)
        insertIntoSpan(g.startCol, g.endCol, at, count);
    moveHyperlinks(sheet, [&](CellPosition p) -> std::optional<CellPosition> {
        return CellPosition{inserted(p.col, at, count), p.row};
    });
}

void removeColumnProperties(Sheet& sheet, int64_t at, int64_t count) {
    moveKeys(sheet.columnWidths, [&](int64_t c) { return removed(c, at, count); });
    sheet.hiddenColumns.removeLines(at, count);
    std::erase_if(sheet.columnOutlineGroups,
                  [&](ColumnOutlineGroup& g) { return !removeFromSpan(g.startCol, g.endCol, at, count); });
    moveHyperlinks(sheet, [&](CellPosition p) -> std::optional<CellPosition> {
        if (auto to = removed(p.col, at, count)) return CellPosition{*to, p.row};
        return std::nullopt;
    });
}

void permuteRowProperties(Sheet& sheet, int64_t first, const std::vector<int64_t>& order) {
    int64_t last = first + static_cast<int64_t>(order.size()) - 1;
    // Old row → new row, for the rows the order names.
    std::map<int64_t, int64_t> destination;
    for (size_t i = 0; i < order.size(); ++i)
        destination[first + order[i]] = first + static_cast<int64_t>(i);
    auto move = [&](int64_t r) -> std::optional<int64_t> {
        if (r < first || r > last) return r;
        auto it = destination.find(r);
        return it == destination.end() ? std::nullopt : std::optional<int64_t>(it->second);
    };
    moveKeys(sheet.rowHeights, move);
    sheet.hiddenRows.permute(first, order);
    moveHyperlinks(sheet, [&](CellPosition p) -> std::optional<CellPosition> {
        if (auto to = move(p.row)) return CellPosition{p.col, *to};
        return std::nullopt;
    });
}

} // namespace sumora
