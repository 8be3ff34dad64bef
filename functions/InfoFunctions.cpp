// The information family: what kind of value an argument holds. Cells store
// text, so an error shown in a referenced cell reads back as text: ISERROR of
// such a cell is FALSE, and only errors computed in the formula itself count.
#include <cmath>

#include "engine/FunctionRegistry.h"
#include "functions/ArgumentValues.h"

namespace sumora {

namespace {

// The first argument's value (its declared count makes it present).
FormulaValue subject(FunctionContext& c) {
    return scalarOf(c.evaluate(0));
}

FormulaValue isKind(FunctionContext& c, bool (*test)(const FormulaValue&)) {
    return boolean(test(subject(c)));
}

bool isNotAvailable(const FormulaValue& v) {
    return v.isError() && v.errorValue().kind() == ErrorKind::notAvailable;
}

// ISNUMBER(value)
FormulaValue isNumber(FunctionContext& c) {
    return isKind(c, [](const FormulaValue& v) { return v.isNumber(); });
}

// ISTEXT(value)
FormulaValue isText(FunctionContext& c) {
    return isKind(c, [](const FormulaValue& v) { return v.isText(); });
}

// ISNONTEXT(value) — TRUE for anything but text, empty cells included
FormulaValue isNonText(FunctionContext& c) {
    return isKind(c, [](const FormulaValue& v) { return !v.isText(); });
}

// ISBLANK(value) — TRUE only for an empty cell
FormulaValue isBlank(FunctionContext& c) {
    return isKind(c, [](const FormulaValue& v) { return v.isEmpty(); });
}

// ISLOGICAL(value)
FormulaValue isLogical(FunctionContext& c) {
    return isKind(c, [](const FormulaValue& v) { return v.isBool(); });
}

// ISERROR(value) — any error
FormulaValue isError(FunctionContext& c) {
    return isKind(c, [](const FormulaValue& v) { return v.isError(); });
}

// ISERR(value) — any error but #N/A
FormulaValue isErr(FunctionContext& c) {
    return isKind(c, [](const FormulaValue& v) { return v.isError() && !isNotAvailable(v); });
}

// ISNA(value)
FormulaValue isNa(FunctionContext& c) {
    return isKind(c, isNotAvailable);
}

// ISEVEN/ISODD: the number truncated toward zero; a non-number is #VALUE!.
FormulaValue parity(FunctionContext& c, bool wantOdd) {
    FormulaValue v = subject(c);
    if (v.isError()) return v;
    if (v.isBool() || !v.asNumber()) return err(ErrorKind::invalidValue);
    double n = std::trunc(*v.asNumber());
    if (!std::isfinite(n)) return err(ErrorKind::invalidNumber);
    bool odd = std::fmod(std::fabs(n), 2.0) == 1.0;
    return boolean(odd == wantOdd);
}

// ISEVEN(number)
FormulaValue isEven(FunctionContext& c) {
    return parity(c, false);
}

// ISODD(number)
FormulaValue isOdd(FunctionContext& c) {
    return parity(c, true);
}

// ISFORMULA(reference) — whether the referenced cell holds a formula
FormulaValue isFormula(FunctionContext& c) {
    auto ref = c.reference(0);
    if (!ref) {
        FormulaValue v = c.evaluate(0);
        return v.isError() ? v : err(ErrorKind::invalidValue);
    }
    if (!c.resolver().gridSize(ref->sheet)) return err(ErrorKind::invalidReference);
    return boolean(c.resolver().cellFormula({ref->col1, ref->row1}, ref->sheet).has_value());
}

// ISREF(value) — whether the argument names cells (of a sheet that exists)
FormulaValue isRef(FunctionContext& c) {
    auto ref = c.reference(0);
    return boolean(ref && c.resolver().gridSize(ref->sheet).has_value());
}

// The code ERROR.TYPE reports for each error kind. Beside the seven classic
// codes, #SPILL! takes 9 as in current spreadsheets; this engine's own errors
// (#CIRC! and the "#ERROR" texts) take 14, the code of a calculation error.
// The detailed #NAME? (X) and #VALUE! (...) forms report their plain kind.
double errorTypeCode(ErrorKind kind) {
    switch (kind) {
    case ErrorKind::nullIntersection:
        return 1;
    case ErrorKind::divisionByZero:
        return 2;
    case ErrorKind::invalidValue:
    case ErrorKind::wrongArgumentCount:
    case ErrorKind::typeMismatch:
        return 3;
    case ErrorKind::invalidReference:
        return 4;
    case ErrorKind::invalidName:
    case ErrorKind::unknownFunction:
        return 5;
    case ErrorKind::invalidNumber:
        return 6;
    case ErrorKind::notAvailable:
        return 7;
    case ErrorKind::spill:
        return 9;
    case ErrorKind::circularReference:
    case ErrorKind::syntaxError:
    case ErrorKind::generic:
        return 14;
    }
    return 14;
}

// ERROR.TYPE(error_val) — 1 #NULL!, 2 #DIV/0!, 3 #VALUE!, 4 #REF!, 5 #NAME?,
// 6 #NUM!, 7 #N/A; a value that is not an error is #N/A
FormulaValue errorType(FunctionContext& c) {
    FormulaValue v = subject(c);
    if (!v.isError()) return err(ErrorKind::notAvailable);
    return num(errorTypeCode(v.errorValue().kind()));
}

// TYPE(value) — 1 number (an empty cell too), 2 text, 4 logical, 16 error,
// 64 array (a range of more than one cell included)
FormulaValue type(FunctionContext& c) {
    const FormulaNode& n = c.argNode(0);
    if (n.kind == NodeKind::range || n.kind == NodeKind::name)
        if (auto ref = c.reference(0); ref && ref->rows() * ref->cols() > 1) return num(64);
    FormulaValue v = c.evaluate(0);
    switch (v.kind()) {
    case FormulaValue::Kind::number:
    case FormulaValue::Kind::empty:
        return num(1);
    case FormulaValue::Kind::text:
        return num(2);
    case FormulaValue::Kind::boolean:
        return num(4);
    case FormulaValue::Kind::error:
        return num(16);
    case FormulaValue::Kind::array:
        return num(64);
    }
    return num(1);
}

// N(value) — a number as itself, TRUE as 1, anything else 0; errors pass
FormulaValue nFunction(FunctionContext& c) {
    FormulaValue v = subject(c);
    if (v.isError() || v.isNumber()) return v;
    if (v.isBool()) return num(v.boolValue() ? 1 : 0);
    return num(0);
}

// NA() — the #N/A error
FormulaValue na(FunctionContext&) {
    return err(ErrorKind::notAvailable);
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kInfoFunctions[] = {
    {"ISNUMBER", isNumber, atLeast(1), valuesRule, listed, "ISNUMBER(value)", "Returns TRUE if value is a number."},
    {"ISTEXT", isText, atLeast(1), valuesRule, listed, "ISTEXT(value)", "Returns TRUE if value is text."},
    {"ISBLANK", isBlank, atLeast(1), valuesRule, listed, "ISBLANK(value)", "Returns TRUE if the cell is empty."},
    {"ISERROR", isError, atLeast(1), valuesRule, listed, "ISERROR(value)", "Returns TRUE if value is any error."},
    {"ISNA", isNa, atLeast(1), valuesRule, listed, "ISNA(value)", "Returns TRUE if value is #N/A."},
    {"ISEVEN", isEven, atLeast(1), valuesRule, listed, "ISEVEN(number)", "Returns TRUE if value is even."},
    {"ISODD", isOdd, atLeast(1), valuesRule, listed, "ISODD(number)", "Returns TRUE if value is odd."},
    {"ISLOGICAL", isLogical, atLeast(1), valuesRule, listed, "ISLOGICAL(value)", "Returns TRUE if value is a logical value."},
    {"TYPE", type, atLeast(1), valuesRule, listed, "TYPE(value)", "Returns a number indicating the data type."},
    {"N", nFunction, atLeast(1), valuesRule, listed, "N(value)", "Converts a value to a number."},
    {"NA", na, anyCount, valuesRule, listed, "NA()", "Returns the error value #N/A."},
    {"ISNONTEXT", isNonText, atLeast(1), valuesRule, none},
    {"ISERR", isErr, atLeast(1), valuesRule, none},
    {"ISFORMULA", isFormula, atLeast(1), valuesRule, none},
    {"ISREF", isRef, atLeast(1), valuesRule, none},
    {"ERROR.TYPE", errorType, atLeast(1), valuesRule, none},
};
// clang-format on

} // namespace

void registerInfoFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::info, kInfoFunctions);
}

} // namespace sumora
