#pragma once
// Complex numbers as spreadsheets write them in cells: "3+4i", "-2.5j",
// "i", "1E-3-2i". The suffix ("i" or "j") travels with the number so that a
// result keeps the one its arguments used.
#include <complex>
#include <optional>
#include <string>
#include <string_view>

namespace sumora {

struct ComplexNumber {
    std::complex<double> value;
    char suffix = 0; // 'i', 'j', or 0 when the text had no imaginary part
};

// The complex number a text spells, whole text consumed; nothing when it is
// not one (blanks included). The empty text is 0.
std::optional<ComplexNumber> parseComplex(std::string_view text);

// The text form: parts to 15 significant digits, a zero part left out,
// a unit coefficient written as the bare suffix ("3-i", "i", "0").
std::string formatComplex(std::complex<double> z, char suffix);

} // namespace sumora
