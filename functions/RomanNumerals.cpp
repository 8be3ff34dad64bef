// Roman numerals for ROMAN and ARABIC.
#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <string>
#include <vector>

#include "engine/FunctionContext.h"
#include "functions/BaseConversions.h"
#include "functions/MathSupport.h"

namespace sumora {

namespace {

struct Numeral {
    std::string text;
    int value;
};

struct Letter {
    char letter;
    int value;
};

// From the largest down; index parity tells fives (D, L, V) from powers of
// ten (M, C, X, I).
constexpr std::array<Letter, 7> kLetters{
    {{'M', 1000}, {'D', 500}, {'C', 100}, {'L', 50}, {'X', 10}, {'V', 5}, {'I', 1}}};

// Every numeral the given form may write, largest first. The classic form
// subtracts the power of ten just below a letter (CM, CD, XC, ...); each
// further form lets the subtracted letter step one letter lower (form 1
// adds LM, LD, VC, VL; form 4 reaches IM and ID).
std::vector<Numeral> numeralsOfForm(int form) {
    std::vector<Numeral> numerals;
    for (size_t large = 0; large < kLetters.size(); ++large) {
        numerals.push_back({std::string(1, kLetters[large].letter), kLetters[large].value});
        const size_t classic = large % 2 == 0 ? large + 2 : large + 1;
        for (size_t small = classic; small < kLetters.size() && small <= classic + static_cast<size_t>(form);
             ++small)
            numerals.push_back({std::string{kLetters[small].letter, kLetters[large].letter},
                                kLetters[large].value - kLetters[small].value});
    }
    std::sort(numerals.begin(), numerals.end(),
              [](const Numeral& a, const Numeral& b) { return a.value > b.value; });
    return numerals;
}

const std::vector<Numeral>& numeralTable(int form) {
    static const std::array<std::vector<Numeral>, 5> tables = [] {
        std::array<std::vector<Numeral>, 5> t;
        for (int f = 0; f < 5; ++f)
            t[static_cast<size_t>(f)] = numeralsOfForm(f);
        return t;
    }();
    return tables[static_cast<size_t>(std::clamp(form, 0, 4))];
}

int letterValue(char c) {
    switch (std::toupper(static_cast<unsigned char>(c))) {
    case 'I':
        return 1;
    case 'V':
        return 5;
    case 'X':
        return 10;
    case 'L':
        return 50;
    case 'C':
        return 100;
    case 'D':
        return 500;
    case 'M':
        return 1000;
    default:
        return 0;
    }
}

} // namespace

std::string intToRoman(int value, int form) {
    std::string result;
    // Greedy over the form's numerals gives the shortest spelling the form allows.
    for (const Numeral& n : numeralTable(form)) {
        while (value >= n.value) {
            result += n.text;
            value -= n.value;
        }
    }
    return result;
}

std::optional<int64_t> romanToInt(std::string_view text) {
    while (!text.empty() && text.front() == ' ')
        text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    const bool negative = !text.empty() && text.front() == '-';
    if (negative) text.remove_prefix(1);
    if (negative && text.empty()) return std::nullopt;
    int64_t total = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const int value = letterValue(text[i]);
        if (value == 0) return std::nullopt;
        // A letter before a larger one is subtracted, whatever the pair.
        const int next = i + 1 < text.size() ? letterValue(text[i + 1]) : 0;
        total += next > value ? -value : value;
    }
    return negative ? -total : total;
}

FormulaValue romanFunction(FunctionContext& c) {
    auto x = c.evalNum(0);
    auto form = c.evalNumOr(1, 0);
    if (!x || !form) return err(ErrorKind::invalidValue);
    const double value = std::trunc(*x);
    const int f = truncatedInt(*form);
    if (value < 0 || value > 3999 || f < 0 || f > 4) return err(ErrorKind::invalidValue);
    return txt(intToRoman(static_cast<int>(value), f));
}

FormulaValue arabicFunction(FunctionContext& c) {
    FormulaValue v = c.evaluate(0);
    if (v.isError()) return v;
    const std::string text = v.description();
    if (text.size() > 255) return err(ErrorKind::invalidValue);
    auto value = romanToInt(text);
    return value ? num(static_cast<double>(*value)) : err(ErrorKind::invalidValue);
}

} // namespace sumora
