#include "functions/LookupSupport.h"

#include <algorithm>
#include <cmath>
#include <unicode/unistr.h>

#include "functions/LookupCache.h"

namespace sumora {

namespace {

unsigned char asciiLower(unsigned char u) {
    return (u >= 'A' && u <= 'Z') ? static_cast<unsigned char>(u + 32) : u;
}

// Equality of a text with an already folded one; allocates only when the
// text holds non-ASCII characters. Folding maps each character on its own,
// so a mismatch in the ASCII prefix is final.
bool equalsFolded(std::string_view text, const std::string& folded) {
    for (size_t i = 0; i < text.size(); ++i) {
        auto u = static_cast<unsigned char>(text[i]);
        if (u >= 0x80) return foldCase(text) == folded;
        if (i >= folded.size() || asciiLower(u) != static_cast<unsigned char>(folded[i])) return false;
    }
    return text.size() == folded.size();
}

size_t utf8Length(char lead) {
    auto u = static_cast<unsigned char>(lead);
    if (u < 0x80) return 1;
    if ((u >> 5) == 0x6) return 2;
    if ((u >> 4) == 0xE) return 3;
    if ((u >> 3) == 0x1E) return 4;
    return 1;
}

// "*" matches any run, "?" one character, "~" makes the next character
// literal. Iterative with one backtrack point, so it never explodes.
bool wildcardMatch(std::string_view pattern, std::string_view text) {
    size_t p = 0, i = 0;
    size_t starP = std::string_view::npos, starI = 0;
    while (i < text.size()) {
        if (p < pattern.size()) {
            char c = pattern[p];
            if (c == '*') {
                starP = ++p;
                starI = i;
                continue;
            }
            if (c == '?') {
                i += std::min(utf8Length(text[i]), text.size() - i);
                ++p;
                continue;
            }
            size_t litStart = (c == '~' && p + 1 < pattern.size()) ? p + 1 : p;
            size_t litLen = std::min(utf8Length(pattern[litStart]), pattern.size() - litStart);
            if (text.compare(i, litLen, pattern.substr(litStart, litLen)) == 0) {
                i += litLen;
                p = litStart + litLen;
                continue;
            }
        }
        if (starP == std::string_view::npos) return false;
        starI += std::min(utf8Length(text[starI]), text.size() - starI);
        i = starI;
        p = starP;
    }
    while (p < pattern.size() && pattern[p] == '*')
        ++p;
    return p == pattern.size();
}

// Order of two values of the same lookup kind.
int compareSameKind(const FormulaValue& a, const FormulaValue& b) {
    if (a.isNumber())
        return a.numberValue() < b.numberValue() ? -1 : (a.numberValue() > b.numberValue() ? 1 : 0);
    if (a.isText()) return collateCaseInsensitive(a.textValue(), b.textValue());
    return static_cast<int>(a.boolValue()) - static_cast<int>(b.boolValue());
}

double normalisedNumber(double x) {
    return x == 0 ? 0.0 : x;
}

} // namespace

std::string foldCase(std::string_view text) {
    std::string out(text);
    for (char& ch : out) {
        auto u = static_cast<unsigned char>(ch);
        if (u >= 0x80) {
            out.clear();
            icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())))
                .foldCase()
                .toUTF8String(out);
            return out;
        }
        ch = static_cast<char>(asciiLower(u));
    }
    return out;
}

LookupKind lookupKindOf(const FormulaValue& v) {
    switch (v.kind()) {
    case FormulaValue::Kind::number:
        return LookupKind::number;
    case FormulaValue::Kind::text:
        return LookupKind::text;
    case FormulaValue::Kind::boolean:
        return LookupKind::boolean;
    default:
        return LookupKind::none;
    }
}

LookupKey::LookupKey(const FormulaValue& value) : value_(value), kind_(lookupKindOf(value)) {
    if (kind_ == LookupKind::number) {
        number_ = normalisedNumber(value.numberValue());
        if (std::isnan(number_)) kind_ = LookupKind::none;
    } else if (kind_ == LookupKind::text) {
        folded_ = foldCase(value.textValue());
    }
}

bool LookupKey::matches(const FormulaValue& v) const {
    switch (kind_) {
    case LookupKind::number:
        return v.isNumber() && v.numberValue() == number_;
    case LookupKind::text:
        return v.isText() && equalsFolded(v.textValue(), folded_);
    case LookupKind::boolean:
        return v.isBool() && v.boolValue() == value_.boolValue();
    case LookupKind::none:
        return false;
    }
    return false;
}

std::optional<int> LookupKey::compareValue(const FormulaValue& v) const {
    if (kind_ == LookupKind::none || lookupKindOf(v) != kind_) return std::nullopt;
    if (kind_ == LookupKind::number && std::isnan(v.numberValue())) return std::nullopt;
    return compareSameKind(v, value_);
}

bool LookupKey::matchesWildcard(const FormulaValue& v) const {
    if (kind_ != LookupKind::text) return matches(v);
    return v.isText() && wildcardMatch(folded_, foldCase(v.textValue()));
}

// ---- IndexedValues -------------------------------------------------------

void IndexedValues::buildExactIndex() {
    exactIndexBuilt_ = true;
    auto note = [](auto& map, auto&& key, uint32_t pos) {
        auto [it, fresh] = map.try_emplace(std::forward<decltype(key)>(key), Span{pos, pos});
        if (!fresh) it->second.last = pos;
    };
    for (uint32_t i = 0; i < values_.size(); ++i) {
        const FormulaValue& v = values_[i];
        if (v.isNumber()) {
            if (!std::isnan(v.numberValue())) note(numbers_, normalisedNumber(v.numberValue()), i);
        } else if (v.isText()) {
            note(texts_, foldCase(v.textValue()), i);
        } else if (v.isBool()) {
            std::optional<Span>& span = v.boolValue() ? trueSpan_ : falseSpan_;
            if (span)
                span->last = i;
            else
                span = Span{i, i};
        }
    }
}

std::optional<size_t> IndexedValues::findExact(const LookupKey& key, bool lastToFirst) {
    if (!exactIndexBuilt_) buildExactIndex();
    std::optional<Span> span;
    switch (key.kind()) {
    case LookupKind::number:
        if (auto it = numbers_.find(key.number()); it != numbers_.end()) span = it->second;
        break;
    case LookupKind::text:
        if (auto it = texts_.find(key.folded()); it != texts_.end()) span = it->second;
        break;
    case LookupKind::boolean:
        span = key.value().boolValue() ? trueSpan_ : falseSpan_;
        break;
    case LookupKind::none:
        break;
    }
    if (!span) return std::nullopt;
    return lastToFirst ? span->last : span->first;
}

void IndexedValues::buildPositions() {
    positionsBuilt_ = true;
    for (uint32_t i = 0; i < values_.size(); ++i) {
        LookupKind k = lookupKindOf(values_[i]);
        if (k == LookupKind::number && std::isnan(values_[i].numberValue())) continue;
        if (k != LookupKind::none) positions_[static_cast<size_t>(k)].push_back(i);
    }
}

const std::vector<uint32_t>& IndexedValues::positionsOf(LookupKind kind) {
    static const std::vector<uint32_t> none;
    if (kind == LookupKind::none) return none;
    if (!positionsBuilt_) buildPositions();
    return positions_[static_cast<size_t>(kind)];
}

// ---- LookupVector --------------------------------------------------------

LookupVector::LookupVector(CellResolver& resolver, const RangeSpec& range)
    : resolver_(&resolver), col1_(range.col1), row1_(range.row1), cols_(std::max<int64_t>(range.cols(), 1)) {
    if (range.sheet) sheet_ = std::string(*range.sheet);
    size_ = static_cast<size_t>(range.rows() * range.cols());
    indexed_ = cachedRangeValues(resolver, range);
    shared_ = indexed_ != nullptr;
}

LookupVector::LookupVector(std::vector<FormulaValue> values)
    : size_(values.size()), indexed_(std::make_shared<IndexedValues>(std::move(values))) {}

FormulaValue LookupVector::at(size_t i) const {
    if (indexed_ && !(resolver_ && indexed_->isCompact())) return indexed_->values()[i];
    auto k = static_cast<int64_t>(i);
    return resolver_->cellValue({col1_ + k % cols_, row1_ + k / cols_}, sheet());
}

IndexedValues& LookupVector::materialized() const {
    if (!indexed_) {
        SparseRange sparse;
        RangeSpec rangeSpec{col1_, row1_, col1_ + cols_ - 1, row1_ + static_cast<int64_t>(size_) / cols_ - 1,
                            sheet()};
        if (size_ > 0) resolver_->rangeEntries(rangeSpec, sparse);
        std::vector<FormulaValue> values;
        std::vector<size_t> places;
        values.reserve(sparse.entries.size());
        places.reserve(sparse.entries.size());
        for (RangeEntry& e : sparse.entries) {
            values.push_back(std::move(e.value));
            places.push_back(static_cast<size_t>(e.position));
        }
        indexed_ = std::make_shared<IndexedValues>(std::move(values), std::move(places));
    }
    return *indexed_;
}

template <class Pred> std::optional<size_t> LookupVector::scan(bool lastToFirst, Pred&& pred) const {
    // A short range is cheaper to probe cell by cell, stopping at the match;
    // a long one is read once, its stored cells only.
    constexpr size_t kProbedCells = 4096;
    if (!indexed_ && size_ > kProbedCells) materialized();
    if (indexed_) {
        const std::vector<FormulaValue>& values = indexed_->values();
        if (lastToFirst) {
            for (size_t k = values.size(); k-- > 0;)
                if (pred(values[k])) return indexed_->place(k);
        } else {
            for (size_t k = 0; k < values.size(); ++k)
                if (pred(values[k])) return indexed_->place(k);
        }
        return std::nullopt;
    }
    if (lastToFirst) {
        for (size_t i = size_; i-- > 0;)
            if (pred(at(i))) return i;
    } else {
        for (size_t i = 0; i < size_; ++i)
            if (pred(at(i))) return i;
    }
    return std::nullopt;
}

std::optional<size_t> LookupVector::findExact(const LookupKey& key, bool lastToFirst) const {
    if (key.kind() == LookupKind::none) return std::nullopt;
    // A table shared across calls pays for its hash index once; a one-off
    // search is cheaper as a scan that stops at the first match.
    if (shared_) {
        auto slot = indexed_->findExact(key, lastToFirst);
        if (!slot) return std::nullopt;
        return indexed_->place(*slot);
    }
    return scan(lastToFirst, [&](const FormulaValue& v) { return key.matches(v); });
}

std::optional<size_t> LookupVector::findWildcard(const LookupKey& key, bool lastToFirst) const {
    if (key.kind() != LookupKind::text) return findExact(key, lastToFirst);
    return scan(lastToFirst, [&](const FormulaValue& v) { return key.matchesWildcard(v); });
}

std::optional<size_t> LookupVector::findNearest(const LookupKey& key, int direction, bool lastToFirst) const {
    if (auto exact = findExact(key, lastToFirst)) return exact;
    const IndexedValues& indexed = materialized();
    const std::vector<FormulaValue>& values = indexed.values();
    std::optional<size_t> best;
    auto consider = [&](size_t i) {
        auto c = key.compareValue(values[i]);
        if (!c || *c == 0 || (*c < 0) != (direction < 0)) return;
        // Strictly nearer only, so the first found wins a tie.
        if (!best || (direction < 0 ? compareSameKind(values[i], values[*best]) > 0
                                    : compareSameKind(values[i], values[*best]) < 0))
            best = i;
    };
    if (lastToFirst) {
        for (size_t i = values.size(); i-- > 0;)
            consider(i);
    } else {
        for (size_t i = 0; i < values.size(); ++i)
            consider(i);
    }
    if (!best) return std::nullopt;
    return indexed.place(*best);
}

const std::vector<uint32_t>& LookupVector::positionsOf(LookupKind kind) const {
    return materialized().positionsOf(kind);
}

std::optional<size_t> LookupVector::findSortedAtOrBefore(const LookupKey& key, bool descending) const {
    const std::vector<uint32_t>& positions = positionsOf(key.kind());
    const std::vector<FormulaValue>& values = indexed_->values();
    // Values at or before the key form a prefix when the data is sorted.
    auto end = std::partition_point(positions.begin(), positions.end(), [&](uint32_t p) {
        int c = *key.compareValue(values[p]);
        return descending ? c >= 0 : c <= 0;
    });
    if (end == positions.begin()) return std::nullopt;
    return indexed_->place(*(end - 1));
}

std::optional<size_t> LookupVector::findSortedAtOrAfter(const LookupKey& key, bool descending) const {
    const std::vector<uint32_t>& positions = positionsOf(key.kind());
    const std::vector<FormulaValue>& values = indexed_->values();
    auto first = std::partition_point(positions.begin(), positions.end(), [&](uint32_t p) {
        int c = *key.compareValue(values[p]);
        return descending ? c > 0 : c < 0;
    });
    if (first == positions.end()) return std::nullopt;
    return indexed_->place(*first);
}

} // namespace sumora
