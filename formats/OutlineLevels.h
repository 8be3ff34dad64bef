#pragma once
// Outline groups and per-line outline levels. A worksheet stores a level on
// every grouped row or column and a collapsed flag on the summary line after
// a group; the model keeps the groups themselves. Both readers and writers
// convert through these spans.
#include <cstdint>
#include <map>
#include <set>
#include <vector>

namespace sumora {

class Sheet;

struct OutlineSpan {
    int64_t first = 0, last = 0, level = 1;
    bool collapsed = false;
    bool operator==(const OutlineSpan&) const = default;
};

// The deepest level a worksheet can store.
inline constexpr int64_t kMaxOutlineLevel = 7;

// Each maximal run of lines at level ≥ L is a group of level L. A group is
// collapsed when the line after it (or, for summaries above, before it) is
// marked collapsed and sits one level up.
std::vector<OutlineSpan> outlineSpans(const std::map<int64_t, int64_t>& levels,
                                      const std::set<int64_t>& collapsed);

// Each grouped line's level: the deepest group covering it.
std::map<int64_t, int64_t> outlineLevels(const std::vector<OutlineSpan>& spans);
// The summary lines that carry a collapsed flag: the line after each collapsed group.
std::set<int64_t> collapsedSummaryLines(const std::vector<OutlineSpan>& spans);

std::vector<OutlineSpan> rowOutlineSpans(const Sheet& sheet);
std::vector<OutlineSpan> columnOutlineSpans(const Sheet& sheet);
void setRowOutline(Sheet& sheet, const std::vector<OutlineSpan>& spans);
void setColumnOutline(Sheet& sheet, const std::vector<OutlineSpan>& spans);

} // namespace sumora
