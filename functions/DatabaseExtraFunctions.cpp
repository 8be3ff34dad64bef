// More database functions over the same record selection as DSUM: counting
// non-empty values, fetching the one matching value, product and spread.
#include <cmath>

#include "engine/FunctionRegistry.h"
#include "functions/DatabaseSupport.h"

namespace sumora {

namespace {

// The numbers of the field over the matching records, or the call's error.
struct FieldNumbers {
    std::vector<double> numbers;
    std::optional<FormulaValue> failure;
};

FieldNumbers fieldNumbers(FunctionContext& c) {
    auto selection = selectDatabaseRecords(c);
    if (!selection) return {{}, err(ErrorKind::invalidValue)};
    if (selection->failure.isError()) return {{}, selection->failure};
    if (!selection->column) return {{}, err(ErrorKind::invalidValue)};
    FieldNumbers out;
    for (const FormulaValue& v : selection->values)
        if (v.isNumber()) out.numbers.push_back(v.numberValue());
    return out;
}

// Variance of the numbers with divisor n − 1 (sample) or n (population).
FormulaValue variance(FunctionContext& c, bool sample, bool root) {
    FieldNumbers field = fieldNumbers(c);
    if (field.failure) return *field.failure;
    const std::vector<double>& x = field.numbers;
    const size_t least = sample ? 2 : 1;
    if (x.size() < least) return err(ErrorKind::divisionByZero);
    double mean = 0;
    for (double v : x)
        mean += v;
    mean /= static_cast<double>(x.size());
    double squares = 0;
    for (double v : x)
        squares += (v - mean) * (v - mean);
    double result = squares / static_cast<double>(x.size() - (sample ? 1 : 0));
    return finiteOrNumError(root ? std::sqrt(result) : result);
}

// DCOUNTA(database, field, criteria) — non-empty values of the field over
// matching records; without a field, the matching records
FormulaValue dCountA(FunctionContext& c) {
    auto selection = selectDatabaseRecords(c);
    if (!selection) return err(ErrorKind::invalidValue);
    if (selection->failure.isError()) return selection->failure;
    if (!selection->column) return num(static_cast<double>(selection->records));
    double count = 0;
    for (const FormulaValue& v : selection->values)
        if (!v.isEmpty() && !(v.isText() && v.description().empty())) count += 1;
    return num(count);
}

// DGET(database, field, criteria) — the field of the one matching record;
// "#VALUE!" when none matches, "#NUM!" when several do
FormulaValue dGet(FunctionContext& c) {
    auto selection = selectDatabaseRecords(c);
    if (!selection) return err(ErrorKind::invalidValue);
    if (selection->failure.isError()) return selection->failure;
    if (!selection->column || selection->records == 0) return err(ErrorKind::invalidValue);
    if (selection->records > 1) return err(ErrorKind::invalidNumber);
    return selection->values.front();
}

// DPRODUCT(database, field, criteria) — product of the field's numbers; 0 for none
FormulaValue dProduct(FunctionContext& c) {
    FieldNumbers field = fieldNumbers(c);
    if (field.failure) return *field.failure;
    if (field.numbers.empty()) return num(0);
    double product = 1;
    for (double v : field.numbers)
        product *= v;
    return finiteOrNumError(product);
}

// DSTDEV(database, field, criteria) — sample standard deviation of the field
FormulaValue dStdev(FunctionContext& c) {
    return variance(c, true, true);
}
// DSTDEVP(database, field, criteria) — population standard deviation
FormulaValue dStdevP(FunctionContext& c) {
    return variance(c, false, true);
}
// DVAR(database, field, criteria) — sample variance of the field
FormulaValue dVar(FunctionContext& c) {
    return variance(c, true, false);
}
// DVARP(database, field, criteria) — population variance of the field
FormulaValue dVarP(FunctionContext& c) {
    return variance(c, false, false);
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kDatabaseExtraFunctions[] = {
    {"DCOUNTA", dCountA, exactly(3), valuesRule, none, "DCOUNTA(database, field, criteria)", "Counts non-empty values in a field matching criteria."},
    {"DGET", dGet, exactly(3), valuesRule, none, "DGET(database, field, criteria)", "Returns the single value in a field matching criteria."},
    {"DPRODUCT", dProduct, exactly(3), valuesRule, none, "DPRODUCT(database, field, criteria)", "Multiplies values in a field matching criteria."},
    {"DSTDEV", dStdev, exactly(3), valuesRule, none, "DSTDEV(database, field, criteria)", "Estimates standard deviation from a field matching criteria."},
    {"DSTDEVP", dStdevP, exactly(3), valuesRule, none, "DSTDEVP(database, field, criteria)", "Standard deviation of the population in a field matching criteria."},
    {"DVAR", dVar, exactly(3), valuesRule, none, "DVAR(database, field, criteria)", "Estimates variance from a field matching criteria."},
    {"DVARP", dVarP, exactly(3), valuesRule, none, "DVARP(database, field, criteria)", "Variance of the population in a field matching criteria."},
};
// clang-format on

} // namespace

void registerDatabaseExtraFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::database, kDatabaseExtraFunctions);
}

} // namespace sumora
