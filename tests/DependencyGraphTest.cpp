#include "engine/DependencyGraph.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <unordered_map>
#include <vector>

namespace sumora {
namespace {

using Id = DependencyGraph::FormulaId;

CellRect range(int32_t c1, int32_t r1, int32_t c2, int32_t r2) {
    return {c1, r1, c2, r2};
}

Id addFormula(DependencyGraph& g, int32_t col, int32_t row, std::vector<CellRect> reads) {
    Id id = g.addFormula(col, row);
    g.setDependencies(id, reads);
    return id;
}

std::set<Id> dependentsOf(const DependencyGraph& g, int32_t col, int32_t row) {
    std::set<Id> out;
    g.forEachDependent(col, row, [&](Id d) { out.insert(d); });
    return out;
}

// Position of each id in the order; fails the test when one is missing.
std::unordered_map<Id, size_t> rankOf(const std::vector<Id>& order) {
    std::unordered_map<Id, size_t> rank;
    for (size_t i = 0; i < order.size(); ++i)
        rank[order[i]] = i;
    return rank;
}

TEST(DependencyGraph, RangeIsOneEntryWhateverItsSize) {
    DependencyGraph g;
    addFormula(g, 1, 0, {range(0, 0, 0, 999999)}); // =SUM(A1:A1000000)
    EXPECT_EQ(g.rangeRegistrationCount(), 1u);
    EXPECT_LE(g.rangeBlockEntryCount(), size_t{RangeIndex::kMaxBlocks});
    EXPECT_EQ(g.pointEntryCount(), 0u);
    EXPECT_EQ(dependentsOf(g, 0, 500000), std::set<Id>{0});
    EXPECT_TRUE(dependentsOf(g, 0, 1000000).empty());
    EXPECT_TRUE(dependentsOf(g, 1, 5).empty());
}

TEST(DependencyGraph, WindowSumsStoreAboutTwoEntriesEach) {
    DependencyGraph g;
    constexpr int32_t kRows = 20000;
    for (int32_t r = 1; r <= kRows; ++r)
        addFormula(g, 3, r, {range(1, std::max(0, r - 99), 1, r)});
    EXPECT_EQ(g.rangeRegistrationCount(), size_t{kRows});
    EXPECT_LE(g.rangeBlockEntryCount(), size_t{2 * kRows});
    // B150 is read by the windows ending on rows 150 … 249 (formulas 148 … 247).
    std::set<Id> expected;
    for (Id r = 148; r <= 247; ++r)
        expected.insert(r);
    EXPECT_EQ(dependentsOf(g, 1, 149), expected);
}

TEST(DependencyGraph, ReportsPointAndRangeReadersAndForgetsReplacedOnes) {
    DependencyGraph g;
    Id a = addFormula(g, 5, 0, {CellRect::cell(0, 0)});
    Id b = addFormula(g, 5, 1, {range(0, 0, 2, 2)});
    Id c = addFormula(g, 5, 2, {range(0, 0, 0, 0), CellRect::cell(0, 0)}); // duplicates count once
    EXPECT_EQ(dependentsOf(g, 0, 0), (std::set<Id>{a, b, c}));
    EXPECT_EQ(g.precedents(c).size(), 1u);
    size_t reports = 0;
    g.forEachDependent(0, 0, [&](Id) { ++reports; });
    EXPECT_EQ(reports, 3u);

    g.setDependencies(b, std::vector<CellRect>{CellRect::cell(1, 1)});
    EXPECT_EQ(dependentsOf(g, 0, 0), (std::set<Id>{a, c}));
    EXPECT_EQ(dependentsOf(g, 1, 1), std::set<Id>{b});
    g.removeFormula(a);
    EXPECT_EQ(dependentsOf(g, 0, 0), std::set<Id>{c});
    EXPECT_EQ(g.formulaAt(5, 0), DependencyGraph::kNoFormula);
    EXPECT_EQ(g.formulaCount(), 2u);
    // A backwards range reads nothing.
    g.setDependencies(c, std::vector<CellRect>{range(2, 2, 0, 0)});
    EXPECT_TRUE(dependentsOf(g, 1, 1) == std::set<Id>{b});
    EXPECT_TRUE(g.precedents(c).empty());
}

TEST(DependencyGraph, CountsFormulaCellsInsideARange) {
    DependencyGraph g;
    for (int32_t r = 0; r < 100; r += 2)
        g.addFormula(2, r);
    g.addFormula(3, 7);
    EXPECT_EQ(g.countFormulasIn(range(2, 0, 2, 99)), 50u);
    EXPECT_EQ(g.countFormulasIn(range(2, 1, 3, 9)), 5u); // C3 C5 C7 C9 and D8
    EXPECT_EQ(g.countFormulasIn(range(0, 0, 1, 99)), 0u);
    EXPECT_EQ(g.countFormulasIn(range(2, 9, 2, 1)), 0u);
}

TEST(DependencyGraph, OrdersEveryFormulaAfterWhatItReads) {
    DependencyGraph g;
    // E1 = SUM(A1:A3); A1 = B1; A2 = A1; A3 = 1; B1 = A3
    Id e = addFormula(g, 4, 0, {range(0, 0, 0, 2)});
    Id a1 = addFormula(g, 0, 0, {CellRect::cell(1, 0)});
    Id a2 = addFormula(g, 0, 1, {CellRect::cell(0, 0)});
    Id a3 = addFormula(g, 0, 2, {});
    Id b1 = addFormula(g, 1, 0, {CellRect::cell(0, 2)});
    auto order = g.topologicalOrder();
    EXPECT_TRUE(order.circular.empty());
    ASSERT_EQ(order.ordered.size(), 5u);
    auto rank = rankOf(order.ordered);
    EXPECT_LT(rank[a3], rank[b1]);
    EXPECT_LT(rank[b1], rank[a1]);
    EXPECT_LT(rank[a1], rank[a2]);
    EXPECT_LT(rank[a2], rank[e]);
}

TEST(DependencyGraph, CircularHoldsCyclesAndEverythingReadingThem) {
    DependencyGraph g;
    Id a = addFormula(g, 0, 0, {CellRect::cell(1, 0)}); // A1 = B1
    Id b = addFormula(g, 1, 0, {CellRect::cell(0, 0)}); // B1 = A1
    Id c = addFormula(g, 2, 0, {CellRect::cell(0, 0)}); // C1 = A1 + 1
    Id d = addFormula(g, 3, 0, {range(2, 0, 2, 5)});    // D1 = SUM(C1:C6)
    Id self = addFormula(g, 0, 5, {CellRect::cell(0, 5)});
    Id clean = addFormula(g, 4, 4, {CellRect::cell(9, 9)});
    Id inRange = addFormula(g, 0, 9, {range(0, 8, 0, 10)}); // reads its own cell through a range
    auto order = g.topologicalOrder();
    EXPECT_EQ(order.ordered, std::vector<Id>{clean});
    EXPECT_EQ(std::set<Id>(order.circular.begin(), order.circular.end()),
              (std::set<Id>{a, b, c, d, self, inRange}));
    for (Id id : {a, b, c, d, self, inRange})
        EXPECT_TRUE(g.hasCircularReference(id));
    EXPECT_FALSE(g.hasCircularReference(clean));
}

TEST(DependencyGraph, RecalcOrderCoversReadersOnlyAndUpdatesCircularVerdicts) {
    DependencyGraph g;
    Id b = addFormula(g, 1, 0, {CellRect::cell(0, 0)});                       // B1 = A1
    Id c = addFormula(g, 2, 0, {CellRect::cell(1, 0)});                       // C1 = B1
    Id d = addFormula(g, 3, 0, {CellRect::cell(1, 0), CellRect::cell(2, 0)}); // D1 = B1 + C1
    Id other = addFormula(g, 5, 5, {CellRect::cell(4, 4)});
    g.topologicalOrder();

    GridPosition a1{0, 0};
    auto order = g.recalcOrder({&a1, 1}, true);
    EXPECT_EQ(order.ordered, (std::vector<Id>{b, c, d}));
    EXPECT_TRUE(order.circular.empty());

    // B1 = D1 closes a cycle B1 → D1 → B1; C1 and D1 are on it too.
    g.setDependencies(b, std::vector<CellRect>{CellRect::cell(3, 0)});
    GridPosition b1{1, 0};
    order = g.recalcOrder({&b1, 1}, true);
    EXPECT_TRUE(order.ordered.empty());
    EXPECT_EQ(std::set<Id>(order.circular.begin(), order.circular.end()), (std::set<Id>{b, c, d}));
    EXPECT_FALSE(g.hasCircularReference(other));

    // A new formula reading the cycle from outside is circular as soon as it is ordered.
    Id e = addFormula(g, 7, 0, {CellRect::cell(2, 0)});
    GridPosition h1{7, 0};
    order = g.recalcOrder({&h1, 1}, true);
    EXPECT_EQ(order.circular, std::vector<Id>{e});

    // Breaking the cycle clears every verdict it caused.
    g.setDependencies(b, std::vector<CellRect>{});
    order = g.recalcOrder({&b1, 1}, true);
    EXPECT_EQ(order.ordered.front(), b);
    EXPECT_TRUE(order.circular.empty());
    for (Id id : {b, c, d, e})
        EXPECT_FALSE(g.hasCircularReference(id));
}

TEST(DependencyGraph, LongChainsOrderWithoutRecursion) {
    DependencyGraph g;
    constexpr int32_t kRows = 200000;
    for (int32_t r = 0; r < kRows; ++r)
        addFormula(g, 2, r,
                   r == 0 ? std::vector<CellRect>{} : std::vector<CellRect>{CellRect::cell(2, r - 1)});
    auto order = g.topologicalOrder();
    ASSERT_EQ(order.ordered.size(), size_t{kRows});
    EXPECT_EQ(order.ordered.back(), g.formulaAt(2, kRows - 1));
    GridPosition top{2, 0};
    EXPECT_EQ(g.recalcOrder({&top, 1}, true).ordered.size(), size_t{kRows});
    // Closing the chain into a ring makes all of it circular.
    g.setDependencies(g.formulaAt(2, 0), std::vector<CellRect>{CellRect::cell(2, kRows - 1)});
    auto ring = g.recalcOrder({&top, 1}, true);
    EXPECT_EQ(ring.circular.size(), size_t{kRows});
}

TEST(CellKeyMap, AgreesWithAStandardMapUnderRandomEdits) {
    CellKeyMap map;
    std::unordered_map<uint64_t, uint32_t> reference;
    std::mt19937 rng(7);
    for (int step = 0; step < 20000; ++step) {
        uint64_t key = cellKey(static_cast<int32_t>(rng() % 40), static_cast<int32_t>(rng() % 40));
        if (rng() % 3 == 0) {
            map.erase(key);
            reference.erase(key);
        } else {
            map.insertOrAssign(key, static_cast<uint32_t>(step));
            reference[key] = static_cast<uint32_t>(step);
        }
    }
    EXPECT_EQ(map.size(), reference.size());
    for (int32_t c = 0; c < 40; ++c)
        for (int32_t r = 0; r < 40; ++r) {
            auto it = reference.find(cellKey(c, r));
            EXPECT_EQ(map.find(cellKey(c, r)), it == reference.end() ? CellKeyMap::kMissing : it->second);
        }
}

TEST(RangeIndex, FindsRectanglesOfEverySizeAndRemovesThem) {
    RangeIndex index;
    const std::vector<CellRect> rects = {
        {0, 0, 0, 99},
        {3, 3, 4, 4},
        {0, 0, 16383, 1048575},
        {10, 5000, 40, 90000},
        {2147483646, 0, 2147483647, 1}, // reaches the last representable column
    };
    for (uint32_t i = 0; i < rects.size(); ++i)
        index.add(rects[i], i);
    std::mt19937 rng(3);
    for (int probe = 0; probe < 2000; ++probe) {
        int32_t col = static_cast<int32_t>(rng() % 64), row = static_cast<int32_t>(rng() % 100000);
        std::set<uint32_t> found, expected;
        index.forEachContaining(col, row, [&](uint32_t owner) { found.insert(owner); });
        for (uint32_t i = 0; i < rects.size(); ++i)
            if (rects[i].contains(col, row)) expected.insert(i);
        ASSERT_EQ(found, expected) << col << "," << row;
    }
    for (uint32_t i = 0; i < rects.size(); ++i)
        index.remove(rects[i], i);
    EXPECT_EQ(index.registrationCount(), 0u);
    EXPECT_EQ(index.blockEntryCount(), 0u);
}

// Kahn's algorithm as the graph reports its edges: each dependent once per
// reference of it covering the finished cell, queued when its count of
// formula cells still to compute reaches zero.
DependencyGraph::Order orderByReportedEdges(const DependencyGraph& g, size_t idCount) {
    DependencyGraph::Order out;
    std::vector<size_t> waiting(idCount, 0);
    for (Id id = 0; id < idCount; ++id) {
        if (!g.isFormula(id)) continue;
        for (const CellRect& r : g.precedents(id))
            waiting[id] += r.isCell() ? (g.formulaAt(r.col1, r.row1) != DependencyGraph::kNoFormula)
                                      : g.countFormulasIn(r);
        if (waiting[id] == 0) out.ordered.push_back(id);
    }
    for (size_t i = 0; i < out.ordered.size(); ++i) {
        GridPosition p = g.position(out.ordered[i]);
        g.forEachDependent(p.col, p.row, [&](Id d) {
            if (--waiting[d] == 0) out.ordered.push_back(d);
        });
    }
    for (Id id = 0; id < idCount; ++id)
        if (g.isFormula(id) && waiting[id] != 0) out.circular.push_back(id);
    return out;
}

// The full order counts ranges as settled units instead of edge by edge; on
// a freshly built graph it must give the very order and verdicts of the edges.
TEST(DependencyGraph, FullOrderIsKahnsOrderOverTheReportedEdges) {
    std::mt19937 rng(11);
    auto pick = [&](int32_t n) { return static_cast<int32_t>(rng() % static_cast<uint32_t>(n)); };
    for (int sheet = 0; sheet < 300; ++sheet) {
        const int32_t cols = 1 + pick(6), rows = 1 + pick(sheet < 150 ? 8 : 300);
        DependencyGraph g;
        std::set<std::pair<int32_t, int32_t>> used;
        for (int n = pick(cols * rows); n > 0; --n) {
            const int32_t col = pick(cols), row = pick(rows);
            if (!used.insert({col, row}).second) continue;
            std::vector<CellRect> reads;
            for (int k = pick(4); k > 0; --k) {
                const int32_t c = pick(cols), r = pick(rows), kind = pick(10);
                if (kind < 4) {
                    reads.push_back(CellRect::cell(c, r));
                } else if (kind < 8) { // a window down one column, at times backwards
                    reads.push_back(range(c, r, c, r + pick(12) - 2));
                } else if (kind == 8) {
                    reads.push_back(range(c, r, c + pick(3), r + pick(40)));
                } else {
                    reads.push_back(range(0, 0, 16383, 1048575)); // huge: on the list every query scans
                }
            }
            addFormula(g, col, row, reads);
        }
        const auto expected = orderByReportedEdges(g, used.size());
        const auto order = g.topologicalOrder();
        ASSERT_EQ(order.ordered, expected.ordered) << "sheet " << sheet;
        ASSERT_EQ(order.circular, expected.circular) << "sheet " << sheet;
    }
}

} // namespace
} // namespace sumora
