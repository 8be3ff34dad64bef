#include "functions/ComplexNumbers.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>

namespace sumora {

namespace {

// An unsigned decimal number at text[pos]: digits with an optional point and
// exponent. Advances pos past it; nothing (pos unchanged) when none is there.
std::optional<double> readUnsigned(std::string_view text, size_t& pos) {
    size_t end = pos, digits = 0;
    while (end < text.size() && std::isdigit(static_cast<unsigned char>(text[end])))
        ++end, ++digits;
    if (end < text.size() && text[end] == '.') {
        ++end;
        while (end < text.size() && std::isdigit(static_cast<unsigned char>(text[end])))
            ++end, ++digits;
    }
    if (digits == 0) return std::nullopt;
    if (end < text.size() && (text[end] == 'e' || text[end] == 'E')) {
        size_t exponent = end + 1;
        if (exponent < text.size() && (text[exponent] == '+' || text[exponent] == '-')) ++exponent;
        const size_t first = exponent;
        while (exponent < text.size() && std::isdigit(static_cast<unsigned char>(text[exponent])))
            ++exponent;
        if (exponent == first) return std::nullopt;
        end = exponent;
    }
    const std::string number(text.substr(pos, end - pos));
    pos = end;
    return std::strtod(number.c_str(), nullptr);
}

// An optional sign at text[pos]: −1 or +1, advancing past it.
double readSign(std::string_view text, size_t& pos, bool& present) {
    present = pos < text.size() && (text[pos] == '+' || text[pos] == '-');
    if (!present) return 1;
    return text[pos++] == '-' ? -1 : 1;
}

bool isSuffix(char ch) {
    return ch == 'i' || ch == 'j';
}

// One part as 15 significant digits, exponent written as "E-16".
std::string partText(double x) {
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.15G", x + 0.0);
    return buffer;
}

} // namespace

std::optional<ComplexNumber> parseComplex(std::string_view text) {
    if (text.empty()) return ComplexNumber{};
    size_t pos = 0;
    bool signed1 = false;
    const double sign1 = readSign(text, pos, signed1);
    const auto first = readUnsigned(text, pos);
    if (pos == text.size()) {
        if (!first) return std::nullopt;
        return ComplexNumber{{sign1 * *first, 0}, 0};
    }
    // "bi", "i", "-i": the only part is imaginary.
    if (isSuffix(text[pos]) && pos + 1 == text.size())
        return ComplexNumber{{0, sign1 * first.value_or(1)}, text[pos]};
    if (!first) return std::nullopt;
    bool signed2 = false;
    const double sign2 = readSign(text, pos, signed2);
    if (!signed2) return std::nullopt;
    const auto second = readUnsigned(text, pos);
    if (pos + 1 != text.size() || !isSuffix(text[pos])) return std::nullopt;
    return ComplexNumber{{sign1 * *first, sign2 * second.value_or(1)}, text[pos]};
}

std::string formatComplex(std::complex<double> z, char suffix) {
    const std::string unit(1, suffix ? suffix : 'i');
    const std::string real = partText(z.real());
    const std::string imaginary = partText(z.imag());
    if (imaginary == "0") return real;
    std::string out = real == "0" ? "" : real;
    if (imaginary == "1") {
        if (!out.empty()) out += '+';
    } else if (imaginary == "-1") {
        out += '-';
    } else {
        if (!out.empty() && imaginary.front() != '-') out += '+';
        out += imaginary;
    }
    return out + unit;
}

} // namespace sumora
