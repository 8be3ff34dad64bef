#include "formats/OdsLineLayout.h"

#include <algorithm>
#include <charconv>

#include "document/Sheet.h"

namespace sumora::ods {

namespace {

constexpr int64_t kMaxRows = 1048576;
constexpr int64_t kMaxColumns = 16384;

void appendInteger(std::string& out, int64_t n) {
    char buffer[24];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, n);
    out.append(buffer, end);
}

void appendGroupOpening(std::string& out, const char* element, const OutlineSpan& group) {
    out += "<table:";
    out += element;
    if (group.collapsed) out += " table:display=\"false\"";
    out += '>';
}

} // namespace

std::vector<OutlineSpan> nestedGroups(const std::vector<OutlineSpan>& groups) {
    if (groups.empty()) return {};
    std::vector<OutlineSpan> nested = outlineSpans(outlineLevels(groups), {});
    for (OutlineSpan& n : nested)
        n.collapsed = std::any_of(groups.begin(), groups.end(), [&](const OutlineSpan& g) {
            return g.collapsed && g.first == n.first && g.last == n.last && g.level == n.level;
        });
    return nested;
}

RowLayout::RowLayout(const Sheet& sheet, const std::function<int(double)>& heightStyle) : sheet_(sheet) {
    for (const auto& [row, height] : sheet.rowHeights)
        if (row >= 0 && row < kMaxRows) {
            heightStyles_[row] = heightStyle(height);
            end_ = std::max(end_, row + 1);
        }
    if (!sheet.hiddenRows.empty())
        end_ = std::max(end_, std::min(sheet.hiddenRows.spans().rbegin()->second + 1, kMaxRows));
    for (const OutlineSpan& g : nestedGroups(rowOutlineSpans(sheet))) {
        if (g.first >= kMaxRows) continue;
        OutlineSpan clipped = g;
        clipped.last = std::min(g.last, kMaxRows - 1);
        starts_.emplace(clipped.first, clipped);
        ends_.emplace(clipped.last, clipped);
        end_ = std::max(end_, clipped.last + 1);
    }
    empty_ = end_ == 0;
}

RowLook RowLayout::look(int64_t row) const {
    RowLook look;
    if (empty_) return look;
    if (auto it = heightStyles_.find(row); it != heightStyles_.end()) look.heightStyle = it->second;
    look.hidden = sheet_.hiddenRows.contains(row);
    return look;
}

bool RowLayout::appendOpenings(std::string& out, int64_t row) const {
    auto [first, last] = starts_.equal_range(row);
    if (first == last) return false;
    std::vector<OutlineSpan> groups;
    for (auto it = first; it != last; ++it)
        groups.push_back(it->second);
    std::sort(groups.begin(), groups.end(), [](const auto& a, const auto& b) { return a.level < b.level; });
    for (const OutlineSpan& g : groups)
        appendGroupOpening(out, "table-row-group", g);
    return true;
}

bool RowLayout::appendClosings(std::string& out, int64_t row) const {
    auto count = ends_.count(row);
    for (size_t i = 0; i < count; ++i)
        out += "</table:table-row-group>";
    return count > 0;
}

void appendRowAttributes(std::string& out, const RowLook& look) {
    if (look.heightStyle) {
        out += " table:style-name=\"ro";
        appendInteger(out, look.heightStyle);
        out += '"';
    }
    if (look.hidden) out += " table:visibility=\"collapse\"";
}

void appendColumns(std::string& out, const Sheet& sheet, const std::function<int(double)>& widthStyle) {
    int64_t columns = std::max<int64_t>(sheet.columnCount(), 1);
    for (int64_t r = 0; r < sheet.storedRowCount(); ++r)
        columns = std::max(columns, sheet.storedColumnCount(r));
    if (!sheet.columnWidths.empty()) columns = std::max(columns, sheet.columnWidths.rbegin()->first + 1);
    columns = std::min(columns, kMaxColumns);
    std::vector<OutlineSpan> groups = nestedGroups(columnOutlineSpans(sheet));
    for (const OutlineSpan& g : groups)
        columns = std::max(columns, std::min(g.last + 1, kMaxColumns));
    std::multimap<int64_t, OutlineSpan> starts, ends;
    for (const OutlineSpan& g : groups) {
        starts.emplace(g.first, g);
        ends.emplace(std::min(g.last, kMaxColumns - 1), g);
    }
    for (int64_t c = 0; c < columns; ++c) {
        auto [first, last] = starts.equal_range(c);
        for (int64_t level = 1; level <= kMaxOutlineLevel; ++level)
            for (auto it = first; it != last; ++it)
                if (it->second.level == level) appendGroupOpening(out, "table-column-group", it->second);
        out += "<table:table-column";
        if (auto width = sheet.columnWidths.find(c); width != sheet.columnWidths.end()) {
            out += " table:style-name=\"co";
            appendInteger(out, widthStyle(width->second));
            out += '"';
        }
        if (sheet.hiddenColumns.contains(c)) out += " table:visibility=\"collapse\"";
        out += "/>";
        for (size_t i = 0, n = ends.count(c); i < n; ++i)
            out += "</table:table-column-group>";
    }
    // Hidden columns right of everything else, as one repeated column each run.
    for (const auto& [spanFirst, spanLast] : sheet.hiddenColumns.spans()) {
        int64_t from = std::max(spanFirst, columns), to = std::min(spanLast, kMaxColumns - 1);
        if (from > to) continue;
        if (from > columns) {
            out += "<table:table-column table:number-columns-repeated=\"";
            appendInteger(out, from - columns);
            out += "\"/>";
        }
        out += "<table:table-column table:number-columns-repeated=\"";
        appendInteger(out, to - from + 1);
        out += "\" table:visibility=\"collapse\"/>";
        columns = to + 1;
    }
}

} // namespace sumora::ods
