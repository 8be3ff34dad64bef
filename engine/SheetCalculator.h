#pragma once
// Recalculates the formulas of one sheet of a document, in place: parses each
// formula once, records what it reads in a DependencyGraph, computes formulas
// after the cells they read, and writes each result as text into the cell's
// computed value (arrays spill into the cells below and to the right; cycles
// show "#CIRC!"). It is also the CellResolver its formulas read through.
//
// The calculator is meant to live as long as the sheet's structure does: the
// editor keeps one per sheet and calls recalculate(col, row) after changing a
// cell, which re-parses only that cell and recomputes only what reads it.
// Anything that moves cells (row insertion, sorting) must call invalidate();
// the next call then rebuilds from the cells. recalculateAll() always
// rebuilds, so tools that wrote many cells directly can simply call it.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "document/SumoraDocument.h"
#include "engine/CellResolver.h"
#include "engine/DependencyGraph.h"
#include "engine/FormulaShapes.h"
#include "engine/FormulaTree.h"
#include "engine/SheetValueCache.h"
#include "engine/WorkbookResolver.h"

namespace sumora {

class FormulaEvaluator;
class FunctionRegistry;
class RecalcProfiler;

class SheetCalculator : public CellResolver {
  public:
    // `registry` is the function table formulas are parsed against; it must
    // outlive the calculator. Other sheets and the workbook's named ranges
    // are read through the document.
    SheetCalculator(SumoraDocument& document, size_t sheetIndex, const FunctionRegistry& registry);
    ~SheetCalculator() override;
    SheetCalculator(const SheetCalculator&) = delete;
    SheetCalculator& operator=(const SheetCalculator&) = delete;

    // Promotes "=…" values to formulas, parses every formula and computes them all.
    void recalculateAll();
    // After the cell's value or formula changed: re-reads that cell and
    // recomputes every formula that reads it, directly or not.
    void recalculate(CellPosition at);
    // The cell's record was put back as it was before an edit (undo): its
    // formula is registered again but nothing is recomputed, so the cells
    // that read it keep their values until a later change reaches them.
    void cellRestored(CellPosition at);
    // Cells moved: drop everything learnt from them; the next call rebuilds.
    void invalidate();
    // Times each formula and function call of later recalculations.
    void setProfiler(RecalcProfiler* profiler) { profiler_ = profiler; }

    // Whether the last recalculation wrote a result other than the cell had.
    bool resultsChanged() const { return resultsChanged_; }

    bool hasCircularReference(CellPosition at) const;
    const DependencyGraph& graph() const { return graph_; }
    // The parsed tree of a formula cell, or nullptr. It may be a shared tree
    // that the next call or recalculation rewrites: read it before either.
    const FormulaTree* parsedFormula(CellPosition at) const;

    // Writes an array result from the anchor; false when the footprint is
    // blocked (the anchor then shows "#SPILL!").
    bool spillArray(const ValueRows& rows, CellPosition anchor);
    // Clears the cells the anchor spilled into.
    void clearSpill(CellPosition at);
    // For each anchor, the cells (other than itself) its array was written to.
    const std::unordered_map<CellRef, std::vector<CellRef>, CellRefHash>& spillRanges() const {
        return spillRanges_;
    }

    // CellResolver
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

  private:
    using FormulaId = DependencyGraph::FormulaId;

    Sheet& sheet() { return document_.sheets[sheetIndex_]; }
    // The sheet a reference names: nullptr when none; `own` tells whether it
    // is the calculated one (reads of it go through the cache).
    const Sheet* sheetNamed(std::optional<std::string_view> name, bool& own) const;

    // Whether a position fits the graph's 32-bit coordinates.
    static bool representable(int64_t col, int64_t row);
    // A value typed as "=…" becomes the cell's formula; true when it did.
    static bool promote(Cell& cell);

    // Where a formula's tree is: a shape of shapes_ with its rows at
    // shapeRows_[at], or (shape kAlone) aloneTrees_[at].
    struct ParsedFormula {
        uint32_t shape = FormulaShapes::kAlone;
        uint32_t at = 0;
    };

    // Parses every formula cell into the graph (no evaluation), first
    // promoting "=…" values to formulas when asked.
    void build(bool promoteValues = false);
    // Parses the cell's formula (through shapes_ when `shaped`) and registers
    // it; false when it fails to parse.
    bool registerFormula(int32_t col, int32_t row, std::string_view formula, bool shaped = false);
    // The two halves of registering: parsing, which appends what the formula
    // reads, and entering the result into the graph.
    bool parse(std::string_view formula, bool shaped, ParsedFormula& parsed, std::vector<CellRect>& reads);
    void addParsed(int32_t col, int32_t row, const ParsedFormula& parsed, std::span<const CellRect> reads);
    // build() with the parsing on a second thread, handing batches over.
    void buildInTwo(bool promoteValues);
    void unregisterFormula(int32_t col, int32_t row);
    void ensureBuilt();
    // Forgets every parsed formula and what the graph learnt from them.
    void clearFormulas();
    // The formula's tree; a shared one lasts until the next tree of its shape.
    const FormulaTree& treeOf(const ParsedFormula& parsed) const;

    void evaluate(FormulaEvaluator& evaluator, FormulaId id);
    // Drops the decoded value of a written cell and tells the function caches.
    void forgetCell(int64_t col, int64_t row);
    void writeComputed(int64_t col, int64_t row, std::optional<std::string_view> text);
    void markCircular(FormulaId id);
    // Recomputes readers of spill cells whose text changed, until none did.
    void settleSpills(FormulaEvaluator& evaluator);
    void touchSpillCell(int64_t col, int64_t row);

    SumoraDocument& document_;
    size_t sheetIndex_;
    const FunctionRegistry& registry_;
    RecalcProfiler* profiler_ = nullptr;
    std::function<bool(std::string_view)> isWorkbookName_;
    WorkbookResolver direct_; // reads of other sheets

    DependencyGraph graph_;
    mutable FormulaShapes shapes_;      // of the formulas of the last build
    std::vector<ParsedFormula> parsed_; // by formula id
    std::vector<int32_t> shapeRows_;
    std::vector<FormulaTree> aloneTrees_;
    std::vector<uint32_t> freeAloneTrees_;
    SheetValueCache cache_;
    bool built_ = false;
    bool resultsChanged_ = false;
    CellRef current_;
    std::string text_; // scratch for result texts
    std::vector<CellRect> reads_;

    std::unordered_map<CellRef, std::vector<CellRef>, CellRefHash> spillRanges_;
    // Spill cells written or cleared in this pass, with their text before it.
    CellKeyMap spillTouchedIndex_;
    std::vector<std::pair<GridPosition, std::optional<std::string>>> spillTouched_;
};

} // namespace sumora
