#include "formats/XlsxValidations.h"

#include <cmath>
#include <cstdio>

#include "formats/XlsxText.h"
#include "formats/XlsxWorksheetReader.h"
#include "formats/XmlWriter.h"
#include "values/SerialDate.h"

namespace sumora::xlsx {

// ---------------------------------------------------------------------------
// ValidationMarkup

void ValidationMarkup::beginRule() {
    inRule_ = true;
    attributes_.clear();
    children_.clear();
    sqref_.clear();
}

void ValidationMarkup::attribute(std::string_view localName, std::string_view value) {
    if (!inRule_) return;
    attributes_ += ' ';
    attributes_ += localName;
    attributes_ += "=\"";
    appendXmlEscaped(attributes_, value, XmlContext::attribute);
    attributes_ += '"';
}

void ValidationMarkup::beginChild(std::string_view localName) {
    if (!inRule_) return;
    child_ = std::string(localName);
    childText_.clear();
}

void ValidationMarkup::text(std::string_view text) {
    if (!child_.empty()) childText_ += text;
}

void ValidationMarkup::endChild() {
    if (child_.empty()) return;
    if (child_ == "sqref") {
        sqref_ += childText_;
    } else {
        children_ += '<' + child_ + '>';
        appendXmlEscaped(children_, childText_, XmlContext::text);
        children_ += "</" + child_ + '>';
    }
    child_.clear();
}

void ValidationMarkup::endRule() {
    if (!inRule_) return;
    if (!sqref_.empty()) attribute("sqref", sqref_);
    inRule_ = false;
    markup_ += "<dataValidation";
    markup_ += attributes_;
    markup_ += '>';
    markup_ += children_;
    markup_ += "</dataValidation>";
}

// ---------------------------------------------------------------------------
// Reading the rules

namespace {

// Ranges one rule may name; each becomes a rule of its own.
constexpr size_t kMaxValidationRanges = 10000;

std::optional<std::string> captured(const TextPattern& pattern, std::string_view element) {
    auto group = pattern.firstGroup(element);
    if (!group) return std::nullopt;
    return decodeXmlEntities(*group);
}

struct Bounds {
    std::optional<std::string> low, high;
};

// The operator decides which formula is a lower and which an upper bound;
// "notBetween" and "notEqual" cannot be expressed and give no bounds.
Bounds boundsFor(std::string_view op, const std::optional<std::string>& f1,
                 const std::optional<std::string>& f2) {
    if (op.empty() || op == "between") return {f1, f2};
    if (op == "equal") return {f1, f1};
    if (op == "greaterThan" || op == "greaterThanOrEqual") return {f1, std::nullopt};
    if (op == "lessThan" || op == "lessThanOrEqual") return {std::nullopt, f1};
    return {};
}

std::optional<double> number(const std::optional<std::string>& text) {
    if (!text) return std::nullopt;
    auto v = parseDouble(*text);
    if (!v || !std::isfinite(*v)) return std::nullopt;
    return v;
}

std::optional<int64_t> integer(const std::optional<std::string>& text) {
    auto v = number(text);
    if (!v || std::fabs(*v) > 9e15) return std::nullopt;
    return static_cast<int64_t>(std::llround(*v));
}

// A serial number becomes "yyyy-mm-dd", moved by `shiftDays` (a strict
// bound is the next or previous day); a formula or text stays as written.
std::optional<std::string> dateText(const std::optional<std::string>& text, int shiftDays = 0) {
    auto serial = number(text);
    if (!serial || std::fabs(*serial) > 3e6) return text;
    CivilDate d = dateFrom1900(static_cast<int64_t>(std::floor(*serial)) + shiftDays);
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%04lld-%02d-%02d", static_cast<long long>(d.year), d.month, d.day);
    return std::string(buffer);
}

std::optional<ValidationType> validationType(std::string_view type, std::string_view op,
                                             const std::optional<std::string>& f1,
                                             const std::optional<std::string>& f2) {
    if (type == "list") {
        validation::List list;
        if (!f1) return list;
        std::string_view entries = *f1;
        while (!entries.empty() && entries.front() == '"')
            entries.remove_prefix(1);
        while (!entries.empty() && entries.back() == '"')
            entries.remove_suffix(1);
        for (size_t start = 0;;) {
            size_t comma = entries.find(',', start);
            list.entries.emplace_back(
                entries.substr(start, comma == std::string_view::npos ? comma : comma - start));
            if (comma == std::string_view::npos) break;
            start = comma + 1;
        }
        return list;
    }
    Bounds b = boundsFor(op, f1, f2);
    if (type == "whole") {
        validation::WholeNumber w{number(b.low), number(b.high)};
        // A strict bound on whole numbers is the next whole number.
        if (op == "greaterThan" && w.min) w.min = std::floor(*w.min) + 1;
        if (op == "lessThan" && w.max) w.max = std::ceil(*w.max) - 1;
        return w;
    }
    if (type == "decimal") return validation::Decimal{number(b.low), number(b.high)};
    if (type == "textLength") {
        validation::TextLength t{integer(b.low), integer(b.high)};
        if (op == "greaterThan" && t.min) ++*t.min;
        if (op == "lessThan" && t.max) --*t.max;
        return t;
    }
    if (type == "date")
        return validation::Date{dateText(b.low, op == "greaterThan" ? 1 : 0),
                                dateText(b.high, op == "lessThan" ? -1 : 0)};
    if (type == "custom") {
        std::string formula = f1.value_or("");
        if (!formula.empty() && formula.front() == '=') formula.erase(0, 1);
        return validation::Custom{std::move(formula)};
    }
    return std::nullopt; // "none", "time" and unknown types have no model
}

} // namespace

std::vector<DataValidationRule> parseDataValidations(std::string_view markup) {
    static const TextPattern elementPattern(R"re(<dataValidation\s[^>]*>.*?</dataValidation>)re");
    static const TextPattern sqrefPattern(R"re(sqref="([^"]+)")re");
    static const TextPattern typePattern(R"re(type="([^"]+)")re");
    static const TextPattern promptTitlePattern(R"re(promptTitle="([^"]+)")re");
    static const TextPattern promptPattern(R"re(prompt="([^"]+)")re");
    static const TextPattern formula1Pattern(R"re(<formula1>(.*?)</formula1>)re");
    static const TextPattern formula2Pattern(R"re(<formula2>(.*?)</formula2>)re");
    static const TextPattern operatorPattern(R"re(operator="([^"]+)")re");
    static const TextPattern errorStylePattern(R"re(errorStyle="([^"]+)")re");
    static const TextPattern errorTitlePattern(R"re(errorTitle="([^"]+)")re");
    static const TextPattern errorPattern(R"re(error="([^"]+)")re");
    static const TextPattern dropDownPattern(R"re(showDropDown="([^"]+)")re");

    std::vector<DataValidationRule> rules;
    elementPattern.forEachMatch(markup, [&](const TextPattern::Match& m) {
        std::string_view element = m.group(0).value_or("");
        auto sqref = captured(sqrefPattern, element);
        if (!sqref) return;
        std::string type = captured(typePattern, element).value_or("none");
        std::string op = captured(operatorPattern, element).value_or("");
        auto kind =
            validationType(type, op, captured(formula1Pattern, element), captured(formula2Pattern, element));
        if (!kind) return;

        DataValidationRule rule;
        rule.validationType = std::move(*kind);
        rule.inputTitle = captured(promptTitlePattern, element);
        rule.inputMessage = captured(promptPattern, element);
        std::string style = captured(errorStylePattern, element).value_or("stop");
        rule.errorStyle = style == "warning"       ? ValidationErrorStyle::warning
                          : style == "information" ? ValidationErrorStyle::information
                                                   : ValidationErrorStyle::stop;
        rule.errorTitle = captured(errorTitlePattern, element);
        rule.errorMessage = captured(errorPattern, element);
        // The attribute's name says the opposite of what it does: set, it hides the arrow.
        bool hideArrow = parseBoolean(captured(dropDownPattern, element).value_or("0")).value_or(false);
        rule.showDropdown = type == "list" && !hideArrow;

        for (const CellArea& box : parseSqref(*sqref, kMaxValidationRanges)) {
            DataValidationRule r = rule;
            r.id = newIdentifier();
            r.startCol = box.startCol;
            r.startRow = box.startRow;
            r.endCol = box.endCol;
            r.endRow = box.endRow;
            rules.push_back(std::move(r));
        }
    });
    return rules;
}

} // namespace sumora::xlsx
