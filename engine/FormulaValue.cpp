#include "engine/FormulaValue.h"
#include "values/StrictNumber.h"

#include <algorithm>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <locale.h>
#include <memory>

#include <unicode/coll.h>
#include <unicode/locid.h>

namespace sumora {

// ---- FormulaError -------------------------------------------------------

FormulaError FormulaError::unknownFunction(std::string name) {
    FormulaError e(ErrorKind::unknownFunction);
    e.detail_ = std::make_shared<const Detail>(Detail{std::move(name), {}, {}, 0});
    return e;
}
FormulaError FormulaError::wrongArgumentCount(std::string function, std::string expected, int64_t got) {
    FormulaError e(ErrorKind::wrongArgumentCount);
    e.detail_ = std::make_shared<const Detail>(Detail{std::move(function), std::move(expected), {}, got});
    return e;
}
FormulaError FormulaError::typeMismatch(std::string expected, std::string got) {
    FormulaError e(ErrorKind::typeMismatch);
    e.detail_ = std::make_shared<const Detail>(Detail{std::move(expected), std::move(got), {}, 0});
    return e;
}
FormulaError FormulaError::syntaxError(std::string message) {
    FormulaError e(ErrorKind::syntaxError);
    e.detail_ = std::make_shared<const Detail>(Detail{std::move(message), {}, {}, 0});
    return e;
}
FormulaError FormulaError::generic(std::string message) {
    FormulaError e(ErrorKind::generic);
    e.detail_ = std::make_shared<const Detail>(Detail{std::move(message), {}, {}, 0});
    return e;
}

std::string_view FormulaError::message() const {
    return detail_ ? std::string_view(detail_->a) : std::string_view();
}

std::string FormulaError::description() const {
    const std::string empty;
    const std::string& a = detail_ ? detail_->a : empty;
    const std::string& b = detail_ ? detail_->b : empty;
    switch (kind_) {
    case ErrorKind::unknownFunction:
        return "#NAME? (" + a + ")";
    case ErrorKind::wrongArgumentCount:
        return "#VALUE! (" + a + " expects " + b + " args, got " +
               std::to_string(detail_ ? detail_->got : 0) + ")";
    case ErrorKind::typeMismatch:
        return "#VALUE! (expected " + a + ", got " + b + ")";
    case ErrorKind::syntaxError:
        return "#ERROR! " + a;
    case ErrorKind::generic:
        return "#ERROR: " + a;
    case ErrorKind::divisionByZero:
        return "#DIV/0!";
    case ErrorKind::invalidValue:
        return "#VALUE!";
    case ErrorKind::invalidName:
        return "#NAME?";
    case ErrorKind::invalidReference:
        return "#REF!";
    case ErrorKind::invalidNumber:
        return "#NUM!";
    case ErrorKind::notAvailable:
        return "#N/A";
    case ErrorKind::nullIntersection:
        return "#NULL!";
    case ErrorKind::circularReference:
        return "#CIRC!";
    case ErrorKind::spill:
        return "#SPILL!";
    }
    return "#VALUE!";
}

bool FormulaError::operator==(const FormulaError& o) const {
    return kind_ == o.kind_ && description() == o.description();
}

// ---- numbers and text ---------------------------------------------------

namespace {

// "%g" of a whole number of 7 to 15 digits, as printf writes it in the C
// locale (snprintf itself would follow the process locale): six significant
// digits, the exact value rounded half to even, trailing zeros dropped, and a
// two-digit exponent ("1.23457e+06"). Integer arithmetic is exact here, and
// several times faster than formatting the double with a precision.
void appendWholeInExponentForm(std::string& out, double x) {
    static constexpr uint64_t kPowers[] = {1,
                                           10,
                                           100,
                                           1000,
                                           10000,
                                           100000,
                                           1000000,
                                           10000000,
                                           100000000,
                                           1000000000,
                                           10000000000,
                                           100000000000,
                                           1000000000000,
                                           10000000000000,
                                           100000000000000,
                                           1000000000000000};
    const auto whole = static_cast<uint64_t>(std::fabs(x));
    int exponent = 6;
    while (exponent < 14 && whole >= kPowers[exponent + 1])
        ++exponent;
    const uint64_t scale = kPowers[exponent - 5];
    uint64_t digits = whole / scale;
    const uint64_t rest = whole % scale, half = scale / 2;
    if (rest > half || (rest == half && (digits & 1))) ++digits;
    if (digits == 1000000) {
        digits = 100000;
        ++exponent;
    }
    char text[16];
    auto [end, ec] = std::to_chars(text, text + sizeof text, digits); // six digits
    while (end > text + 1 && end[-1] == '0')
        --end;
    // Laid out whole, then appended once: "-d.ddddde+XX" is at most 12 characters.
    char form[16];
    char* at = form;
    if (x < 0) *at++ = '-';
    *at++ = text[0];
    if (end > text + 1) {
        *at++ = '.';
        at = std::copy(text + 1, end, at);
    }
    *at++ = 'e';
    *at++ = '+';
    *at++ = static_cast<char>('0' + exponent / 10);
    *at++ = static_cast<char>('0' + exponent % 10);
    out.append(form, at);
}

} // namespace

void appendNumberDescription(std::string& out, double x) {
    if (std::isfinite(x) && std::rint(x) == x && std::fabs(x) < 1e15) {
        if (std::fabs(x) < 1e6) {
            // Six digits or fewer: "%g" prints the integer itself.
            if (x == 0) {
                out += std::signbit(x) ? "-0" : "0";
                return;
            }
            char buf[24];
            auto [p, ec] = std::to_chars(buf, buf + sizeof buf, static_cast<int64_t>(x));
            out.append(buf, p);
            return;
        }
        appendWholeInExponentForm(out, x);
        return;
    }
    out += shortestNumberText(x);
}

std::string numberDescription(double x) {
    std::string s;
    appendNumberDescription(s, x);
    return s;
}

std::string shortestNumberText(double x) {
    if (std::isnan(x)) return "nan";
    if (std::isinf(x)) return x < 0 ? "-inf" : "inf";
    if (x == 0) return std::signbit(x) ? "-0.0" : "0.0";
    // Shortest digits in scientific form, then laid out: plain decimal for
    // 1e-4 <= |x| < 1e15, exponent form otherwise ("1e-05", "1.5e+15").
    char sci[64];
    auto [p, ec] = std::to_chars(sci, sci + sizeof sci, x, std::chars_format::scientific);
    std::string s(sci, p);
    bool negative = s.front() == '-';
    if (negative) s.erase(0, 1);
    size_t ePos = s.find('e');
    std::string mantissa = s.substr(0, ePos);
    int exponent = std::stoi(s.substr(ePos + 1));
    std::string digits;
    for (char c : mantissa)
        if (c != '.') digits += c;
    std::string out = negative ? "-" : "";
    if (exponent < -4 || exponent >= 15) {
        out += digits.substr(0, 1);
        if (digits.size() > 1) out += "." + digits.substr(1);
        char e[16];
        std::snprintf(e, sizeof e, "e%c%02d", exponent < 0 ? '-' : '+', std::abs(exponent));
        out += e;
        return out;
    }
    if (exponent < 0) {
        out += "0." + std::string(static_cast<size_t>(-exponent - 1), '0') + digits;
    } else if (static_cast<size_t>(exponent) + 1 >= digits.size()) {
        out += digits + std::string(static_cast<size_t>(exponent) + 1 - digits.size(), '0');
        out += ".0";
    } else {
        out += digits.substr(0, static_cast<size_t>(exponent) + 1) + "." +
               digits.substr(static_cast<size_t>(exponent) + 1);
    }
    return out;
}

// ---- FormulaValue -------------------------------------------------------

void FormulaValue::appendDescription(std::string& out) const {
    switch (kind()) {
    case Kind::number:
        appendNumberDescription(out, numberValue());
        return;
    case Kind::text:
        out += textValue();
        return;
    case Kind::boolean:
        out += boolValue() ? "TRUE" : "FALSE";
        return;
    case Kind::error:
        out += errorValue().description();
        return;
    case Kind::array: {
        const auto& rows = arrayRows();
        if (!rows.empty() && !rows.front().empty()) rows.front().front().appendDescription(out);
        return;
    }
    case Kind::empty:
        return;
    }
}

std::string FormulaValue::description() const {
    if (kind() == Kind::text) return textValue();
    std::string s;
    appendDescription(s);
    return s;
}

std::optional<double> FormulaValue::asNumber() const {
    switch (kind()) {
    case Kind::number:
        return numberValue();
    case Kind::text:
        return parseStrictNumber(textValue());
    case Kind::boolean:
        return boolValue() ? 1.0 : 0.0;
    case Kind::empty:
        return 0.0;
    default:
        return std::nullopt;
    }
}

std::optional<bool> FormulaValue::asBool() const {
    switch (kind()) {
    case Kind::number:
        return numberValue() != 0.0;
    case Kind::text: {
        const std::string& s = textValue();
        if (s.size() == 4 && strncasecmp(s.c_str(), "TRUE", 4) == 0) return true;
        if (s.size() == 5 && strncasecmp(s.c_str(), "FALSE", 5) == 0) return false;
        return std::nullopt;
    }
    case Kind::boolean:
        return boolValue();
    default:
        return std::nullopt;
    }
}

bool FormulaValue::operator==(const FormulaValue& o) const {
    if (kind() != o.kind()) return false;
    switch (kind()) {
    case Kind::number: {
        double a = numberValue(), b = o.numberValue();
        return a == b || (std::isnan(a) && std::isnan(b));
    }
    case Kind::text:
        return textValue() == o.textValue();
    case Kind::boolean:
        return boolValue() == o.boolValue();
    case Kind::error:
        return errorValue() == o.errorValue();
    case Kind::array:
        return arrayRows() == o.arrayRows();
    case Kind::empty:
        return true;
    }
    return false;
}

// ---- ordering -----------------------------------------------------------

namespace {
icu::Collator* caseInsensitiveCollator() {
    // One collator per thread: ICU collators are cheap to clone, and this
    // keeps comparison safe wherever it is called from.
    thread_local std::unique_ptr<icu::Collator> collator = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::Collator> c(icu::Collator::createInstance(icu::Locale("en_US"), status));
        if (U_FAILURE(status) || !c) {
            status = U_ZERO_ERROR;
            c.reset(icu::Collator::createInstance(icu::Locale::getRoot(), status));
        }
        if (c) c->setStrength(icu::Collator::SECONDARY);
        return c;
    }();
    return collator.get();
}
} // namespace

int collateCaseInsensitive(std::string_view a, std::string_view b) {
    icu::Collator* c = caseInsensitiveCollator();
    if (!c) return a < b ? -1 : (a == b ? 0 : 1);
    UErrorCode status = U_ZERO_ERROR;
    UCollationResult r = c->compareUTF8(icu::StringPiece(a.data(), static_cast<int32_t>(a.size())),
                                        icu::StringPiece(b.data(), static_cast<int32_t>(b.size())), status);
    if (U_FAILURE(status)) return a < b ? -1 : (a == b ? 0 : 1);
    return r == UCOL_LESS ? -1 : (r == UCOL_EQUAL ? 0 : 1);
}

bool compareValues(const FormulaValue& a, const FormulaValue& b) {
    auto rank = [](const FormulaValue& v) { return v.isNumber() ? 0 : v.isText() ? 1 : 2; };
    int ra = rank(a), rb = rank(b);
    if (ra != rb) return ra < rb;
    if (ra == 0) return a.numberValue() < b.numberValue();
    if (ra == 1) return collateCaseInsensitive(a.textValue(), b.textValue()) < 0;
    return false;
}

} // namespace sumora
