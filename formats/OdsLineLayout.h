#pragma once
// What the OpenDocument writer says about rows and columns beside their
// cells: row heights (as row styles), hidden rows and columns
// (table:visibility="collapse") and outline groups (nested
// table:table-row-group / table:table-column-group, folded ones with
// table:display="false").
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "formats/OutlineLevels.h"

namespace sumora {

class Sheet;

namespace ods {

// A row's attributes, compared to merge neighbouring empty rows into one repeat.
struct RowLook {
    int heightStyle = 0; // N of "roN", 0 for none
    bool hidden = false;
    bool operator==(const RowLook&) const = default;
    bool plain() const { return heightStyle == 0 && !hidden; }
};

// Outline groups made properly nested (each maximal run of a level is one
// group), keeping the folded state of groups that survive unchanged.
std::vector<OutlineSpan> nestedGroups(const std::vector<OutlineSpan>& groups);

class RowLayout {
  public:
    // `heightStyle` gives N of "roN" for a height.
    RowLayout(const Sheet& sheet, const std::function<int(double)>& heightStyle);

    bool empty() const { return empty_; }
    RowLook look(int64_t row) const;
    // One past the last row with a height, a hidden flag or a group.
    int64_t end() const { return end_; }
    // Writes the group elements that open before / close after `row`; true when any.
    bool appendOpenings(std::string& out, int64_t row) const;
    bool appendClosings(std::string& out, int64_t row) const;

  private:
    const Sheet& sheet_;
    std::map<int64_t, int> heightStyles_;
    std::multimap<int64_t, OutlineSpan> starts_, ends_;
    int64_t end_ = 0;
    bool empty_ = true;
};

void appendRowAttributes(std::string& out, const RowLook& look);

// The table's column elements; `widthStyle` gives N of "coN" for a width.
void appendColumns(std::string& out, const Sheet& sheet, const std::function<int(double)>& widthStyle);

} // namespace ods
} // namespace sumora
