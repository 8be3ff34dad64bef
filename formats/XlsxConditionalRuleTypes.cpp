#include "formats/XlsxConditionalRuleTypes.h"

#include <algorithm>
#include <cmath>

#include "engine/FormulaParser.h"
#include "formats/XlsxText.h"
#include "formats/XlsxWorksheetReader.h"
#include "functions/BuiltinFunctions.h"

namespace sumora::xlsx {

namespace {

std::optional<double> plainNumber(std::string_view formula) {
    size_t first = formula.find_first_not_of(" \t\r\n");
    if (first != std::string_view::npos && formula[first] == '=') formula.remove_prefix(first + 1);
    auto v = parseDouble(formula);
    if (!v || !std::isfinite(*v)) return std::nullopt;
    return v;
}

// The leading formulas that are plain numbers, `count` of them at most.
std::vector<double> plainNumbers(const std::vector<std::string>& formulas, size_t count) {
    std::vector<double> numbers;
    for (const std::string& formula : formulas) {
        if (numbers.size() == count) break;
        auto v = plainNumber(formula);
        if (!v) break;
        numbers.push_back(*v);
    }
    return numbers;
}

// cellIs with bounds that are formulas or texts: the same test, spelt out.
std::optional<std::string> comparisonFormula(const ConditionalRuleElement& e, const std::string& cell) {
    if (e.formulas.empty()) return std::nullopt;
    const std::string a = "(" + importedFormula(e.formulas[0]) + ")";
    static constexpr std::pair<std::string_view, std::string_view> kOperators[] = {
        {"greaterThan", ">"},         {"lessThan", "<"},        {"equal", "="}, {"notEqual", "<>"},
        {"greaterThanOrEqual", ">="}, {"lessThanOrEqual", "<="}};
    for (auto [name, symbol] : kOperators)
        if (e.op == name) return cell + std::string(symbol) + a;
    if ((e.op != "between" && e.op != "notBetween") || e.formulas.size() < 2) return std::nullopt;
    const std::string b = "(" + importedFormula(e.formulas[1]) + ")";
    // Either bound may be the lower one.
    std::string within = "OR(AND(" + cell + ">=" + a + "," + cell + "<=" + b + "),AND(" + cell + ">=" + b +
                         "," + cell + "<=" + a + "))";
    return e.op == "between" ? within : "NOT(" + within + ")";
}

std::optional<Threshold> threshold(const ValueObject& v) {
    Threshold t;
    t.inclusive = v.gte;
    auto kind = thresholdKindFromRaw(v.type);
    if (!kind) return std::nullopt;
    t.kind = *kind;
    if (t.kind == ThresholdKind::formula) {
        if (!v.val || v.val->empty()) return std::nullopt;
        // A bound written as a plain number is a number.
        if (auto n = plainNumber(*v.val)) {
            t.kind = ThresholdKind::number;
            t.value = *n;
        } else {
            t.formula = importedFormula(*v.val);
        }
    } else if (t.kind != ThresholdKind::min && t.kind != ThresholdKind::max) {
        auto n = v.val ? plainNumber(*v.val) : std::nullopt;
        if (n) {
            t.value = *n;
        } else if (v.val && !v.val->empty()) {
            t.kind = ThresholdKind::formula; // a cell reference where a number was expected
            t.formula = importedFormula(*v.val);
        } else {
            return std::nullopt;
        }
    }
    return t;
}

std::optional<std::vector<Threshold>> thresholds(const std::vector<ValueObject>& objects) {
    std::vector<Threshold> out;
    for (const ValueObject& v : objects) {
        auto t = threshold(v);
        if (!t) return std::nullopt;
        out.push_back(std::move(*t));
    }
    return out;
}

bool isKind(const Threshold& t, ThresholdKind kind, double value = 0) {
    return t.kind == kind && (kind == ThresholdKind::min || kind == ThresholdKind::max || t.value == value);
}

RuleReading scaleOrBar(const ConditionalRuleElement& e) {
    if (std::any_of(e.colors.begin(), e.colors.end(), [](const auto& c) { return !c; }))
        return std::string("a colour it cannot resolve");
    auto points = thresholds(e.valueObjects);
    if (!points) return std::string("a breakpoint it cannot read");
    const auto& t = *points;
    if (e.type == "dataBar") {
        if (e.colors.empty()) return std::string("a data bar without a colour");
        // Files written before breakpoints were kept have none.
        if (t.empty() ||
            (t.size() == 2 && isKind(t[0], ThresholdKind::min) && isKind(t[1], ThresholdKind::max)))
            return rule::DataBar{*e.colors[0]};
        if (t.size() != 2) return std::string("a data bar with " + std::to_string(t.size()) + " breakpoints");
        return rule::CustomDataBar{*e.colors[0], t[0], t[1]};
    }
    const size_t n = e.colors.size();
    if (n != 2 && n != 3) return std::string("a colour scale of " + std::to_string(n) + " colours");
    if (t.empty() ||
        (t.size() == n && isKind(t.front(), ThresholdKind::min) && isKind(t.back(), ThresholdKind::max) &&
         (n == 2 || isKind(t[1], ThresholdKind::percentile, 50)))) {
        if (n == 2) return rule::ColorScale2{*e.colors[0], *e.colors[1]};
        return rule::ColorScale3{*e.colors[0], *e.colors[1], *e.colors[2]};
    }
    if (t.size() != n) return std::string("a colour scale whose breakpoints and colours differ in number");
    rule::CustomColorScale scale;
    for (size_t i = 0; i < n; ++i)
        scale.stops.push_back({t[i], *e.colors[i]});
    return scale;
}

RuleReading iconSet(const ConditionalRuleElement& e) {
    auto style = iconSetStyleFromRaw(e.iconSet);
    if (!style) return std::string("icon set '" + e.iconSet + "'");
    auto points = thresholds(e.valueObjects);
    if (!points) return std::string("an icon set with a threshold it cannot read");
    if (static_cast<int>(points->size()) != iconCount(*style))
        return std::string("an icon set of " + std::to_string(iconCount(*style)) + " icons with " +
                           std::to_string(points->size()) + " thresholds");
    return rule::IconSet{*style, std::move(*points), e.reverse, e.showValue};
}

bool parses(const std::string& formula) {
    try {
        parseFormula(formula, builtinFunctions(), [](std::string_view) { return true; });
        return true;
    } catch (const FormulaParseError&) {
        return false;
    }
}

} // namespace

static RuleReading interpret(const ConditionalRuleElement& e, const std::string& topLeft) {
    const std::string& type = e.type;
    if (type == "cellIs") {
        std::vector<double> n = plainNumbers(e.formulas, 2);
        if (n.size() >= 1) {
            if (e.op == "greaterThan") return rule::GreaterThan{n[0]};
            if (e.op == "lessThan") return rule::LessThan{n[0]};
            if (e.op == "equal") return rule::EqualTo{n[0]};
            if (e.op == "greaterThanOrEqual") return rule::GreaterOrEqual{n[0]};
            if (e.op == "lessThanOrEqual") return rule::LessOrEqual{n[0]};
            if (e.op == "notEqual") return rule::NotEqualTo{n[0]};
        }
        if (n.size() >= 2) {
            if (e.op == "between") return rule::Between{n[0], n[1]};
            if (e.op == "notBetween") return rule::NotBetween{n[0], n[1]};
        }
        if (auto formula = comparisonFormula(e, topLeft)) return rule::Expression{*formula};
        return std::string("a comparison '" + e.op + "' without its bounds");
    }
    if (type == "containsText" || type == "notContainsText" || type == "beginsWith" || type == "endsWith") {
        if (!e.text) return std::string("a text rule without its text");
        if (type == "containsText") return rule::TextContains{*e.text};
        if (type == "notContainsText") return rule::TextNotContains{*e.text};
        if (type == "beginsWith") return rule::TextStartsWith{*e.text};
        return rule::TextEndsWith{*e.text};
    }
    if (type == "top10") {
        int64_t rank = e.rank.value_or(10);
        if (rank < 1) return std::string("a rank of " + std::to_string(rank));
        if (e.percent) {
            if (rank > 100) return std::string("a rank of " + std::to_string(rank) + " per cent");
            if (e.bottom) return rule::BottomPercent{rank};
            return rule::TopPercent{rank};
        }
        if (e.bottom) return rule::BottomN{rank};
        return rule::TopN{rank};
    }
    if (type == "colorScale" || type == "dataBar") return scaleOrBar(e);
    if (type == "iconSet") return iconSet(e);
    if (type == "duplicateValues") return rule::DuplicateValues{};
    if (type == "uniqueValues") return rule::UniqueValues{};
    if (type == "containsBlanks") return rule::IsBlank{};
    if (type == "notContainsBlanks") return rule::IsNotBlank{};
    if (type == "aboveAverage") {
        // The model compares strictly with the mean itself.
        if (e.equalAverage) return std::string("a comparison with the average that includes it");
        if (e.deviations) return std::string("a comparison with standard deviations");
        if (e.above) return rule::AboveAverage{};
        return rule::BelowAverage{};
    }
    if (type == "expression" || type == "containsErrors" || type == "notContainsErrors" ||
        type == "timePeriod") {
        if (e.formulas.empty() || e.formulas[0].find_first_not_of(" \t\r\n") == std::string::npos)
            return std::string("a rule '" + type + "' without its formula");
        std::string formula = importedFormula(e.formulas[0]);
        // How blank tests are spelt where the format has no keyword for them.
        if (formula == "LEN(TRIM(" + topLeft + "))=0") return rule::IsBlank{};
        if (formula == "LEN(TRIM(" + topLeft + "))>0") return rule::IsNotBlank{};
        return rule::Expression{formula};
    }
    return std::string("rule type '" + type + "'");
}

RuleReading readRuleType(const ConditionalRuleElement& element, const std::string& topLeft) {
    RuleReading reading = interpret(element, topLeft);
    if (const auto* type = std::get_if<ConditionalRuleType>(&reading))
        if (const auto* expression = std::get_if<rule::Expression>(type);
            expression && !parses(expression->formula))
            return std::string("an expression that does not parse");
    return reading;
}

} // namespace sumora::xlsx
