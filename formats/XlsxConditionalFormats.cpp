#include "formats/XlsxConditionalFormats.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "document/ColumnLetters.h"
#include "engine/ReferenceShifter.h"
#include "formats/XlsxColors.h"
#include "formats/XlsxText.h"
#include "formats/XlsxWorksheetReader.h"
#include "formats/XmlReader.h"

namespace sumora::xlsx {

namespace {

// A bound is a short number; longer formula text is kept no further.
constexpr size_t kMaxFormulaLength = 1024;
// cellIs needs two formulas, a colour scale three colours and an icon set five
// thresholds; more is no rule.
constexpr size_t kMaxFormulas = 3;
constexpr size_t kMaxColors = 3;
constexpr size_t kMaxValueObjects = 5;

// The depths of a block's elements: the block, its rules, their children
// (formula, colorScale, dataBar, iconSet, extLst) and what those hold (cfvo, color).
constexpr int kBlockDepth = 1, kRuleDepth = 2, kRuleChildDepth = 3, kScaleChildDepth = 4;

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
        } else if (name == "iconSet") {
            inScale_ = true;
            if (auto set = a.get("iconSet")) rule_->iconSet = std::string(*set);
            rule_->reverse = flag(a, "reverse").value_or(false);
            rule_->showValue = flag(a, "showValue").value_or(true);
        }
    } else if (depth_ == kScaleChildDepth && inScale_ && name == "cfvo") {
        if (rule_->valueObjects.size() == kMaxValueObjects) {
            rule_->damaged = true;
            return;
        }
        ValueObject& v = rule_->valueObjects.emplace_back();
        v.type = std::string(a.get("type").value_or(""));
        if (auto val = a.get("val")) v.val = std::string(val->substr(0, kMaxFormulaLength));
        v.gte = flag(a, "gte").value_or(true);
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
    if (element.damaged) return skip("a damaged rule");
    // Formulas are written for the top-left cell of all the block's ranges.
    int64_t originCol = ranges_.front().startCol, originRow = ranges_.front().startRow;
    for (const CellArea& range : ranges_) {
        originCol = std::min(originCol, range.startCol);
        originRow = std::min(originRow, range.startRow);
    }
    RuleReading reading = readRuleType(element, cellAddress({originCol, originRow}));
    if (auto* reason = std::get_if<std::string>(&reading)) return skip(*reason);
    ConditionalRuleType& type = std::get<ConditionalRuleType>(reading);
    auto* expression = std::get_if<rule::Expression>(&type);
    std::optional<ReferenceShifter> shifter;
    if (expression && ranges_.size() > 1) shifter.emplace(expression->formula);

    int64_t priority = element.priority.value_or(std::numeric_limits<int64_t>::max());
    ConditionalFormat applied = format(element);
    for (const CellArea& range : ranges_) {
        if (rules_.size() >= kMaxConditionalRules) return skip("more rules than a sheet keeps");
        ConditionalFormatRule rule;
        rule.ruleType = type;
        // Each range becomes a rule of its own, whose formula is written for
        // its own top-left cell.
        if (shifter)
            std::get<rule::Expression>(rule.ruleType).formula =
                shifter->shifted(range.startRow - originRow, range.startCol - originCol);
        rule.format = applied;
        rule.startCol = range.startCol;
        rule.startRow = range.startRow;
        rule.endCol = range.endCol;
        rule.endRow = range.endRow;
        rules_.push_back({priority, std::move(rule)});
    }
}

void ConditionalFormatReader::skip(const std::string& reason) {
    skipped_.add(reason);
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
