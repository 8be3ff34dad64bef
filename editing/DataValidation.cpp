#include "editing/DataValidation.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "engine/FormulaAdjuster.h"
#include "engine/FormulaEvaluator.h"
#include "engine/FormulaParser.h"
#include "engine/WorkbookResolver.h"
#include "functions/BuiltinFunctions.h"
#include "values/SerialDate.h"
#include "values/StrictNumber.h"

namespace sumora {

namespace {

// Reads the workbook as it is, except that the checked cell holds the
// candidate value, so a custom formula sees the entry before it is stored.
class CandidateResolver : public WorkbookResolver {
  public:
    CandidateResolver(const SumoraDocument& document, size_t sheetIndex, int64_t col, int64_t row,
                      const FormulaValue& candidate)
        : WorkbookResolver(document, sheetIndex, CellRef{col, row, std::nullopt}), col_(col), row_(row),
          candidate_(candidate), own_(sheetNamed(std::nullopt)) {}

    FormulaValue cellValue(CellPosition at, std::optional<std::string_view> sheet) override {
        if (at.col == col_ && at.row == row_ && sheetNamed(sheet) == own_) return candidate_;
        return WorkbookResolver::cellValue(at, sheet);
    }

    void rangeValues(const RangeSpec& range, std::vector<FormulaValue>& out) override {
        const size_t first = out.size();
        WorkbookResolver::rangeValues(range, out);
        if (!covers(range)) return;
        // The clipped range is row-major from its top-left corner inside the grid.
        auto clipped = clipToGrid(range, own_->rowCount(), own_->columnCount());
        if (!clipped) return;
        const auto at =
            static_cast<size_t>((row_ - clipped->row1) * clipped->cols() + (col_ - clipped->col1));
        if (first + at < out.size()) out[first + at] = candidate_;
    }

    void rangeEntries(const RangeSpec& range, SparseRange& out) override {
        WorkbookResolver::rangeEntries(range, out);
        if (!covers(range)) return;
        auto clipped = clipToGrid(range, own_->rowCount(), own_->columnCount());
        if (!clipped) return;
        const int64_t at = (row_ - clipped->row1) * out.cols + (col_ - clipped->col1);
        auto it = std::lower_bound(out.entries.begin(), out.entries.end(), at,
                                   [](const RangeEntry& e, int64_t p) { return e.position < p; });
        bool present = it != out.entries.end() && it->position == at;
        if (candidate_.isEmpty()) {
            if (present) out.entries.erase(it);
        } else if (present) {
            it->value = candidate_;
        } else {
            out.entries.insert(it, {at, candidate_});
        }
    }

    void rangeNumbers(const RangeSpec& range, std::vector<double>& out) override {
        if (!covers(range)) return WorkbookResolver::rangeNumbers(range, out);
        std::vector<FormulaValue> values;
        rangeValues(range, values);
        for (const FormulaValue& v : values)
            if (v.isNumber()) out.push_back(v.numberValue());
    }

  private:
    bool covers(const RangeSpec& range) const {
        return own_ && sheetNamed(range.sheet) == own_ && !range.isBackwards() && range.col1 <= col_ &&
               col_ <= range.col2 && range.row1 <= row_ && row_ <= range.row2 && own_->contains(row_, col_);
    }

    int64_t col_, row_;
    const FormulaValue& candidate_;
    const Sheet* own_;
};

FormulaValue evaluateAt(const SumoraDocument& document, std::string_view formula, CellResolver& resolver) {
    try {
        FormulaTree tree = parseFormula(formula, builtinFunctions(), [&document](std::string_view name) {
            return findNamedRange(document.namedRanges, name).has_value();
        });
        FormulaEvaluator evaluator(resolver);
        FormulaValue result = evaluator.evaluate(tree);
        // An array result stands for its top-left element, as in a cell.
        if (result.kind() == FormulaValue::Kind::array) {
            const ValueRows& rows = result.arrayRows();
            if (rows.empty() || rows.front().empty()) return FormulaValue::empty();
            return rows.front().front();
        }
        return result;
    } catch (const FormulaParseError& e) {
        return FormulaValue::error(e.error);
    }
}

bool isEmptyValue(const FormulaValue& v) {
    return v.kind() == FormulaValue::Kind::empty || (v.isText() && v.textValue().empty());
}

bool within(double x, std::optional<double> min, std::optional<double> max) {
    return (!min || x >= *min) && (!max || x <= *max);
}

size_t characterCount(std::string_view text) {
    size_t n = 0;
    for (char c : text)
        if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) ++n;
    return n;
}

// A date bound or entry as a serial: a number as it is, a text as a date.
std::optional<double> dateSerial(const FormulaValue& v) {
    if (v.isNumber()) return v.numberValue();
    if (v.isText()) return parseDateValueText(v.textValue());
    return std::nullopt;
}

std::optional<double> boundSerial(const std::optional<std::string>& text) {
    if (!text || text->empty()) return std::nullopt;
    if (auto n = parseStrictNumber(*text)) return n;
    return parseDateValueText(*text);
}

std::string trimmed(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t'))
        s.remove_suffix(1);
    return std::string(s);
}

bool listContains(const validation::List& list, const FormulaValue& v) {
    const std::string text = v.description();
    const auto number = v.isNumber() ? std::optional<double>(v.numberValue()) : std::nullopt;
    for (const std::string& raw : list.entries) {
        const std::string entry = trimmed(raw);
        if (entry == text) return true;
        // "1.0" in the list allows an entered 1.
        if (number) {
            auto n = parseStrictNumber(entry);
            if (n && *n == *number) return true;
        }
    }
    return false;
}

bool isTruthy(const FormulaValue& v) {
    if (v.kind() == FormulaValue::Kind::boolean) return v.boolValue();
    if (v.isNumber()) return v.numberValue() != 0;
    if (v.isText()) return v.textValue() == "TRUE";
    return false;
}

std::string numberText(double x) {
    return numberDescription(x);
}

std::string boundsPhrase(const std::optional<std::string>& low, const std::optional<std::string>& high,
                         std::string_view atLeast, std::string_view atMost) {
    if (low && high) return " between " + *low + " and " + *high;
    if (low) return std::string(atLeast) + *low;
    if (high) return std::string(atMost) + *high;
    return "";
}

std::optional<std::string> optionalNumberText(std::optional<double> x) {
    if (!x) return std::nullopt;
    return numberText(*x);
}

std::optional<std::string> optionalIntText(std::optional<int64_t> x) {
    if (!x) return std::nullopt;
    return std::to_string(*x);
}

} // namespace

const DataValidationRule* validationRuleAt(const Sheet& sheet, CellPosition at) {
    for (const DataValidationRule& rule : sheet.dataValidations)
        if (rule.applies(at)) return &rule;
    return nullptr;
}

FormulaValue entryValue(const SumoraDocument& document, size_t sheetIndex, CellPosition at,
                        std::string_view text) {
    const int64_t col = at.col, row = at.row;
    if (!text.empty() && text.front() == '=') {
        if (text.size() == 1) return FormulaValue::empty();
        WorkbookResolver resolver(document, sheetIndex, CellRef{col, row, std::nullopt});
        return evaluateAt(document, text.substr(1), resolver);
    }
    return readCellText(std::nullopt, text);
}

bool satisfiesValidation(const DataValidationRule& rule, const FormulaValue& value,
                         const SumoraDocument& document, size_t sheetIndex, CellPosition at) {
    const int64_t col = at.col, row = at.row;
    if (isEmptyValue(value)) return true;
    struct Visitor {
        const FormulaValue& value;
        const DataValidationRule& rule;
        const SumoraDocument& document;
        size_t sheetIndex;
        int64_t col, row;

        bool operator()(const validation::WholeNumber& w) const {
            if (!value.isNumber()) return false;
            const double x = value.numberValue();
            return std::floor(x) == x && within(x, w.min, w.max);
        }
        bool operator()(const validation::Decimal& d) const {
            return value.isNumber() && within(value.numberValue(), d.min, d.max);
        }
        bool operator()(const validation::List& l) const { return listContains(l, value); }
        bool operator()(const validation::TextLength& t) const {
            if (value.kind() == FormulaValue::Kind::error) return false;
            const auto n = static_cast<double>(characterCount(value.description()));
            auto asDouble = [](std::optional<int64_t> i) {
                return i ? std::optional<double>(static_cast<double>(*i)) : std::nullopt;
            };
            return within(n, asDouble(t.min), asDouble(t.max));
        }
        bool operator()(const validation::Date& d) const {
            auto serial = dateSerial(value);
            return serial && within(*serial, boundSerial(d.after), boundSerial(d.before));
        }
        bool operator()(const validation::Custom& c) const {
            std::string_view formula = c.formula;
            if (!formula.empty() && formula.front() == '=') formula.remove_prefix(1);
            if (formula.empty()) return true;
            const std::string moved =
                FormulaAdjuster::adjustReferences(formula, row - std::min(rule.startRow, rule.endRow),
                                                  col - std::min(rule.startCol, rule.endCol));
            CandidateResolver resolver(document, sheetIndex, col, row, value);
            return isTruthy(evaluateAt(document, moved, resolver));
        }
    };
    return std::visit(Visitor{value, rule, document, sheetIndex, col, row}, rule.validationType);
}

namespace {

ValidationVerdict verdictFor(const SumoraDocument& document, size_t sheetIndex, CellPosition at,
                             const DataValidationRule& rule, const FormulaValue& value) {
    ValidationVerdict verdict;
    if (satisfiesValidation(rule, value, document, sheetIndex, at)) return verdict;
    switch (rule.errorStyle) {
    case ValidationErrorStyle::stop:
        verdict.outcome = ValidationOutcome::refuse;
        break;
    case ValidationErrorStyle::warning:
        verdict.outcome = ValidationOutcome::askToContinue;
        break;
    case ValidationErrorStyle::information:
        verdict.outcome = ValidationOutcome::inform;
        break;
    }
    verdict.title = rule.errorTitle && !rule.errorTitle->empty() ? *rule.errorTitle : "Invalid Entry";
    verdict.message = rule.errorMessage && !rule.errorMessage->empty()
                          ? *rule.errorMessage
                          : describeValidation(rule.validationType);
    return verdict;
}

} // namespace

ValidationVerdict checkEntry(const SumoraDocument& document, size_t sheetIndex, CellPosition at,
                             std::string_view text) {
    if (sheetIndex >= document.sheets.size()) return {};
    const DataValidationRule* rule = validationRuleAt(document.sheets[sheetIndex], at);
    if (!rule) return {};
    return verdictFor(document, sheetIndex, at, *rule, entryValue(document, sheetIndex, at, text));
}

std::string describeValidation(const ValidationType& type) {
    struct Visitor {
        std::string operator()(const validation::WholeNumber& w) const {
            return "The value must be a whole number" +
                   boundsPhrase(optionalNumberText(w.min), optionalNumberText(w.max), " of at least ",
                                " of at most ") +
                   ".";
        }
        std::string operator()(const validation::Decimal& d) const {
            return "The value must be a number" +
                   boundsPhrase(optionalNumberText(d.min), optionalNumberText(d.max), " of at least ",
                                " of at most ") +
                   ".";
        }
        std::string operator()(const validation::List& l) const {
            std::string joined;
            for (size_t i = 0; i < l.entries.size(); ++i) {
                if (i > 0) joined += ", ";
                joined += trimmed(l.entries[i]);
            }
            return "The value must be one of: " + joined + ".";
        }
        std::string operator()(const validation::TextLength& t) const {
            if (!t.min && !t.max) return "The text length is restricted.";
            return "The text must be" +
                   boundsPhrase(optionalIntText(t.min), optionalIntText(t.max), " at least ", " at most ") +
                   " characters long.";
        }
        std::string operator()(const validation::Date& d) const {
            return "The value must be a date" +
                   boundsPhrase(d.after, d.before, " on or after ", " on or before ") + ".";
        }
        std::string operator()(const validation::Custom& c) const {
            std::string formula = c.formula;
            if (formula.empty() || formula.front() != '=') formula.insert(0, "=");
            return "The value must satisfy the formula " + formula + ".";
        }
    };
    return std::visit(Visitor{}, type);
}

std::optional<InputPrompt> inputPromptAt(const Sheet& sheet, CellPosition at) {
    const DataValidationRule* rule = validationRuleAt(sheet, at);
    if (!rule) return std::nullopt;
    InputPrompt prompt{rule->inputTitle.value_or(""), rule->inputMessage.value_or("")};
    if (prompt.title.empty() && prompt.message.empty()) return std::nullopt;
    return prompt;
}

std::optional<std::vector<std::string>> dropdownEntriesAt(const Sheet& sheet, CellPosition at) {
    const DataValidationRule* rule = validationRuleAt(sheet, at);
    if (!rule || !rule->showDropdown) return std::nullopt;
    const auto* list = std::get_if<validation::List>(&rule->validationType);
    if (!list) return std::nullopt;
    std::vector<std::string> entries;
    for (const std::string& e : list->entries)
        entries.push_back(trimmed(e));
    return entries;
}

} // namespace sumora
