#include "formats/XlsxFormulaText.h"

#include <algorithm>
#include <array>

namespace sumora::xlsx {

namespace {

// Functions that a file must name as "_xlfn.NAME", sorted for lookup.
// clang-format off
constexpr std::array<std::string_view, 100> kFutureFunctions = {
    "ACOT", "ACOTH", "AGGREGATE", "ARABIC", "ARRAYTOTEXT", "BASE", "BINOM.DIST", "BITAND", "BITLSHIFT",
    "BITOR", "BITRSHIFT", "BITXOR", "BYCOL", "BYROW", "CEILING.MATH", "CEILING.PRECISE", "CHOOSECOLS",
    "CHOOSEROWS", "COMBINA", "CONCAT", "COT", "COTH", "CSC", "CSCH", "DAYS", "DECIMAL", "DROP", "EXPAND",
    "EXPON.DIST", "FLOOR.MATH", "FLOOR.PRECISE", "FORECAST.LINEAR", "FORMULATEXT", "GAMMA", "GAUSS", "HSTACK",
    "IFNA", "IFS", "ISFORMULA", "ISOMITTED", "ISOWEEKNUM", "LAMBDA", "LET", "MAKEARRAY", "MAP", "MAXIFS",
    "MINIFS", "MODE.MULT", "MODE.SNGL", "NETWORKDAYS.INTL", "NORM.DIST", "NORM.INV", "NORM.S.DIST",
    "NORM.S.INV", "NUMBERVALUE", "PDURATION", "PERCENTILE.EXC", "PERCENTILE.INC", "PERMUTATIONA",
    "POISSON.DIST", "QUARTILE.EXC", "QUARTILE.INC", "RANDARRAY", "RANK.AVG", "RANK.EQ", "REDUCE", "RRI",
    "SCAN", "SEC", "SECH", "SEQUENCE", "SHEET", "SHEETS", "SORTBY", "STDEV.P", "STDEV.S", "SWITCH", "T.DIST",
    "TAKE", "TEXTAFTER", "TEXTBEFORE", "TEXTJOIN", "TEXTSPLIT", "TOCOL", "TOROW", "UNICHAR", "UNICODE",
    "UNIQUE", "VALUETOTEXT", "VAR.P", "VAR.S", "VSTACK", "WEIBULL.DIST", "WORKDAY.INTL", "WRAPCOLS",
    "WRAPROWS", "XLOOKUP", "XMATCH", "XOR", "Z.TEST",
};
// clang-format on
static_assert(std::is_sorted(kFutureFunctions.begin(), kFutureFunctions.end()));

// Worksheet functions of that generation carry a second prefix.
constexpr std::array<std::string_view, 2> kWorksheetFunctions = {"FILTER", "SORT"};

bool isNameStart(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}
bool isNameChar(char c) {
    return isNameStart(c) || (c >= '0' && c <= '9') || c == '.';
}

std::string_view prefixFor(const std::string& upper) {
    if (std::binary_search(kFutureFunctions.begin(), kFutureFunctions.end(), upper)) return "_xlfn.";
    if (std::find(kWorksheetFunctions.begin(), kWorksheetFunctions.end(), upper) != kWorksheetFunctions.end())
        return "_xlfn._xlws.";
    return {};
}

} // namespace

std::string exportedFormula(std::string_view formula) {
    if (!formula.empty() && formula.front() == '=') formula.remove_prefix(1);
    if (formula.find('(') == std::string_view::npos) return std::string(formula);
    std::string out;
    out.reserve(formula.size() + 16);
    for (size_t i = 0; i < formula.size();) {
        char c = formula[i];
        if (c == '"' || c == '\'') {
            // Strings and quoted sheet names are copied whole ("" and '' stay inside).
            size_t end = i + 1;
            while (end < formula.size()) {
                if (formula[end] == c) {
                    if (end + 1 < formula.size() && formula[end + 1] == c) {
                        end += 2;
                        continue;
                    }
                    break;
                }
                ++end;
            }
            end = std::min(end + 1, formula.size());
            out.append(formula.substr(i, end - i));
            i = end;
            continue;
        }
        if (!isNameStart(c) || (i > 0 && isNameChar(formula[i - 1]))) {
            out += c;
            ++i;
            continue;
        }
        size_t end = i;
        while (end < formula.size() && isNameChar(formula[end]))
            ++end;
        std::string_view name = formula.substr(i, end - i);
        if (end < formula.size() && formula[end] == '(' && name.front() != '_') {
            std::string upper(name);
            std::transform(upper.begin(), upper.end(), upper.begin(),
                           [](unsigned char ch) { return std::toupper(ch); });
            out += prefixFor(upper);
        }
        out.append(name);
        i = end;
    }
    return out;
}

} // namespace sumora::xlsx
