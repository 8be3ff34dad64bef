#include "document/ConditionalFormatEvaluation.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include <unicode/unistr.h>

#include "document/SumoraDocument.h"
#include "values/StrictNumber.h"

namespace sumora {

namespace {

std::string folded(std::string_view s) {
    icu::UnicodeString u =
        icu::UnicodeString::fromUTF8(icu::StringPiece(s.data(), static_cast<int32_t>(s.size())));
    std::string out;
    u.foldCase().toUTF8String(out);
    return out;
}

bool inRule(const ConditionalFormatRule& r, CellPosition at) {
    return at.col >= r.startCol && at.col <= r.endCol && at.row >= r.startRow && at.row <= r.endRow;
}

template <class F> void forEachRangeCell(const ConditionalFormatRule& rule, const Sheet& sheet, F&& f) {
    int64_t lastRow = std::min(rule.endRow, sheet.rowCount() - 1);
    int64_t lastCol = std::min(rule.endCol, sheet.columnCount() - 1);
    for (int64_t r = std::max<int64_t>(rule.startRow, 0); r <= lastRow; ++r)
        for (int64_t c = std::max<int64_t>(rule.startCol, 0); c <= lastCol; ++c)
            f(sheet.cell(r, c).displayValue());
}

ConditionalFormat withFill(ConditionalFormat f, std::string color) {
    f.fillColor = std::move(color);
    return f;
}

// PERCENTILE.INC over sorted numbers: linear between the closest ranks.
double percentile(const std::vector<double>& sorted, double p) {
    double rank = std::clamp(p, 0.0, 1.0) * static_cast<double>(sorted.size() - 1);
    size_t below = static_cast<size_t>(rank);
    if (below + 1 >= sorted.size()) return sorted.back();
    return sorted[below] + (rank - static_cast<double>(below)) * (sorted[below + 1] - sorted[below]);
}

// How many of n numbers the top or bottom `percent` per cent take: the whole
// part of the share, at least one.
size_t percentCount(size_t n, int64_t percent) {
    double share =
        std::floor(static_cast<double>(n) * static_cast<double>(std::min<int64_t>(percent, 100)) / 100.0);
    return std::max<size_t>(1, static_cast<size_t>(share));
}

} // namespace

std::vector<double> collectRangeNumbers(const ConditionalFormatRule& rule, const Sheet& sheet) {
    std::vector<double> out;
    forEachRangeCell(rule, sheet, [&](std::string_view text) {
        if (auto n = parseStrictNumber(text)) out.push_back(*n);
    });
    return out;
}

const ConditionalFormatEvaluator::RangeSummary&
ConditionalFormatEvaluator::summary(const ConditionalFormatRule& rule) {
    auto it = summaries_.find(&rule);
    if (it != summaries_.end()) return it->second;
    RangeSummary s;
    forEachRangeCell(rule, sheet_, [&](std::string_view text) {
        if (auto n = parseStrictNumber(text)) s.sortedNumbers.push_back(*n);
        if (!text.empty()) ++s.textCounts[folded(text)];
    });
    std::sort(s.sortedNumbers.begin(), s.sortedNumbers.end());
    if (!s.sortedNumbers.empty())
        s.mean = std::accumulate(s.sortedNumbers.begin(), s.sortedNumbers.end(), 0.0) /
                 static_cast<double>(s.sortedNumbers.size());
    return summaries_.emplace(&rule, std::move(s)).first->second;
}

std::optional<ConditionalFormat> ConditionalFormatEvaluator::evaluateRule(const ConditionalFormatRule& rule,
                                                                          CellPosition at) {
    if (!inRule(rule, at)) return std::nullopt;
    std::string_view text = sheet_.cell(at.row, at.col).displayValue();
    std::optional<double> number = parseStrictNumber(text);
    auto when = [&](bool matched) {
        return matched ? std::optional<ConditionalFormat>(rule.format) : std::nullopt;
    };
    auto textTest = [&](auto test) {
        std::string hay = folded(text);
        return test(hay);
    };
    return std::visit(
        [&](const auto& r) -> std::optional<ConditionalFormat> {
            using T = std::decay_t<decltype(r)>;
            if constexpr (std::is_same_v<T, rule::GreaterThan>)
                return when(number && *number > r.value);
            else if constexpr (std::is_same_v<T, rule::LessThan>)
                return when(number && *number < r.value);
            else if constexpr (std::is_same_v<T, rule::EqualTo>)
                return when(number && *number == r.value);
            else if constexpr (std::is_same_v<T, rule::Between>)
                return when(number && *number >= std::min(r.low, r.high) &&
                            *number <= std::max(r.low, r.high));
            else if constexpr (std::is_same_v<T, rule::NotBetween>)
                return when(number &&
                            (*number < std::min(r.low, r.high) || *number > std::max(r.low, r.high)));
            else if constexpr (std::is_same_v<T, rule::TextContains>)
                return when(textTest(
                    [&](const std::string& h) { return h.find(folded(r.text)) != std::string::npos; }));
            else if constexpr (std::is_same_v<T, rule::TextNotContains>)
                return when(textTest(
                    [&](const std::string& h) { return h.find(folded(r.text)) == std::string::npos; }));
            else if constexpr (std::is_same_v<T, rule::TextStartsWith>)
                return when(textTest([&](const std::string& h) { return h.rfind(folded(r.text), 0) == 0; }));
            else if constexpr (std::is_same_v<T, rule::TextEndsWith>)
                return when(textTest([&](const std::string& h) {
                    std::string n = folded(r.text);
                    return h.size() >= n.size() && h.compare(h.size() - n.size(), n.size(), n) == 0;
                }));
            else if constexpr (std::is_same_v<T, rule::GreaterOrEqual>)
                return when(number && *number >= r.value);
            else if constexpr (std::is_same_v<T, rule::LessOrEqual>)
                return when(number && *number <= r.value);
            else if constexpr (std::is_same_v<T, rule::NotEqualTo>)
                return when(!text.empty() && !(number && *number == r.value)); // a text differs too
            else if constexpr (std::is_same_v<T, rule::TopPercent> ||
                               std::is_same_v<T, rule::BottomPercent>) {
                const auto& nums = summary(rule).sortedNumbers;
                if (!number || r.percent <= 0 || nums.empty()) return std::nullopt;
                size_t k = percentCount(nums.size(), r.percent);
                if constexpr (std::is_same_v<T, rule::TopPercent>)
                    return when(*number >= nums[nums.size() - k]);
                else
                    return when(*number <= nums[k - 1]);
            } else if constexpr (std::is_same_v<T, rule::Expression>) {
                return when(formulaHolds(rule, r.formula, at));
            } else if constexpr (std::is_same_v<T, rule::CustomColorScale>) {
                if (!number) return std::nullopt;
                auto color = scaleColor(rule, r, *number);
                if (!color) return std::nullopt;
                return withFill(rule.format, std::move(*color));
            } else if constexpr (std::is_same_v<T, rule::IconSet> || std::is_same_v<T, rule::CustomDataBar>) {
                return std::nullopt; // drawn by the grid from icon() and dataBarFraction()
            } else if constexpr (std::is_same_v<T, rule::TopN> || std::is_same_v<T, rule::BottomN>) {
                const auto& nums = summary(rule).sortedNumbers;
                if (!number || r.count <= 0 || nums.empty()) return std::nullopt;
                size_t k = static_cast<size_t>(std::min<int64_t>(r.count, static_cast<int64_t>(nums.size())));
                if constexpr (std::is_same_v<T, rule::TopN>)
                    return when(*number >= nums[nums.size() - k]);
                else
                    return when(*number <= nums[k - 1]);
            } else if constexpr (std::is_same_v<T, rule::ColorScale2>) {
                const auto& nums = summary(rule).sortedNumbers;
                if (!number || nums.empty()) return std::nullopt;
                double lo = nums.front(), hi = nums.back();
                double pct = hi > lo ? (*number - lo) / (hi - lo) : 0.0;
                return withFill(rule.format, SumoraDocument::blendHex(r.low, r.high, pct));
            } else if constexpr (std::is_same_v<T, rule::ColorScale3>) {
                const auto& nums = summary(rule).sortedNumbers;
                if (!number || nums.empty()) return std::nullopt;
                double lo = nums.front(), hi = nums.back();
                size_t n = nums.size();
                double mid = n % 2 ? nums[n / 2] : (nums[n / 2 - 1] + nums[n / 2]) / 2;
                if (*number <= mid) {
                    double pct = mid > lo ? (*number - lo) / (mid - lo) : 1.0;
                    return withFill(rule.format, SumoraDocument::blendHex(r.low, r.mid, pct));
                }
                double pct = hi > mid ? (*number - mid) / (hi - mid) : 0.0;
                return withFill(rule.format, SumoraDocument::blendHex(r.mid, r.high, pct));
            } else if constexpr (std::is_same_v<T, rule::DataBar>) {
                // Drawn by the grid from dataBarFraction; no cell formatting.
                return std::nullopt;
            } else if constexpr (std::is_same_v<T, rule::DuplicateValues> ||
                                 std::is_same_v<T, rule::UniqueValues>) {
                if (text.empty()) return std::nullopt;
                const auto& counts = summary(rule).textCounts;
                auto it = counts.find(folded(text));
                int count = it == counts.end() ? 0 : it->second;
                return when(std::is_same_v<T, rule::DuplicateValues> ? count > 1 : count == 1);
            } else if constexpr (std::is_same_v<T, rule::IsBlank>)
                return when(text.empty());
            else if constexpr (std::is_same_v<T, rule::IsNotBlank>)
                return when(!text.empty());
            else if constexpr (std::is_same_v<T, rule::AboveAverage>) {
                const auto& s = summary(rule);
                return when(number && !s.sortedNumbers.empty() && *number > s.mean);
            } else {
                const auto& s = summary(rule);
                return when(number && !s.sortedNumbers.empty() && *number < s.mean);
            }
        },
        rule.ruleType);
}

std::optional<double> ConditionalFormatEvaluator::thresholdValue(const ConditionalFormatRule& rule,
                                                                 const Threshold& t) {
    const auto& nums = summary(rule).sortedNumbers;
    if (nums.empty()) return std::nullopt;
    switch (t.kind) {
    case ThresholdKind::min:
        return nums.front();
    case ThresholdKind::max:
        return nums.back();
    case ThresholdKind::number:
        return t.value;
    case ThresholdKind::percent:
        return nums.front() + (nums.back() - nums.front()) * t.value / 100.0;
    case ThresholdKind::percentile:
        return percentile(nums, t.value / 100.0);
    case ThresholdKind::formula:
        if (!formulas_) return std::nullopt;
        return formulas_(t.formula, rule,
                         {std::min(rule.startCol, rule.endCol), std::min(rule.startRow, rule.endRow)});
    }
    return std::nullopt;
}

bool ConditionalFormatEvaluator::formulaHolds(const ConditionalFormatRule& rule, const std::string& formula,
                                              CellPosition at) {
    if (!formulas_) return false;
    auto result = formulas_(formula, rule, at);
    return result && *result != 0;
}

std::optional<std::string> ConditionalFormatEvaluator::scaleColor(const ConditionalFormatRule& rule,
                                                                  const rule::CustomColorScale& scale,
                                                                  double number) {
    std::vector<double> at;
    for (const rule::ColorStop& stop : scale.stops) {
        auto v = thresholdValue(rule, stop.threshold);
        if (!v) return std::nullopt;
        at.push_back(*v);
    }
    if (at.empty()) return std::nullopt;
    if (number <= at.front()) return scale.stops.front().color;
    for (size_t i = 0; i + 1 < at.size(); ++i) {
        if (number > at[i + 1]) continue;
        double pct = at[i + 1] > at[i] ? (number - at[i]) / (at[i + 1] - at[i]) : 1.0;
        return SumoraDocument::blendHex(scale.stops[i].color, scale.stops[i + 1].color, pct);
    }
    return scale.stops.back().color;
}

std::optional<double> ConditionalFormatEvaluator::dataBarFraction(const ConditionalFormatRule& rule,
                                                                  CellPosition at) {
    if (!inRule(rule, at)) return std::nullopt;
    const auto* plain = std::get_if<rule::DataBar>(&rule.ruleType);
    const auto* custom = std::get_if<rule::CustomDataBar>(&rule.ruleType);
    if (!plain && !custom) return std::nullopt;
    auto number = parseStrictNumber(sheet_.cell(at.row, at.col).displayValue());
    const auto& nums = summary(rule).sortedNumbers;
    if (!number || nums.empty()) return std::nullopt;
    std::optional<double> lo = std::min(0.0, nums.front()), hi = nums.back();
    if (custom) {
        lo = thresholdValue(rule, custom->low);
        hi = thresholdValue(rule, custom->high);
        if (!lo || !hi) return std::nullopt;
    }
    if (*hi <= *lo) return 1.0;
    return std::clamp((*number - *lo) / (*hi - *lo), 0.0, 1.0);
}

std::optional<ConditionalIcon> ConditionalFormatEvaluator::icon(const ConditionalFormatRule& rule,
                                                                CellPosition at) {
    const auto* set = std::get_if<rule::IconSet>(&rule.ruleType);
    if (!set || set->thresholds.empty() || !inRule(rule, at)) return std::nullopt;
    auto number = parseStrictNumber(sheet_.cell(at.row, at.col).displayValue());
    if (!number) return std::nullopt;
    int count = static_cast<int>(set->thresholds.size());
    int index = 0;
    for (int i = count - 1; i > 0; --i) {
        const Threshold& t = set->thresholds[static_cast<size_t>(i)];
        auto at = thresholdValue(rule, t);
        if (!at) return std::nullopt;
        if (t.inclusive ? *number >= *at : *number > *at) {
            index = i;
            break;
        }
    }
    if (set->reverse) index = count - 1 - index;
    return ConditionalIcon{set->style, index, set->showValue};
}

std::optional<ConditionalIcon> ConditionalFormatEvaluator::icon(CellPosition at) {
    for (const auto& rule : sheet_.conditionalFormats)
        if (auto found = icon(rule, at)) return found;
    return std::nullopt;
}

std::optional<std::string> dataBarColor(const ConditionalRuleType& type) {
    if (const auto* bar = std::get_if<rule::DataBar>(&type)) return bar->color;
    if (const auto* bar = std::get_if<rule::CustomDataBar>(&type)) return bar->color;
    return std::nullopt;
}

std::optional<ConditionalFormat> ConditionalFormatEvaluator::evaluate(CellPosition at) {
    std::optional<ConditionalFormat> merged;
    for (const auto& rule : sheet_.conditionalFormats)
        if (auto f = evaluateRule(rule, at)) SumoraDocument::mergeFormat(merged, *f);
    return merged;
}

std::optional<ConditionalFormat> evaluateConditionalFormats(const std::vector<ConditionalFormatRule>& rules,
                                                            CellPosition at, const Sheet& sheet,
                                                            const ConditionalFormulaNumber& formulas) {
    ConditionalFormatEvaluator evaluator(sheet, formulas);
    std::optional<ConditionalFormat> merged;
    for (const auto& rule : rules)
        if (auto f = evaluator.evaluateRule(rule, at)) SumoraDocument::mergeFormat(merged, *f);
    return merged;
}

} // namespace sumora
