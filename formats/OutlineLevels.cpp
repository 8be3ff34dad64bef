#include "formats/OutlineLevels.h"

#include <algorithm>

#include "document/Sheet.h"

namespace sumora {

std::vector<OutlineSpan> outlineSpans(const std::map<int64_t, int64_t>& levels,
                                      const std::set<int64_t>& collapsed) {
    std::vector<OutlineSpan> spans;
    std::vector<size_t> open; // open[k] is the open group of level k + 1
    auto closeTo = [&](size_t depth, int64_t lastLine) {
        while (open.size() > depth) {
            spans[open.back()].last = lastLine;
            open.pop_back();
        }
    };
    int64_t previous = 0;
    for (const auto& [line, rawLevel] : levels) {
        auto level = static_cast<size_t>(std::clamp<int64_t>(rawLevel, 0, kMaxOutlineLevel));
        if (!open.empty() && line != previous + 1) closeTo(0, previous);
        closeTo(level, previous);
        while (open.size() < level) {
            spans.push_back({line, line, static_cast<int64_t>(open.size()) + 1, false});
            open.push_back(spans.size() - 1);
        }
        previous = line;
    }
    closeTo(0, previous);
    auto levelOf = [&](int64_t line) {
        auto it = levels.find(line);
        return it == levels.end() ? 0 : std::clamp<int64_t>(it->second, 0, kMaxOutlineLevel);
    };
    for (OutlineSpan& s : spans) {
        bool below = collapsed.count(s.last + 1) && levelOf(s.last + 1) == s.level - 1;
        bool above = s.first > 0 && collapsed.count(s.first - 1) && levelOf(s.first - 1) == s.level - 1;
        s.collapsed = below || above;
    }
    std::sort(spans.begin(), spans.end(), [](const OutlineSpan& a, const OutlineSpan& b) {
        return a.first != b.first ? a.first < b.first : a.level < b.level;
    });
    return spans;
}

std::map<int64_t, int64_t> outlineLevels(const std::vector<OutlineSpan>& spans) {
    std::map<int64_t, int64_t> levels;
    for (const OutlineSpan& s : spans) {
        int64_t level = std::clamp<int64_t>(s.level, 1, kMaxOutlineLevel);
        for (int64_t line = s.first; line <= s.last; ++line) {
            int64_t& l = levels[line];
            l = std::max(l, level);
        }
    }
    return levels;
}

std::set<int64_t> collapsedSummaryLines(const std::vector<OutlineSpan>& spans) {
    std::set<int64_t> lines;
    for (const OutlineSpan& s : spans)
        if (s.collapsed) lines.insert(s.last + 1);
    return lines;
}

std::vector<OutlineSpan> rowOutlineSpans(const Sheet& sheet) {
    std::vector<OutlineSpan> spans;
    for (const OutlineGroup& g : sheet.outlineGroups)
        if (g.startRow >= 0 && g.endRow >= g.startRow)
            spans.push_back({g.startRow, g.endRow, g.level, g.isCollapsed});
    return spans;
}

std::vector<OutlineSpan> columnOutlineSpans(const Sheet& sheet) {
    std::vector<OutlineSpan> spans;
    for (const ColumnOutlineGroup& g : sheet.columnOutlineGroups)
        if (g.startCol >= 0 && g.endCol >= g.startCol)
            spans.push_back({g.startCol, g.endCol, g.level, g.isCollapsed});
    return spans;
}

void setRowOutline(Sheet& sheet, const std::vector<OutlineSpan>& spans) {
    sheet.outlineGroups.clear();
    for (const OutlineSpan& s : spans) {
        OutlineGroup g;
        g.startRow = s.first;
        g.endRow = s.last;
        g.level = s.level;
        g.isCollapsed = s.collapsed;
        g.summaryRow = s.last + 1;
        sheet.outlineGroups.push_back(std::move(g));
    }
}

void setColumnOutline(Sheet& sheet, const std::vector<OutlineSpan>& spans) {
    sheet.columnOutlineGroups.clear();
    for (const OutlineSpan& s : spans) {
        ColumnOutlineGroup g;
        g.startCol = s.first;
        g.endCol = s.last;
        g.level = s.level;
        g.isCollapsed = s.collapsed;
        sheet.columnOutlineGroups.push_back(std::move(g));
    }
}

} // namespace sumora
