#include "formats/XlsxConditionalFormatsWriter.h"

#include <algorithm>
#include <limits>

#include "document/Sheet.h"
#include "formats/XlsxFormulaText.h"
#include "formats/XlsxStylesWriter.h"
#include "formats/XlsxWriterText.h"
#include "formats/XmlWriter.h"

namespace sumora::xlsx {

namespace {

class RuleWriter {
  public:
    RuleWriter(std::string& out, const ConditionalFormatRule& rule, int priority, StylesWriter& styles)
        : out_(out), rule_(rule), priority_(priority), styles_(styles) {
        appendCellRef(topLeft_, {std::min(rule.startCol, rule.endCol), std::min(rule.startRow, rule.endRow)});
    }

    void operator()(const rule::GreaterThan& r) { cellIs("greaterThan", {xmlDouble(r.value)}); }
    void operator()(const rule::LessThan& r) { cellIs("lessThan", {xmlDouble(r.value)}); }
    void operator()(const rule::EqualTo& r) { cellIs("equal", {xmlDouble(r.value)}); }
    void operator()(const rule::Between& r) { cellIs("between", {xmlDouble(r.low), xmlDouble(r.high)}); }
    void operator()(const rule::NotBetween& r) {
        cellIs("notBetween", {xmlDouble(r.low), xmlDouble(r.high)});
    }
    void operator()(const rule::TextContains& r) {
        text("containsText", r.text,
             "NOT(ISERROR(SEARCH(" + formulaStringLiteral(r.text) + "," + topLeft_ + ")))");
    }
    void operator()(const rule::TextNotContains& r) {
        text("notContainsText", r.text,
             "ISERROR(SEARCH(" + formulaStringLiteral(r.text) + "," + topLeft_ + "))");
    }
    void operator()(const rule::TextStartsWith& r) {
        std::string literal = formulaStringLiteral(r.text);
        text("beginsWith", r.text, "LEFT(" + topLeft_ + ",LEN(" + literal + "))=" + literal);
    }
    void operator()(const rule::TextEndsWith& r) {
        std::string literal = formulaStringLiteral(r.text);
        text("endsWith", r.text, "RIGHT(" + topLeft_ + ",LEN(" + literal + "))=" + literal);
    }
    void operator()(const rule::TopN& r) { top(r.count, false); }
    void operator()(const rule::BottomN& r) { top(r.count, true); }
    void operator()(const rule::ColorScale2& r) {
        open("colorScale");
        out_ += "><colorScale><cfvo type=\"min\"/><cfvo type=\"max\"/>";
        color(r.low);
        color(r.high);
        out_ += "</colorScale></cfRule>";
    }
    void operator()(const rule::ColorScale3& r) {
        open("colorScale");
        out_ += "><colorScale><cfvo type=\"min\"/><cfvo type=\"percentile\" val=\"50\"/><cfvo type=\"max\"/>";
        color(r.low);
        color(r.mid);
        color(r.high);
        out_ += "</colorScale></cfRule>";
    }
    void operator()(const rule::DataBar& r) {
        open("dataBar");
        out_ += "><dataBar><cfvo type=\"min\"/><cfvo type=\"max\"/>";
        color(r.color);
        out_ += "</dataBar></cfRule>";
    }
    void operator()(const rule::DuplicateValues&) { plain("duplicateValues"); }
    void operator()(const rule::UniqueValues&) { plain("uniqueValues"); }
    void operator()(const rule::IsBlank&) { withFormula("containsBlanks", "LEN(TRIM(" + topLeft_ + "))=0"); }
    void operator()(const rule::IsNotBlank&) {
        withFormula("notContainsBlanks", "LEN(TRIM(" + topLeft_ + "))>0");
    }
    void operator()(const rule::AboveAverage&) { plain("aboveAverage"); }
    void operator()(const rule::BelowAverage&) {
        out_ += "<cfRule type=\"aboveAverage\" aboveAverage=\"0\"";
        priorityAndFormat();
        out_ += "/>";
    }
    void operator()(const rule::GreaterOrEqual& r) { cellIs("greaterThanOrEqual", {xmlDouble(r.value)}); }
    void operator()(const rule::LessOrEqual& r) { cellIs("lessThanOrEqual", {xmlDouble(r.value)}); }
    void operator()(const rule::NotEqualTo& r) { cellIs("notEqual", {xmlDouble(r.value)}); }
    void operator()(const rule::TopPercent& r) { top(r.percent, false, true); }
    void operator()(const rule::BottomPercent& r) { top(r.percent, true, true); }
    void operator()(const rule::Expression& r) { withFormula("expression", exportedFormula(r.formula)); }
    void operator()(const rule::IconSet& r) {
        open("iconSet");
        out_ += "><iconSet";
        appendAttribute(out_, "iconSet", rawText(r.style));
        if (!r.showValue) out_ += " showValue=\"0\"";
        if (r.reverse) out_ += " reverse=\"1\"";
        out_ += '>';
        for (const Threshold& t : r.thresholds)
            valueObject(t);
        out_ += "</iconSet></cfRule>";
    }
    void operator()(const rule::CustomColorScale& r) {
        open("colorScale");
        out_ += "><colorScale>";
        for (const rule::ColorStop& stop : r.stops)
            valueObject(stop.threshold);
        for (const rule::ColorStop& stop : r.stops)
            color(stop.color);
        out_ += "</colorScale></cfRule>";
    }
    void operator()(const rule::CustomDataBar& r) {
        open("dataBar");
        out_ += "><dataBar>";
        valueObject(r.low);
        valueObject(r.high);
        color(r.color);
        out_ += "</dataBar></cfRule>";
    }

  private:
    // Everything up to the priority: `<cfRule type="…"` and its own attributes.
    void open(std::string_view type) {
        out_ += "<cfRule type=\"";
        out_ += type;
        out_ += '"';
        if (type == "colorScale" || type == "dataBar" || type == "iconSet") {
            out_ += " priority=\"";
            appendInt(out_, priority_);
            out_ += '"';
        }
    }
    // The priority, then the rule's differential format when it sets anything.
    void priorityAndFormat() {
        out_ += " priority=\"";
        appendInt(out_, priority_);
        out_ += '"';
        if (rule_.format != ConditionalFormat{}) {
            out_ += " dxfId=\"";
            appendInt(out_, styles_.dxfIndex(rule_.format));
            out_ += '"';
        }
    }
    void cellIs(std::string_view op, std::initializer_list<std::string> formulas) {
        open("cellIs");
        out_ += " operator=\"";
        out_ += op;
        out_ += '"';
        priorityAndFormat();
        out_ += '>';
        bool first = true;
        for (const std::string& f : formulas) {
            out_ += first ? "<formula>" : "</formula><formula>";
            first = false;
            out_ += f;
        }
        out_ += "</formula></cfRule>";
    }
    void text(std::string_view type, std::string_view text, const std::string& formula) {
        open(type);
        appendAttribute(out_, "text", text);
        priorityAndFormat();
        // Spreadsheet applications read the operator alongside the type.
        appendAttribute(out_, "operator", type == "notContainsText" ? "notContains" : type);
        out_ += '>';
        appendTextElement(out_, "formula", formula);
        out_ += "</cfRule>";
    }
    void top(int64_t rank, bool bottom, bool percent = false) {
        open("top10");
        out_ += " rank=\"";
        appendInt(out_, std::clamp<int64_t>(rank, 1, percent ? 100 : std::numeric_limits<int64_t>::max()));
        out_ += '"';
        if (percent) out_ += " percent=\"1\"";
        if (bottom) out_ += " bottom=\"1\"";
        priorityAndFormat();
        out_ += "/>";
    }
    void plain(std::string_view type) {
        open(type);
        priorityAndFormat();
        out_ += "/>";
    }
    void withFormula(std::string_view type, const std::string& formula) {
        open(type);
        priorityAndFormat();
        out_ += '>';
        appendTextElement(out_, "formula", formula);
        out_ += "</cfRule>";
    }
    void valueObject(const Threshold& t) {
        out_ += "<cfvo";
        appendAttribute(out_, "type", rawText(t.kind));
        if (t.kind == ThresholdKind::formula)
            appendAttribute(out_, "val", exportedFormula(t.formula));
        else if (t.kind != ThresholdKind::min && t.kind != ThresholdKind::max)
            appendAttribute(out_, "val", xmlDouble(t.value));
        if (!t.inclusive) out_ += " gte=\"0\"";
        out_ += "/>";
    }
    void color(const std::string& hex) {
        out_ += "<color rgb=\"FF";
        out_ += hexColor(hex);
        out_ += "\"/>";
    }

    std::string& out_;
    const ConditionalFormatRule& rule_;
    int priority_;
    StylesWriter& styles_;
    std::string topLeft_;
};

} // namespace

void appendConditionalFormatting(std::string& out, const Sheet& sheet, StylesWriter& styles) {
    int priority = 1;
    for (const ConditionalFormatRule& rule : sheet.conditionalFormats) {
        out += "<conditionalFormatting sqref=\"";
        out += rangeRef(rule.startCol, rule.startRow, rule.endCol, rule.endRow);
        out += "\">";
        std::visit(RuleWriter(out, rule, priority++, styles), rule.ruleType);
        out += "</conditionalFormatting>";
    }
}

} // namespace sumora::xlsx
