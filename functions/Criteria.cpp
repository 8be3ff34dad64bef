#include "functions/Criteria.h"
#include "values/StrictNumber.h"

#include <algorithm>

#include <unicode/locid.h>
#include <unicode/unistr.h>

namespace sumora {

namespace {

bool isAscii(std::string_view s) {
    return std::all_of(s.begin(), s.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

char asciiLower(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string lowerCased(std::string_view s) {
    if (isAscii(s)) {
        std::string out(s);
        for (char& c : out)
            c = asciiLower(c);
        return out;
    }
    icu::UnicodeString u =
        icu::UnicodeString::fromUTF8(icu::StringPiece(s.data(), static_cast<int32_t>(s.size())));
    u.toLower(icu::Locale::getRoot());
    std::string out;
    u.toUTF8String(out);
    return out;
}

// `text` lower-cased equals `lower` (already lower-cased). ASCII texts are
// compared in place; only non-ASCII texts pay for a Unicode lower-casing.
bool equalsLowerCased(std::string_view text, std::string_view lower, bool lowerIsAscii) {
    if (!isAscii(text)) return lowerCased(text) == lower;
    if (!lowerIsAscii || text.size() != lower.size()) return false;
    for (size_t i = 0; i < text.size(); ++i)
        if (asciiLower(text[i]) != lower[i]) return false;
    return true;
}

} // namespace

bool matchesCriteria(const FormulaValue& value, std::string_view criterion) {
    return CompiledCriterion(criterion).matches(value);
}

CompiledCriterion::CompiledCriterion(std::string_view criterion) {
    // The order matters: "<>" before ">" and "<", the two-character
    // operators before their one-character prefixes.
    struct Prefix {
        std::string_view text;
        Op op;
    };
    static constexpr Prefix prefixes[] = {
        {">=", Op::greaterOrEqual}, {"<=", Op::lessOrEqual}, {"<>", Op::notEqual},
        {">", Op::greater},         {"<", Op::less},         {"=", Op::equal},
    };
    op_ = Op::bare;
    std::string_view rest = criterion;
    for (const Prefix& p : prefixes) {
        if (criterion.substr(0, p.text.size()) == p.text) {
            op_ = p.op;
            rest = criterion.substr(p.text.size());
            break;
        }
    }
    switch (op_) {
    case Op::greaterOrEqual:
    case Op::lessOrEqual:
    case Op::greater:
    case Op::less:
        number_ = parseStrictNumber(rest);
        break;
    case Op::notEqual:
    case Op::equal:
        operand_ = std::string(rest);
        break;
    case Op::bare:
        operand_ = lowerCased(rest);
        break;
    }
    operandReadsAsNumber_ = parseStrictNumber(operand_).has_value();
    operandIsAscii_ = isAscii(operand_);
}

bool CompiledCriterion::matchesText(std::string_view text) const {
    switch (op_) {
    case Op::notEqual:
        return text != operand_;
    case Op::equal:
        return text == operand_;
    case Op::bare:
        return equalsLowerCased(text, operand_, operandIsAscii_);
    default:
        return false;
    }
}

bool CompiledCriterion::matchesNumber(double x) const {
    if (!operandReadsAsNumber_) return op_ == Op::notEqual;
    // A number's text form is plain ASCII with a lower-case exponent, so it
    // is its own lower-cased form.
    scratch_.clear();
    appendNumberDescription(scratch_, x);
    return op_ == Op::notEqual ? scratch_ != operand_ : scratch_ == operand_;
}

bool CompiledCriterion::matches(const FormulaValue& value) const {
    switch (op_) {
    case Op::greaterOrEqual:
    case Op::lessOrEqual:
    case Op::greater:
    case Op::less: {
        if (!number_) return false;
        std::optional<double> x = value.asNumber();
        if (!x) return false;
        switch (op_) {
        case Op::greaterOrEqual:
            return *x >= *number_;
        case Op::lessOrEqual:
            return *x <= *number_;
        case Op::greater:
            return *x > *number_;
        default:
            return *x < *number_;
        }
    }
    case Op::notEqual:
    case Op::equal:
    case Op::bare:
        break;
    }
    switch (value.kind()) {
    case FormulaValue::Kind::text:
        return matchesText(value.textValue());
    case FormulaValue::Kind::number:
        return matchesNumber(value.numberValue());
    case FormulaValue::Kind::boolean:
        return matchesText(value.boolValue() ? "TRUE" : "FALSE");
    case FormulaValue::Kind::empty:
        return matchesText({});
    case FormulaValue::Kind::error:
    case FormulaValue::Kind::array:
        break;
    }
    scratch_.clear();
    value.appendDescription(scratch_);
    return matchesText(scratch_);
}

} // namespace sumora
