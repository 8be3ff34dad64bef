#include "formats/OdsConditionalFormats.h"

#include <algorithm>
#include <cctype>

#include "document/ColumnLetters.h"
#include "engine/ReferenceShifter.h"
#include "formats/OdsFormulaTranslation.h"
#include "formats/OdsStyles.h"
#include "formats/XlsxConditionalFormats.h"
#include "formats/XlsxText.h"
#include "formats/XlsxWorksheetReader.h"
#include "formats/XmlReader.h"
#include "formats/ZipArchive.h"
#include "values/Log.h"

namespace sumora::ods {

namespace {

constexpr std::string_view kStylePart = "styles.xml";
constexpr size_t kMaxValueObjects = 5;

// Feeds the style part's named styles to a StyleCollector and remembers
// which display name each style name has.
class NamedStyleHandler : public XmlHandler {
  public:
    void startElement(std::string_view name, const XmlAttributes& a) override {
        if (name == "style" && !styles.inStyle())
            if (auto display = a.get("display-name"))
                displayNames.emplace_back(std::string(a.get("name").value_or("")), std::string(*display));
        styles.startElement(name, a);
    }
    void endElement(std::string_view name) override { styles.endElement(name); }

    StyleCollector styles;
    std::vector<std::pair<std::string, std::string>> displayNames;
};

// Splits at the commas outside quotes and brackets: the arguments of
// "between(a,b)".
std::vector<std::string_view> topLevelArguments(std::string_view text) {
    std::vector<std::string_view> out;
    int depth = 0;
    bool quoted = false;
    size_t start = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (c == '"') quoted = !quoted;
        if (quoted) continue;
        if (c == '(' || c == '[') ++depth;
        if (c == ')' || c == ']') --depth;
        if (c == ',' && depth == 0) {
            out.push_back(text.substr(start, i - start));
            start = i + 1;
        }
    }
    out.push_back(text.substr(start));
    return out;
}

// The argument of "keyword(argument)", when `value` is that call.
std::optional<std::string_view> call(std::string_view value, std::string_view keyword) {
    if (value.size() < keyword.size() + 2 || value.substr(0, keyword.size()) != keyword ||
        value[keyword.size()] != '(' || value.back() != ')')
        return std::nullopt;
    return value.substr(keyword.size() + 1, value.size() - keyword.size() - 2);
}

// "\"a\"\"b\"" → a"b; other text as it is.
std::string unquoted(std::string_view text) {
    if (text.size() < 2 || text.front() != '"' || text.back() != '"') return std::string(text);
    std::string out;
    for (size_t i = 1; i + 1 < text.size(); ++i) {
        out += text[i];
        if (text[i] == '"' && text[i + 1] == '"') ++i;
    }
    return out;
}

std::string engineFormula(std::string_view odf) {
    return formulaFromOpenFormula(stripFormulaPrefix(odf));
}

std::string_view thresholdType(std::string_view odf) {
    if (odf == "minimum" || odf == "auto-minimum") return "min";
    if (odf == "maximum" || odf == "auto-maximum") return "max";
    if (odf == "number") return "num";
    return odf; // percent, percentile, formula
}

// "#rrggbb" or "rrggbb" as the model's upper-case hex; nothing otherwise.
std::optional<std::string> color(std::optional<std::string_view> text) {
    if (!text) return std::nullopt;
    std::string_view hex = *text;
    if (!hex.empty() && hex.front() == '#') hex.remove_prefix(1);
    if (hex.size() != 6 || hex.find_first_not_of("0123456789abcdefABCDEF") != std::string_view::npos)
        return std::nullopt;
    std::string out(hex);
    std::transform(out.begin(), out.end(), out.begin(), [](unsigned char c) { return std::toupper(c); });
    return out;
}

// The comparison or keyword of a condition's value as a worksheet rule says it.
xlsx::ConditionalRuleElement conditionElement(std::string_view value, const std::string& origin) {
    xlsx::ConditionalRuleElement e;
    auto rank = [&](std::string_view argument, bool bottom, bool percent) {
        e.type = "top10";
        e.bottom = bottom;
        e.percent = percent;
        e.rank = xlsx::parseInteger(argument);
        e.damaged = !e.rank;
    };
    static constexpr std::pair<std::string_view, std::string_view> kTextRules[] = {
        {"begins-with", "beginsWith"},
        {"ends-with", "endsWith"},
        {"contains-text", "containsText"},
        {"not-contains-text", "notContainsText"}};
    if (auto n = call(value, "top-elements"))
        rank(*n, false, false);
    else if (auto n = call(value, "bottom-elements"))
        rank(*n, true, false);
    else if (auto n = call(value, "top-percent"))
        rank(*n, false, true);
    else if (auto n = call(value, "bottom-percent"))
        rank(*n, true, true);
    else if (value == "above-average" || value == "below-average" || value == "above-equal-average" ||
             value == "below-equal-average") {
        e.type = "aboveAverage";
        e.above = value.substr(0, 5) == "above";
        e.equalAverage = value.find("equal") != std::string_view::npos;
    } else if (value == "duplicate")
        e.type = "duplicateValues";
    else if (value == "unique")
        e.type = "uniqueValues";
    else if (value == "is-error" || value == "is-no-error") {
        e.type = "expression";
        e.formulas = {value == "is-error" ? "ISERROR(" + origin + ")" : "NOT(ISERROR(" + origin + "))"};
    } else if (auto f =
                   call(value, "formula-is") ? call(value, "formula-is") : call(value, "is-true-formula")) {
        e.type = "expression";
        e.formulas = {engineFormula(*f)};
    } else if (auto args = call(value, "between") ? call(value, "between") : call(value, "not-between")) {
        e.type = "cellIs";
        e.op = value.front() == 'b' ? "between" : "notBetween";
        for (std::string_view a : topLevelArguments(*args))
            e.formulas.push_back(engineFormula(a));
    } else {
        for (auto [keyword, type] : kTextRules)
            if (auto text = call(value, keyword)) {
                e.type = std::string(type);
                e.text = unquoted(*text);
                return e;
            }
        static constexpr std::pair<std::string_view, std::string_view> kOperators[] = {
            {"<=", "lessThanOrEqual"}, {">=", "greaterThanOrEqual"}, {"!=", "notEqual"}, {"<>", "notEqual"},
            {"<", "lessThan"},         {">", "greaterThan"},         {"=", "equal"}};
        for (auto [symbol, op] : kOperators)
            if (value.substr(0, symbol.size()) == symbol) {
                e.type = "cellIs";
                e.op = std::string(op);
                e.formulas = {engineFormula(value.substr(symbol.size()))};
                return e;
            }
        e.type = std::string(value.substr(0, value.find('(')));
    }
    return e;
}

} // namespace

ConditionalStyles readConditionalStyles(ZipReader& archive) {
    ConditionalStyles out;
    if (!archive.contains(kStylePart)) return out;
    NamedStyleHandler handler;
    try {
        parseXmlEntry(archive, kStylePart, handler);
    } catch (const std::exception& e) {
        Log::progress(std::string("  ODS: styles.xml not read (non-fatal): ") + e.what());
        return out;
    }
    for (const auto& [name, style] : handler.styles.cellStyles()) {
        ConditionalFormat f;
        f.fillColor = color(style.fillColor);
        f.fontColor = color(style.fontColor);
        if (style.bold) f.isBold = true;
        if (style.italic) f.isItalic = true;
        out.emplace(name, f);
    }
    for (const auto& [name, display] : handler.displayNames) {
        auto it = out.find(name);
        if (it != out.end()) out.emplace(display, it->second);
    }
    return out;
}

void ConditionalFormatCollector::startElement(std::string_view name, const XmlAttributes& a) {
    ++depth_;
    if (depth_ == 2 && name == "conditional-format") return beginFormat(a);
    if (depth_ != 3 && depth_ != 4) return;
    if (ranges_.empty()) return;
    if (depth_ == 3) {
        if (name == "condition") return condition(a);
        if (name == "date-is") return skip("a date condition");
        scale_.reset();
        if (name == "color-scale") {
            scale_.emplace().type = "colorScale";
        } else if (name == "data-bar") {
            scale_.emplace().type = "dataBar";
            scale_->colors.push_back(color(a.get("positive-color")));
        } else if (name == "icon-set") {
            scale_.emplace().type = "iconSet";
            scale_->iconSet = std::string(a.get("icon-set-type").value_or(""));
            if (a.get("show-value") == std::optional<std::string_view>("false")) scale_->showValue = false;
        }
        return;
    }
    if (scale_) entry(name, a);
}

void ConditionalFormatCollector::entry(std::string_view name, const XmlAttributes& a) {
    if (name != "color-scale-entry" && name != "formatting-entry") return;
    if (scale_->valueObjects.size() == kMaxValueObjects) {
        scale_->damaged = true;
        return;
    }
    xlsx::ValueObject& v = scale_->valueObjects.emplace_back();
    v.type = std::string(thresholdType(a.get("type").value_or("")));
    if (auto val = a.get("value")) v.val = v.type == "formula" ? engineFormula(*val) : std::string(*val);
    // Some producers put the icon set's show-value on its first entry.
    if (a.get("show-value") == std::optional<std::string_view>("false")) scale_->showValue = false;
    if (name == "color-scale-entry") {
        if (scale_->colors.size() == kMaxValueObjects)
            scale_->damaged = true;
        else
            scale_->colors.push_back(color(a.get("color")));
    }
}

void ConditionalFormatCollector::endElement(std::string_view name) {
    if (depth_ == 3 && scale_ && (name == "color-scale" || name == "data-bar" || name == "icon-set")) {
        xlsx::ConditionalRuleElement element = std::move(*scale_);
        scale_.reset();
        finish(element, {});
    } else if (depth_ == 2) {
        ranges_.clear();
    }
    depth_ = std::max(0, depth_ - 1);
}

void ConditionalFormatCollector::beginFormat(const XmlAttributes& a) {
    ranges_.clear();
    ranges_ = parseRangeList(a.get("target-range-address").value_or(""), xlsx::kMaxConditionalRules);
    if (ranges_.empty()) skip("a conditional format without a range");
}

void ConditionalFormatCollector::condition(const XmlAttributes& a) {
    ConditionalFormat format;
    if (auto style = a.get("apply-style-name"); style && styles_) {
        auto it = styles_->find(std::string(*style));
        if (it != styles_->end()) format = it->second;
    }
    xlsx::ConditionalRuleElement element;
    std::string value(a.get("value").value_or(""));
    // Formulas are written for the base cell, normally the ranges' top-left.
    int64_t originCol = ranges_.front().startCol, originRow = ranges_.front().startRow;
    for (const CellArea& r : ranges_) {
        originCol = std::min(originCol, r.startCol);
        originRow = std::min(originRow, r.startRow);
    }
    auto base = parseRangeList(a.get("base-cell-address").value_or(""), 1);
    element = conditionElement(value, cellAddress({originCol, originRow}));
    if (!base.empty() && (base[0].startCol != originCol || base[0].startRow != originRow))
        for (std::string& f : element.formulas)
            f = ReferenceShifter(f).shifted(originRow - base[0].startRow, originCol - base[0].startCol);
    finish(element, format);
}

void ConditionalFormatCollector::finish(const xlsx::ConditionalRuleElement& element,
                                        const ConditionalFormat& format) {
    if (element.damaged) return skip("a damaged rule");
    int64_t originCol = ranges_.front().startCol, originRow = ranges_.front().startRow;
    for (const CellArea& r : ranges_) {
        originCol = std::min(originCol, r.startCol);
        originRow = std::min(originRow, r.startRow);
    }
    xlsx::RuleReading reading = xlsx::readRuleType(element, cellAddress({originCol, originRow}));
    if (auto* reason = std::get_if<std::string>(&reading)) return skip(*reason);
    const ConditionalRuleType& type = std::get<ConditionalRuleType>(reading);
    const auto* expression = std::get_if<rule::Expression>(&type);
    for (const CellArea& range : ranges_) {
        if (rules_.size() >= xlsx::kMaxConditionalRules) return skip("more rules than a sheet keeps");
        ConditionalFormatRule rule;
        rule.ruleType = type;
        if (expression && (range.startCol != originCol || range.startRow != originRow))
            std::get<rule::Expression>(rule.ruleType).formula =
                ReferenceShifter(expression->formula)
                    .shifted(range.startRow - originRow, range.startCol - originCol);
        rule.format = format;
        rule.startCol = range.startCol;
        rule.startRow = range.startRow;
        rule.endCol = range.endCol;
        rule.endRow = range.endRow;
        rules_.push_back(std::move(rule));
    }
}

void ConditionalFormatCollector::skip(const std::string& reason) {
    skipped_.add(reason);
}

std::string ConditionalFormatCollector::droppedSentence(const std::string& sheetName) {
    std::string out = skipped_.sentence(sheetName);
    skipped_.clear();
    return out;
}

std::vector<CellArea> parseRangeList(std::string_view list, size_t limit) {
    std::vector<CellArea> out;
    auto address = [](std::string_view text) -> std::optional<CellPosition> {
        // The cell follows the last dot outside a quoted sheet name.
        bool quoted = false;
        size_t dot = std::string_view::npos;
        for (size_t i = 0; i < text.size(); ++i) {
            if (text[i] == '\'')
                quoted = !quoted;
            else if (text[i] == '.' && !quoted)
                dot = i;
        }
        if (dot != std::string_view::npos) text.remove_prefix(dot + 1);
        std::string plain;
        for (char c : text)
            if (c != '$') plain += c;
        return xlsx::parseCellReference(plain);
    };
    bool quoted = false;
    size_t start = 0;
    for (size_t i = 0; i <= list.size() && out.size() < limit; ++i) {
        if (i < list.size() && list[i] == '\'') quoted = !quoted;
        if (i < list.size() && (quoted || list[i] != ' ')) continue;
        std::string_view piece = list.substr(start, i - start);
        start = i + 1;
        if (piece.empty()) continue;
        size_t colon = std::string_view::npos;
        bool q = false;
        for (size_t k = 0; k < piece.size(); ++k) {
            if (piece[k] == '\'')
                q = !q;
            else if (piece[k] == ':' && !q)
                colon = k;
        }
        auto first = address(piece.substr(0, colon));
        auto last = colon == std::string_view::npos ? first : address(piece.substr(colon + 1));
        if (!first || !last) continue;
        out.push_back({std::min(first->col, last->col), std::min(first->row, last->row),
                       std::max(first->col, last->col), std::max(first->row, last->row)});
    }
    return out;
}

} // namespace sumora::ods
