#pragma once
// What inserting, removing and reordering rows or columns does to the
// properties a sheet keeps per row, column or cell address beside its cells:
// sizes, hidden flags, outline groups and hyperlinks move with their lines,
// and those of removed lines go with them. Sheet's structural edits call these.
#include <cstdint>
#include <vector>

namespace sumora {

class Sheet;

void insertRowProperties(Sheet& sheet, int64_t at, int64_t count);
void removeRowProperties(Sheet& sheet, int64_t at, int64_t count);
void insertColumnProperties(Sheet& sheet, int64_t at, int64_t count);
void removeColumnProperties(Sheet& sheet, int64_t at, int64_t count);
// New row first+i takes the properties of old row first+order[i]; outline
// groups describe the layout, not the rows' content, and stay.
void permuteRowProperties(Sheet& sheet, int64_t first, const std::vector<int64_t>& order);

} // namespace sumora
