#pragma once
// Reads cells straight from a workbook's sheets: the plain resolver used to
// evaluate a single formula (the command line's eval, tests, tools). The
// recalculation driver has its own resolver with caches.
#include <cstddef>

#include "document/SumoraDocument.h"
#include "engine/CellResolver.h"

namespace sumora {

class WorkbookResolver : public CellResolver {
  public:
    WorkbookResolver(const SumoraDocument& document, size_t sheetIndex, CellRef currentCell = {});

    FormulaValue cellValue(CellPosition at, std::optional<std::string_view> sheet) override;
    void rangeValues(const RangeSpec& range, std::vector<FormulaValue>& out) override;
    void rangeEntries(const RangeSpec& range, SparseRange& out) override;
    void rangeNumbers(const RangeSpec& range, std::vector<double>& out) override;
    std::optional<std::pair<int64_t, int64_t>> gridSize(std::optional<std::string_view> sheet) override;
    std::optional<CellRange> resolveNamedRange(std::string_view name) override;
    CellRef currentCell() const override { return current_; }
    std::optional<std::string> cellFormula(CellPosition at, std::optional<std::string_view> sheet) override;
    const SumoraDocument* workbook() const override { return &document_; }
    size_t currentSheetIndex() const override { return sheetIndex_; }

    void setCurrentCell(CellRef cell) { current_ = std::move(cell); }
    // The sheet a reference names (current when empty), or nullptr.
    const Sheet* sheetNamed(std::optional<std::string_view> sheet) const;

  private:
    const SumoraDocument& document_;
    size_t sheetIndex_;
    CellRef current_;
};

// Named-range lookup shared by every resolver: case-insensitive name match.
std::optional<CellRange> findNamedRange(const std::vector<NamedRange>& names, std::string_view name);
// Clips a range to a grid of rows × cols; nothing when it lies wholly outside.
std::optional<RangeSpec> clipToGrid(const RangeSpec& range, int64_t rows, int64_t cols);

} // namespace sumora
