// The full ordering of a sheet's formulas (DependencyGraph::topologicalOrder).
//
// Kahn's algorithm counts, for each formula, what it still waits for. A read
// of one cell waits for that cell's formula. A read of a range waits for every
// formula inside it, and counting those one by one would visit every (range,
// formula inside) pair: ten million for a column of 100-row window sums. Here
// a range is instead one unit of its reader's count per column it has
// formulas in, and that unit is settled when the last of those formulas is
// computed.
//
// The computed formulas of each column form runs, kept by union-find over the
// column's sorted rows. When the formula at row r is computed and the nearest
// formulas still open above and below it are at rows p and n, the column
// parts it settles are exactly those with p < top <= r <= bottom < n. They are
// found by binary search among the column's parts sorted by bottom (and by
// top, when that side is shorter), so each step costs a few searches however
// many ranges cover the formula.
//
// Formulas that become ready at the same step are queued in the order in
// which reporting each reader through forEachDependent would have made them
// ready: single-cell readers first, in the order of the cell's reader list,
// then range readers by RangeIndex level and formula id (the order of
// registration in a freshly built graph).
#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

#include "engine/DependencyGraph.h"

namespace sumora {

namespace {

// Part of a range read that lies in one column holding formulas in it.
struct ColumnPart {
    int32_t top, bottom;
    uint32_t range; // index into the RangeRead list
};

struct RangeRead {
    DependencyGraph::FormulaId owner;
    uint32_t openParts; // column parts that still hold a formula not computed
    uint32_t level;     // RangeIndex level: orders readers made ready together
};

// A part list shorter than this is scanned without looking at the other side.
constexpr ptrdiff_t kShortScan = 8;

// The open slot nearest to `slot` in the direction `links` leads (union-find
// with path compression; an open slot links to itself).
uint32_t nearestOpen(std::vector<uint32_t>& links, uint32_t slot) {
    uint32_t root = slot;
    while (links[root] != root)
        root = links[root];
    while (links[slot] != root) {
        uint32_t up = links[slot];
        links[slot] = root;
        slot = up;
    }
    return root;
}

} // namespace

DependencyGraph::Order DependencyGraph::topologicalOrder() {
    Order out;
    out.ordered.reserve(liveCount_);
    const size_t columnCount = columns_.size();

    // Each column's formulas take consecutive slots between two sentinel
    // slots that stay open, so that searches never leave the column.
    std::vector<uint32_t> slotBase(columnCount + 1, 0);
    for (size_t c = 0; c < columnCount; ++c)
        slotBase[c + 1] = slotBase[c] + static_cast<uint32_t>(columns_[c].ids.size()) + 2;
    std::vector<uint32_t> slotOf(records_.size(), 0);
    for (size_t c = 0; c < columnCount; ++c)
        for (size_t i = 0; i < columns_[c].ids.size(); ++i)
            slotOf[columns_[c].ids[i]] = slotBase[c] + 1 + static_cast<uint32_t>(i);

    // What each formula waits for: one per formula cell it reads alone, one
    // per range it reads that holds formulas.
    std::vector<RangeRead> ranges;
    std::vector<std::pair<uint32_t, ColumnPart>> parts; // (column, part)
    std::vector<uint32_t> waiting(records_.size(), 0);
    for (FormulaId id = 0; id < records_.size(); ++id) {
        if (!records_[id].alive) continue;
        uint32_t n = 0;
        for (const CellRect& r : precedents(id)) {
            if (r.isCell()) {
                n += formulaAt(r.col1, r.row1) != kNoFormula ? 1 : 0;
                continue;
            }
            const auto range = static_cast<uint32_t>(ranges.size());
            uint32_t columns = 0;
            forEachColumnRun(r, [&](const Column& column, size_t, size_t) {
                parts.push_back({static_cast<uint32_t>(&column - columns_.data()), {r.row1, r.row2, range}});
                ++columns;
            });
            if (columns == 0) continue;
            ranges.push_back({id, columns, static_cast<uint32_t>(ranges_.levelOf(r))});
            ++n;
        }
        waiting[id] = n;
        if (n == 0) out.ordered.push_back(id);
    }

    // The parts of each column, sorted by bottom and by top.
    std::vector<uint32_t> partBase(columnCount + 1, 0);
    for (const auto& [column, part] : parts)
        ++partBase[column + 1];
    for (size_t c = 0; c < columnCount; ++c)
        partBase[c + 1] += partBase[c];
    std::vector<ColumnPart> byBottom(parts.size());
    {
        std::vector<uint32_t> fill(partBase.begin(), partBase.end() - 1);
        for (const auto& [column, part] : parts)
            byBottom[fill[column]++] = part;
    }
    std::vector<std::pair<uint32_t, ColumnPart>>().swap(parts);
    std::vector<ColumnPart> byTop = byBottom;
    auto bottomBefore = [](const ColumnPart& a, const ColumnPart& b) { return a.bottom < b.bottom; };
    auto topBefore = [](const ColumnPart& a, const ColumnPart& b) { return a.top < b.top; };
    for (size_t c = 0; c < columnCount; ++c) {
        // Filled down a column, parts usually come sorted already.
        auto first = byBottom.begin() + partBase[c], last = byBottom.begin() + partBase[c + 1];
        if (!std::is_sorted(first, last, bottomBefore)) std::sort(first, last, bottomBefore);
        first = byTop.begin() + partBase[c], last = byTop.begin() + partBase[c + 1];
        if (!std::is_sorted(first, last, topBefore)) std::sort(first, last, topBefore);
    }

    std::vector<uint32_t> openBelow(slotBase.back()), openAbove(slotBase.back());
    for (uint32_t s = 0; s < openBelow.size(); ++s)
        openBelow[s] = openAbove[s] = s;

    std::vector<uint64_t> settled; // (level, owner) of the ranges one step settles
    auto settle = [&](const ColumnPart& part) {
        RangeRead& range = ranges[part.range];
        if (--range.openParts == 0) settled.push_back(uint64_t{range.level} << 32 | range.owner);
    };
    // `ordered` doubles as the first-in, first-out queue.
    for (size_t i = 0; i < out.ordered.size(); ++i) {
        const FormulaId done = out.ordered[i];
        const Record& record = records_[done];
        for (uint32_t e = pointHeads_.find(record.col, record.row); e != kNoEdge; e = edges_[e].next)
            if (--waiting[edges_[e].formula] == 0) out.ordered.push_back(edges_[e].formula);

        const auto c = static_cast<size_t>(record.col);
        if (partBase[c] == partBase[c + 1]) continue;
        const uint32_t slot = slotOf[done];
        openBelow[slot] = slot + 1;
        openAbove[slot] = slot - 1;
        const std::vector<int32_t>& rows = columns_[c].rows;
        const uint32_t above = nearestOpen(openAbove, slot - 1), below = nearestOpen(openBelow, slot + 1);
        const int64_t row = record.row;
        const int64_t topAfter =
            above == slotBase[c] ? std::numeric_limits<int64_t>::min() : rows[above - slotBase[c] - 1];
        const int64_t bottomBefore = below == slotBase[c + 1] - 1 ? std::numeric_limits<int64_t>::max()
                                                                  : rows[below - slotBase[c] - 1];
        auto inStep = [&](const ColumnPart& p) {
            return p.top > topAfter && p.top <= row && p.bottom >= row && p.bottom < bottomBefore;
        };

        const ColumnPart* first = byBottom.data() + partBase[c];
        const ColumnPart* last = byBottom.data() + partBase[c + 1];
        const ColumnPart* from =
            std::partition_point(first, last, [&](const ColumnPart& p) { return p.bottom < row; });
        const ColumnPart* to =
            std::partition_point(from, last, [&](const ColumnPart& p) { return p.bottom < bottomBefore; });
        if (to - from > kShortScan) {
            const ColumnPart* topFirst = byTop.data() + partBase[c];
            const ColumnPart* topLast = byTop.data() + partBase[c + 1];
            const ColumnPart* topFrom = std::partition_point(
                topFirst, topLast, [&](const ColumnPart& p) { return p.top <= topAfter; });
            const ColumnPart* topTo =
                std::partition_point(topFrom, topLast, [&](const ColumnPart& p) { return p.top <= row; });
            if (topTo - topFrom < to - from) {
                from = topFrom;
                to = topTo;
            }
        }
        for (const ColumnPart* p = from; p != to; ++p)
            if (inStep(*p)) settle(*p);

        if (settled.size() > 1) std::sort(settled.begin(), settled.end());
        for (uint64_t key : settled) {
            const auto reader = static_cast<FormulaId>(key & UINT32_MAX);
            if (--waiting[reader] == 0) out.ordered.push_back(reader);
        }
        settled.clear();
    }

    for (FormulaId id = 0; id < records_.size(); ++id) {
        if (!records_[id].alive) continue;
        bool circular = waiting[id] != 0;
        setCircular(id, circular);
        if (circular) out.circular.push_back(id);
    }
    return out;
}

} // namespace sumora
