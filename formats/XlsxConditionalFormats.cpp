#include "formats/XlsxConditionalFormats.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "formats/XlsxColors.h"
#include "formats/XlsxText.h"
#include "formats/XlsxWorksheetReader.h"
#include "formats/XmlReader.h"

namespace sumora::xlsx {

namespace {

// A bound is a short number; longer formula text is kept no further.
constexpr size_t kMaxFormulaLength = 1024;
// cellIs needs two formulas and a colour scale three colours; more is no rule.
constexpr size_t kMaxFormulas = 3;
constexpr size_t kMaxColors = 3;

// The depths of a block's elements: the block, its rules, their children
// (formula, colorScale, dataBar, extLst) and what a scale holds (cfvo, color).
constexpr int kBlockDepth = 1, kRuleDepth = 2, kRuleChildDepth = 3, kScaleChildDepth = 4;

// The leading formulas that are plain numbers, as the model's comparisons
// need; `count` of them at most.
std::vector<double> plainNumbers(const std::vector<std::string>& formulas, size_t count) {
    std::vector<double> numbers;
    for (std::string_view formula : formulas) {
        if (numbers.size() == count) break;
        size_t first = formula.find_first_not_of(" \t\r\n");
        if (first != std::string_view::npos && formula[first] == '=') formula.remove_prefix(first + 1);
        auto v = parseDouble(formula);
        if (!v || !std::isfinite(*v)) break;
        numbers.push_back(*v);
    }
    return numbers;
}

std::optional<bool> flag(const XmlAttributes& a, std::string_view name) {
    auto v = a.get(name);
    if (!v) return std::nullopt;
    return parseBoolean(*v);
}

} // namespace

void ConditionalFormatReader::startElement(std::string_view name, const XmlAttributes& a) {
    ++depth_;
    if (depth_ == kBlockDepth) return beginBlock(a);
    if (!active_) return;
    if (depth_ == kRuleDepth) {
        if (name == "cfRule") beginRule(a);
        return;
    }
    if (!rule_) return;
    if (depth_ == kRuleChildDepth) {
        if (name == "formula") {
            inFormula_ = true;
            formula_.clear();
        } else if (name == "colorScale" || name == "dataBar") {
            inScale_ = true;
        }
    } else if (depth_ == kScaleChildDepth && inScale_ && name == "color") {
        if (rule_->colors.size() == kMaxColors) {
            rule_->damaged = true;
            return;
        }
        ColorElement element = ColorElement::fromAttributes(a);
        std::optional<std::string> color;
        if (colors_)
            color = colors_->resolve(element);
        else if (element.rgb)
            color = hexFromArgb(*element.rgb);
        rule_->colors.push_back(std::move(color));
    }
}

void ConditionalFormatReader::endElement(std::string_view name) {
    (void)name; // depth alone says which element ends
    if (depth_ == kRuleChildDepth && rule_) {
        if (inFormula_ && rule_->formulas.size() < kMaxFormulas) rule_->formulas.push_back(formula_);
        inFormula_ = false;
        inScale_ = false;
    } else if (depth_ == kRuleDepth && rule_) {
        endRule();
    } else if (depth_ == kBlockDepth) {
        active_ = false;
        ranges_.clear();
    }
    depth_ = std::max(0, depth_ - 1);
}

void ConditionalFormatReader::characters(std::string_view text) {
    if (!inFormula_ || !rule_) return;
    if (formula_.size() + text.size() > kMaxFormulaLength) {
        rule_->damaged = true;
        return;
    }
    formula_.append(text);
}

// The ranges are a space-separated list in the sqref attribute; the
// extension list's blocks carry them in a child element instead and only
// repeat or refine rules of the main list, so they are passed over.
void ConditionalFormatReader::beginBlock(const XmlAttributes& a) {
    ranges_ = parseSqref(a.get("sqref").value_or(""), kMaxConditionalRules);
    active_ = !ranges_.empty();
}

void ConditionalFormatReader::beginRule(const XmlAttributes& a) {
    ConditionalRuleElement& r = rule_.emplace();
    r.type = std::string(a.get("type").value_or(""));
    r.op = std::string(a.get("operator").value_or(""));
    if (auto text = a.get("text")) r.text = std::string(*text);
    if (auto p = a.get("priority")) r.priority = parseInteger(*p);
    if (auto d = a.get("dxfId")) r.dxfId = parseInteger(*d);
    if (auto rank = a.get("rank")) {
        r.rank = parseInteger(*rank);
        r.damaged = !r.rank;
    }
    r.bottom = flag(a, "bottom").value_or(false);
    r.percent = flag(a, "percent").value_or(false);
    r.above = flag(a, "aboveAverage").value_or(true);
    r.equalAverage = flag(a, "equalAverage").value_or(false);
    if (auto deviations = a.get("stdDev")) r.deviations = parseInteger(*deviations).value_or(1) != 0;
}

void ConditionalFormatReader::endRule() {
    ConditionalRuleElement element = std::move(*rule_);
    rule_.reset();
    inFormula_ = inScale_ = false;
    std::optional<ConditionalRuleType> type = element.damaged ? std::nullopt : ruleType(element);
    if (!type) {
        ++skipped_;
        return;
    }
    int64_t priority = element.priority.value_or(std::numeric_limits<int64_t>::max());
    ConditionalFormat applied = format(element);
    for (const CellBox& range : ranges_) {
        if (rules_.size() >= kMaxConditionalRules) {
            ++skipped_;
            return;
        }
        ConditionalFormatRule rule;
        rule.ruleType = *type;
        rule.format = applied;
        rule.startCol = range.startCol;
        rule.startRow = range.startRow;
        rule.endCol = range.endCol;
        rule.endRow = range.endRow;
        rules_.push_back({priority, std::move(rule)});
    }
}

std::optional<ConditionalRuleType> ConditionalFormatReader::ruleType(const ConditionalRuleElement& e) const {
    const std::string& type = e.type;
    if (type == "cellIs") {
        std::vector<double> n = plainNumbers(e.formulas, 2);
        if (n.empty()) return std::nullopt;
        if (e.op == "greaterThan") return rule::GreaterThan{n[0]};
        if (e.op == "lessThan") return rule::LessThan{n[0]};
        if (e.op == "equal") return rule::EqualTo{n[0]};
        if (n.size() < 2) return std::nullopt;
        if (e.op == "between") return rule::Between{n[0], n[1]};
        if (e.op == "notBetween") return rule::NotBetween{n[0], n[1]};
        return std::nullopt; // the inclusive comparisons and notEqual have no case
    }
    if (type == "containsText" || type == "notContainsText" || type == "beginsWith" || type == "endsWith") {
        if (!e.text) return std::nullopt;
        if (type == "containsText") return rule::TextContains{*e.text};
        if (type == "notContainsText") return rule::TextNotContains{*e.text};
        if (type == "beginsWith") return rule::TextStartsWith{*e.text};
        return rule::TextEndsWith{*e.text};
    }
    if (type == "top10") {
        int64_t rank = e.rank.value_or(10);
        if (e.percent || rank < 1) return std::nullopt;
        if (e.bottom) return rule::BottomN{rank};
        return rule::TopN{rank};
    }
    if (type == "colorScale" || type == "dataBar") {
        // The model scales from the lowest to the highest value (through the
        // median); other thresholds keep their colours on that scale.
        if (std::any_of(e.colors.begin(), e.colors.end(), [](const auto& c) { return !c; }))
            return std::nullopt;
        if (type == "dataBar") {
            if (e.colors.empty()) return std::nullopt;
            return rule::DataBar{*e.colors[0]};
        }
        if (e.colors.size() == 2) return rule::ColorScale2{*e.colors[0], *e.colors[1]};
        if (e.colors.size() == 3) return rule::ColorScale3{*e.colors[0], *e.colors[1], *e.colors[2]};
        return std::nullopt;
    }
    if (type == "duplicateValues") return rule::DuplicateValues{};
    if (type == "uniqueValues") return rule::UniqueValues{};
    if (type == "containsBlanks") return rule::IsBlank{};
    if (type == "notContainsBlanks") return rule::IsNotBlank{};
    if (type == "aboveAverage") {
        // The model compares strictly with the mean itself.
        if (e.equalAverage || e.deviations) return std::nullopt;
        if (e.above) return rule::AboveAverage{};
        return rule::BelowAverage{};
    }
    return std::nullopt; // expression, iconSet, timePeriod, errors, …
}

ConditionalFormat ConditionalFormatReader::format(const ConditionalRuleElement& e) const {
    if (!differentialFormats_ || !e.dxfId || *e.dxfId < 0 ||
        static_cast<uint64_t>(*e.dxfId) >= differentialFormats_->size())
        return {};
    return (*differentialFormats_)[static_cast<size_t>(*e.dxfId)];
}

std::vector<ConditionalFormatRule> ConditionalFormatReader::takeRules() {
    std::stable_sort(rules_.begin(), rules_.end(),
                     [](const Ranked& a, const Ranked& b) { return a.priority < b.priority; });
    std::vector<ConditionalFormatRule> rules;
    rules.reserve(rules_.size());
    for (Ranked& r : rules_)
        rules.push_back(std::move(r.rule));
    rules_.clear();
    return rules;
}

} // namespace sumora::xlsx
