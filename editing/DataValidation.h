#pragma once
// Data validation of cell entry: whether what the user typed satisfies the
// rule that covers the cell, and what the rule's error style makes of a
// failure (Stop refuses, Warning asks, Info informs). Also the rule's input
// prompt and the entries of a list rule's drop-down. Pure functions of the
// document; the window only shows what they decide.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "document/CellPosition.h"
#include "document/SumoraDocument.h"
#include "engine/FormulaValue.h"

namespace sumora {

// The first rule of the sheet that covers `at`, or nullptr.
const DataValidationRule* validationRuleAt(const Sheet& sheet, CellPosition at);

// What typed text amounts to where it would stand: a formula ("=…") is
// evaluated against the document as it is, anything else is read as a cell
// holding that text reads.
FormulaValue entryValue(const SumoraDocument& document, size_t sheetIndex, CellPosition at,
                        std::string_view text);

// Whether `value`, standing at `at`, satisfies the rule. An empty
// value always does (clearing a cell is allowed). Bounds are inclusive;
// date bounds are date texts ("2024-01-31") or serial numbers, and a bound
// that reads as neither places no limit. A custom formula is written for
// the rule's top-left cell and moves with the checked cell; it passes when
// it yields TRUE or a non-zero number.
bool satisfiesValidation(const DataValidationRule& rule, const FormulaValue& value,
                         const SumoraDocument& document, size_t sheetIndex, CellPosition at);

enum class ValidationOutcome {
    accept,        // valid, or no rule covers the cell
    refuse,        // Stop: the entry is not stored
    askToContinue, // Warning: stored only if the user says so
    inform,        // Info: stored, and the user is told
};

struct ValidationVerdict {
    ValidationOutcome outcome = ValidationOutcome::accept;
    std::string title;   // the rule's error title, else "Invalid Entry"
    std::string message; // the rule's error message, else what the rule allows
};

// Checks typed text for cell `at` of the given sheet.
ValidationVerdict checkEntry(const SumoraDocument& document, size_t sheetIndex, CellPosition at,
                             std::string_view text);

// A plain statement of what the rule allows ("The value must be a whole
// number between 1 and 10."), used when the rule brings no message.
std::string describeValidation(const ValidationType& type);

struct InputPrompt {
    std::string title;
    std::string message;
};
// The prompt shown when the cell is selected: nothing unless the covering
// rule has an input title or message.
std::optional<InputPrompt> inputPromptAt(const Sheet& sheet, CellPosition at);

// The choices of the drop-down: only for list rules that ask for one.
std::optional<std::vector<std::string>> dropdownEntriesAt(const Sheet& sheet, CellPosition at);

} // namespace sumora
