// The lookup family: searching functions here, the reference functions in
// ReferenceFunctions.cpp and the dynamic-array functions in
// ArrayFunctions.cpp and ArrayShapeFunctions.cpp, all registered below.
//
// Exact matches compare numbers by value and texts ignoring case; a number
// never equals a text. Approximate matches assume sorted data and use binary
// search. Only XLOOKUP and XMATCH match mode 2 read "*", "?" and "~" as
// wildcards; everywhere else they are ordinary characters.
#include "engine/FunctionRegistry.h"
#include "functions/ArgumentValues.h"
#include "functions/ArrayFunctions.h"
#include "functions/LookupSupport.h"
#include "functions/ReferenceFunctions.h"
#include "functions/ReferenceSupport.h"

namespace sumora {

namespace {

// VLOOKUP and HLOOKUP: search the first column (row) of the table, answer
// from the index-th column (row) of the matching row (column).
FormulaValue tableLookup(FunctionContext& c, bool vertical) {
    FormulaValue value = scalarOf(c.evaluate(0));
    if (value.isError()) return value;
    Table table = Table::fromArg(c, 1);
    if (table.error()) return *table.error();
    auto index = wholeNumberArg(c, 2);
    if (!index) return index.failure;
    auto approximate = boolArgOr(c, 3, true);
    if (!approximate) return approximate.failure;
    if (*index < 1) return err(ErrorKind::invalidValue);
    if (*index > (vertical ? table.cols() : table.rows())) return err(ErrorKind::invalidReference);
    LookupKey key(value);
    LookupVector keys = vertical ? table.column(0) : table.row(0);
    auto found = *approximate ? keys.findSortedAtOrBefore(key, false) : keys.findExact(key, false);
    if (!found) return err(ErrorKind::notAvailable);
    auto at = static_cast<int64_t>(*found);
    return vertical ? table.at(at, *index - 1) : table.at(*index - 1, at);
}

struct Modes {
    int64_t match = 0;
    int64_t search = 1;
};

// XLOOKUP and XMATCH: the match mode (0 exact, −1 exact or next smaller,
// 1 exact or next larger, 2 wildcard) and the search mode (1 first to last,
// −1 last to first, 2 binary over ascending data, −2 binary over descending).
std::optional<FormulaValue> readModes(FunctionContext& c, size_t matchArg, Modes& modes) {
    auto match = wholeNumberArgOr(c, matchArg, 0);
    if (!match) return match.failure;
    auto search = wholeNumberArgOr(c, matchArg + 1, 1);
    if (!search) return search.failure;
    bool binary = *search == 2 || *search == -2;
    if (*match < -1 || *match > 2 || (*search != 1 && *search != -1 && !binary) || (binary && *match == 2))
        return err(ErrorKind::invalidValue);
    modes = {*match, *search};
    return std::nullopt;
}

std::optional<size_t> findByModes(const LookupVector& keys, const LookupKey& key, const Modes& modes) {
    if (modes.search == 2 || modes.search == -2) {
        bool descending = modes.search == -2;
        auto after = keys.findSortedAtOrAfter(key, descending);
        if (after && key.compareValue(keys.at(*after)) == 0) return after;
        if (modes.match == 0) return std::nullopt;
        // With no equal value, the neighbours of the key's place are the
        // nearest smaller and larger values.
        bool wantAfter = (modes.match == 1) != descending;
        return wantAfter ? after : keys.findSortedAtOrBefore(key, descending);
    }
    bool lastToFirst = modes.search == -1;
    switch (modes.match) {
    case 0:
        return keys.findExact(key, lastToFirst);
    case 2:
        return keys.findWildcard(key, lastToFirst);
    default:
        return keys.findNearest(key, static_cast<int>(modes.match), lastToFirst);
    }
}

// VLOOKUP(value, table, col_index, approx) — approx (default TRUE) needs an
// ascending first column and takes the largest value not above the key
FormulaValue vlookup(FunctionContext& c) {
    return tableLookup(c, true);
}

// HLOOKUP(value, table, row_index, approx) — VLOOKUP along the first row
FormulaValue hlookup(FunctionContext& c) {
    return tableLookup(c, false);
}

// MATCH(value, lookup_array, match_type) — 1-based position; type 1
// (default): largest value not above the key in ascending data, 0: exact,
// −1: smallest value not below the key in descending data
FormulaValue match(FunctionContext& c) {
    FormulaValue value = scalarOf(c.evaluate(0));
    if (value.isError()) return value;
    Table table = Table::fromArg(c, 1);
    if (table.error()) return *table.error();
    auto type = numberArgOr(c, 2, 1);
    if (!type) return type.failure;
    LookupKey key(value);
    LookupVector values = table.flattened();
    std::optional<size_t> found =
        *type == 0 ? values.findExact(key, false) : values.findSortedAtOrBefore(key, *type < 0);
    if (!found) return err(ErrorKind::notAvailable);
    return num(static_cast<double>(*found + 1));
}

// LOOKUP(value, lookup_range, result_range) — approximate match in sorted
// data; without result_range, the last row or column of a wide or tall table
FormulaValue lookup(FunctionContext& c) {
    FormulaValue value = scalarOf(c.evaluate(0));
    if (value.isError()) return value;
    Table look = Table::fromArg(c, 1);
    if (look.error()) return *look.error();
    LookupKey key(value);
    bool alongRow = look.cols() > look.rows();
    if (c.argCount() == 2) {
        auto found = (alongRow ? look.row(0) : look.column(0)).findSortedAtOrBefore(key, false);
        if (!found) return err(ErrorKind::notAvailable);
        auto at = static_cast<int64_t>(*found);
        return alongRow ? look.at(look.rows() - 1, at) : look.at(at, look.cols() - 1);
    }
    LookupVector keys =
        look.rows() == 1 || look.cols() == 1 ? look.flattened() : (alongRow ? look.row(0) : look.column(0));
    auto found = keys.findSortedAtOrBefore(key, false);
    if (!found) return err(ErrorKind::notAvailable);
    Table result = Table::fromArg(c, 2);
    if (result.error()) return *result.error();
    auto at = static_cast<int64_t>(*found);
    if (result.rows() == 1) return at < result.cols() ? result.at(0, at) : err(ErrorKind::notAvailable);
    return at < result.rows() ? result.at(at, 0) : err(ErrorKind::notAvailable);
}

// XLOOKUP(value, lookup_array, return_array, if_not_found, match_mode,
// search_mode) — the matching row (or column) of return_array
FormulaValue xlookup(FunctionContext& c) {
    size_t n = c.argCount();
    if (n < 3 || n > 6)
        return FormulaValue::error(
            FormulaError::wrongArgumentCount("XLOOKUP", "3-6", static_cast<int64_t>(n)));
    FormulaValue value = scalarOf(c.evaluate(0));
    if (value.isError()) return value;
    Table look = Table::fromArg(c, 1);
    if (look.error()) return *look.error();
    Table result = Table::fromArg(c, 2);
    if (result.error()) return *result.error();
    Modes modes;
    if (auto failure = readModes(c, 4, modes)) return *failure;
    if (look.rows() != 1 && look.cols() != 1) return err(ErrorKind::invalidValue);
    bool vertical = look.cols() == 1 && (look.rows() > 1 || result.rows() == 1);
    if (vertical ? result.rows() != look.rows() : result.cols() != look.cols())
        return err(ErrorKind::invalidValue);
    auto found = findByModes(vertical ? look.column(0) : look.row(0), LookupKey(value), modes);
    if (!found) return n >= 4 ? c.evaluate(3) : err(ErrorKind::notAvailable);
    auto at = static_cast<int64_t>(*found);
    return vertical ? result.rowResult(at) : result.columnResult(at);
}

// XMATCH(value, lookup_array, match_mode, search_mode) — 1-based position
// with XLOOKUP's modes
FormulaValue xmatch(FunctionContext& c) {
    FormulaValue value = scalarOf(c.evaluate(0));
    if (value.isError()) return value;
    Table look = Table::fromArg(c, 1);
    if (look.error()) return *look.error();
    Modes modes;
    if (auto failure = readModes(c, 2, modes)) return *failure;
    if (look.rows() != 1 && look.cols() != 1) return err(ErrorKind::invalidValue);
    auto found = findByModes(look.flattened(), LookupKey(value), modes);
    if (!found) return err(ErrorKind::notAvailable);
    return num(static_cast<double>(*found + 1));
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kLookupFunctions[] = {
    {"VLOOKUP", vlookup, atLeast(3), valuesRule, listed, "VLOOKUP(value, table, col_index, approx)", "Looks up a value in the first column of a table."},
    {"HLOOKUP", hlookup, atLeast(3), valuesRule, listed, "HLOOKUP(value, table, row_index, approx)", "Looks up a value in the first row of a table."},
    {"INDEX", evaluateIndex, atLeast(2), valuesRule, listed, "INDEX(array, row_num, col_num)", "Returns a value at a given position in a range.", indexReference},
    {"MATCH", match, atLeast(2), valuesRule, listed, "MATCH(value, lookup_array, match_type)", "Returns the position of a value in a range."},
    {"CHOOSE", evaluateChoose, atLeast(2), valuesRule, listed, "CHOOSE(index, value1, value2, ...)", "Returns a value from a list based on position.", chooseReference},
    {"LOOKUP", lookup, atLeast(2), valuesRule, listed, "LOOKUP(value, lookup_range, result_range)", "Looks up a value in a one-row or one-column range."},
    {"INDIRECT", evaluateIndirect, atLeast(1), valuesRule, listed | volatileResult, "INDIRECT(ref_text)", "Returns the reference specified by a text string.", indirectReference},
    {"OFFSET", evaluateOffset, atLeast(3), valuesRule, listed | volatileResult, "OFFSET(ref, rows, cols, height, width)", "Returns a reference offset from a given reference.", offsetReference},
    {"ROW", evaluateRow, anyCount, valuesRule, listed, "ROW(reference)", "Returns the row number of a reference."},
    {"COLUMN", evaluateColumn, anyCount, valuesRule, listed, "COLUMN(reference)", "Returns the column number of a reference."},
    {"ROWS", evaluateRows, atLeast(1), valuesRule, listed, "ROWS(array)", "Returns the number of rows in a reference."},
    {"COLUMNS", evaluateColumns, atLeast(1), valuesRule, listed, "COLUMNS(array)", "Returns the number of columns in a reference."},
    {"FILTER", evaluateFilter, anyCount, valuesRule, listed | producesArray, "FILTER(array, include, if_empty)", "Filters an array based on a Boolean array."},
    {"SORT", evaluateSort, anyCount, valuesRule, listed | producesArray, "SORT(array, sort_index, sort_order, by_col)", "Sorts the contents of a range or array."},
    {"UNIQUE", evaluateUnique, anyCount, valuesRule, listed | producesArray, "UNIQUE(array, by_col, exactly_once)", "Returns the unique values from a range."},
    {"SEQUENCE", evaluateSequence, atLeast(1), valuesRule, listed | producesArray, "SEQUENCE(rows, columns, start, step)", "Generates a list of sequential numbers."},
    {"TRANSPOSE", evaluateTranspose, anyCount, valuesRule, listed | producesArray, "TRANSPOSE(array)", "Transposes the rows and columns of an array."},
    {"XLOOKUP", xlookup, between(3, 6), valuesRule, countReported},
    {"XMATCH", xmatch, atLeast(2), valuesRule, none},
    {"ADDRESS", evaluateAddress, atLeast(2), valuesRule, none},
    {"MAKEARRAY", evaluateMakeArray, atLeast(3), valuesRule, producesArray},
    {"WRAPROWS", evaluateWrapRows, anyCount, valuesRule, producesArray},
    {"WRAPCOLS", evaluateWrapCols, anyCount, valuesRule, producesArray},
    {"TOCOL", evaluateToCol, anyCount, valuesRule, producesArray},
    {"TOROW", evaluateToRow, anyCount, valuesRule, producesArray},
    {"HSTACK", evaluateHStack, atLeast(1), valuesRule, producesArray},
    {"VSTACK", evaluateVStack, atLeast(1), valuesRule, producesArray},
    {"TAKE", evaluateTake, anyCount, valuesRule, producesArray},
    {"DROP", evaluateDrop, anyCount, valuesRule, producesArray},
    {"EXPAND", evaluateExpand, anyCount, valuesRule, producesArray},
    {"CHOOSECOLS", evaluateChooseCols, atLeast(2), valuesRule, producesArray},
    {"CHOOSEROWS", evaluateChooseRows, atLeast(2), valuesRule, producesArray},
};
// clang-format on

} // namespace

void registerLookupFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::lookup, kLookupFunctions);
}

} // namespace sumora
