#include "formats/XlsxSheetRulesWriter.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "document/Sheet.h"
#include "formats/XlsxFormulaText.h"
#include "formats/XlsxWriterText.h"
#include "formats/XmlWriter.h"
#include "values/SerialDate.h"

namespace sumora::xlsx {

namespace {

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
        return {"list", "", formulaStringLiteral(joined), {}};
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
        if (v.formula1) appendTextElement(out, "formula1", *v.formula1);
        if (v.formula2) appendTextElement(out, "formula2", *v.formula2);
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
