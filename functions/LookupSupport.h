#pragma once
// Matching shared by the lookup functions. Exact matching: numbers by value,
// texts ignoring case (by case folding), booleans by value; a number never
// equals a text, and empties, errors and arrays never match. Approximate
// matching assumes the searched values are sorted and compares only values of
// the lookup value's own kind (numbers by value, texts by the localised
// case-insensitive collation, FALSE before TRUE).
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "engine/CellResolver.h"
#include "engine/FormulaValue.h"

namespace sumora {

// Case-folded text: the equality key of exact text matching.
std::string foldCase(std::string_view text);

enum class LookupKind : uint8_t { number, text, boolean, none };
LookupKind lookupKindOf(const FormulaValue& v);

// A lookup value prepared once per call, so that scanning a table compares
// without allocating.
class LookupKey {
  public:
    explicit LookupKey(const FormulaValue& value);

    LookupKind kind() const { return kind_; }
    const FormulaValue& value() const { return value_; }
    double number() const { return number_; }
    const std::string& folded() const { return folded_; }

    // Exact equality with a searched value.
    bool matches(const FormulaValue& v) const;
    // Order of a searched value relative to the key (<0 before, 0 equal, >0
    // after); nothing when the value is of another kind.
    std::optional<int> compareValue(const FormulaValue& v) const;
    // Wildcard match ("*" any run, "?" one character, "~" escapes the next);
    // a key that is not text matches exactly.
    bool matchesWildcard(const FormulaValue& v) const;

  private:
    FormulaValue value_;
    LookupKind kind_;
    double number_ = 0;
    std::string folded_;
};

// The values of one searched vector held in memory, with indexes built on
// first use: a hash of the exact-match keys and the positions of each kind.
//
// A compact vector holds only the non-empty values of a range, each with its
// place in the range: no search ever matches an empty value, so leaving them
// out changes no answer and lets a whole-sheet range cost its stored cells.
// Indexes into values() are slots; place() turns a slot into a position.
class IndexedValues {
  public:
    explicit IndexedValues(std::vector<FormulaValue> values) : values_(std::move(values)) {}
    IndexedValues(std::vector<FormulaValue> values, std::vector<size_t> places)
        : values_(std::move(values)), places_(std::move(places)) {}

    const std::vector<FormulaValue>& values() const { return values_; }
    bool isCompact() const { return !places_.empty() || values_.empty(); }
    size_t place(size_t slot) const { return places_.empty() ? slot : places_[slot]; }
    // First (or last) slot whose value equals the key exactly.
    std::optional<size_t> findExact(const LookupKey& key, bool lastToFirst);
    // Slots holding values of one kind, in order.
    const std::vector<uint32_t>& positionsOf(LookupKind kind);

  private:
    struct Span {
        uint32_t first, last;
    };
    void buildExactIndex();
    void buildPositions();

    std::vector<FormulaValue> values_;
    std::vector<size_t> places_; // empty when every position has its slot
    bool exactIndexBuilt_ = false;
    std::unordered_map<double, Span> numbers_;
    std::unordered_map<std::string, Span> texts_;
    std::optional<Span> trueSpan_, falseSpan_;
    bool positionsBuilt_ = false;
    std::vector<uint32_t> positions_[3];
};

// A one-dimensional run of values to search: the cells of a range (row-major
// when it spans several rows and columns) or the elements of an array. Large
// ranges come from the lookup cache when one is open.
class LookupVector {
  public:
    // `range` must already be clipped to the grid of its sheet.
    LookupVector(CellResolver& resolver, const RangeSpec& range);
    explicit LookupVector(std::vector<FormulaValue> values);

    size_t size() const { return size_; }
    FormulaValue at(size_t i) const;

    std::optional<size_t> findExact(const LookupKey& key, bool lastToFirst) const;
    std::optional<size_t> findWildcard(const LookupKey& key, bool lastToFirst) const;
    // The exact match, else the nearest value below (direction −1) or above
    // (direction 1) the key; no order is assumed. Ties go to the first found.
    std::optional<size_t> findNearest(const LookupKey& key, int direction, bool lastToFirst) const;
    // Binary search over values sorted ascending (or descending): the last
    // position whose value is at or before the key in that order.
    std::optional<size_t> findSortedAtOrBefore(const LookupKey& key, bool descending) const;
    // Binary search: the first position whose value is at or after the key.
    std::optional<size_t> findSortedAtOrAfter(const LookupKey& key, bool descending) const;

  private:
    std::optional<std::string_view> sheet() const {
        return sheet_ ? std::optional<std::string_view>(*sheet_) : std::nullopt;
    }
    // The values in memory (read once per call unless the cache holds them);
    // a range is read compactly, its stored cells only.
    IndexedValues& materialized() const;
    const std::vector<uint32_t>& positionsOf(LookupKind kind) const;
    template <class Pred> std::optional<size_t> scan(bool lastToFirst, Pred&& pred) const;

    CellResolver* resolver_ = nullptr; // null for an array
    int64_t col1_ = 0, row1_ = 0, cols_ = 1;
    std::optional<std::string> sheet_;
    size_t size_ = 0;
    mutable std::shared_ptr<IndexedValues> indexed_;
    bool shared_ = false; // indexed_ comes from the lookup cache
};

} // namespace sumora
