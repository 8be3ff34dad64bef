#include "formats/OdsConditionalFormatsWriter.h"

#include <algorithm>
#include <cctype>
#include <charconv>

#include "document/ColumnLetters.h"
#include "formats/OdsFormulaTranslation.h"
#include "formats/XmlWriter.h"

namespace sumora::ods {

namespace {

constexpr std::string_view kCalcExtension =
    "urn:org:documentfoundation:names:experimental:calc:xmlns:calcext:1.0";

std::string number(double x) {
    char buffer[32];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, x);
    return ec == std::errc() ? std::string(buffer, end) : "0";
}

// "#rrggbb" from the model's hexadecimal text; black when unreadable.
std::string odfColor(std::string_view hex) {
    if (!hex.empty() && hex.front() == '#') hex.remove_prefix(1);
    if (hex.size() != 6 || hex.find_first_not_of("0123456789abcdefABCDEF") != std::string_view::npos)
        return "#000000";
    std::string out = "#";
    for (char c : hex)
        out += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

// A sheet name in a cell address: bare when it is plain, else quoted.
std::string sheetPrefix(std::string_view name) {
    bool plain = !name.empty() && std::all_of(name.begin(), name.end(), [](unsigned char c) {
        return std::isalnum(c) || c == '_' || c >= 0x80;
    });
    if (plain) return std::string(name) + ".";
    std::string out = "'";
    for (char c : name) {
        out += c;
        if (c == '\'') out += '\'';
    }
    return out + "'.";
}

std::string stringArgument(std::string_view text) {
    std::string out = "\"";
    for (char c : text) {
        out += c;
        if (c == '"') out += '"';
    }
    return out + "\"";
}

std::string_view thresholdType(ThresholdKind kind) {
    switch (kind) {
    case ThresholdKind::min:
        return "minimum";
    case ThresholdKind::max:
        return "maximum";
    case ThresholdKind::number:
        return "number";
    case ThresholdKind::percent:
        return "percent";
    case ThresholdKind::percentile:
        return "percentile";
    case ThresholdKind::formula:
        return "formula";
    }
    return "minimum";
}

class FormatWriter {
  public:
    FormatWriter(std::string& out, const ConditionalFormatRule& rule, const std::string& sheetName,
                 const ConditionalStyleNames& names)
        : out_(out), rule_(rule), names_(names) {
        std::string prefix = sheetPrefix(sheetName);
        int64_t c0 = std::min(rule.startCol, rule.endCol), r0 = std::min(rule.startRow, rule.endRow);
        int64_t c1 = std::max(rule.startCol, rule.endCol), r1 = std::max(rule.startRow, rule.endRow);
        topLeft_ = cellAddress(c0, r0);
        base_ = prefix + topLeft_;
        target_ = base_;
        if (c1 != c0 || r1 != r0) target_ += ":" + prefix + cellAddress(c1, r1);
    }

    void operator()(const rule::GreaterThan& r) { condition(">" + number(r.value)); }
    void operator()(const rule::LessThan& r) { condition("<" + number(r.value)); }
    void operator()(const rule::EqualTo& r) { condition("=" + number(r.value)); }
    void operator()(const rule::GreaterOrEqual& r) { condition(">=" + number(r.value)); }
    void operator()(const rule::LessOrEqual& r) { condition("<=" + number(r.value)); }
    void operator()(const rule::NotEqualTo& r) { condition("!=" + number(r.value)); }
    void operator()(const rule::Between& r) {
        condition("between(" + number(r.low) + "," + number(r.high) + ")");
    }
    void operator()(const rule::NotBetween& r) {
        condition("not-between(" + number(r.low) + "," + number(r.high) + ")");
    }
    void operator()(const rule::TextContains& r) {
        condition("contains-text(" + stringArgument(r.text) + ")");
    }
    void operator()(const rule::TextNotContains& r) {
        condition("not-contains-text(" + stringArgument(r.text) + ")");
    }
    void operator()(const rule::TextStartsWith& r) {
        condition("begins-with(" + stringArgument(r.text) + ")");
    }
    void operator()(const rule::TextEndsWith& r) { condition("ends-with(" + stringArgument(r.text) + ")"); }
    void operator()(const rule::TopN& r) { condition("top-elements(" + std::to_string(r.count) + ")"); }
    void operator()(const rule::BottomN& r) { condition("bottom-elements(" + std::to_string(r.count) + ")"); }
    void operator()(const rule::TopPercent& r) {
        condition("top-percent(" + std::to_string(r.percent) + ")");
    }
    void operator()(const rule::BottomPercent& r) {
        condition("bottom-percent(" + std::to_string(r.percent) + ")");
    }
    void operator()(const rule::DuplicateValues&) { condition("duplicate"); }
    void operator()(const rule::UniqueValues&) { condition("unique"); }
    void operator()(const rule::IsBlank&) { formulaCondition("LEN(TRIM(" + topLeft_ + "))=0"); }
    void operator()(const rule::IsNotBlank&) { formulaCondition("LEN(TRIM(" + topLeft_ + "))>0"); }
    void operator()(const rule::AboveAverage&) { condition("above-average"); }
    void operator()(const rule::BelowAverage&) { condition("below-average"); }
    void operator()(const rule::Expression& r) { formulaCondition(r.formula); }
    void operator()(const rule::ColorScale2& r) {
        scale({{makeThreshold(ThresholdKind::min), r.low}, {makeThreshold(ThresholdKind::max), r.high}});
    }
    void operator()(const rule::ColorScale3& r) {
        scale({{makeThreshold(ThresholdKind::min), r.low},
               {makeThreshold(ThresholdKind::percentile, 50), r.mid},
               {makeThreshold(ThresholdKind::max), r.high}});
    }
    void operator()(const rule::CustomColorScale& r) { scale(r.stops); }
    void operator()(const rule::DataBar& r) {
        bar(r.color, makeThreshold(ThresholdKind::min), makeThreshold(ThresholdKind::max));
    }
    void operator()(const rule::CustomDataBar& r) { bar(r.color, r.low, r.high); }
    void operator()(const rule::IconSet& r) {
        open();
        out_ += "<calcext:icon-set";
        attribute("calcext:icon-set-type", rawText(r.style));
        if (!r.showValue) out_ += " calcext:show-value=\"false\"";
        out_ += '>';
        for (const Threshold& t : r.thresholds)
            entry("calcext:formatting-entry", t);
        out_ += "</calcext:icon-set>";
        close();
    }

  private:
    void open() {
        out_ += "<calcext:conditional-format";
        attribute("calcext:target-range-address", target_);
        out_ += '>';
    }
    void close() { out_ += "</calcext:conditional-format>"; }
    void attribute(std::string_view name, std::string_view value) {
        out_ += ' ';
        out_ += name;
        out_ += "=\"";
        appendXmlEscaped(out_, value, XmlContext::attribute);
        out_ += '"';
    }
    void condition(const std::string& value) {
        open();
        out_ += "<calcext:condition";
        attribute("calcext:apply-style-name", names_.nameOf(rule_.format));
        attribute("calcext:value", value);
        attribute("calcext:base-cell-address", base_);
        out_ += "/>";
        close();
    }
    void formulaCondition(std::string_view formula) {
        if (!formula.empty() && formula.front() == '=') formula.remove_prefix(1);
        condition("formula-is(" + openFormulaFromFormula(formula) + ")");
    }
    void entry(std::string_view element, const Threshold& t, const std::string* color = nullptr) {
        out_ += '<';
        out_ += element;
        std::string value = t.kind == ThresholdKind::formula ? "=" + openFormulaFromFormula(t.formula)
                            : t.kind == ThresholdKind::min || t.kind == ThresholdKind::max ? "0"
                                                                                           : number(t.value);
        attribute("calcext:value", value);
        attribute("calcext:type", thresholdType(t.kind));
        if (color) attribute("calcext:color", odfColor(*color));
        out_ += "/>";
    }
    void scale(const std::vector<rule::ColorStop>& stops) {
        open();
        out_ += "<calcext:color-scale>";
        for (const rule::ColorStop& stop : stops)
            entry("calcext:color-scale-entry", stop.threshold, &stop.color);
        out_ += "</calcext:color-scale>";
        close();
    }
    void bar(const std::string& color, const Threshold& low, const Threshold& high) {
        open();
        out_ += "<calcext:data-bar";
        attribute("calcext:positive-color", odfColor(color));
        out_ += '>';
        entry("calcext:formatting-entry", low);
        entry("calcext:formatting-entry", high);
        out_ += "</calcext:data-bar>";
        close();
    }

    std::string& out_;
    const ConditionalFormatRule& rule_;
    const ConditionalStyleNames& names_;
    std::string topLeft_, base_, target_;
};

} // namespace

ConditionalStyleNames::ConditionalStyleNames(const std::vector<Sheet>& sheets) {
    for (const Sheet& sheet : sheets)
        for (const ConditionalFormatRule& rule : sheet.conditionalFormats)
            if (std::find(formats_.begin(), formats_.end(), rule.format) == formats_.end())
                formats_.push_back(rule.format);
}

std::string ConditionalStyleNames::nameOf(const ConditionalFormat& format) const {
    auto it = std::find(formats_.begin(), formats_.end(), format);
    return "SumoraConditional" + std::to_string(it - formats_.begin() + 1);
}

void ConditionalStyleNames::appendStyles(std::string& out) const {
    for (const ConditionalFormat& f : formats_) {
        out += "<style:style style:name=\"" + nameOf(f) + "\" style:family=\"table-cell\">";
        if (f.fillColor)
            out += "<style:table-cell-properties fo:background-color=\"" + odfColor(*f.fillColor) + "\"/>";
        if (f.fontColor || f.isBold || f.isItalic) {
            out += "<style:text-properties";
            if (f.fontColor) out += " fo:color=\"" + odfColor(*f.fontColor) + "\"";
            if (f.isBold) out += *f.isBold ? " fo:font-weight=\"bold\"" : " fo:font-weight=\"normal\"";
            if (f.isItalic) out += *f.isItalic ? " fo:font-style=\"italic\"" : " fo:font-style=\"normal\"";
            out += "/>";
        }
        out += "</style:style>";
    }
}

std::string stylesWithConditionalStyles(std::string_view fixedStyles, const ConditionalStyleNames& names) {
    std::string out(fixedStyles);
    size_t end = out.rfind("</office:styles>");
    if (names.empty() || end == std::string::npos) return out;
    std::string styles;
    names.appendStyles(styles);
    out.insert(end, styles);
    return out;
}

void appendConditionalFormats(std::string& out, const Sheet& sheet, const ConditionalStyleNames& names) {
    if (sheet.conditionalFormats.empty()) return;
    // The extension's namespace is declared here, so documents without
    // conditional formats keep the plain document element.
    out += "<calcext:conditional-formats xmlns:calcext=\"";
    out += kCalcExtension;
    out += "\">";
    for (const ConditionalFormatRule& rule : sheet.conditionalFormats)
        std::visit(FormatWriter(out, rule, sheet.name, names), rule.ruleType);
    out += "</calcext:conditional-formats>";
}

} // namespace sumora::ods
