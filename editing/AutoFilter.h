#pragma once
// The automatic filter of the active sheet: whether it is on, and per column
// the texts a row may show there. The editor holds one; the grid hides the
// rows that rowVisible refuses.
#include <cstdint>
#include <map>
#include <set>
#include <string>

namespace sumora {

class Sheet;

struct AutoFilter {
    bool enabled = false;
    std::map<int64_t, std::set<std::string>> allowed; // column → allowed texts

    // Exact, case-sensitive match of the cell's display text; a column with
    // no allowed texts places no condition.
    bool rowVisible(const Sheet& sheet, int64_t row) const;
};

} // namespace sumora
