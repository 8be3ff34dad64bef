#pragma once
// The "Remove Duplicates" dialog's choices and its report.
#include <cstdint>
#include <set>
#include <string>
#include <string_view>

namespace sumora {

// Shown in the dialog before the removal: it registers no undo step.
inline constexpr std::string_view kRemoveDuplicatesWarningText =
    "This action cannot be undone. Consider saving your workbook first.";

struct RemoveDuplicatesRequest {
    bool hasHeaders = false;   // "My data has headers"
    std::set<int64_t> columns; // "Select columns to check"
};

struct RemoveDuplicatesResult {
    std::string statusText; // "2 duplicate row(s) removed, 3 unique row(s) remain."
};

} // namespace sumora
