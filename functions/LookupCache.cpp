#include "functions/LookupCache.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

namespace sumora {

namespace {

// Bounds on what one thread keeps: a few tables, a few million values.
constexpr size_t kMaxEntries = 16;
constexpr int64_t kMaxCachedCells = 4'000'000;

struct Entry {
    const CellResolver* resolver;
    std::optional<std::string> sheet;
    int64_t col1, row1, col2, row2;
    std::shared_ptr<IndexedValues> values;
    uint64_t lastUse;

    int64_t cells() const { return (col2 - col1 + 1) * (row2 - row1 + 1); }
    bool contains(CellPosition at) const {
        return at.col >= col1 && at.col <= col2 && at.row >= row1 && at.row <= row2;
    }
};

// One per thread, subscribed to that thread's evaluation scopes.
struct Cache final : EvaluationCacheListener {
    uint64_t clock = 0;
    std::vector<Entry> entries;

    Cache() { addEvaluationCacheListener(*this); }
    ~Cache() { removeEvaluationCacheListener(*this); }
    Cache(const Cache&) = delete;
    Cache& operator=(const Cache&) = delete;

    void cellWritten(CellPosition at) override {
        std::erase_if(entries, [&](const Entry& e) { return e.contains(at); });
    }
    void clear() override { entries.clear(); }
};

Cache& cache() {
    thread_local Cache c;
    return c;
}

void evictFor(Cache& c, int64_t incomingCells) {
    auto total = [&] {
        int64_t n = incomingCells;
        for (const Entry& e : c.entries)
            n += e.cells();
        return n;
    };
    while (!c.entries.empty() && (c.entries.size() >= kMaxEntries || total() > kMaxCachedCells)) {
        auto oldest = std::min_element(c.entries.begin(), c.entries.end(),
                                       [](const Entry& a, const Entry& b) { return a.lastUse < b.lastUse; });
        c.entries.erase(oldest);
    }
}

} // namespace

std::shared_ptr<IndexedValues> cachedRangeValues(CellResolver& resolver, const RangeSpec& range) {
    if (!EvaluationCacheScope::isOpen() || range.isBackwards()) return nullptr;
    Cache& c = cache();
    int64_t cells = range.rows() * range.cols();
    if (cells < kMinCachedCells || cells > kMaxCachedCells) return nullptr;
    ++c.clock;
    for (Entry& e : c.entries) {
        if (e.resolver == &resolver && e.col1 == range.col1 && e.row1 == range.row1 && e.col2 == range.col2 &&
            e.row2 == range.row2 && e.sheet.has_value() == range.sheet.has_value() &&
            (!e.sheet || *e.sheet == *range.sheet)) {
            e.lastUse = c.clock;
            return e.values;
        }
    }
    evictFor(c, cells);
    std::vector<FormulaValue> values;
    resolver.rangeValues(range, values);
    values.resize(static_cast<size_t>(cells));
    auto shared = std::make_shared<IndexedValues>(std::move(values));
    std::optional<std::string> sheet;
    if (range.sheet) sheet = std::string(*range.sheet);
    c.entries.push_back(
        {&resolver, std::move(sheet), range.col1, range.row1, range.col2, range.row2, shared, c.clock});
    return shared;
}

} // namespace sumora
