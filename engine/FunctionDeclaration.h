#pragma once
// One row per built-in function: everything the engine and the interface know
// about it, declared once in its family's table. The registry, the dispatcher's
// argument-count check, the parser's name binding, the reference forms and the
// Insert Function catalogue all read these rows; nothing else lists names.
//
// Adding a function:
//  1. Write its body in the family's source (MathFunctions.cpp, …) inside the
//     anonymous namespace, with a one-line comment
//     `// NAME(arg1, [arg2]) — what it does`. Read arguments with the helpers
//     of functions/ArgumentValues.h: `declaredNumber(c, i)` and
//     `declaredNumberOr(c, i, fallback)` (by the row's rule), `textArg`,
//     `boolArgOr`, `c.resolveNumbers()` (every argument flattened to numbers),
//     `c.resolveValues(i)`, `rowsArg(c, i)` (ArrayFunctions.h). Return `num`,
//     `txt`, `boolean`, `err(ErrorKind::…)` or `FormulaValue::array(rows)`.
//     Do not check the argument count in the body.
//  2. Add one row to the family's `k<Family>Functions` table:
//       {"NAME", impl, count, rule, flags, "NAME(arg1, arg2, ...)", "Sentence."}
//     - count: `anyCount`, `exactly(n)`, `between(min, max)` or
//       `atLeast(min)`. Outside it the dispatcher answers "#VALUE!" before the
//       body runs. min is the number of required arguments; give a max only
//       where the function's published definition fixes one.
//     - rule, named after the two argument readers: `evalNumRule` (an error or
//       non-numeric number argument is "#VALUE!"; math and statistics),
//       `numberArgRule` (an error argument passes through, non-numeric is
//       "#VALUE!"; date, financial, text, engineering), or `valuesRule` (reads
//       no numbers through declaredNumber; logical, information, lookup).
//     - flags, joined with `|`: `none`, `listed` (has a catalogue entry: only
//       the catalogue's fixed entries carry it), `volatileResult` (RAND, NOW),
//       `bindsNames` (LET), `bindsParameters` (LAMBDA), `producesArray` (spills), `countReported` (a wrong
//       count is "#VALUE! (NAME expects 3-6 args, got 2)").
//     - signature and description: the call shape and one sentence ending in a
//       full stop. `listed` rows are shown in table order, the families in the
//       order of FunctionFamily.
//     - A function that can stand where a reference is expected (INDIRECT,
//       OFFSET) gives its reference form as an eighth field.
//  3. Nothing else: registration, the catalogue and the function-name tests
//     all read the table.
#include <cstdint>
#include <string_view>

#include "engine/FormulaValue.h"

namespace sumora {

class FunctionContext;
struct ReferenceResult; // functions/ReferenceSupport.h
using FunctionImpl = FormulaValue (*)(FunctionContext&);
using ReferenceImpl = ReferenceResult (*)(FunctionContext&);

// The families in catalogue order; database functions are catalogued as Math.
enum class FunctionFamily : uint8_t {
    math,
    statistical,
    logical,
    text,
    lookup,
    date,
    financial,
    info,
    database
};

// How a function turns an argument into a number (see ArgumentValues.h).
enum class ArgumentRule : uint8_t {
    values,    // reads no number arguments through the shared rule
    evalNum,   // error or non-numeric → "#VALUE!"
    numberArg, // error → passed through; non-numeric → "#VALUE!"
};

enum class FunctionFlags : uint8_t {
    none = 0,
    listed = 1 << 0,         // has a catalogue entry
    volatileResult = 1 << 1, // result changes without its inputs changing
    bindsNames = 1 << 2,     // bare names in its arguments are its own variables
    producesArray = 1 << 3,  // result is an array that spills
    countReported = 1 << 4,  // a wrong count is wrongArgumentCount, not plain "#VALUE!"
    bindsParameters = 1 << 5, // every argument but the last is a parameter name (LAMBDA)
};
constexpr FunctionFlags operator|(FunctionFlags a, FunctionFlags b) {
    return static_cast<FunctionFlags>(static_cast<uint8_t>(a) | static_cast<uint8_t>(b));
}
constexpr bool has(FunctionFlags set, FunctionFlags flag) {
    return (static_cast<uint8_t>(set) & static_cast<uint8_t>(flag)) != 0;
}

struct ArgCount {
    static constexpr uint8_t kUnbounded = 255;
    uint8_t min = 0, max = kUnbounded;
    constexpr bool accepts(size_t n) const { return n >= min && (max == kUnbounded || n <= max); }
};

struct FunctionDeclaration {
    constexpr FunctionDeclaration() = default;
    // A table row; the texts and the reference form are optional.
    constexpr FunctionDeclaration(std::string_view name, FunctionImpl impl, ArgCount count, ArgumentRule rule,
                                  FunctionFlags flags, std::string_view signature = {},
                                  std::string_view description = {}, ReferenceImpl reference = nullptr)
        : name(name), impl(impl), count(count), rule(rule), flags(flags), signature(signature),
          description(description), reference(reference) {}

    std::string_view name; // upper case, as typed
    FunctionImpl impl = nullptr;
    ArgCount count;
    ArgumentRule rule = ArgumentRule::values;
    FunctionFlags flags = FunctionFlags::none;
    std::string_view signature;   // "SUMIF(range, criteria, sum_range)"
    std::string_view description; // one sentence
    ReferenceImpl reference = nullptr;
    FunctionFamily family = FunctionFamily::math; // set by the family's registration

    bool is(FunctionFlags flag) const { return has(flags, flag); }
    bool returnsReference() const { return reference != nullptr; }
};

// Shorthands for the family tables.
namespace declare {
constexpr ArgCount anyCount{};
constexpr ArgCount exactly(uint8_t n) {
    return {n, n};
}
constexpr ArgCount between(uint8_t min, uint8_t max) {
    return {min, max};
}
constexpr ArgCount atLeast(uint8_t min) {
    return {min, ArgCount::kUnbounded};
}
constexpr auto valuesRule = ArgumentRule::values;
constexpr auto evalNumRule = ArgumentRule::evalNum;
constexpr auto numberArgRule = ArgumentRule::numberArg;
constexpr auto none = FunctionFlags::none;
constexpr auto listed = FunctionFlags::listed;
constexpr auto volatileResult = FunctionFlags::volatileResult;
constexpr auto bindsNames = FunctionFlags::bindsNames;
constexpr auto producesArray = FunctionFlags::producesArray;
constexpr auto countReported = FunctionFlags::countReported;
constexpr auto bindsParameters = FunctionFlags::bindsParameters;
} // namespace declare

} // namespace sumora
