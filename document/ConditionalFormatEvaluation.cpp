#include "document/ConditionalFormatEvaluation.h"

#include <algorithm>
#include <numeric>

#include <unicode/unistr.h>

#include "document/SumoraDocument.h"
#include "values/StrictNumber.h"

namespace sumora {

namespace {

std::string folded(std::string_view s) {
    icu::UnicodeString u = icu::UnicodeString::fromUTF8(icu::StringPiece(s.data(), static_cast<int32_t>(s.size())));
    std::string out;
    u.foldCase().toUTF8String(out);
    return out;
}

bool inRule(const ConditionalFormatRule& r, int64_t col, int64_t row) {
    return col >= r.startCol && col <= r.endCol && row >= r.startRow && row <= r.endRow;
}

template <class F> void forEachRangeCell(const ConditionalFormatRule& rule, const Sheet& sheet, F&& f) {
    int64_t lastRow = std::min(rule.endRow, sheet.rowCount() - 1);
    int64_t lastCol = std::min(rule.endCol, sheet.columnCount() - 1);
    for (int64_t r = std::max<int64_t>(rule.startRow, 0); r <= lastRow; ++r)
        for (int64_t c = std::max<int64_t>(rule.startCol, 0); c <= lastCol; ++c) f(sheet.cell(r, c).displayValue());
}

ConditionalFormat withFill(ConditionalFormat f, std::string color) {
    f.fillColor = std::move(color);
    return f;
}

} // namespace

std::vector<double> collectRangeNumbers(const ConditionalFormatRule& rule, const Sheet& sheet) {
    std::vector<double> out;
    forEachRangeCell(rule, sheet, [&](std::string_view text) {
        if (auto n = parseStrictNumber(text)) out.push_back(*n);
    });
    return out;
}

const ConditionalFormatEvaluator::RangeSummary& ConditionalFormatEvaluator::summary(const ConditionalFormatRule& rule) {
    auto it = summaries_.find(&rule);
    if (it != summaries_.end()) return it->second;
    RangeSummary s;
    forEachRangeCell(rule, sheet_, [&](std::string_view text) {
        if (auto n = parseStrictNumber(text)) s.sortedNumbers.push_back(*n);
        if (!text.empty()) ++s.textCounts[folded(text)];
    });
    std::sort(s.sortedNumbers.begin(), s.sortedNumbers.end());
    if (!s.sortedNumbers.empty())
        s.mean = std::accumulate(s.sortedNumbers.begin(), s.sortedNumbers.end(), 0.0) / static_cast<double>(s.sortedNumbers.size());
    return summaries_.emplace(&rule, std::move(s)).first->second;
}

std::optional<ConditionalFormat> ConditionalFormatEvaluator::evaluateRule(const ConditionalFormatRule& rule, int64_t col,
                                                                          int64_t row) {
    if (!inRule(rule, col, row)) return std::nullopt;
    std::string_view text = sheet_.cell(row, col).displayValue();
    std::optional<double> number = parseStrictNumber(text);
    auto when = [&](bool matched) { return matched ? std::optional<ConditionalFormat>(rule.format) : std::nullopt; };
    auto textTest = [&](auto test) {
        std::string hay = folded(text);
        return test(hay);
    };
    return std::visit(
        [&](const auto& r) -> std::optional<ConditionalFormat> {
            using T = std::decay_t<decltype(r)>;
            if constexpr (std::is_same_v<T, rule::GreaterThan>) return when(number && *number > r.value);
            else if constexpr (std::is_same_v<T, rule::LessThan>) return when(number && *number < r.value);
            else if constexpr (std::is_same_v<T, rule::EqualTo>) return when(number && *number == r.value);
            else if constexpr (std::is_same_v<T, rule::Between>)
                return when(number && *number >= std::min(r.low, r.high) && *number <= std::max(r.low, r.high));
            else if constexpr (std::is_same_v<T, rule::NotBetween>)
                return when(number && (*number < std::min(r.low, r.high) || *number > std::max(r.low, r.high)));
            else if constexpr (std::is_same_v<T, rule::TextContains>)
                return when(textTest([&](const std::string& h) { return h.find(folded(r.text)) != std::string::npos; }));
            else if constexpr (std::is_same_v<T, rule::TextNotContains>)
                return when(textTest([&](const std::string& h) { return h.find(folded(r.text)) == std::string::npos; }));
            else if constexpr (std::is_same_v<T, rule::TextStartsWith>)
                return when(textTest([&](const std::string& h) { return h.rfind(folded(r.text), 0) == 0; }));
            else if constexpr (std::is_same_v<T, rule::TextEndsWith>)
                return when(textTest([&](const std::string& h) {
                    std::string n = folded(r.text);
                    return h.size() >= n.size() && h.compare(h.size() - n.size(), n.size(), n) == 0;
                }));
            else if constexpr (std::is_same_v<T, rule::TopN> || std::is_same_v<T, rule::BottomN>) {
                const auto& nums = summary(rule).sortedNumbers;
                if (!number || r.count <= 0 || nums.empty()) return std::nullopt;
                size_t k = static_cast<size_t>(std::min<int64_t>(r.count, static_cast<int64_t>(nums.size())));
                if constexpr (std::is_same_v<T, rule::TopN>) return when(*number >= nums[nums.size() - k]);
                else return when(*number <= nums[k - 1]);
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
            } else if constexpr (std::is_same_v<T, rule::DuplicateValues> || std::is_same_v<T, rule::UniqueValues>) {
                if (text.empty()) return std::nullopt;
                const auto& counts = summary(rule).textCounts;
                auto it = counts.find(folded(text));
                int count = it == counts.end() ? 0 : it->second;
                return when(std::is_same_v<T, rule::DuplicateValues> ? count > 1 : count == 1);
            } else if constexpr (std::is_same_v<T, rule::IsBlank>) return when(text.empty());
            else if constexpr (std::is_same_v<T, rule::IsNotBlank>) return when(!text.empty());
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

std::optional<double> ConditionalFormatEvaluator::dataBarFraction(const ConditionalFormatRule& rule, int64_t col, int64_t row) {
    if (!std::holds_alternative<rule::DataBar>(rule.ruleType) || !inRule(rule, col, row)) return std::nullopt;
    auto number = parseStrictNumber(sheet_.cell(row, col).displayValue());
    const auto& nums = summary(rule).sortedNumbers;
    if (!number || nums.empty()) return std::nullopt;
    double lo = std::min(0.0, nums.front()), hi = nums.back();
    if (hi <= lo) return 1.0;
    return std::clamp((*number - lo) / (hi - lo), 0.0, 1.0);
}

std::optional<ConditionalFormat> ConditionalFormatEvaluator::evaluate(int64_t col, int64_t row) {
    std::optional<ConditionalFormat> merged;
    for (const auto& rule : sheet_.conditionalFormats)
        if (auto f = evaluateRule(rule, col, row)) SumoraDocument::mergeFormat(merged, *f);
    return merged;
}

std::optional<ConditionalFormat> evaluateConditionalFormats(const std::vector<ConditionalFormatRule>& rules, int64_t col,
                                                            int64_t row, const Sheet& sheet) {
    ConditionalFormatEvaluator evaluator(sheet);
    std::optional<ConditionalFormat> merged;
    for (const auto& rule : rules)
        if (auto f = evaluator.evaluateRule(rule, col, row)) SumoraDocument::mergeFormat(merged, *f);
    return merged;
}

} // namespace sumora
