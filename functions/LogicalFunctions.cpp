// The logical family and LET. The choosing functions (IF, IFS, IFERROR, IFNA,
// SWITCH) evaluate only the argument they return, so an untaken branch can
// hold an error or an expensive call. An error in a condition is the result.
#include <cmath>

#include "engine/FunctionRegistry.h"
#include "functions/ArgumentValues.h"
#include "functions/TextSupport.h"

namespace sumora {

namespace {

bool isReferenceNode(const FormulaNode& n) {
    return n.kind == NodeKind::cellRef || n.kind == NodeKind::range || n.kind == NodeKind::name;
}

// IF(test, then, else) — only the taken branch is evaluated; no else is FALSE
FormulaValue ifFunction(FunctionContext& c) {
    auto test = boolArgOr(c, 0, false);
    if (!test) return test.failure;
    if (*test) return c.evaluate(1);
    if (c.hasArg(2)) return c.evaluate(2);
    return boolean(false);
}

// IFS(test1, value1, test2, value2, ...) — the value of the first true test
FormulaValue ifs(FunctionContext& c) {
    if (c.argCount() < 2 || c.argCount() % 2 != 0) return err(ErrorKind::invalidValue);
    for (size_t i = 0; i < c.argCount(); i += 2) {
        auto test = boolArgOr(c, i, false);
        if (!test) return test.failure;
        if (*test) return c.evaluate(i + 1);
    }
    return err(ErrorKind::notAvailable);
}

// The truth values AND, OR and XOR combine. A reference or an array counts
// its booleans and numbers and skips texts and empties; a value given
// directly must have a truth value. Errors win.
struct TruthTally {
    size_t seen = 0;
    size_t trueCount = 0;
    std::optional<FormulaValue> error;
};

void tallyValue(TruthTally& t, const FormulaValue& v, bool direct) {
    if (t.error) return;
    if (v.isError()) {
        t.error = v;
        return;
    }
    if (!direct && !(v.isBool() || v.isNumber())) return;
    if (v.isEmpty()) return;
    auto b = v.asBool();
    if (!b) {
        t.error = err(ErrorKind::invalidValue);
        return;
    }
    ++t.seen;
    if (*b) ++t.trueCount;
}

TruthTally tallyArguments(FunctionContext& c) {
    TruthTally t;
    for (size_t i = 0; i < c.argCount() && !t.error; ++i) {
        if (isReferenceNode(c.argNode(i))) {
            for (const FormulaValue& v : c.resolveValues(i))
                tallyValue(t, v, false);
            continue;
        }
        FormulaValue v = c.evaluate(i);
        if (v.isArray()) {
            for (const auto& row : v.arrayRows())
                for (const auto& e : row)
                    tallyValue(t, e, false);
        } else {
            tallyValue(t, v, true);
        }
    }
    return t;
}

FormulaValue combineTruth(FunctionContext& c, bool (*rule)(size_t trueCount, size_t seen)) {
    TruthTally t = tallyArguments(c);
    if (t.error) return *t.error;
    if (t.seen == 0) return err(ErrorKind::invalidValue);
    return boolean(rule(t.trueCount, t.seen));
}

// AND(cond1, cond2, ...) — TRUE when every condition is true
FormulaValue andFunction(FunctionContext& c) {
    return combineTruth(c, [](size_t trues, size_t seen) { return trues == seen; });
}

// OR(cond1, cond2, ...) — TRUE when any condition is true
FormulaValue orFunction(FunctionContext& c) {
    return combineTruth(c, [](size_t trues, size_t) { return trues > 0; });
}

// XOR(cond1, cond2, ...) — TRUE when an odd number of conditions are true
FormulaValue xorFunction(FunctionContext& c) {
    return combineTruth(c, [](size_t trues, size_t) { return trues % 2 == 1; });
}

// NOT(logical)
FormulaValue notFunction(FunctionContext& c) {
    auto b = boolArgOr(c, 0, false);
    if (!b) return b.failure;
    return boolean(!*b);
}

// IFERROR(value, fallback) — the fallback is evaluated only for an error
FormulaValue ifError(FunctionContext& c) {
    FormulaValue v = c.evaluate(0);
    return v.isError() ? c.evaluate(1) : v;
}

// IFNA(value, fallback) — as IFERROR, for #N/A only
FormulaValue ifNa(FunctionContext& c) {
    FormulaValue v = c.evaluate(0);
    return v.isError() && v.errorValue().kind() == ErrorKind::notAvailable ? c.evaluate(1) : v;
}

// SWITCH's match: numbers by value, texts ignoring case, booleans exactly
// (TRUE is not 1, "1" is not 1); an empty value matches 0 and "".
bool switchMatches(const FormulaValue& a, const FormulaValue& b) {
    if (a.isEmpty() || b.isEmpty()) {
        const FormulaValue& other = a.isEmpty() ? b : a;
        return other.isEmpty() || (other.isNumber() && other.numberValue() == 0) ||
               (other.isText() && other.textValue().empty());
    }
    if (a.kind() != b.kind()) return false;
    if (a.isNumber()) return a.numberValue() == b.numberValue();
    if (a.isBool()) return a.boolValue() == b.boolValue();
    if (a.isText()) return caseFolded(a.textValue()) == caseFolded(b.textValue());
    return false;
}

// SWITCH(expr, val1, result1, ..., default) — no match and no default is #N/A
FormulaValue switchFunction(FunctionContext& c) {
    FormulaValue subject = scalarOf(c.evaluate(0));
    if (subject.isError()) return subject;
    // An even count leaves the last argument unpaired: the default.
    const bool hasDefault = c.argCount() % 2 == 0;
    const size_t pairedEnd = hasDefault ? c.argCount() - 1 : c.argCount();
    for (size_t i = 1; i + 1 < pairedEnd; i += 2) {
        // A case value that is an error matches nothing.
        if (switchMatches(subject, scalarOf(c.evaluate(i)))) return c.evaluate(i + 1);
    }
    if (hasDefault) return c.evaluate(c.argCount() - 1);
    return err(ErrorKind::notAvailable);
}

// TRUE()
FormulaValue trueFunction(FunctionContext&) {
    return boolean(true);
}

// FALSE()
FormulaValue falseFunction(FunctionContext&) {
    return boolean(false);
}

// A LET value: a range is taken as the array of its values, so that the name
// can stand wherever the range could (SUM(r), INDEX(r, 2)).
FormulaValue letValue(FunctionContext& c, size_t i) {
    const FormulaNode& n = c.argNode(i);
    bool isRange = n.kind == NodeKind::range;
    if (n.kind == NodeKind::name && !c.evaluator().variable(c.tree().string(n.stringIndex)))
        if (auto rangeSpec = c.reference(i)) isRange = rangeSpec->rows() * rangeSpec->cols() > 1;
    if (isRange) return FormulaValue::array(c.resolve2DValues(i));
    return c.evaluate(i);
}

// LET(name1, value1, ..., body) — each name is visible in the values after it
// and in the body; an inner LET shadows an outer name
FormulaValue let(FunctionContext& c) {
    const size_t count = c.argCount();
    if (count < 3 || count % 2 == 0) return err(ErrorKind::invalidValue);
    for (size_t i = 0; i + 1 < count; i += 2)
        if (c.argNode(i).kind != NodeKind::name) return err(ErrorKind::invalidValue);
    const size_t mark = c.evaluator().variableCount();
    for (size_t i = 0; i + 1 < count; i += 2) {
        FormulaValue value = letValue(c, i + 1);
        c.evaluator().pushVariable(std::string(c.tree().string(c.argNode(i).stringIndex)), std::move(value));
    }
    FormulaValue result = c.evaluate(count - 1);
    c.evaluator().popVariables(mark);
    return result;
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kLogicalFunctions[] = {
    {"IF", ifFunction, atLeast(2), valuesRule, listed, "IF(test, then, else)", "Returns one value if true, another if false."},
    {"IFS", ifs, anyCount, valuesRule, listed, "IFS(test1, value1, test2, value2, ...)", "Checks multiple conditions and returns the first true result."},
    {"AND", andFunction, atLeast(1), valuesRule, listed, "AND(cond1, cond2, ...)", "Returns TRUE if all conditions are true."},
    {"OR", orFunction, atLeast(1), valuesRule, listed, "OR(cond1, cond2, ...)", "Returns TRUE if any condition is true."},
    {"NOT", notFunction, atLeast(1), valuesRule, listed, "NOT(logical)", "Reverses the logic of its argument."},
    {"XOR", xorFunction, atLeast(1), valuesRule, listed, "XOR(cond1, cond2, ...)", "Returns TRUE if an odd number of conditions are true."},
    {"IFERROR", ifError, atLeast(2), valuesRule, listed, "IFERROR(value, fallback)", "Returns fallback if value is an error."},
    {"IFNA", ifNa, atLeast(2), valuesRule, listed, "IFNA(value, fallback)", "Returns fallback if value is #N/A."},
    {"SWITCH", switchFunction, atLeast(3), valuesRule, listed, "SWITCH(expr, val1, result1, ...)", "Evaluates an expression against a list of values."},
    {"TRUE", trueFunction, anyCount, valuesRule, listed, "TRUE()", "Returns the logical value TRUE."},
    {"FALSE", falseFunction, anyCount, valuesRule, listed, "FALSE()", "Returns the logical value FALSE."},
    {"LET", let, anyCount, valuesRule, bindsNames},
};
// clang-format on

} // namespace

void registerLogicalFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::logical, kLogicalFunctions);
}

} // namespace sumora
