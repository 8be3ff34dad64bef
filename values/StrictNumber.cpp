#include "values/StrictNumber.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <locale.h>
#include <string>

namespace sumora {

namespace {

locale_t cLocale() {
    static locale_t loc = newlocale(LC_ALL_MASK, "C", nullptr);
    return loc;
}

bool isLeadingSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r' || c == '\0';
}

} // namespace

std::optional<double> parseStrictNumber(std::string_view text) {
    if (text.empty() || isLeadingSpace(text.front())) return std::nullopt;
    double value = 0;
    // Fast path for the ordinary decimal forms; from_chars and strtod agree
    // on every text both accept (both round correctly).
    auto [ptr, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec == std::errc() && ptr == text.data() + text.size()) return value;
    if (ec == std::errc::result_out_of_range) {
        // from_chars rejects overflow where strtod answers ±HUGE_VAL/0: fall through.
    }
    // strtod covers "+5", hexadecimal floats and the out-of-range cases.
    if (text.find('\0') != std::string_view::npos) return std::nullopt;
    char small[256];
    std::string large;
    const char* buf = small;
    if (text.size() < sizeof small) {
        std::memcpy(small, text.data(), text.size());
        small[text.size()] = '\0';
    } else {
        large.assign(text);
        buf = large.c_str();
    }
    char* end = nullptr;
    double v = strtod_l(buf, &end, cLocale());
    if (end != buf + text.size()) return std::nullopt;
    return v;
}

} // namespace sumora
