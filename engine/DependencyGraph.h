#pragma once
// Which formula cells of a sheet read which cells, and in what order they
// must be computed.
//
// Formulas are numbered records (an id is an index, reused after removal).
// What a formula reads is kept as rectangles: a single cell goes to an index
// of cell → formulas, anything larger is one registration in a
// RangeIndex. "The formula cells inside a range" is a binary search plus a
// contiguous scan of per-column sorted lists. The number of stored entries is
// therefore proportional to the references written in formulas, never to the
// cells those references cover.
//
// Ordering is Kahn's algorithm without recursion (the full order counts a range
// as settled once, see DependencyOrder.cpp); whatever it cannot order
// (a cycle, or anything that reads a cycle, directly or not) is circular. The
// graph remembers that verdict per formula and keeps it exact across edits:
// an edit can only change it for the formulas that reach the edited cell,
// which are exactly the ones an incremental recalculation visits.
#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "document/WorkbookRecords.h"
#include "engine/CellPageMap.h"
#include "engine/FormulaTree.h"
#include "engine/RangeIndex.h"

namespace sumora {

struct GridPosition {
    int32_t col = 0;
    int32_t row = 0;
};

class DependencyGraph {
  public:
    using FormulaId = uint32_t;
    static constexpr FormulaId kNoFormula = UINT32_MAX;

    struct Order {
        std::vector<FormulaId> ordered;  // every formula after all it reads
        std::vector<FormulaId> circular; // could not be ordered
    };

    void clear();
    // Room for this many formulas, each reading about one rectangle.
    void reserve(size_t formulas);

    // The cells a formula reads, as rectangles of this sheet: a reference
    // without a sheet is a cell; a range, or a workbook name (not a LET
    // variable), counts as this sheet's cells whatever sheet it names; a
    // reference naming a sheet, even this one, is left out, as it never
    // matches a cell of this sheet.
    static void collectRefs(const FormulaTree& tree, const std::vector<NamedRange>& names,
                            std::vector<CellRect>& out);
    // The bare names a LET of the formula declares: variables, not workbook names.
    static void collectLetVariables(const FormulaTree& tree, std::vector<std::string_view>& out);

    // Registers a formula cell with no dependencies; the cell must not hold one.
    FormulaId addFormula(int32_t col, int32_t row);
    void removeFormula(FormulaId id);
    FormulaId formulaAt(int32_t col, int32_t row) const {
        return positions_.find(col, row); // kMissing == kNoFormula
    }
    bool isFormula(FormulaId id) const { return id < records_.size() && records_[id].alive; }
    GridPosition position(FormulaId id) const { return {records_[id].col, records_[id].row}; }
    size_t formulaCount() const { return liveCount_; }

    // Replaces what a formula reads. Backwards rectangles read nothing;
    // duplicates count once.
    void setDependencies(FormulaId id, std::span<const CellRect> reads);
    std::span<const CellRect> precedents(FormulaId id) const {
        const Record& r = records_[id];
        return {depPool_.data() + r.depBegin, r.depCount};
    }

    // f(formula) for every formula reading the cell, once per reference of
    // that formula which covers it.
    template <class F> void forEachDependent(int32_t col, int32_t row, F&& f) const {
        const Readers& readers = indexedReaders();
        for (uint32_t e = readers.pointHeads.find(col, row); e != kNoEdge; e = readers.edges[e].next)
            f(readers.edges[e].formula);
        readers.ranges.forEachContaining(col, row, f);
    }
    // f(formula) for every formula cell inside the rectangle, column by column.
    template <class F> void forEachFormulaIn(const CellRect& rect, F&& f) const {
        forEachColumnRun(rect, [&](const Column& column, size_t begin, size_t end) {
            for (size_t i = begin; i < end; ++i)
                f(column.ids[i]);
        });
    }
    size_t countFormulasIn(const CellRect& rect) const;
    // f(formula) for every formula cell the formula reads.
    template <class F> void forEachFormulaPrecedent(FormulaId id, F&& f) const {
        for (const CellRect& r : precedents(id)) {
            if (r.isCell()) {
                if (FormulaId p = formulaAt(r.col1, r.row1); p != kNoFormula) f(p);
            } else {
                forEachFormulaIn(r, f);
            }
        }
    }

    // Every formula; records the circular verdict of each.
    Order topologicalOrder();
    // The formulas that read the changed cells, directly or not (and the
    // formulas standing on those cells, when asked), in computing order;
    // records the circular verdict of each.
    Order recalcOrder(std::span<const GridPosition> changed, bool includeChangedFormulas);
    // Whether the formula lies on a cycle or reads one, as of the last order.
    bool hasCircularReference(FormulaId id) const { return isFormula(id) && records_[id].circular; }

    // Storage figures: single-cell references, range registrations, and the
    // block entries filing those ranges.
    size_t pointEntryCount() const { return indexedReaders().pointEdgeCount; }
    size_t rangeRegistrationCount() const { return indexedReaders().ranges.registrationCount(); }
    size_t rangeBlockEntryCount() const { return indexedReaders().ranges.blockEntryCount(); }

  private:
    static constexpr uint32_t kNoEdge = UINT32_MAX;

    struct Record {
        int32_t col = 0, row = 0;
        uint32_t depBegin = 0, depCount = 0;
        bool alive = false;
        bool circular = false;
    };
    struct Column {
        std::vector<int32_t> rows; // ascending
        std::vector<FormulaId> ids;
    };
    struct Edge {
        FormulaId formula;
        uint32_t next;
    };
    // Who reads each cell. A graph that has only grown, each formula given its
    // reads once and in id order (a build), indexes them on the first
    // question that needs it: a full recalculation never asks one.
    struct Readers {
        bool indexed = false;
        CellPageMap pointHeads; // cell → first edge of the formulas reading it
        std::vector<Edge> edges;
        uint32_t freeEdge = kNoEdge;
        size_t pointEdgeCount = 0;
        RangeIndex ranges;

        void link(const CellRect& read, FormulaId id);
        void unlink(const CellRect& read, FormulaId id);
    };

    template <class F> void forEachColumnRun(const CellRect& rect, F&& f) const;
    const Readers& indexedReaders() const {
        if (!readers_.indexed) indexReaders();
        return readers_;
    }
    // Links every formula's reads, in id order: what linking each as it was
    // given would have built.
    void indexReaders() const;
    void compactDependencies();
    void setCircular(FormulaId id, bool circular);
    void beginVisit();

    std::vector<Record> records_;
    std::vector<FormulaId> freeIds_;
    size_t liveCount_ = 0;
    size_t circularCount_ = 0;
    CellPageMap positions_; // cell → formula id
    std::vector<Column> columns_;

    std::vector<CellRect> depPool_; // each record's rectangles, contiguous
    size_t depGarbage_ = 0;
    std::vector<CellRect> scratchReads_;

    mutable Readers readers_;
    FormulaId unindexedNext_ = 0; // reads given before indexing are of lower ids

    // Per-formula scratch of recalcOrder: membership stamp and member index.
    std::vector<uint32_t> stamp_;
    std::vector<uint32_t> local_;
    uint32_t epoch_ = 0;
};

template <class F> void DependencyGraph::forEachColumnRun(const CellRect& rect, F&& f) const {
    if (rect.isBackwards() || columns_.empty()) return;
    int64_t last = std::min<int64_t>(rect.col2, static_cast<int64_t>(columns_.size()) - 1);
    for (int64_t c = std::max(rect.col1, 0); c <= last; ++c) {
        const Column& column = columns_[static_cast<size_t>(c)];
        if (column.rows.empty()) continue;
        auto begin = std::lower_bound(column.rows.begin(), column.rows.end(), rect.row1);
        auto end = std::upper_bound(begin, column.rows.end(), rect.row2);
        if (begin != end)
            f(column, static_cast<size_t>(begin - column.rows.begin()),
              static_cast<size_t>(end - column.rows.begin()));
    }
}

} // namespace sumora
