#include "engine/DependencyGraph.h"

#include <algorithm>

#include "engine/FunctionDeclaration.h"
#include "engine/WorkbookResolver.h"

namespace sumora {

void DependencyGraph::clear() {
    *this = DependencyGraph();
}

void DependencyGraph::collectRefs(const FormulaTree& tree, const std::vector<NamedRange>& names,
                                  std::vector<CellRect>& out) {
    std::vector<std::string_view> letNames;
    collectLetVariables(tree, letNames);
    for (const FormulaNode& n : tree.nodes) {
        switch (n.kind) {
        case NodeKind::cellRef:
            // A reference naming a sheet, even this one, never matches a cell of this sheet.
            if (n.sheet < 0) out.push_back(CellRect::cell(n.ref.col, n.ref.row));
            break;
        case NodeKind::range:
            // A range counts as cells of this sheet, whatever sheet it names.
            out.push_back({n.ref.col, n.ref.row, n.ref.col2, n.ref.row2});
            break;
        case NodeKind::name: {
            std::string_view name = tree.string(n.stringIndex);
            if (std::find(letNames.begin(), letNames.end(), name) != letNames.end()) break;
            if (auto range = findNamedRange(names, name))
                out.push_back({clampCoordinate(range->start.col), clampCoordinate(range->start.row),
                               clampCoordinate(range->end.col), clampCoordinate(range->end.row)});
            break;
        }
        default:
            break;
        }
    }
}

void DependencyGraph::collectLetVariables(const FormulaTree& tree, std::vector<std::string_view>& out) {
    std::vector<uint32_t> args;
    // Bare names declared by a LET or LAMBDA of this formula are its variables.
    for (const FormulaNode& n : tree.nodes) {
        if (n.kind != NodeKind::functionCall || !n.call.function) continue;
        const bool parameters = n.call.function->is(FunctionFlags::bindsParameters);
        if (!parameters && !n.call.function->is(FunctionFlags::bindsNames)) continue;
        args.clear();
        tree.arguments(n, args);
        const size_t step = parameters ? 1 : 2;
        for (size_t k = 0; k + 1 < args.size(); k += step)
            if (tree.node(args[k]).kind == NodeKind::name)
                out.push_back(tree.string(tree.node(args[k]).stringIndex));
    }
}

void DependencyGraph::reserve(size_t formulas) {
    records_.reserve(formulas);
    depPool_.reserve(formulas);
}

DependencyGraph::FormulaId DependencyGraph::addFormula(int32_t col, int32_t row) {
    FormulaId id;
    if (!freeIds_.empty()) {
        id = freeIds_.back();
        freeIds_.pop_back();
    } else {
        id = static_cast<FormulaId>(records_.size());
        records_.emplace_back();
    }
    Record& r = records_[id];
    r = Record{col, row, 0, 0, true, false};
    ++liveCount_;
    positions_.set(col, row, id);

    if (static_cast<size_t>(col) >= columns_.size()) columns_.resize(static_cast<size_t>(col) + 1);
    Column& column = columns_[static_cast<size_t>(col)];
    // A full build visits rows in order, so this is normally an append.
    auto at = column.rows.end();
    if (!column.rows.empty() && column.rows.back() > row)
        at = std::lower_bound(column.rows.begin(), column.rows.end(), row);
    auto offset = at - column.rows.begin();
    column.rows.insert(at, row);
    column.ids.insert(column.ids.begin() + offset, id);
    return id;
}

void DependencyGraph::removeFormula(FormulaId id) {
    if (!isFormula(id)) return;
    setDependencies(id, {});
    Record& r = records_[id];
    setCircular(id, false);
    positions_.set(r.col, r.row, CellPageMap::kMissing);
    Column& column = columns_[static_cast<size_t>(r.col)];
    auto at = std::lower_bound(column.rows.begin(), column.rows.end(), r.row);
    auto offset = at - column.rows.begin();
    column.rows.erase(at);
    column.ids.erase(column.ids.begin() + offset);
    r.alive = false;
    --liveCount_;
    freeIds_.push_back(id);
}

void DependencyGraph::Readers::link(const CellRect& read, FormulaId id) {
    if (!read.isCell()) {
        ranges.add(read, id);
        return;
    }
    uint32_t edge;
    if (freeEdge != kNoEdge) {
        edge = freeEdge;
        freeEdge = edges[edge].next;
    } else {
        edge = static_cast<uint32_t>(edges.size());
        edges.push_back({});
    }
    edges[edge] = {id, pointHeads.find(read.col1, read.row1)};
    pointHeads.set(read.col1, read.row1, edge);
    ++pointEdgeCount;
}

void DependencyGraph::Readers::unlink(const CellRect& read, FormulaId id) {
    if (!read.isCell()) {
        ranges.remove(read, id);
        return;
    }
    uint32_t head = pointHeads.find(read.col1, read.row1);
    uint32_t previous = kNoEdge;
    for (uint32_t e = head; e != kNoEdge; previous = e, e = edges[e].next) {
        if (edges[e].formula != id) continue;
        uint32_t next = edges[e].next;
        if (previous == kNoEdge) {
            pointHeads.set(read.col1, read.row1, next); // kNoEdge == kMissing removes it
        } else {
            edges[previous].next = next;
        }
        edges[e].next = freeEdge;
        freeEdge = e;
        --pointEdgeCount;
        return;
    }
}

void DependencyGraph::indexReaders() const {
    readers_.indexed = true;
    for (FormulaId id = 0; id < records_.size(); ++id)
        if (records_[id].alive)
            for (const CellRect& r : precedents(id))
                readers_.link(r, id);
}

namespace {

// Ascending without duplicates, none backwards: what the general path of
// setDependencies would store for these reads, as they are.
bool storedAsGiven(std::span<const CellRect> reads) {
    for (size_t k = 0; k < reads.size(); ++k)
        if (reads[k].isBackwards() || (k > 0 && !(reads[k - 1] < reads[k]))) return false;
    return true;
}

} // namespace

void DependencyGraph::setDependencies(FormulaId id, std::span<const CellRect> reads) {
    if (!isFormula(id)) return;
    // A build gives each new formula its reads once, in id order, and filled-down
    // formulas mostly give them in order: appended as they are, without the
    // copy and sort (reads from the pool itself take the general path).
    const bool fromPool = reads.data() >= depPool_.data() && reads.data() < depPool_.data() + depPool_.size();
    if (!readers_.indexed && id >= unindexedNext_ && records_[id].depCount == 0 && !fromPool &&
        storedAsGiven(reads)) {
        unindexedNext_ = id + 1;
        Record& record = records_[id];
        record.depBegin = static_cast<uint32_t>(depPool_.size());
        record.depCount = static_cast<uint32_t>(reads.size());
        depPool_.insert(depPool_.end(), reads.begin(), reads.end());
        return;
    }
    // Copied first: `reads` may point into the pool that this call changes.
    scratchReads_.clear();
    for (const CellRect& r : reads)
        if (!r.isBackwards()) scratchReads_.push_back(r);
    std::sort(scratchReads_.begin(), scratchReads_.end());
    scratchReads_.erase(std::unique(scratchReads_.begin(), scratchReads_.end()), scratchReads_.end());

    // Replacing reads, or giving them out of id order, needs the index as it stands.
    if (!readers_.indexed && (id < unindexedNext_ || records_[id].depCount != 0)) indexReaders();
    if (readers_.indexed) {
        for (const CellRect& r : precedents(id))
            readers_.unlink(r, id);
    } else {
        unindexedNext_ = id + 1;
    }
    Record& record = records_[id];
    depGarbage_ += record.depCount;
    record.depBegin = static_cast<uint32_t>(depPool_.size());
    record.depCount = static_cast<uint32_t>(scratchReads_.size());
    depPool_.insert(depPool_.end(), scratchReads_.begin(), scratchReads_.end());
    if (readers_.indexed)
        for (const CellRect& r : scratchReads_)
            readers_.link(r, id);
    if (depGarbage_ > 4096 && depGarbage_ * 2 > depPool_.size()) compactDependencies();
}

void DependencyGraph::compactDependencies() {
    std::vector<CellRect> pool;
    pool.reserve(depPool_.size() - depGarbage_);
    for (Record& r : records_) {
        if (!r.alive) continue;
        auto begin = depPool_.begin() + r.depBegin;
        r.depBegin = static_cast<uint32_t>(pool.size());
        pool.insert(pool.end(), begin, begin + r.depCount);
    }
    depPool_ = std::move(pool);
    depGarbage_ = 0;
}

size_t DependencyGraph::countFormulasIn(const CellRect& rect) const {
    size_t n = 0;
    forEachColumnRun(rect, [&](const Column&, size_t begin, size_t end) { n += end - begin; });
    return n;
}

void DependencyGraph::setCircular(FormulaId id, bool circular) {
    Record& r = records_[id];
    if (r.circular == circular) return;
    r.circular = circular;
    if (circular)
        ++circularCount_;
    else
        --circularCount_;
}

void DependencyGraph::beginVisit() {
    if (stamp_.size() < records_.size()) {
        stamp_.resize(records_.size(), 0);
        local_.resize(records_.size(), 0);
    }
    if (++epoch_ == 0) {
        std::fill(stamp_.begin(), stamp_.end(), 0);
        epoch_ = 1;
    }
}

DependencyGraph::Order DependencyGraph::recalcOrder(std::span<const GridPosition> changed,
                                                    bool includeChangedFormulas) {
    beginVisit();
    std::vector<FormulaId> members;
    auto visit = [&](FormulaId d) {
        if (stamp_[d] == epoch_) return;
        stamp_[d] = epoch_;
        local_[d] = static_cast<uint32_t>(members.size());
        members.push_back(d);
    };
    for (const GridPosition& p : changed) {
        FormulaId at = includeChangedFormulas ? formulaAt(p.col, p.row) : kNoFormula;
        if (at != kNoFormula)
            visit(at); // its readers are found with the other members'
        else
            forEachDependent(p.col, p.row, visit);
    }

    // Breadth-first closure over readers, keeping the edges found on the way
    // (they are all the edges among the members: a reader of a member is one).
    std::vector<uint32_t> edgeStart;
    std::vector<FormulaId> edgeTarget;
    for (size_t i = 0; i < members.size(); ++i) {
        edgeStart.push_back(static_cast<uint32_t>(edgeTarget.size()));
        const Record& r = records_[members[i]];
        forEachDependent(r.col, r.row, [&](FormulaId d) {
            edgeTarget.push_back(d);
            visit(d);
        });
    }
    edgeStart.push_back(static_cast<uint32_t>(edgeTarget.size()));

    std::vector<uint32_t> inDegree(members.size(), 0);
    for (FormulaId d : edgeTarget)
        ++inDegree[local_[d]];

    // A member that reads a circular formula outside the set is circular too;
    // only worth looking for when such formulas exist.
    std::vector<char> blocked(members.size(), 0);
    size_t circularMembers = 0;
    for (FormulaId m : members)
        circularMembers += records_[m].circular ? 1 : 0;
    if (circularCount_ > circularMembers) {
        for (size_t i = 0; i < members.size(); ++i)
            forEachFormulaPrecedent(members[i], [&](FormulaId p) {
                if (stamp_[p] != epoch_ && records_[p].circular) blocked[i] = 1;
            });
    }

    Order out;
    out.ordered.reserve(members.size());
    for (size_t i = 0; i < members.size(); ++i)
        if (inDegree[i] == 0 && !blocked[i]) out.ordered.push_back(members[i]);
    for (size_t k = 0; k < out.ordered.size(); ++k) {
        uint32_t i = local_[out.ordered[k]];
        for (uint32_t e = edgeStart[i]; e < edgeStart[i + 1]; ++e) {
            uint32_t j = local_[edgeTarget[e]];
            if (--inDegree[j] == 0 && !blocked[j]) out.ordered.push_back(edgeTarget[e]);
        }
    }
    for (size_t i = 0; i < members.size(); ++i) {
        bool circular = inDegree[i] != 0 || blocked[i];
        setCircular(members[i], circular);
        if (circular) out.circular.push_back(members[i]);
    }
    return out;
}

} // namespace sumora
