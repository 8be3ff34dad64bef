#pragma once
// Every function name the engine answers to: the catalogued functions in
// catalogue order, then the names the dispatcher knows without a catalogue
// entry, by family. Tests use it to make sure no known name falls through to
// "#NAME?".
#include <string_view>

namespace sumora {

// clang-format off
inline constexpr std::string_view kAllFunctionNames[] = {
    // Catalogued
    "SUM", "SUMIF", "SUMIFS", "SUMPRODUCT", "PRODUCT", "ABS", "ROUND", "ROUNDUP", "ROUNDDOWN", "CEILING",
    "FLOOR", "INT", "TRUNC", "MOD", "POWER", "SQRT", "EXP", "LN", "LOG", "LOG10", "SIGN", "PI", "RAND",
    "RANDBETWEEN", "FACT", "GCD", "LCM", "MROUND", "COMBIN", "PERMUT", "DEGREES", "RADIANS", "SIN", "COS",
    "TAN", "ASIN", "ACOS", "ATAN", "SINH", "COSH", "TANH", "SUBTOTAL", "AGGREGATE", "AVERAGE", "AVERAGEIF",
    "AVERAGEIFS", "COUNT", "COUNTA", "COUNTBLANK", "COUNTIF", "COUNTIFS", "MIN", "MAX", "MEDIAN", "MODE",
    "STDEV", "STDEVP", "VAR", "VARP", "LARGE", "SMALL", "RANK", "PERCENTILE", "QUARTILE", "FORECAST",
    "CORREL", "SLOPE", "INTERCEPT", "FREQUENCY", "IF", "IFS", "AND", "OR", "NOT", "XOR", "IFERROR", "IFNA",
    "SWITCH", "TRUE", "FALSE", "LEFT", "RIGHT", "MID", "LEN", "FIND", "SEARCH", "SUBSTITUTE", "REPLACE",
    "TRIM", "UPPER", "LOWER", "PROPER", "CONCATENATE", "CONCAT", "TEXTJOIN", "TEXT", "VALUE", "CHAR", "CODE",
    "REPT", "EXACT", "VLOOKUP", "HLOOKUP", "INDEX", "MATCH", "CHOOSE", "LOOKUP", "INDIRECT", "OFFSET", "ROW",
    "COLUMN", "ROWS", "COLUMNS", "FILTER", "SORT", "UNIQUE", "SEQUENCE", "TRANSPOSE", "TODAY", "NOW", "DATE",
    "TIME", "YEAR", "MONTH", "DAY", "HOUR", "MINUTE", "SECOND", "WEEKDAY", "DATEDIF", "EOMONTH", "EDATE",
    "NETWORKDAYS", "WORKDAY", "DATEVALUE", "TIMEVALUE", "PV", "FV", "PMT", "RATE", "NPER", "NPV", "IRR",
    "XNPV", "XIRR", "ISNUMBER", "ISTEXT", "ISBLANK", "ISERROR", "ISNA", "ISEVEN", "ISODD", "ISLOGICAL",
    "TYPE", "N", "NA", "DSUM", "DCOUNT", "DAVERAGE", "DMAX", "DMIN",
    // Math and base conversion
    "SUMSQ", "SUMXMY2", "SUMX2MY2", "SUMX2PY2", "CEILING.MATH", "FLOOR.MATH", "QUOTIENT", "EVEN", "ATAN2",
    "ACOT", "ASINH", "ACOSH", "ATANH", "BASE", "DECIMAL", "ROMAN", "ARABIC", "DEC2BIN", "DEC2OCT", "DEC2HEX",
    "BIN2DEC", "BIN2OCT", "BIN2HEX", "OCT2DEC", "OCT2BIN", "OCT2HEX", "HEX2DEC", "HEX2BIN", "HEX2OCT",
    // Statistical
    "MAXIFS", "MINIFS", "STDEV.S", "STDEV.P", "VAR.S", "RANK.EQ", "PERCENTRANK", "TRIMMEAN", "GEOMEAN",
    "HARMEAN", "AVEDEV", "DEVSQ", "SKEW", "FISHER", "FISHERINV", "CONFIDENCE", "NORM.DIST", "NORMDIST",
    "NORMSDIST", "NORM.INV", "NORMINV", "NORM.S.INV", "NORMSINV", "POISSON", "POISSON.DIST", "BINOM.DIST",
    "BINOMDIST", "EXPON.DIST", "EXPONDIST", "T.DIST",
    // Text
    "CLEAN", "NUMBERVALUE", "FIXED", "DOLLAR", "TEXTBEFORE", "TEXTAFTER", "TEXTSPLIT", "VALUETOTEXT",
    "ARRAYTOTEXT",
    // Date
    "DAYS", "DAYS360", "NETWORKDAYS.INTL", "WORKDAY.INTL", "YEARFRAC", "ISOWEEKNUM", "WEEKNUM",
    // Information
    "ISNONTEXT", "ISFORMULA", "ERROR.TYPE",
    // Financial
    "SYD", "DB", "DDB", "IPMT", "EFFECT", "NOMINAL",
    // Lookup, arrays and names
    "XLOOKUP", "XMATCH", "ADDRESS", "WRAPROWS", "WRAPCOLS", "TOCOL", "TOROW", "HSTACK", "TAKE", "DROP",
    "EXPAND", "CHOOSECOLS", "CHOOSEROWS", "MAKEARRAY", "LET",
};
// clang-format on

} // namespace sumora
