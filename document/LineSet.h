#pragma once
// A set of row or column indices kept as sorted, disjoint spans, so that
// "columns X to XFD are hidden" costs one entry rather than sixteen thousand.
#include <cstdint>
#include <map>
#include <vector>

namespace sumora {

class LineSet {
  public:
    bool empty() const { return spans_.empty(); }
    bool contains(int64_t line) const;
    // Adds or removes the inclusive span [first, last].
    void add(int64_t first, int64_t last);
    void add(int64_t line) { add(line, line); }
    void remove(int64_t first, int64_t last);
    // The spans as first → last, in order; adjacent spans are merged.
    const std::map<int64_t, int64_t>& spans() const { return spans_; }
    // Lines in the set within [first, last].
    int64_t countWithin(int64_t first, int64_t last) const;

    // Structural edits: lines at or after `at` move by `count`; removed lines
    // leave the set.
    void insertLines(int64_t at, int64_t count);
    void removeLines(int64_t at, int64_t count);
    // New line first+i takes the membership of old line first+order[i].
    void permute(int64_t first, const std::vector<int64_t>& order);

    bool operator==(const LineSet&) const = default;

  private:
    std::map<int64_t, int64_t> spans_;
};

} // namespace sumora
