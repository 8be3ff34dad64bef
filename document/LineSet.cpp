#include "document/LineSet.h"

#include <algorithm>

namespace sumora {

bool LineSet::contains(int64_t line) const {
    auto it = spans_.upper_bound(line);
    if (it == spans_.begin()) return false;
    --it;
    return line <= it->second;
}

void LineSet::add(int64_t first, int64_t last) {
    if (first > last) return;
    // Readers add lines in order: extending the last span is the common case.
    if (!spans_.empty() && spans_.rbegin()->first <= first && spans_.rbegin()->second >= first - 1) {
        spans_.rbegin()->second = std::max(spans_.rbegin()->second, last);
        return;
    }
    // Swallow every span that overlaps or touches [first, last].
    auto it = spans_.upper_bound(first);
    if (it != spans_.begin()) {
        auto before = std::prev(it);
        if (before->second >= first - 1) it = before;
    }
    while (it != spans_.end() && it->first <= last + 1) {
        first = std::min(first, it->first);
        last = std::max(last, it->second);
        it = spans_.erase(it);
    }
    spans_[first] = last;
}

void LineSet::remove(int64_t first, int64_t last) {
    if (first > last) return;
    auto it = spans_.upper_bound(first);
    if (it != spans_.begin()) --it;
    while (it != spans_.end() && it->first <= last) {
        int64_t spanFirst = it->first, spanLast = it->second;
        if (spanLast < first) {
            ++it;
            continue;
        }
        it = spans_.erase(it);
        if (spanFirst < first) spans_[spanFirst] = first - 1;
        if (spanLast > last) spans_[last + 1] = spanLast;
    }
}

int64_t LineSet::countWithin(int64_t first, int64_t last) const {
    int64_t n = 0;
    for (const auto& [a, b] : spans_) {
        if (a > last) break;
        if (b >= first) n += std::min(b, last) - std::max(a, first) + 1;
    }
    return n;
}

void LineSet::insertLines(int64_t at, int64_t count) {
    if (count <= 0 || at < 0) return;
    std::map<int64_t, int64_t> moved;
    for (const auto& [a, b] : spans_) {
        if (b < at)
            moved[a] = b;
        else if (a >= at)
            moved[a + count] = b + count;
        else { // the new lines split the span and are not in the set
            moved[a] = at - 1;
            moved[at + count] = b + count;
        }
    }
    spans_ = std::move(moved);
}

void LineSet::removeLines(int64_t at, int64_t count) {
    if (count <= 0 || at < 0) return;
    remove(at, at + count - 1);
    LineSet moved;
    for (const auto& [a, b] : spans_)
        moved.add(a >= at ? a - count : a, b >= at ? b - count : b);
    *this = std::move(moved);
}

void LineSet::permute(int64_t first, const std::vector<int64_t>& order) {
    if (first < 0 || order.empty()) return;
    int64_t last = first + static_cast<int64_t>(order.size()) - 1;
    if (countWithin(first, last) == 0) return;
    std::vector<bool> was(order.size());
    for (size_t i = 0; i < order.size(); ++i)
        was[i] = contains(first + static_cast<int64_t>(i));
    remove(first, last);
    for (size_t i = 0; i < order.size(); ++i)
        if (order[i] >= 0 && static_cast<size_t>(order[i]) < was.size() && was[static_cast<size_t>(order[i])])
            add(first + static_cast<int64_t>(i));
}

} // namespace sumora
