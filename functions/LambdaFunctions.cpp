// LAMBDA and the functions that call one over arrays: MAP, REDUCE, SCAN,
// BYROW, BYCOL (MAKEARRAY, in ArrayFunctions.cpp, uses the same helpers).
// A LAMBDA that is not the argument of such a function has nothing to be
// applied to and is "#VALUE!" (other spreadsheets answer "#CALC!").
#include "functions/LambdaSupport.h"

#include <cmath>

#include "engine/FunctionRegistry.h"
#include "functions/ArgumentValues.h"
#include "functions/ArrayFunctions.h"

namespace sumora {

bool isLambdaArg(FunctionContext& c, size_t i) {
    if (!c.hasArg(i)) return false;
    const FormulaNode& node = c.argNode(i);
    return node.kind == NodeKind::functionCall && node.call.function &&
           node.call.function->is(FunctionFlags::bindsParameters);
}

std::optional<LambdaCall> lambdaArg(FunctionContext& c, size_t i, size_t parameters) {
    if (!isLambdaArg(c, i)) return std::nullopt;
    const FormulaNode& node = c.argNode(i);
    std::vector<uint32_t> args;
    c.tree().arguments(node, args);
    if (args.size() != parameters + 1) return std::nullopt;
    LambdaCall lambda;
    for (size_t k = 0; k + 1 < args.size(); ++k) {
        const FormulaNode& parameter = c.tree().node(args[k]);
        if (parameter.kind != NodeKind::name) return std::nullopt;
        lambda.parameters.push_back(c.tree().string(parameter.stringIndex));
    }
    lambda.body = args.back();
    return lambda;
}

FormulaValue applyLambda(FunctionContext& c, const LambdaCall& lambda, std::span<const FormulaValue> values) {
    if (values.size() != lambda.parameters.size()) return err(ErrorKind::invalidValue);
    FormulaEvaluator& evaluator = c.evaluator();
    const size_t mark = evaluator.variableCount();
    for (size_t k = 0; k < values.size(); ++k)
        evaluator.pushVariable(std::string(lambda.parameters[k]), values[k]);
    FormulaValue result = evaluator.evaluate(c.tree(), lambda.body, c.depth() + 1);
    evaluator.popVariables(mark);
    return result;
}

namespace {

// One cell of a result: an array the body returned stands for its first value.
FormulaValue cellResult(FormulaValue v) {
    return scalarOf(std::move(v));
}

// LAMBDA(parameter1, ..., body) — only meaningful as another function's argument
FormulaValue lambdaFunction(FunctionContext&) {
    return err(ErrorKind::invalidValue);
}

// ISOMITTED(argument) — whether a LAMBDA parameter has no value; the calling
// functions always bind every parameter, so only an unbound name is omitted
FormulaValue isOmitted(FunctionContext& c) {
    const FormulaNode& n = c.argNode(0);
    if (n.kind != NodeKind::name) return boolean(false);
    return boolean(c.evaluator().variable(c.tree().string(n.stringIndex)) == nullptr &&
                   !c.resolver().resolveNamedRange(c.tree().string(n.stringIndex)));
}

// MAP(array1, [array2, ...], lambda) — the lambda applied to the values at
// each position; a single value stands for every position
FormulaValue map(FunctionContext& c) {
    const size_t arrays = c.argCount() - 1;
    auto lambda = lambdaArg(c, arrays, arrays);
    if (!lambda) return err(ErrorKind::invalidValue);
    std::vector<ValueRows> inputs;
    size_t height = 1, width = 1;
    for (size_t i = 0; i < arrays; ++i) {
        auto rows = rowsArg(c, i);
        if (!rows) return rows.failure;
        size_t h = rows->size(), w = rows->front().size();
        if (h * w != 1) {
            if ((height * width != 1) && (h != height || w != width)) return err(ErrorKind::invalidValue);
            height = h;
            width = w;
        }
        inputs.push_back(std::move(*rows));
    }
    ValueRows out(height, ValueRow(width));
    std::vector<FormulaValue> values(arrays);
    for (size_t r = 0; r < height; ++r)
        for (size_t col = 0; col < width; ++col) {
            for (size_t i = 0; i < arrays; ++i) {
                const ValueRows& in = inputs[i];
                values[i] = in.size() == 1 && in.front().size() == 1 ? in[0][0] : in[r][col];
            }
            out[r][col] = cellResult(applyLambda(c, *lambda, values));
        }
    return FormulaValue::array(std::move(out));
}

// REDUCE and SCAN: the accumulator starts at initial_value (empty when the
// argument is left empty) and takes the lambda's value at each array value,
// row by row.
FormulaValue accumulate(FunctionContext& c, bool keepSteps) {
    auto lambda = lambdaArg(c, 2, 2);
    if (!lambda) return err(ErrorKind::invalidValue);
    FormulaValue accumulator = scalarOf(c.evaluate(0));
    auto rows = rowsArg(c, 1);
    if (!rows) return rows.failure;
    ValueRows steps;
    if (keepSteps) steps.assign(rows->size(), ValueRow(rows->front().size()));
    for (size_t r = 0; r < rows->size(); ++r)
        for (size_t col = 0; col < (*rows)[r].size(); ++col) {
            const FormulaValue values[] = {accumulator, (*rows)[r][col]};
            accumulator = applyLambda(c, *lambda, values);
            if (keepSteps) steps[r][col] = cellResult(accumulator);
        }
    return keepSteps ? FormulaValue::array(std::move(steps)) : accumulator;
}

// REDUCE([initial_value], array, lambda(accumulator, value)) — the final accumulator
FormulaValue reduce(FunctionContext& c) {
    return accumulate(c, false);
}

// SCAN([initial_value], array, lambda(accumulator, value)) — every intermediate accumulator
FormulaValue scan(FunctionContext& c) {
    return accumulate(c, true);
}

// BYROW and BYCOL: the lambda applied to each row (column) as an array,
// one result per line.
FormulaValue byLine(FunctionContext& c, bool rowsWise) {
    auto lambda = lambdaArg(c, 1, 1);
    if (!lambda) return err(ErrorKind::invalidValue);
    auto data = rowsArg(c, 0);
    if (!data) return data.failure;
    ValueRows lines = rowsWise ? std::move(*data) : transposeRows(*data);
    ValueRow results;
    results.reserve(lines.size());
    for (ValueRow& line : lines) {
        const FormulaValue values[] = {FormulaValue::array(
            rowsWise ? ValueRows{std::move(line)} : transposeRows(ValueRows{std::move(line)}))};
        results.push_back(cellResult(applyLambda(c, *lambda, values)));
    }
    ValueRows out{std::move(results)};
    return FormulaValue::array(rowsWise ? transposeRows(out) : std::move(out));
}

// BYROW(array, lambda(row)) — one value per row, in a column
FormulaValue byRow(FunctionContext& c) {
    return byLine(c, true);
}

// BYCOL(array, lambda(column)) — one value per column, in a row
FormulaValue byCol(FunctionContext& c) {
    return byLine(c, false);
}

using namespace declare;

// clang-format off
constexpr FunctionDeclaration kLambdaFunctions[] = {
    {"LAMBDA", lambdaFunction, atLeast(1), valuesRule, bindsParameters, "LAMBDA(parameter1, ..., calculation)", "Defines a calculation with parameters for the functions that apply it."},
    {"ISOMITTED", isOmitted, exactly(1), valuesRule, none, "ISOMITTED(argument)", "Returns TRUE if a LAMBDA parameter has no value."},
    {"MAP", map, atLeast(2), valuesRule, producesArray, "MAP(array1, ..., lambda)", "Applies a LAMBDA to each value of the arrays."},
    {"REDUCE", reduce, exactly(3), valuesRule, none, "REDUCE(initial_value, array, lambda)", "Reduces an array to one accumulated value with a LAMBDA."},
    {"SCAN", scan, exactly(3), valuesRule, producesArray, "SCAN(initial_value, array, lambda)", "Returns each intermediate value of accumulating an array with a LAMBDA."},
    {"BYROW", byRow, exactly(2), valuesRule, producesArray, "BYROW(array, lambda)", "Applies a LAMBDA to each row and returns a column of results."},
    {"BYCOL", byCol, exactly(2), valuesRule, producesArray, "BYCOL(array, lambda)", "Applies a LAMBDA to each column and returns a row of results."},
};
// clang-format on

} // namespace

void registerLambdaFunctions(FunctionRegistry& r) {
    r.add(FunctionFamily::logical, kLambdaFunctions);
}

} // namespace sumora
