// Information about cells, sheets and the workbook: CELL, INFO, SHEET,
// SHEETS, AREAS, FORMULATEXT, T, HYPERLINK and GETPIVOTDATA. What the model
// cannot know (the file's path, pivot caches) is answered the way the
// established spreadsheets answer for an unsaved workbook.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <system_error>

#if __has_include(<sys/utsname.h>)
#include <sys/utsname.h>
#endif

#include "document/ColumnLetters.h"
#include "document/SumoraDocument.h"
#include "engine/FunctionRegistry.h"
#include "functions/ArgumentValues.h"
#include "functions/ReferenceSupport.h"
#include "functions/TextSupport.h"
#include "values/BuiltInNumberFormats.h"

namespace sumora {

namespace {

// Pixels of a column the grid draws at its default width.
constexpr double kDefaultColumnPixels = 100;

// The reference of argument i, or the formula's own cell when it is missing.
ReferenceResult referenceOrCurrent(FunctionContext& c, size_t i) {
    if (c.hasArg(i)) return referenceArg(c, i);
    CellRef at = c.resolver().currentCell();
    return {Reference{at.col, at.row, at.col, at.row, std::nullopt}, std::nullopt};
}

const Sheet* sheetOf(FunctionContext& c, const Reference& ref) {
    const SumoraDocument* book = c.resolver().workbook();
    if (!book) return nullptr;
    if (!ref.sheet)
        return c.resolver().currentSheetIndex() < book->sheets.size()
                   ? &book->sheets[c.resolver().currentSheetIndex()]
                   : nullptr;
    auto index = book->sheetIndex(*ref.sheet);
    return index ? &book->sheets[*index] : nullptr;
}

// The number format code of a cell: its own code, else the built-in code of its id.
std::string formatCodeOf(const Cell& cell) {
    const CellFormat& format = cell.format();
    if (format.numberFormat) return *format.numberFormat;
    auto it = builtInNumberFormats().find(static_cast<int>(format.numberFormatId));
    return it == builtInNumberFormats().end() ? std::string() : it->second;
}

// The first section of a format code with quoted texts and escapes removed.
std::string firstSection(std::string_view code) {
    std::string out;
    bool quoted = false;
    for (size_t i = 0; i < code.size(); ++i) {
        char ch = code[i];
        if (ch == '"')
            quoted = !quoted;
        else if (quoted)
            continue;
        else if (ch == '\\')
            ++i;
        else if (ch == ';')
            break;
        else if (ch == '[') {
            size_t close = code.find(']', i);
            if (close == std::string_view::npos) break;
            if (code.substr(i + 1, 1) == "$") out += '$'; // [$€-407] is a currency
            i = close;
        } else
            out += static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    }
    return out;
}

// CELL("format") code: G, F2, ,2, C2, P2, S2, D1–D9 or @, then "-" when
// negatives are coloured and "()" when positives carry parentheses.
std::string cellFormatCode(std::string_view code) {
    std::string section = firstSection(code);
    if (section.empty() || section == "general") return "G";
    if (section == "@") return "@";
    auto has = [&](std::string_view s) { return section.find(s) != std::string::npos; };
    std::string result;
    bool date = has("y") || has("d") || (has("m") && !has("0") && !has("#")) || has("h") || has("s");
    if (date && !has("e+")) {
        bool ampm = has("am/pm") || has("a/p");
        if (has("h") || (has("s") && !has("d")))
            result = ampm ? (has("s") ? "D6" : "D7") : (has("s") ? "D8" : "D9");
        else if (has("mmm") && has("d") && has("y"))
            result = "D1";
        else if (has("mmm") && has("d"))
            result = "D2";
        else if (has("mmm") && has("y"))
            result = "D3";
        else if (has("y"))
            result = "D4";
        else
            result = "D5";
        return result;
    }
    size_t decimals = 0;
    if (size_t point = section.find('.'); point != std::string::npos)
        for (size_t i = point + 1; i < section.size() && (section[i] == '0' || section[i] == '#'); ++i)
            ++decimals;
    if (has("e+") || has("e-"))
        result = "S";
    else if (has("%"))
        result = "P";
    else if (has("$") || section.find("\xe2\x82\xac") != std::string::npos ||
             section.find("\xc2\xa3") != std::string::npos)
        result = "C";
    else if (has(","))
        result = ",";
    else if (has("0") || has("#"))
        result = "F";
    else
        return "G";
    result += std::to_string(decimals);
    // A colour name in brackets ("[Red]") in a later section colours negatives.
    const size_t semicolon = code.find(';');
    const std::string_view rest =
        semicolon == std::string_view::npos ? std::string_view() : code.substr(semicolon + 1);
    for (size_t at = rest.find('['); at != std::string_view::npos; at = rest.find('[', at + 1))
        if (at + 1 < rest.size() && std::isalpha(static_cast<unsigned char>(rest[at + 1]))) {
            result += '-';
            break;
        }
    if (has("(")) result += "()";
    return result;
}

void appendSheetPrefix(std::string& out, std::string_view sheet) {
    if (isPlainSheetName(sheet)) {
        out += sheet;
    } else {
        out += '\'';
        for (char ch : sheet)
            out += ch == '\'' ? std::string("''") : std::string(1, ch);
        out += '\'';
    }
    out += '!';
}

// CELL(info_type, [reference]) — a fact about the top-left cell of the
// reference (the formula's own cell when it is missing)
FormulaValue cell(FunctionContext& c) {
    auto info = textArg(c, 0);
    if (!info) return info.failure;
    ReferenceResult r = referenceOrCurrent(c, 1);
    if (r.error) return *r.error;
    if (!r.reference) return err(ErrorKind::invalidValue);
    const Reference& ref = *r.reference;
    std::string kind = lowerCased(*info);
    if (kind == "address") {
        std::string out;
        if (ref.sheet) appendSheetPrefix(out, *ref.sheet);
        out += '$';
        appendColumnLetter(out, ref.col1);
        out += '$' + std::to_string(ref.row1 + 1);
        return txt(std::move(out));
    }
    if (kind == "col") return num(static_cast<double>(ref.col1 + 1));
    if (kind == "row") return num(static_cast<double>(ref.row1 + 1));
    if (kind == "filename") return txt("");
    FormulaValue value = c.resolver().cellValue({ref.col1, ref.row1}, ref.sheetView());
    if (kind == "contents") return value;
    if (kind == "type") return txt(value.isEmpty() ? "b" : value.isText() ? "l" : "v");
    const Sheet* sheet = sheetOf(c, ref);
    const Cell& record = sheet ? sheet->cell(ref.row1, ref.col1) : Sheet::defaultCell();
    if (kind == "width") {
        double pixels = kDefaultColumnPixels;
        if (sheet)
            if (auto it = sheet->columnWidths.find(ref.col1); it != sheet->columnWidths.end())
                pixels = it->second;
        // Characters of the default font: 7 pixels each after 5 of padding.
        return num(std::max(0.0, std::trunc((pixels - 5) / 7)));
    }
    if (kind == "protect") return num(record.isLocked() ? 1 : 0);
    if (kind == "prefix") {
        if (!value.isText()) return txt("");
        switch (record.format().alignment) {
        case CellAlignment::left:
            return txt("'");
        case CellAlignment::right:
            return txt("\"");
        case CellAlignment::center:
            return txt("^");
        case CellAlignment::fill:
            return txt("\\");
        default:
            return txt(value.isText() ? "'" : "");
        }
    }
    std::string code = cellFormatCode(formatCodeOf(record));
    if (kind == "format") return txt(code);
    if (kind == "color") return num(code.find('-') != std::string::npos ? 1 : 0);
    if (kind == "parentheses") return num(code.find("()") != std::string::npos ? 1 : 0);
    return err(ErrorKind::invalidValue);
}

// INFO(type_text) — the environment: sheets open, recalculation mode, system
std::string operatingSystem() {
#if __has_include(<sys/utsname.h>)
    utsname name{};
    if (uname(&name) == 0) return std::string(name.sysname) + " " + name.release;
#endif
    return "unknown";
}

FormulaValue info(FunctionContext& c) {
    auto type = textArg(c, 0);
    if (!type) return type.failure;
    std::string kind = lowerCased(*type);
    if (kind == "numfile") {
        const SumoraDocument* book = c.resolver().workbook();
        return num(book ? static_cast<double>(book->sheets.size()) : 1);
    }
    if (kind == "recalc") return txt("Automatic");
#ifdef __APPLE__
    if (kind == "system") return txt("mac");
#else
    if (kind == "system") return txt("pcdos");
#endif
    if (kind == "osversion") return txt(operatingSystem());
    if (kind == "release") return txt("1.0");
    if (kind == "origin") return txt("$A:$A$1");
    if (kind == "directory") {
        std::error_code ec;
        std::string dir = std::filesystem::current_path(ec).string();
        if (ec) return err(ErrorKind::notAvailable);
        if (dir.empty() || dir.back() != std::filesystem::path::preferred_separator)
            dir += std::filesystem::path::preferred_separator;
        return txt(std::move(dir));
    }
    if (kind == "memavail" || kind == "memused" || kind == "totmem") return err(ErrorKind::notAvailable);
    return err(ErrorKind::invalidValue);
}

// SHEET([value]) — the 1-based position of the reference's sheet, or of the
// sheet a text names; the formula's own sheet without an argument
FormulaValue sheet(FunctionContext& c) {
    const SumoraDocument* book = c.resolver().workbook();
    const double own = static_cast<double>(c.resolver().currentSheetIndex() + 1);
    if (!c.hasArg(0)) return num(own);
    ReferenceResult r = referenceArg(c, 0);
    if (r.error) return *r.error;
    std::optional<std::string> name;
    if (r.reference) {
        if (!r.reference->sheet) return num(own);
        name = r.reference->sheet;
    } else {
        FormulaValue v = scalarOf(c.evaluate(0));
        if (v.isError()) return v;
        if (!v.isText()) return err(ErrorKind::invalidValue);
        name = v.description();
    }
    auto index = book ? book->sheetIndex(*name) : std::nullopt;
    if (!index) return err(r.reference ? ErrorKind::invalidReference : ErrorKind::notAvailable);
    return num(static_cast<double>(*index + 1));
}

// SHEETS([reference]) — sheets in the workbook, or in the reference (one)
FormulaValue sheets(FunctionContext& c) {
    if (c.hasArg(0)) {
        ReferenceResult r = referenceArg(c, 0);
        if (r.error) return *r.error;
        if (!r.reference) return err(ErrorKind::invalidValue);
        return num(1);
    }
    const SumoraDocument* book = c.resolver().workbook();
    return num(book ? static_cast<double>(book->sheets.size()) : 1);
}

// AREAS(reference) — the number of areas; a formula names one area at a time
FormulaValue areas(FunctionContext& c) {
    ReferenceResult r = referenceArg(c, 0);
    if (r.error) return *r.error;
    if (!r.reference) return err(ErrorKind::invalidValue);
    return num(1);
}

// FORMULATEXT(reference) — the formula of the top-left cell as typed;
// "#N/A" for a constant
FormulaValue formulaText(FunctionContext& c) {
    ReferenceResult r = referenceArg(c, 0);
    if (r.error) return *r.error;
    if (!r.reference) return err(ErrorKind::invalidValue);
    if (!c.resolver().gridSize(r.reference->sheetView())) return err(ErrorKind::invalidReference);
    auto formula = c.resolver().cellFormula({r.reference->col1, r.reference->row1}, r.reference->sheetView());
    if (!formula || formula->empty()) return err(ErrorKind::notAvailable);
    return txt("=" + *formula);
}

// T(value) — the value when it is text, else ""; errors pass
FormulaValue tFunction(FunctionContext& c) {
    FormulaValue v = scalarOf(c.evaluate(0));
    if (v.isError() || v.isText()) return v;
    return txt("");
}

// HYPERLINK(link_location, [friendly_name]) — the cell shows the friendly
// name, else the location; following the link is the interface's business
FormulaValue hyperlink(FunctionContext& c) {
    FormulaValue shown = scalarOf(c.evaluate(c.hasArg(1) ? 1 : 0));
    if (shown.isEmpty()) return num(0);
    return shown;
}

// GETPIVOTDATA(data_field, pivot_table, [field, item], ...) — pivot caches
// are not kept in the model, so no pivot table can answer: "#REF!", as for a
// reference outside any pivot table
FormulaValue getPivotData(FunctionContext& c) {
    for (size_t i = 0; i < c.argCount(); ++i)
        if (FormulaValue v = scalarOf(c.evaluate(i)); v.isError()) return v;
    return err(ErrorKind::invalidReference);
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kInfoExtraFunctions[] = {
    {"CELL", cell, between(1, 2), valuesRule, none, "CELL(info_type, reference)", "Returns information about the formatting, location or contents of a cell."},
    {"INFO", info, exactly(1), valuesRule, none, "INFO(type_text)", "Returns information about the current operating environment."},
    {"SHEET", sheet, between(0, 1), valuesRule, none, "SHEET(value)", "Returns the sheet number of the referenced sheet."},
    {"SHEETS", sheets, between(0, 1), valuesRule, none, "SHEETS(reference)", "Returns the number of sheets in a reference or the workbook."},
    {"AREAS", areas, exactly(1), valuesRule, none, "AREAS(reference)", "Returns the number of areas in a reference."},
    {"FORMULATEXT", formulaText, exactly(1), valuesRule, none, "FORMULATEXT(reference)", "Returns the formula at the given reference as text."},
    {"T", tFunction, exactly(1), valuesRule, none, "T(value)", "Returns the text of a value, or empty text for a non-text value."},
    {"HYPERLINK", hyperlink, between(1, 2), valuesRule, none, "HYPERLINK(link_location, friendly_name)", "Creates a link that shows the friendly name or the location."},
    {"GETPIVOTDATA", getPivotData, atLeast(2), valuesRule, none, "GETPIVOTDATA(data_field, pivot_table, field1, item1, ...)", "Returns data stored in a pivot table."},
};
// clang-format on

} // namespace

void registerInfoExtraFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::info, kInfoExtraFunctions);
}

} // namespace sumora
