#include "engine/WorkbookDependencies.h"

#include <algorithm>
#include <array>
#include <limits>

#include "engine/FormulaParser.h"
#include "engine/FunctionRegistry.h"
#include "engine/WorkbookResolver.h"
#include "values/AsciiText.h"

namespace sumora {

namespace {

// The formula text recalculation would compute: the formula, or a value typed as "=…".
std::optional<std::string_view> formulaText(const Cell& cell) {
    if (cell.hasFormula()) return cell.formula();
    std::string_view value = cell.value();
    if (value.size() > 1 && value.front() == '=') return value.substr(1);
    return std::nullopt;
}

bool representable(int64_t col, int64_t row) {
    constexpr int64_t kMax = std::numeric_limits<int32_t>::max();
    return col >= 0 && row >= 0 && col <= kMax && row <= kMax;
}

} // namespace

bool isVolatileFunction(std::string_view name) {
    static constexpr std::array<std::string_view, 9> kVolatile = {
        "NOW", "TODAY", "RAND", "RANDBETWEEN", "RANDARRAY", "OFFSET", "INDIRECT", "CELL", "INFO"};
    return std::any_of(kVolatile.begin(), kVolatile.end(),
                       [&](std::string_view v) { return equalsIgnoringCase(v, name); });
}

WorkbookDependencies::WorkbookDependencies(const SumoraDocument& document, const FunctionRegistry& registry) {
    auto isWorkbookName = [&](std::string_view name) {
        return findNamedRange(document.namedRanges, name).has_value();
    };
    std::vector<std::string_view> letNames;
    std::vector<SheetArea> reads;
    for (size_t s = 0; s < document.sheets.size(); ++s) {
        document.sheets[s].forEachStoredCell([&](int64_t row, int64_t col, const Cell& cell) {
            auto text = formulaText(cell);
            if (!text || !representable(col, row)) return;
            FormulaTree tree;
            try {
                tree = parseFormula(*text, registry, isWorkbookName);
            } catch (const FormulaParseError&) {
                return; // reads nothing, as in recalculation
            }
            Formula f{{s, static_cast<int32_t>(col), static_cast<int32_t>(row)}};
            letNames.clear();
            DependencyGraph::collectLetVariables(tree, letNames);
            reads.clear();
            auto sheetOf = [&](const std::string* name) -> std::optional<size_t> {
                return name ? document.sheetIndex(*name) : std::optional<size_t>(s);
            };
            for (const FormulaNode& n : tree.nodes) {
                if (n.kind == NodeKind::cellRef || n.kind == NodeKind::range) {
                    // A reference to a sheet that does not exist reads nothing (#REF!).
                    if (auto target = sheetOf(tree.sheetOf(n)))
                        reads.push_back(
                            {*target, n.kind == NodeKind::cellRef
                                          ? CellRect::cell(n.ref.col, n.ref.row)
                                          : CellRect{n.ref.col, n.ref.row, n.ref.col2, n.ref.row2}});
                } else if (n.kind == NodeKind::name) {
                    std::string_view name = tree.string(n.stringIndex);
                    if (std::find(letNames.begin(), letNames.end(), name) != letNames.end()) continue;
                    auto range = findNamedRange(document.namedRanges, name);
                    if (!range) continue;
                    auto target = range->start.sheet ? document.sheetIndex(*range->start.sheet) : s;
                    if (target)
                        reads.push_back(
                            {*target,
                             {clampCoordinate(range->start.col), clampCoordinate(range->start.row),
                              clampCoordinate(range->end.col), clampCoordinate(range->end.row)}});
                } else if (n.kind == NodeKind::functionCall && isVolatileFunction(tree.functionName(n))) {
                    f.callsVolatile = true;
                }
            }
            auto formulaIndex = static_cast<uint32_t>(formulas_.size());
            f.readBegin = static_cast<uint32_t>(reads_.size());
            f.readCount = static_cast<uint32_t>(reads.size());
            reads_.insert(reads_.end(), reads.begin(), reads.end());
            formulas_.push_back(f);

            // Filed under its own sheet always (so it can be found by position),
            // and under every other sheet it reads.
            std::vector<size_t> sheetsRead{s};
            for (const SheetArea& a : reads)
                if (std::find(sheetsRead.begin(), sheetsRead.end(), a.sheet) == sheetsRead.end())
                    sheetsRead.push_back(a.sheet);
            std::vector<CellRect> rects;
            for (size_t target : sheetsRead) {
                rects.clear();
                for (const SheetArea& a : reads)
                    if (a.sheet == target) rects.push_back(a.rect);
                Index& index = indexForWriting(s, target);
                DependencyGraph::FormulaId id = index.graph.addFormula(f.at.col, f.at.row);
                if (id >= index.formulaOf.size()) index.formulaOf.resize(static_cast<size_t>(id) + 1, kNone);
                index.formulaOf[id] = formulaIndex;
                index.graph.setDependencies(id, rects);
            }
        });
    }
}

const WorkbookDependencies::Index* WorkbookDependencies::index(size_t formulaSheet, size_t readSheet) const {
    auto it = indexes_.find({formulaSheet, readSheet});
    return it == indexes_.end() ? nullptr : &it->second;
}

WorkbookDependencies::Index& WorkbookDependencies::indexForWriting(size_t formulaSheet, size_t readSheet) {
    return indexes_[{formulaSheet, readSheet}];
}

uint32_t WorkbookDependencies::indexOf(const SheetCell& cell) const {
    const Index* own = index(cell.sheet, cell.sheet);
    if (!own) return kNone;
    DependencyGraph::FormulaId id = own->graph.formulaAt(cell.col, cell.row);
    return id == DependencyGraph::kNoFormula ? kNone : own->formulaOf[id];
}

std::span<const SheetArea> WorkbookDependencies::precedents(const SheetCell& cell) const {
    uint32_t i = indexOf(cell);
    if (i == kNone) return {};
    return {reads_.data() + formulas_[i].readBegin, formulas_[i].readCount};
}

std::vector<SheetCell> WorkbookDependencies::formulasIn(const SheetArea& area) const {
    std::vector<SheetCell> out;
    if (const Index* own = index(area.sheet, area.sheet))
        own->graph.forEachFormulaIn(area.rect, [&](DependencyGraph::FormulaId id) {
            out.push_back(formulas_[own->formulaOf[id]].at);
        });
    return out;
}

std::vector<SheetCell> WorkbookDependencies::dependents(const SheetCell& cell) const {
    std::vector<SheetCell> out;
    for (const auto& entry : indexes_) {
        if (entry.first.second != cell.sheet) continue;
        const Index& index = entry.second;
        index.graph.forEachDependent(cell.col, cell.row, [&](DependencyGraph::FormulaId id) {
            out.push_back(formulas_[index.formulaOf[id]].at);
        });
    }
    std::sort(out.begin(), out.end());
    out.erase(std::unique(out.begin(), out.end()), out.end());
    return out;
}

bool WorkbookDependencies::callsVolatile(const SheetCell& cell) const {
    uint32_t i = indexOf(cell);
    return i != kNone && formulas_[i].callsVolatile;
}

std::vector<SheetCell> WorkbookDependencies::volatileFormulas() const {
    std::vector<char> seen(formulas_.size(), 0);
    std::vector<SheetCell> queue;
    for (size_t i = 0; i < formulas_.size(); ++i)
        if (formulas_[i].callsVolatile) {
            seen[i] = 1;
            queue.push_back(formulas_[i].at);
        }
    for (size_t next = 0; next < queue.size(); ++next)
        for (const SheetCell& reader : dependents(queue[next])) {
            uint32_t i = indexOf(reader);
            if (seen[i]) continue;
            seen[i] = 1;
            queue.push_back(reader);
        }
    std::sort(queue.begin(), queue.end());
    return queue;
}

void WorkbookDependencies::formulaPrecedents(uint32_t formula, std::vector<uint32_t>& out) const {
    out.clear();
    const Formula& f = formulas_[formula];
    for (uint32_t k = 0; k < f.readCount; ++k) {
        const SheetArea& area = reads_[f.readBegin + k];
        const Index* own = index(area.sheet, area.sheet);
        if (!own) continue;
        own->graph.forEachFormulaIn(
            area.rect, [&](DependencyGraph::FormulaId id) { out.push_back(own->formulaOf[id]); });
    }
}

std::vector<SheetCell> WorkbookDependencies::longestChain() const {
    // Depth-first over precedents without recursion: a chain can be as long
    // as a sheet is tall. length[f] counts the formulas of the longest chain
    // starting at f; next[f] is its second link.
    enum : char { unvisited, open, done };
    std::vector<char> state(formulas_.size(), unvisited);
    std::vector<uint32_t> length(formulas_.size(), 1), next(formulas_.size(), kNone);
    struct Frame {
        uint32_t formula;
        std::vector<uint32_t> reads;
        size_t at = 0;
    };
    std::vector<Frame> stack;
    for (uint32_t root = 0; root < formulas_.size(); ++root) {
        if (state[root] != unvisited) continue;
        state[root] = open;
        stack.push_back({root, {}, 0});
        formulaPrecedents(root, stack.back().reads);
        while (!stack.empty()) {
            Frame& top = stack.back();
            if (top.at < top.reads.size()) {
                uint32_t p = top.reads[top.at++];
                if (state[p] == unvisited) {
                    state[p] = open;
                    Frame frame{p, {}, 0};
                    formulaPrecedents(p, frame.reads);
                    stack.push_back(std::move(frame)); // `top` is invalid from here
                } else if (state[p] == done && length[p] + 1 > length[top.formula]) {
                    length[top.formula] = length[p] + 1;
                    next[top.formula] = p;
                }
                continue;
            }
            uint32_t finished = top.formula;
            state[finished] = done;
            stack.pop_back();
            if (!stack.empty()) {
                uint32_t parent = stack.back().formula;
                if (length[finished] + 1 > length[parent]) {
                    length[parent] = length[finished] + 1;
                    next[parent] = finished;
                }
            }
        }
    }
    std::vector<SheetCell> chain;
    if (formulas_.empty()) return chain;
    uint32_t start = static_cast<uint32_t>(std::max_element(length.begin(), length.end()) - length.begin());
    for (uint32_t f = start; f != kNone; f = next[f])
        chain.push_back(formulas_[f].at);
    return chain;
}

} // namespace sumora
