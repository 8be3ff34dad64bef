#include "formats/WorkbookDiff.h"

#include <algorithm>
#include <cctype>
#include <optional>

#include "document/CellFormat.h"
#include "engine/FormulaValue.h"
#include "formats/XlsxWorksheetReader.h"
#include "values/StrictNumber.h"

namespace sumora {

namespace {

bool has(unsigned aspects, DiffAspect a) {
    return aspects & static_cast<unsigned>(a);
}

// The formula a cell computes: its formula, or a value typed as "=…" (CSV).
std::optional<std::string_view> formulaOf(const Cell& cell) {
    if (cell.hasFormula()) return cell.formula();
    std::string_view v = cell.value();
    if (v.size() > 1 && v.front() == '=') return v.substr(1);
    return std::nullopt;
}

// Formulas written by different producers differ in case and spacing
// outside their string literals.
std::string canonicalFormula(std::string_view f) {
    if (!f.empty() && f.front() == '=') f.remove_prefix(1);
    std::string out;
    bool inString = false;
    for (char c : f) {
        if (c == '"') inString = !inString;
        if (inString || c == '"') {
            out += c;
        } else if (!std::isspace(static_cast<unsigned char>(c))) {
            out += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        }
    }
    return out;
}

// Constants: numbers by value (ODS keeps dates as ISO text), texts exactly.
bool sameConstant(std::string_view a, std::string_view b) {
    if (a == b) return true;
    auto number = [](std::string_view t) -> std::optional<double> {
        if (auto n = parseStrictNumber(t)) return n;
        if (auto serial = xlsx::serialTextFromIsoDate(t)) return parseStrictNumber(*serial);
        return std::nullopt;
    };
    auto x = number(a), y = number(b);
    return x && y && *x == *y;
}

// Compares one position; appends what differs.
void compareCells(const Cell& a, const Cell& b, const std::string& sheet, int64_t row, int64_t col,
                  unsigned aspects, std::vector<CellChange>& out) {
    auto fa = formulaOf(a), fb = formulaOf(b);
    if (fa || fb) {
        bool same = fa && fb && canonicalFormula(*fa) == canonicalFormula(*fb);
        if (!same && has(aspects, DiffAspect::formulas))
            out.push_back({sheet, col, row, DiffAspect::formulas, cellContentText(a), cellContentText(b)});
    } else if (!sameConstant(a.value(), b.value()) && has(aspects, DiffAspect::values)) {
        out.push_back({sheet, col, row, DiffAspect::values, std::string(a.value()), std::string(b.value())});
    }
    // Interned formats: equal formats are the same pointer.
    if (has(aspects, DiffAspect::formats) && a.formatHandle() != b.formatHandle())
        out.push_back({sheet, col, row, DiffAspect::formats, formatFieldsText(a.format(), b.format()),
                       formatFieldsText(b.format(), a.format())});
}

// Spilled array results are computed, not content.
const Cell& contentCell(const Cell& c) {
    return c.isSpillResult() ? Sheet::defaultCell() : c;
}

void compareSheets(const Sheet& a, const Sheet& b, unsigned aspects, std::vector<CellChange>& out) {
    a.forEachStoredCell([&](int64_t row, int64_t col, const Cell& cell) {
        compareCells(contentCell(cell), contentCell(b.cell(row, col)), b.name, row, col, aspects, out);
    });
    b.forEachStoredCell([&](int64_t row, int64_t col, const Cell& cell) {
        if (!a.storedCell(row, col))
            compareCells(Sheet::defaultCell(), contentCell(cell), b.name, row, col, aspects, out);
    });
}

bool sameContents(const Sheet& a, const Sheet& b) {
    std::vector<CellChange> changes;
    compareSheets(a, b,
                  static_cast<unsigned>(DiffAspect::values) | static_cast<unsigned>(DiffAspect::formulas),
                  changes);
    return changes.empty();
}

} // namespace

std::string cellContentText(const Cell& cell) {
    if (auto f = formulaOf(cell)) return "=" + std::string(*f);
    return std::string(cell.value());
}

std::string formatFieldsText(const CellFormat& f, const CellFormat& other) {
    std::string out;
    auto add = [&](std::string_view name, const std::string& value) {
        if (!out.empty()) out += ", ";
        out.append(name).append(" ").append(value);
    };
    auto yesNo = [](bool b) { return std::string(b ? "yes" : "no"); };
    auto text = [](const std::optional<std::string>& s) { return s ? *s : std::string("none"); };
    if (f.isBold != other.isBold) add("bold", yesNo(f.isBold));
    if (f.isItalic != other.isItalic) add("italic", yesNo(f.isItalic));
    if (f.isUnderline != other.isUnderline) add("underline", yesNo(f.isUnderline));
    if (f.isStrikethrough != other.isStrikethrough) add("strikethrough", yesNo(f.isStrikethrough));
    if (f.fontName != other.fontName) add("font", text(f.fontName));
    if (f.fontSize != other.fontSize) add("size", f.fontSize ? shortestNumberText(*f.fontSize) : "none");
    if (f.fontColor != other.fontColor) add("color", text(f.fontColor));
    if (f.fillColor != other.fillColor) add("fill", text(f.fillColor));
    if (f.alignment != other.alignment) add("align", std::string(rawText(f.alignment)));
    if (f.numberFormat != other.numberFormat) add("number format", text(f.numberFormat));
    if (f.wrapText != other.wrapText) add("wrap", yesNo(f.wrapText));
    bool borders = f.borderTop != other.borderTop || f.borderBottom != other.borderBottom ||
                   f.borderLeft != other.borderLeft || f.borderRight != other.borderRight ||
                   f.borderThickBottom != other.borderThickBottom;
    if (borders) {
        std::string sides;
        for (auto [on, name] : {std::pair{f.borderTop, "top"},
                                {f.borderBottom, "bottom"},
                                {f.borderLeft, "left"},
                                {f.borderRight, "right"},
                                {f.borderThickBottom, "thick bottom"}})
            if (on) sides += (sides.empty() ? "" : "+") + std::string(name);
        add("border", sides.empty() ? "none" : sides);
    }
    return out;
}

WorkbookDiff diffWorkbooks(const SumoraDocument& a, const SumoraDocument& b, unsigned aspects) {
    WorkbookDiff diff;
    std::vector<bool> matchedB(b.sheets.size(), false);
    std::vector<size_t> unmatchedA;
    std::vector<std::pair<size_t, size_t>> pairs;
    for (size_t i = 0; i < a.sheets.size(); ++i) {
        auto it = std::find_if(b.sheets.begin(), b.sheets.end(),
                               [&](const Sheet& s) { return s.name == a.sheets[i].name; });
        if (it == b.sheets.end()) {
            unmatchedA.push_back(i);
            continue;
        }
        auto j = static_cast<size_t>(it - b.sheets.begin());
        matchedB[j] = true;
        pairs.emplace_back(i, j);
    }
    // A sheet found under no name of the other workbook but with the same
    // contents as one left over there was renamed.
    for (size_t i : unmatchedA) {
        bool renamed = false;
        for (size_t j = 0; j < b.sheets.size() && !renamed; ++j) {
            if (matchedB[j] || !sameContents(a.sheets[i], b.sheets[j])) continue;
            matchedB[j] = renamed = true;
            diff.sheetsRenamed.push_back({a.sheets[i].name, b.sheets[j].name});
            pairs.emplace_back(i, j);
        }
        if (!renamed) diff.sheetsRemoved.push_back(a.sheets[i].name);
    }
    for (size_t j = 0; j < b.sheets.size(); ++j)
        if (!matchedB[j]) diff.sheetsAdded.push_back(b.sheets[j].name);

    std::sort(pairs.begin(), pairs.end(), [](auto x, auto y) { return x.second < y.second; });
    for (auto [i, j] : pairs) {
        size_t first = diff.cells.size();
        compareSheets(a.sheets[i], b.sheets[j], aspects, diff.cells);
        std::stable_sort(diff.cells.begin() + static_cast<std::ptrdiff_t>(first), diff.cells.end(),
                         [](const CellChange& x, const CellChange& y) {
                             return x.row != y.row ? x.row < y.row : x.col < y.col;
                         });
    }
    return diff;
}

} // namespace sumora
