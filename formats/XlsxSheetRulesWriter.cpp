#include "formats/XlsxSheetRulesWriter.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "document/Sheet.h"
#include "formats/XlsxFormulaText.h"
#include "formats/XlsxStylesWriter.h"
#include "formats/XlsxWriterText.h"
#include "formats/XmlWriter.h"
#include "values/SerialDate.h"

namespace sumora::xlsx {

namespace {

void appendFormula(std::string& out, std::string_view element, std::string_view formula) {
    out += '<';
    out += element;
    out += '>';
    appendXmlEscaped(out, formula);
    out += "</";
    out += element;
    out += '>';
}

// A formula string literal: "a""b" for a"b.
std::string stringLiteral(std::string_view text) {
    std::string out = "\"";
    for (char c : text) {
        out += c;
        if (c == '"') out += '"';
    }
    out += '"';
    return out;
}

// ---------------------------------------------------------------------------
// Conditional formatting

class RuleWriter {
  public:
    RuleWriter(std::string& out, const ConditionalFormatRule& rule, int priority, StylesWriter& styles)
        : out_(out), rule_(rule), priority_(priority), styles_(styles) {
        appendCellRef(topLeft_, std::min(rule.startCol, rule.endCol), std::min(rule.startRow, rule.endRow));
    }

    void operator()(const rule::GreaterThan& r) { cellIs("greaterThan", {xmlDouble(r.value)}); }
    void operator()(const rule::LessThan& r) { cellIs("lessThan", {xmlDouble(r.value)}); }
    void operator()(const rule::EqualTo& r) { cellIs("equal", {xmlDouble(r.value)}); }
    void operator()(const rule::Between& r) { cellIs("between", {xmlDouble(r.low), xmlDouble(r.high)}); }
    void operator()(const rule::NotBetween& r) {
        cellIs("notBetween", {xmlDouble(r.low), xmlDouble(r.high)});
    }
    void operator()(const rule::TextContains& r) {
        text("containsText", r.text, "NOT(ISERROR(SEARCH(" + stringLiteral(r.text) + "," + topLeft_ + ")))");
    }
    void operator()(const rule::TextNotContains& r) {
        text("notContainsText", r.text, "ISERROR(SEARCH(" + stringLiteral(r.text) + "," + topLeft_ + "))");
    }
    void operator()(const rule::TextStartsWith& r) {
        std::string literal = stringLiteral(r.text);
        text("beginsWith", r.text, "LEFT(" + topLeft_ + ",LEN(" + literal + "))=" + literal);
    }
    void operator()(const rule::TextEndsWith& r) {
        std::string literal = stringLiteral(r.text);
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

  private:
    // Everything up to the priority: `<cfRule type="…"` and its own attributes.
    void open(std::string_view type) {
        out_ += "<cfRule type=\"";
        out_ += type;
        out_ += '"';
        if (type == "colorScale" || type == "dataBar") {
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
        appendFormula(out_, "formula", formula);
        out_ += "</cfRule>";
    }
    void top(int64_t rank, bool bottom) {
        open("top10");
        out_ += " rank=\"";
        appendInt(out_, std::max<int64_t>(1, rank));
        out_ += '"';
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
        appendFormula(out_, "formula", formula);
        out_ += "</cfRule>";
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

// ---------------------------------------------------------------------------
// Data validations

struct ValidationFormulas {
    std::string type;
    std::string op;
    std::optional<std::string> formula1, formula2;
};

template <class T> std::string boundText(T value) {
    if constexpr (std::is_floating_point_v<T>)
        return xmlDouble(value);
    else
        return std::to_string(value);
}

// Bounds as the format spells them: both → between, one → an inclusive
// comparison, none → no formula at all.
template <class T>
void setBounds(ValidationFormulas& v, const std::optional<T>& min, const std::optional<T>& max) {
    if (min && max) {
        v.op = "between";
        v.formula1 = boundText(*min);
        v.formula2 = boundText(*max);
    } else if (min) {
        v.op = "greaterThanOrEqual";
        v.formula1 = boundText(*min);
    } else if (max) {
        v.op = "lessThanOrEqual";
        v.formula1 = boundText(*max);
    }
}

// A date text becomes its serial number, which is what the format compares
// with; text that is no date (a formula such as TODAY()) is kept.
std::string dateBound(const std::string& text) {
    if (auto serial = parseDateValueText(text)) return xmlDouble(*serial);
    return exportedFormula(text);
}

struct ValidationVisitor {
    ValidationFormulas operator()(const validation::WholeNumber& w) const {
        ValidationFormulas v{"whole", "", {}, {}};
        setBounds(v, w.min, w.max);
        return v;
    }
    ValidationFormulas operator()(const validation::Decimal& d) const {
        ValidationFormulas v{"decimal", "", {}, {}};
        setBounds(v, d.min, d.max);
        return v;
    }
    ValidationFormulas operator()(const validation::List& l) const {
        std::string joined;
        for (size_t i = 0; i < l.entries.size(); ++i) {
            if (i > 0) joined += ',';
            joined += l.entries[i];
        }
        return {"list", "", stringLiteral(joined), {}};
    }
    ValidationFormulas operator()(const validation::TextLength& t) const {
        ValidationFormulas v{"textLength", "", {}, {}};
        setBounds(v, t.min, t.max);
        return v;
    }
    ValidationFormulas operator()(const validation::Date& d) const {
        ValidationFormulas v{"date", "", {}, {}};
        if (d.after && d.before) {
            v.op = "between";
            v.formula1 = dateBound(*d.after);
            v.formula2 = dateBound(*d.before);
        } else if (d.after) {
            v.op = "greaterThanOrEqual"; // the check accepts the bound date itself
            v.formula1 = dateBound(*d.after);
        } else if (d.before) {
            v.op = "lessThanOrEqual";
            v.formula1 = dateBound(*d.before);
        }
        return v;
    }
    ValidationFormulas operator()(const validation::Custom& c) const {
        return {"custom", "", exportedFormula(c.formula), {}};
    }
};

std::string_view errorStyleText(ValidationErrorStyle style) {
    switch (style) {
    case ValidationErrorStyle::stop:
        return "stop";
    case ValidationErrorStyle::warning:
        return "warning";
    case ValidationErrorStyle::information:
        return "information";
    }
    return "stop";
}

} // namespace

void appendSheetProtection(std::string& out, const Sheet& sheet) {
    const SheetProtectionOptions& o = sheet.protectionOptions;
    if (!sheet.isProtected && o == SheetProtectionOptions{}) return;
    out += "<sheetProtection";
    if (sheet.protectionPassword && !sheet.protectionPassword->empty())
        appendAttribute(out, "password", legacyPasswordHash(*sheet.protectionPassword));
    out += sheet.isProtected ? " sheet=\"1\" objects=\"1\" scenarios=\"1\"" : " sheet=\"0\"";
    // Each attribute names a protected action: "1" forbids it.
    auto flag = [&](std::string_view name, bool allowed, bool protectedByDefault) {
        if (allowed == !protectedByDefault) return;
        appendAttribute(out, name, allowed ? "0" : "1");
    };
    flag("selectLockedCells", o.allowSelectLockedCells, false);
    flag("selectUnlockedCells", o.allowSelectUnlockedCells, false);
    flag("formatCells", o.allowFormatCells, true);
    flag("formatColumns", o.allowFormatColumns, true);
    flag("formatRows", o.allowFormatRows, true);
    flag("insertColumns", o.allowInsertColumns, true);
    flag("insertRows", o.allowInsertRows, true);
    flag("deleteColumns", o.allowDeleteColumns, true);
    flag("deleteRows", o.allowDeleteRows, true);
    flag("sort", o.allowSort, true);
    flag("autoFilter", o.allowAutoFilter, true);
    out += "/>";
}

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

void appendDataValidations(std::string& out, const Sheet& sheet) {
    if (sheet.dataValidations.empty()) return;
    out += "<dataValidations count=\"";
    appendInt(out, static_cast<int64_t>(sheet.dataValidations.size()));
    out += "\">";
    for (const DataValidationRule& rule : sheet.dataValidations) {
        ValidationFormulas v = std::visit(ValidationVisitor{}, rule.validationType);
        out += "<dataValidation type=\"" + v.type + '"';
        if (rule.errorStyle != ValidationErrorStyle::stop)
            appendAttribute(out, "errorStyle", errorStyleText(rule.errorStyle));
        if (!v.op.empty() && v.op != "between") appendAttribute(out, "operator", v.op);
        out += " allowBlank=\"1\"";
        // The attribute says the opposite of its name: set, it hides the arrow.
        if (v.type == "list" && !rule.showDropdown) out += " showDropDown=\"1\"";
        out += " showInputMessage=\"1\" showErrorMessage=\"1\"";
        if (rule.errorTitle) appendAttribute(out, "errorTitle", *rule.errorTitle);
        if (rule.errorMessage) appendAttribute(out, "error", *rule.errorMessage);
        if (rule.inputTitle) appendAttribute(out, "promptTitle", *rule.inputTitle);
        if (rule.inputMessage) appendAttribute(out, "prompt", *rule.inputMessage);
        appendAttribute(out, "sqref", rangeRef(rule.startCol, rule.startRow, rule.endCol, rule.endRow));
        out += '>';
        if (v.formula1) appendFormula(out, "formula1", *v.formula1);
        if (v.formula2) appendFormula(out, "formula2", *v.formula2);
        out += "</dataValidation>";
    }
    out += "</dataValidations>";
}

std::string legacyPasswordHash(std::string_view password) {
    // Each character is rotated left within 15 bits by its position.
    auto rotate = [](uint32_t h) { return ((h >> 14) & 0x01) | ((h << 1) & 0x7FFF); };
    uint32_t hash = 0;
    for (size_t i = password.size(); i-- > 0;)
        hash = rotate(hash) ^ static_cast<unsigned char>(password[i]);
    hash = rotate(hash) ^ static_cast<uint32_t>(password.size()) ^ 0xCE4B;
    char buffer[8];
    std::snprintf(buffer, sizeof buffer, "%04X", hash & 0xFFFF);
    return buffer;
}

} // namespace sumora::xlsx
