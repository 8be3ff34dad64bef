// Section choice and the per-thread cache of parsed codes.
//
// Which section shows a number:
// - without conditions: one section shows everything (a negative number gets a
//   leading "-"); two sections split at zero (zero goes first); three give
//   positive, negative and zero. The negative section shows the magnitude.
// - with conditions on the first or second section: the first section whose
//   condition holds. A second section without a condition takes every number
//   the first refused, or only the negative ones when a third section takes
//   the rest; the third takes what neither admits. A number no section takes
//   is shown in General. Every section but the first shows the magnitude; the
//   first does so only under [<0] or [<=0], otherwise a negative number it
//   shows keeps its "-".
// A section of literals alone shows just them, without a sign.
// A last section holding "@" (or any fourth section) is the text section; it
// never shows numbers, and a code that is nothing but a text section shows
// numbers in General.
#include "values/NumberFormat.h"

#include "values/NumberFormatCode.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace sumora {

using numberformat::ParsedFormat;
using numberformat::Section;
using numberformat::SectionKind;

namespace {

struct TransparentHash {
    using is_transparent = void;
    size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
};

// Grids use a handful of distinct codes; the bound only guards against a
// stream of generated ones.
constexpr size_t kCacheLimit = 4096;

const ParsedFormat& cachedFormat(std::string_view code) {
    thread_local std::unordered_map<std::string, ParsedFormat, TransparentHash, std::equal_to<>> cache;
    if (auto found = cache.find(code); found != cache.end()) return found->second;
    if (cache.size() >= kCacheLimit) cache.clear();
    return cache.emplace(std::string(code), numberformat::parseFormatCode(code)).first->second;
}

const Section* textSection(const ParsedFormat& format) {
    const auto& sections = format.sections;
    if (sections.size() == 4 || sections.back().hasTextValue) return &sections.back();
    return nullptr;
}

FormattedText plain(std::string text) {
    return {std::move(text), std::nullopt, std::nullopt};
}

size_t utf8Length(std::string_view s, size_t at) {
    if (at >= s.size()) return 0;
    const auto lead = static_cast<unsigned char>(s[at]);
    const size_t length = lead < 0x80 ? 1 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 1;
    return std::min(length, s.size() - at);
}

// Takes the marked fills out of the rendered text; the first becomes the
// result's fill.
FormattedText withFill(FormattedText result) {
    std::string& text = result.text;
    for (size_t at = text.find(numberformat::kFillMark); at != std::string::npos;
         at = text.find(numberformat::kFillMark, at)) {
        const size_t length = utf8Length(text, at + numberformat::kFillMark.size());
        if (!result.fill && length > 0)
            result.fill = FormatFill{text.substr(at + numberformat::kFillMark.size(), length), at};
        text.erase(at, numberformat::kFillMark.size() + length);
    }
    return result;
}

struct SectionChoice {
    const Section* section = nullptr; // none: show the number in General
    bool showsMagnitude = false;      // the section supplies the sign itself
};

SectionChoice chooseSection(const ParsedFormat& format, double number) {
    const auto& sections = format.sections;
    size_t count = sections.size();
    if (textSection(format) != nullptr) --count;
    if (count == 0) return {};

    const Section& first = sections[0];
    const Section* second = count >= 2 ? &sections[1] : nullptr;
    const bool conditional = first.condition || (second && second->condition);
    if (!conditional) {
        if (number < 0 && count >= 2) return {second, true};
        if (number == 0 && count >= 3) return {&sections[2], false};
        return {&first, false};
    }

    const auto admits = [&](size_t index) {
        const Section& section = sections[index];
        if (section.condition) return section.condition->matches(number);
        if (index == 0) return number >= 0;
        return count >= 3 ? number < 0 : true;
    };
    if (admits(0)) return {&first, first.condition && first.condition->isNegativeTest()};
    if (second && admits(1)) return {second, true};
    if (count >= 3) return {&sections[2], true};
    return {};
}

} // namespace

FormattedText formatValue(double number, std::string_view formatCode) {
    if (!std::isfinite(number)) return plain(formatGeneralNumber(number));
    if (formatCode.empty()) return plain(formatGeneralNumber(number));
    const ParsedFormat& format = cachedFormat(formatCode);
    if (format.malformed) return plain(formatGeneralNumber(number));
    const SectionChoice choice = chooseSection(format, number);
    if (choice.section == nullptr) return plain(formatGeneralNumber(number));

    const Section& section = *choice.section;
    FormattedText result{{}, section.colorHex, std::nullopt};
    if (section.isEmpty) return result;
    if (section.kind == SectionKind::dateTime) {
        // A date section meant for all values takes the signed serial.
        result.text =
            numberformat::renderDateTime(section, choice.showsMagnitude ? std::fabs(number) : number);
        return withFill(std::move(result));
    }
    result.text = numberformat::renderNumeric(section, std::fabs(number));
    if (number < 0 && !choice.showsMagnitude && section.kind != SectionKind::literal)
        result.text.insert(result.text.begin(), '-');
    return withFill(std::move(result));
}

FormattedText formatText(std::string_view text, std::string_view formatCode) {
    if (formatCode.empty()) return plain(std::string(text));
    const ParsedFormat& format = cachedFormat(formatCode);
    if (format.malformed) return plain(std::string(text));
    const Section* section = textSection(format);
    if (section == nullptr) return plain(std::string(text));
    return withFill({numberformat::renderText(*section, text), section->colorHex, std::nullopt});
}

bool isDateTimeFormat(std::string_view formatCode) {
    if (formatCode.empty()) return false;
    return cachedFormat(formatCode).sections.front().kind == SectionKind::dateTime;
}

} // namespace sumora
