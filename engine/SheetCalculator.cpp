#include "engine/SheetCalculator.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>

#include "engine/EvaluationCache.h"
#include "engine/FormulaEvaluator.h"
#include "engine/FormulaParser.h"
#include "engine/FormulaShapes.h"
#include "engine/RecalcProfiler.h"
#include "values/Log.h"

namespace sumora {

namespace {

// Readers of spilled cells may spill in turn; a sheet whose spills keep
// changing each other stops after this many rounds.
constexpr int kMaxSpillRounds = 64;

// Whether a number's text form (appendNumberDescription) reads back as
// exactly that number: all but the whole numbers that "%g" rounds to six
// significant digits.
bool textReadsBackExactly(double x) {
    if (!std::isfinite(x)) return false;
    const double magnitude = std::fabs(x);
    return std::rint(x) != x || magnitude < 1e6 || magnitude >= 1e15;
}

const std::string& circularText() {
    static const std::string text = FormulaValue::error(ErrorKind::circularReference).description();
    return text;
}

const std::string& spillText() {
    static const std::string text = FormulaValue::error(ErrorKind::spill).description();
    return text;
}

} // namespace

SheetCalculator::SheetCalculator(SumoraDocument& document, size_t sheetIndex,
                                 const FunctionRegistry& registry)
    : document_(document), sheetIndex_(sheetIndex), registry_(registry),
      isWorkbookName_(
          [this](std::string_view name) { return findNamedRange(document_.namedRanges, name).has_value(); }),
      direct_(document, sheetIndex), shapes_(registry, isWorkbookName_) {
    if (sheetIndex >= document.sheets.size())
        throw std::out_of_range("SheetCalculator: the document has no sheet number " +
                                std::to_string(sheetIndex + 1));
}

SheetCalculator::~SheetCalculator() = default;

bool SheetCalculator::representable(int64_t col, int64_t row) {
    constexpr int64_t kMaxCoordinate = std::numeric_limits<int32_t>::max();
    return col >= 0 && row >= 0 && col <= kMaxCoordinate && row <= kMaxCoordinate;
}

bool SheetCalculator::promote(Cell& cell) {
    if (cell.hasFormula()) return false;
    std::string_view value = cell.value();
    if (value.empty() || value.front() != '=') return false;
    cell.setFormula(value.substr(1));
    cell.setValue("");
    return true;
}

// ---- Building the graph ----

bool SheetCalculator::parse(std::string_view formula, bool shaped, ParsedFormula& parsed,
                            std::vector<CellRect>& reads) {
    FormulaTree alone;
    try {
        parsed.at = static_cast<uint32_t>(shapeRows_.size());
        if (shaped)
            parsed.shape = shapes_.read(formula, shapeRows_, alone);
        else
            alone = parseFormula(formula, registry_, isWorkbookName_);
    } catch (const FormulaParseError&) {
        return false; // keeps its previous computed text, reads nothing
    }
    if (parsed.shape == FormulaShapes::kAlone) {
        if (freeAloneTrees_.empty()) {
            parsed.at = static_cast<uint32_t>(aloneTrees_.size());
            aloneTrees_.push_back(std::move(alone));
        } else {
            parsed.at = freeAloneTrees_.back();
            freeAloneTrees_.pop_back();
            aloneTrees_[parsed.at] = std::move(alone);
        }
    }
    if (parsed.shape != FormulaShapes::kAlone && shapes_.readsOnlyReferences(parsed.shape))
        shapes_.appendReads(parsed.shape, shapeRows_.data() + parsed.at, reads);
    else
        DependencyGraph::collectRefs(treeOf(parsed), document_.namedRanges, reads);
    return true;
}

void SheetCalculator::addParsed(int32_t col, int32_t row, const ParsedFormula& parsed,
                                std::span<const CellRect> reads) {
    FormulaId id = graph_.addFormula(col, row);
    if (id == parsed_.size())
        parsed_.push_back(parsed);
    else {
        if (id > parsed_.size()) parsed_.resize(static_cast<size_t>(id) + 1);
        parsed_[id] = parsed;
    }
    graph_.setDependencies(id, reads);
}

bool SheetCalculator::registerFormula(int32_t col, int32_t row, std::string_view formula, bool shaped) {
    ParsedFormula parsed;
    reads_.clear();
    if (!parse(formula, shaped, parsed, reads_)) return false;
    addParsed(col, row, parsed, reads_);
    return true;
}

void SheetCalculator::unregisterFormula(int32_t col, int32_t row) {
    FormulaId id = graph_.formulaAt(col, row);
    if (id == DependencyGraph::kNoFormula) return;
    graph_.removeFormula(id);
    // A shared formula's rows stay in shapeRows_ until the next build.
    if (parsed_[id].shape == FormulaShapes::kAlone) {
        aloneTrees_[parsed_[id].at] = FormulaTree();
        freeAloneTrees_.push_back(parsed_[id].at);
    }
    parsed_[id] = ParsedFormula();
}

const FormulaTree& SheetCalculator::treeOf(const ParsedFormula& p) const {
    if (p.shape == FormulaShapes::kAlone) return aloneTrees_[p.at];
    return shapes_.instance(p.shape, shapeRows_.data() + p.at);
}

void SheetCalculator::clearFormulas() {
    graph_.clear();
    shapes_.clear();
    parsed_.clear();
    shapeRows_.clear();
    aloneTrees_.clear();
    freeAloneTrees_.clear();
    cache_.clear();
}

void SheetCalculator::ensureBuilt() {
    if (built_) return;
    build();
    graph_.topologicalOrder(); // only for the circular verdicts
}

void SheetCalculator::cellRestored(CellPosition at) {
    const auto [col, row] = at;
    // Before the first build there is nothing learnt to correct.
    if (!built_ || !representable(col, row)) return;
    cache_.forget(col, row);
    const auto c = static_cast<int32_t>(col), r = static_cast<int32_t>(row);
    unregisterFormula(c, r);
    const Cell* cell = sheet().storedCell(row, col);
    if (cell && cell->hasFormula()) registerFormula(c, r, *cell->formula());
    // Only the circular verdicts of the cell and its readers: what a rebuild
    // would have found for them.
    GridPosition changed{c, r};
    graph_.recalcOrder({&changed, 1}, true);
}

void SheetCalculator::invalidate() {
    built_ = false;
    clearFormulas();
    // Anchors and their cells may have moved; what they wrote stays in the cells.
    spillRanges_.clear();
    spillTouched_.clear();
    spillTouchedIndex_.clear();
}

// ---- Recalculation ----

void SheetCalculator::forgetCell(int64_t col, int64_t row) {
    cache_.forget(col, row);
    EvaluationCacheScope::cellWritten({col, row});
}

void SheetCalculator::recalculateAll() {
    // Lookups of this pass may share table indexes; every write is reported.
    EvaluationCacheScope cacheScope;
    resultsChanged_ = false;
    build(true);
    FormulaEvaluator evaluator(*this);
    evaluator.setProfiler(profiler_);
    std::vector<CellRef> anchors;
    for (const auto& [anchor, cells] : spillRanges_)
        if (graph_.formulaAt(static_cast<int32_t>(anchor.col), static_cast<int32_t>(anchor.row)) ==
            DependencyGraph::kNoFormula)
            anchors.push_back(anchor);
    for (const CellRef& a : anchors)
        clearSpill({a.col, a.row});

    DependencyGraph::Order order = graph_.topologicalOrder();
    for (FormulaId id : order.ordered)
        evaluate(evaluator, id);
    for (FormulaId id : order.circular)
        markCircular(id);
    settleSpills(evaluator);
}

void SheetCalculator::recalculate(CellPosition at) {
    const auto [col, row] = at;
    if (!representable(col, row)) return;
    EvaluationCacheScope cacheScope;
    resultsChanged_ = false;
    ensureBuilt();
    forgetCell(col, row);
    const auto c = static_cast<int32_t>(col), r = static_cast<int32_t>(row);

    Cell* cell = sheet().storedCell(row, col);
    if (cell && promote(*cell))
        Log::info("recalculate: promoted value to formula: \"" + std::string(*cell->formula()) + "\"");
    unregisterFormula(c, r);
    if (cell && cell->hasFormula())
        registerFormula(c, r, *cell->formula());
    else
        clearSpill(at);

    FormulaEvaluator evaluator(*this);
    evaluator.setProfiler(profiler_);
    GridPosition changed{c, r};
    DependencyGraph::Order order = graph_.recalcOrder({&changed, 1}, true);
    for (FormulaId id : order.ordered)
        evaluate(evaluator, id);
    for (FormulaId id : order.circular)
        markCircular(id);
    settleSpills(evaluator);
}

void SheetCalculator::evaluate(FormulaEvaluator& evaluator, FormulaId id) {
    GridPosition p = graph_.position(id);
    current_.col = p.col;
    current_.row = p.row;
    if (profiler_) profiler_->setSheet(sheetIndex_);
    auto start = profiler_ ? RecalcProfiler::Clock::now() : RecalcProfiler::Clock::time_point();
    FormulaValue v = evaluator.evaluate(treeOf(parsed_[id]), 0);
    if (profiler_) profiler_->addFormula(p.col, p.row, RecalcProfiler::nanosecondsSince(start));
    if (v.isArray()) {
        try {
            spillArray(v.arrayRows(), {p.col, p.row});
        } catch (const std::bad_alloc&) {
            // Memory ran out while writing the result: the anchor says so.
            writeComputed(p.col, p.row, FormulaValue::error(ErrorKind::invalidNumber).description());
        }
        return;
    }
    if (!spillRanges_.empty()) clearSpill({p.col, p.row});
    text_.clear();
    v.appendDescription(text_);
    writeComputed(p.col, p.row, text_);
    // Readers of this cell would otherwise decode the text just written.
    if (v.isNumber() && textReadsBackExactly(v.numberValue()))
        cache_.rememberNumber(p.col, p.row, v.numberValue());
}

void SheetCalculator::markCircular(FormulaId id) {
    GridPosition p = graph_.position(id);
    if (!spillRanges_.empty()) clearSpill({p.col, p.row});
    writeComputed(p.col, p.row, circularText());
}

void SheetCalculator::writeComputed(int64_t col, int64_t row, std::optional<std::string_view> text) {
    // A formula's own cell is stored already; only a spill may reach new ones.
    Cell* stored = sheet().storedCell(row, col);
    Cell& cell = stored ? *stored : sheet().cellForWriting(row, col);
    if (!resultsChanged_ && cell.computedValue() != text) resultsChanged_ = true;
    cell.setComputedValue(text);
    forgetCell(col, row);
}

bool SheetCalculator::hasCircularReference(CellPosition at) const {
    const auto [col, row] = at;
    if (!representable(col, row)) return false;
    return graph_.hasCircularReference(
        graph_.formulaAt(static_cast<int32_t>(col), static_cast<int32_t>(row)));
}

const FormulaTree* SheetCalculator::parsedFormula(CellPosition at) const {
    const auto [col, row] = at;
    if (!representable(col, row)) return nullptr;
    FormulaId id = graph_.formulaAt(static_cast<int32_t>(col), static_cast<int32_t>(row));
    return graph_.isFormula(id) ? &treeOf(parsed_[id]) : nullptr;
}

// ---- Spilling ----

bool SheetCalculator::spillArray(const ValueRows& rows, CellPosition anchor) {
    const auto [col, row] = anchor;
    clearSpill(anchor);
    size_t height = rows.size(), width = 0;
    for (const ValueRow& r : rows)
        width = std::max(width, r.size());
    auto h = static_cast<int64_t>(height), w = static_cast<int64_t>(width);
    Sheet& s = sheet();
    bool fits = h == 0 || w == 0 || representable(col + w - 1, row + h - 1);
    for (int64_t i = 0; fits && i < h; ++i)
        for (int64_t j = 0; fits && j < w; ++j)
            if ((i || j) && s.cell(row + i, col + j).hasContent()) fits = false;
    if (!fits) {
        writeComputed(col, row, spillText());
        return false;
    }

    if (h > 0 && w > 0) s.growTo(row + h, col + w);
    std::vector<CellRef> written;
    for (size_t i = 0; i < height; ++i)
        for (size_t j = 0; j < rows[i].size(); ++j) {
            if (i == 0 && j == 0) continue;
            int64_t r = row + static_cast<int64_t>(i), c = col + static_cast<int64_t>(j);
            touchSpillCell(c, r);
            Cell& cell = s.cellForWriting(r, c);
            cell.setComputedValue(rows[i][j].description());
            cell.setSpillResult(true);
            forgetCell(c, r);
            written.push_back(CellRef{c, r, std::nullopt});
        }
    writeComputed(col, row, rows.empty() || rows[0].empty() ? std::string() : rows[0][0].description());
    if (!written.empty()) {
        s.cellForWriting(row, col).setArrayAnchor(true);
        spillRanges_[CellRef{col, row, std::nullopt}] = std::move(written);
    }
    return true;
}

void SheetCalculator::clearSpill(CellPosition at) {
    const auto [col, row] = at;
    auto it = spillRanges_.find(CellRef{col, row, std::nullopt});
    if (it == spillRanges_.end()) return;
    std::vector<CellRef> cells = std::move(it->second);
    spillRanges_.erase(it);
    if (Cell* anchor = sheet().storedCell(row, col)) anchor->setArrayAnchor(false);
    for (const CellRef& ref : cells) {
        Cell* cell = sheet().storedCell(ref.row, ref.col);
        if (!cell) continue;
        cell->setSpillResult(false);
        // Something typed there since keeps its text.
        if (cell->hasContent()) continue;
        touchSpillCell(ref.col, ref.row);
        cell->setComputedValue(std::nullopt);
        forgetCell(ref.col, ref.row);
    }
}

void SheetCalculator::touchSpillCell(int64_t col, int64_t row) {
    auto c = static_cast<int32_t>(col), r = static_cast<int32_t>(row);
    uint32_t& index = spillTouchedIndex_.findOrInsert(cellKey(c, r), CellKeyMap::kMissing);
    if (index != CellKeyMap::kMissing) return;
    index = static_cast<uint32_t>(spillTouched_.size());
    auto before = sheet().cell(row, col).computedValue();
    spillTouched_.emplace_back(GridPosition{c, r},
                               before ? std::optional<std::string>(*before) : std::nullopt);
}

void SheetCalculator::settleSpills(FormulaEvaluator& evaluator) {
    for (int round = 0; round < kMaxSpillRounds && !spillTouched_.empty(); ++round) {
        std::vector<GridPosition> changed;
        for (const auto& [at, before] : spillTouched_) {
            auto now = sheet().cell(at.row, at.col).computedValue();
            bool same = now.has_value() == before.has_value() && (!now || *now == *before);
            if (!same) changed.push_back(at);
        }
        spillTouched_.clear();
        spillTouchedIndex_.clear();
        if (changed.empty()) return;
        resultsChanged_ = true;
        DependencyGraph::Order order = graph_.recalcOrder(changed, false);
        for (FormulaId id : order.ordered)
            evaluate(evaluator, id);
        for (FormulaId id : order.circular)
            markCircular(id);
    }
    spillTouched_.clear();
    spillTouchedIndex_.clear();
}

// ---- Reading cells ----

const Sheet* SheetCalculator::sheetNamed(std::optional<std::string_view> name, bool& own) const {
    own = true;
    if (!name) return &document_.sheets[sheetIndex_];
    auto index = document_.sheetIndex(*name);
    if (!index) return nullptr;
    own = *index == sheetIndex_;
    return &document_.sheets[*index];
}

FormulaValue SheetCalculator::cellValue(CellPosition at, std::optional<std::string_view> sheetName) {
    bool own;
    const Sheet* s = sheetNamed(sheetName, own);
    if (!s || !s->contains(at.row, at.col)) return FormulaValue::error(ErrorKind::invalidReference);
    if (own) return cache_.value(*s, at.col, at.row);
    const Cell& c = s->cell(at.row, at.col);
    return readCellText(c.computedValue(), c.value());
}

void SheetCalculator::rangeValues(const RangeSpec& range, std::vector<FormulaValue>& out) {
    bool own;
    const Sheet* s = sheetNamed(range.sheet, own);
    if (!s) return;
    if (!own) return direct_.rangeValues(range, out);
    if (auto clipped = clipToGrid(range, s->rowCount(), s->columnCount()))
        cache_.appendValues(*s, *clipped, out);
}

void SheetCalculator::rangeEntries(const RangeSpec& range, SparseRange& out) {
    bool own;
    const Sheet* s = sheetNamed(range.sheet, own);
    if (!own || !s) return direct_.rangeEntries(range, out);
    out = {};
    auto clipped = clipToGrid(range, s->rowCount(), s->columnCount());
    if (!clipped) return;
    out.rows = clipped->rows();
    out.cols = clipped->cols();
    cache_.appendEntries(*s, *clipped, out.entries);
}

void SheetCalculator::rangeNumbers(const RangeSpec& range, std::vector<double>& out) {
    bool own;
    const Sheet* s = sheetNamed(range.sheet, own);
    if (!s) return;
    if (!own) return direct_.rangeNumbers(range, out);
    if (auto clipped = clipToGrid(range, s->rowCount(), s->columnCount()))
        cache_.appendNumbers(*s, *clipped, out);
}

std::optional<std::pair<int64_t, int64_t>>
SheetCalculator::gridSize(std::optional<std::string_view> sheetName) {
    return direct_.gridSize(sheetName);
}

std::optional<CellRange> SheetCalculator::resolveNamedRange(std::string_view name) {
    return findNamedRange(document_.namedRanges, name);
}

std::optional<std::string> SheetCalculator::cellFormula(CellPosition at,
                                                        std::optional<std::string_view> sheetName) {
    return direct_.cellFormula(at, sheetName);
}

} // namespace sumora
