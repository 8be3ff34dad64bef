#pragma once
// Which cells every formula of a workbook reads, across sheets, and the
// reverse: the view behind tracing precedents and dependents, the longest
// dependency chain and the spread of volatile functions.
//
// A sheet's own DependencyGraph ignores references that name a sheet (it
// orders one sheet's formulas). Here each reference keeps the sheet it
// names, and the reverse index is one DependencyGraph per pair (sheet of the
// formula, sheet read), so "who reads this cell" is the graph's own lookup.
// Built once from the parser's trees; nothing is evaluated.
#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "document/SumoraDocument.h"
#include "engine/DependencyGraph.h"

namespace sumora {

class FunctionRegistry;

struct SheetCell {
    size_t sheet = 0;
    int32_t col = 0, row = 0;
    bool operator==(const SheetCell&) const = default;
    auto operator<=>(const SheetCell&) const = default;
};

// A reference as written in a formula, on the sheet it names.
struct SheetArea {
    size_t sheet = 0;
    CellRect rect;
    bool isCell() const { return rect.isCell(); }
};

// Functions whose result may change without any cell they read changing.
bool isVolatileFunction(std::string_view upperName);

class WorkbookDependencies {
  public:
    WorkbookDependencies(const SumoraDocument& document, const FunctionRegistry& registry);

    size_t formulaCount() const { return formulas_.size(); }
    // A formula cell that parses ("=…" values count, as recalculation promotes them).
    bool isFormula(const SheetCell& cell) const { return indexOf(cell) != kNone; }
    // What the formula reads, in the order written; empty for other cells.
    std::span<const SheetArea> precedents(const SheetCell& cell) const;
    // The formula cells inside the area, column by column.
    std::vector<SheetCell> formulasIn(const SheetArea& area) const;
    // The formula cells that read the cell, each once, in sheet, row, column order.
    std::vector<SheetCell> dependents(const SheetCell& cell) const;

    // The formula calls a volatile function itself.
    bool callsVolatile(const SheetCell& cell) const;
    // Every formula that calls a volatile function or reads, directly or
    // not, one that does; sorted.
    std::vector<SheetCell> volatileFormulas() const;

    // The longest run of formulas each reading the next (a cycle is not
    // followed round); starts at the formula that is computed last.
    std::vector<SheetCell> longestChain() const;

  private:
    static constexpr uint32_t kNone = UINT32_MAX;

    struct Formula {
        SheetCell at;
        uint32_t readBegin = 0, readCount = 0;
        bool callsVolatile = false;
    };
    // Formulas of one sheet filed by the cells they read on one sheet.
    struct Index {
        DependencyGraph graph;
        std::vector<uint32_t> formulaOf; // graph id → index into formulas_
    };

    uint32_t indexOf(const SheetCell& cell) const;
    const Index* index(size_t formulaSheet, size_t readSheet) const;
    Index& indexForWriting(size_t formulaSheet, size_t readSheet);
    // Indices of the formula cells one formula reads.
    void formulaPrecedents(uint32_t formula, std::vector<uint32_t>& out) const;

    std::vector<Formula> formulas_;
    std::vector<SheetArea> reads_;
    std::map<std::pair<size_t, size_t>, Index> indexes_; // (formula sheet, sheet read)
};

} // namespace sumora
