#pragma once
// What every formula node evaluates to, and the errors of evaluation and
// parsing. Values are small; texts and arrays are shared, not copied.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace sumora {

enum class ErrorKind : uint8_t {
    unknownFunction,
    wrongArgumentCount,
    typeMismatch,
    syntaxError,
    generic,
    divisionByZero,
    invalidValue,
    invalidName,
    invalidReference,
    invalidNumber,
    notAvailable,
    nullIntersection,
    circularReference,
    spill,
};

class FormulaError {
public:
    FormulaError(ErrorKind kind = ErrorKind::invalidValue) : kind_(kind) {}

    static FormulaError unknownFunction(std::string name);
    static FormulaError wrongArgumentCount(std::string function, std::string expected, int64_t got);
    static FormulaError typeMismatch(std::string expected, std::string got);
    static FormulaError syntaxError(std::string message);
    static FormulaError generic(std::string message);

    ErrorKind kind() const { return kind_; }
    // The text shown in a cell: "#DIV/0!", "#NAME? (FOO)", "#ERROR: …".
    std::string description() const;
    // The message of syntaxError/generic, the name of unknownFunction.
    std::string_view message() const;

    bool operator==(const FormulaError& o) const;

private:
    struct Detail {
        std::string a, b, c;
        int64_t got = 0;
    };
    ErrorKind kind_;
    std::shared_ptr<const Detail> detail_;
};

class FormulaValue;
using ValueRow = std::vector<FormulaValue>;
using ValueRows = std::vector<ValueRow>;

class FormulaValue {
public:
    enum class Kind : uint8_t { number, text, boolean, error, array, empty };

    FormulaValue() : v_(std::monostate{}) {}
    static FormulaValue number(double x) { return FormulaValue(x); }
    static FormulaValue text(std::string s) { return FormulaValue(std::move(s)); }
    static FormulaValue boolean(bool b) { return FormulaValue(Bool{b}); }
    static FormulaValue error(FormulaError e) { return FormulaValue(std::move(e)); }
    static FormulaValue error(ErrorKind k) { return FormulaValue(FormulaError(k)); }
    static FormulaValue array(ValueRows rows) {
        return FormulaValue(std::make_shared<const ValueRows>(std::move(rows)));
    }
    static FormulaValue empty() { return FormulaValue(); }

    Kind kind() const { return static_cast<Kind>(v_.index()); }
    bool isNumber() const { return kind() == Kind::number; }
    bool isText() const { return kind() == Kind::text; }
    bool isBool() const { return kind() == Kind::boolean; }
    bool isError() const { return kind() == Kind::error; }
    bool isArray() const { return kind() == Kind::array; }
    bool isEmpty() const { return kind() == Kind::empty; }

    // Payload accessors; only valid for the matching kind.
    double numberValue() const { return std::get<double>(v_); }
    const std::string& textValue() const { return std::get<std::string>(v_); }
    bool boolValue() const { return std::get<Bool>(v_).value; }
    const FormulaError& errorValue() const { return std::get<FormulaError>(v_); }
    const ValueRows& arrayRows() const { return *std::get<std::shared_ptr<const ValueRows>>(v_); }

    // The text form, used as a cell's computed text (also asString).
    std::string description() const;
    void appendDescription(std::string& out) const;
    std::string asString() const { return description(); }
    std::optional<double> asNumber() const;
    std::optional<bool> asBool() const;

    bool operator==(const FormulaValue& o) const;

private:
    struct Bool {
        bool value;
        bool operator==(const Bool&) const = default;
    };
    explicit FormulaValue(double x) : v_(x) {}
    explicit FormulaValue(std::string s) : v_(std::move(s)) {}
    explicit FormulaValue(Bool b) : v_(b) {}
    explicit FormulaValue(FormulaError e) : v_(std::move(e)) {}
    explicit FormulaValue(std::shared_ptr<const ValueRows> a) : v_(std::move(a)) {}

    std::variant<double, std::string, Bool, FormulaError, std::shared_ptr<const ValueRows>, std::monostate> v_;
};

// Text form of a number: "%g" for whole numbers below 10^15 in magnitude,
// otherwise the shortest text that reads back as the same double.
std::string numberDescription(double x);
void appendNumberDescription(std::string& out, double x);
// Shortest round-trip decimal text (used where a plain decimal is wanted).
std::string shortestNumberText(double x);

// Sort order for the sorting functions: numbers, then texts (localised,
// case-insensitive), then everything else (equal among themselves).
bool compareValues(const FormulaValue& a, const FormulaValue& b);
// Localised case-insensitive comparison of two UTF-8 texts: <0, 0, >0.
int collateCaseInsensitive(std::string_view a, std::string_view b);

} // namespace sumora
