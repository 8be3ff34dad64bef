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
// parts it settles are exactly those with p < top <= r <= bottom < n. Each
// slot knows where its row falls among the column's parts sorted by top and by
// bottom, so a step scans only the parts whose top lies in (p, r] or whose
// bottom lies in [r, n), whichever are fewer, however many ranges cover r.
//
// Formulas that become ready at the same step are queued in the order in
// which reporting each reader through forEachDependent would have made them
// ready: single-cell readers first, latest linked first as the cell's reader
// list holds them, then range readers by RangeIndex level and formula id (on
// a freshly built graph, the order of registration).
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
    const uint32_t slotCount = slotBase.back();
    std::vector<uint32_t> slotOf(records_.size(), 0);
    for (size_t c = 0; c < columnCount; ++c)
        for (size_t i = 0; i < columns_[c].ids.size(); ++i)
            slotOf[columns_[c].ids[i]] = slotBase[c] + 1 + static_cast<uint32_t>(i);

    // What each formula waits for: one per formula cell it reads alone, one
    // per range it reads that holds formulas. Formula cells read alone are
    // filed by the formula read, readers in id order.
    std::vector<uint32_t> waiting(records_.size(), 0);
    std::vector<std::pair<FormulaId, FormulaId>> pointReads; // (formula read, reader)
    std::vector<RangeRead> ranges;
    std::vector<std::pair<uint32_t, ColumnPart>> parts; // (column, part), perhaps empty
    for (FormulaId id = 0; id < records_.size(); ++id) {
        if (!records_[id].alive) continue;
        for (const CellRect& r : precedents(id)) {
            if (r.isCell()) {
                if (FormulaId p = formulaAt(r.col1, r.row1); p != kNoFormula) {
                    pointReads.push_back({p, id});
                    ++waiting[id];
                }
                continue;
            }
            if (r.col2 < 0) continue;
            const auto range = static_cast<uint32_t>(ranges.size());
            uint32_t columns = 0;
            const auto last = std::min<int64_t>(r.col2, static_cast<int64_t>(columnCount) - 1);
            for (int64_t c = std::max(r.col1, 0); c <= last; ++c) {
                if (columns_[static_cast<size_t>(c)].rows.empty()) continue;
                parts.push_back({static_cast<uint32_t>(c), {r.row1, r.row2, range}});
                ++columns;
            }
            if (columns) ranges.push_back({id, columns, static_cast<uint32_t>(readers_.ranges.levelOf(r))});
        }
    }
    std::vector<uint32_t> readerBase(records_.size() + 1, 0);
    for (const auto& [read, reader] : pointReads)
        ++readerBase[read + 1];
    for (size_t i = 0; i < records_.size(); ++i)
        readerBase[i + 1] += readerBase[i];
    std::vector<FormulaId> pointReaders(pointReads.size());
    {
        std::vector<uint32_t> fill(readerBase.begin(), readerBase.end() - 1);
        for (const auto& [read, reader] : pointReads)
            pointReaders[fill[read]++] = reader;
    }
    std::vector<std::pair<FormulaId, FormulaId>>().swap(pointReads);

    // The parts of each column sorted by top, without the ones that hold no
    // formula (their range does not wait for that column).
    std::vector<uint32_t> partBase(columnCount + 1, 0);
    for (const auto& [column, part] : parts)
        ++partBase[column + 1];
    for (size_t c = 0; c < columnCount; ++c)
        partBase[c + 1] += partBase[c];
    std::vector<ColumnPart> byTop(parts.size());
    {
        std::vector<uint32_t> fill(partBase.begin(), partBase.end() - 1);
        for (const auto& [column, part] : parts)
            byTop[fill[column]++] = part;
    }
    std::vector<std::pair<uint32_t, ColumnPart>>().swap(parts);
    auto topBefore = [](const ColumnPart& a, const ColumnPart& b) { return a.top < b.top; };
    auto bottomBefore = [](const ColumnPart& a, const ColumnPart& b) { return a.bottom < b.bottom; };
    uint32_t kept = 0;
    for (size_t c = 0; c < columnCount; ++c) {
        auto first = byTop.begin() + partBase[c], last = byTop.begin() + partBase[c + 1];
        // Filled down a column, parts usually come sorted already.
        if (!std::is_sorted(first, last, topBefore)) std::sort(first, last, topBefore);
        partBase[c] = kept;
        const std::vector<int32_t>& rows = columns_[c].rows;
        size_t next = 0; // first formula at or below the part's top
        for (auto part = first; part != last; ++part) {
            while (next < rows.size() && rows[next] < part->top)
                ++next;
            if (next < rows.size() && rows[next] <= part->bottom)
                byTop[kept++] = *part;
            else
                --ranges[part->range].openParts;
        }
    }
    partBase[columnCount] = kept;
    byTop.resize(kept);
    std::vector<ColumnPart> byBottom = byTop;
    for (size_t c = 0; c < columnCount; ++c) {
        auto first = byBottom.begin() + partBase[c], last = byBottom.begin() + partBase[c + 1];
        if (!std::is_sorted(first, last, bottomBefore)) std::sort(first, last, bottomBefore);
    }
    for (const RangeRead& range : ranges)
        if (range.openParts) ++waiting[range.owner];
    for (FormulaId id = 0; id < records_.size(); ++id)
        if (records_[id].alive && waiting[id] == 0) out.ordered.push_back(id);

    // For each slot: the first part whose bottom is at or below its row, and
    // the first whose top is below its row (the left sentinel: the column's
    // first part; the right one: past its last).
    std::vector<uint32_t> bottomFrom(slotCount, 0), topPast(slotCount, 0);
    for (size_t c = 0; c < columnCount; ++c) {
        const std::vector<int32_t>& rows = columns_[c].rows;
        uint32_t b = partBase[c], t = partBase[c];
        const uint32_t end = partBase[c + 1];
        topPast[slotBase[c]] = bottomFrom[slotBase[c]] = partBase[c];
        for (size_t i = 0; i < rows.size(); ++i) {
            while (b < end && byBottom[b].bottom < rows[i])
                ++b;
            while (t < end && byTop[t].top <= rows[i])
                ++t;
            bottomFrom[slotBase[c] + 1 + i] = b;
            topPast[slotBase[c] + 1 + i] = t;
        }
        topPast[slotBase[c + 1] - 1] = bottomFrom[slotBase[c + 1] - 1] = end;
    }

    std::vector<uint32_t> openBelow(slotCount), openAbove(slotCount);
    for (uint32_t s = 0; s < slotCount; ++s)
        openBelow[s] = openAbove[s] = s;

    std::vector<uint64_t> settled; // (level, reader) of the ranges one step settles
    // `ordered` doubles as the first-in, first-out queue.
    for (size_t i = 0; i < out.ordered.size(); ++i) {
        const FormulaId done = out.ordered[i];
        // Latest linked first, as a cell's reader list holds them.
        for (uint32_t k = readerBase[done + 1]; k > readerBase[done]; --k)
            if (--waiting[pointReaders[k - 1]] == 0) out.ordered.push_back(pointReaders[k - 1]);

        const auto c = static_cast<size_t>(records_[done].col);
        if (partBase[c] == partBase[c + 1]) continue;
        const uint32_t slot = slotOf[done];
        openBelow[slot] = slot + 1;
        openAbove[slot] = slot - 1;
        const uint32_t above = nearestOpen(openAbove, slot - 1), below = nearestOpen(openBelow, slot + 1);
        const std::vector<int32_t>& rows = columns_[c].rows;
        const int64_t row = records_[done].row;
        const int64_t topAfter =
            above == slotBase[c] ? std::numeric_limits<int64_t>::min() : rows[above - slotBase[c] - 1];
        const int64_t bottomBefore = below == slotBase[c + 1] - 1 ? std::numeric_limits<int64_t>::max()
                                                                  : rows[below - slotBase[c] - 1];

        // The parts with topAfter < top <= row <= bottom < bottomBefore: every
        // one of them is among those of either bound, so scan the shorter list.
        const ColumnPart* from = byBottom.data() + bottomFrom[slot];
        const ColumnPart* to = byBottom.data() + bottomFrom[below];
        if (topPast[slot] - topPast[above] < to - from) {
            from = byTop.data() + topPast[above];
            to = byTop.data() + topPast[slot];
        }
        for (const ColumnPart* p = from; p != to; ++p) {
            if (p->top <= topAfter || p->top > row || p->bottom < row || p->bottom >= bottomBefore) continue;
            RangeRead& range = ranges[p->range];
            if (--range.openParts == 0) settled.push_back(uint64_t{range.level} << 32 | range.owner);
        }
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
