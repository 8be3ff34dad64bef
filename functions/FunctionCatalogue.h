#pragma once
// The catalogue of built-in functions that the interface offers: the Insert
// Function panel lists and searches it, the cell editor's autocomplete proposes
// from it, and the function-arguments panel builds a formula from an entry.
// It is presentation data only: the evaluator never consults it, so a name is
// evaluated (or rejected) by the dispatcher whether or not it is catalogued.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace sumora {

// `all` is a filter value only; no catalogue entry carries it.
enum class FunctionCategory { all, math, logical, text, lookup, date, statistical, financial, info };

// "All", "Math", "Logical", … — also the category's identity in the interface.
std::string_view displayText(FunctionCategory category);
// Every category, `all` first, in the order the interface lists them.
std::span<const FunctionCategory> allFunctionCategories();
std::optional<FunctionCategory> functionCategoryFromDisplayText(std::string_view text);

struct FunctionDef {
    std::string id; // a fresh UUID per entry, identity for list display only
    std::string name;
    std::string signature; // "SUMIF(range, criteria, sum_range)"; ", ..." marks a repeatable tail
    std::string description;
    FunctionCategory category = FunctionCategory::math;
};

// The 161 catalogued functions in display order, built once on first use
// (thread-safe) from the declarations flagged `listed`, never changed afterwards.
const std::vector<FunctionDef>& sumoraFunctionLibrary();

// The Insert Function panel's list: entries of `category` (every entry for
// `all`) whose name contains the upper-cased search text, or whose description
// contains it ignoring case. An empty search keeps the whole category.
std::vector<const FunctionDef*> filteredFunctions(FunctionCategory category, std::string_view search);

// "1 result", otherwise "N results".
std::string resultCountText(std::size_t count);

// At most 8 entries, in catalogue order, whose names begin with the word being
// typed after the last operator or separator of a formula ("=A1+su" → SU…).
std::vector<const FunctionDef*> formulaAutocompleteSuggestions(std::string_view editorText);

// The parameters of an entry's signature, one per argument slot of the
// function-arguments panel; a repeatable tail stays as one last "..." slot.
std::vector<std::string> parameterNames(const FunctionDef& function);
int argumentSlotCount(const FunctionDef& function);

struct FunctionArgsCommit {
    std::string formula; // "=IF(A1>0,1)", with the leading "="
    std::string target;  // "C7"
    int argCount = 0;    // arguments kept after dropping the trailing empty ones
};

// Assembles the formula of the function-arguments panel for the target cell
// (zero-based column and row) and logs it. Storing it into the cell is the
// editor's part.
FunctionArgsCommit commitFunctionArgs(std::string_view name, const std::vector<std::string>& args,
                                      int64_t targetCol, int64_t targetRow);

} // namespace sumora
