#pragma once
// Cell references and ranges of formulas: zero-based column and row and an
// optional sheet name. A range keeps its corners as written (B5:A1 is not
// swapped) and yields no cells when backwards.
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace sumora {

struct CellRef {
    int64_t col = 0;
    int64_t row = 0;
    std::optional<std::string> sheet;

    // "A1", or "Data!AB10" with the sheet name written as it is, never quoted.
    std::string description() const;
    bool operator==(const CellRef&) const = default;
};

struct CellRange {
    CellRef start;
    CellRef end;

    bool isBackwards() const { return end.col < start.col || end.row < start.row; }
    int64_t rowCount() const { return isBackwards() ? 0 : end.row - start.row + 1; }
    int64_t columnCount() const { return isBackwards() ? 0 : end.col - start.col + 1; }
    // Row-major visit of the cells (members carry no sheet).
    template <class F> void forEachCell(F&& f) const {
        if (isBackwards()) return;
        for (int64_t r = start.row; r <= end.row; ++r)
            for (int64_t c = start.col; c <= end.col; ++c) f(c, r);
    }
    bool operator==(const CellRange&) const = default;
};

struct CellRefHash {
    size_t operator()(const CellRef& r) const noexcept {
        size_t h = std::hash<int64_t>{}(r.col) * 0x9E3779B97F4A7C15ULL ^ std::hash<int64_t>{}(r.row);
        h = h * 31 + (r.sheet ? std::hash<std::string>{}(*r.sheet) : 0x5bd1e995);
        return h;
    }
};

} // namespace sumora
