#include "formats/XlsxText.h"

#include <charconv>
#include <stdexcept>

#include <unicode/regex.h>
#include <unicode/utext.h>

namespace sumora::xlsx {

namespace {

void appendUtf8(std::string& out, uint32_t cp) {
    if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) cp = 0xFFFD;
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// The code unit of "_xHHHH_" starting at `at`, if one stands there.
std::optional<uint32_t> escapeAt(std::string_view text, size_t at) {
    if (at + 7 > text.size() || text[at] != '_' || text[at + 1] != 'x' || text[at + 6] != '_')
        return std::nullopt;
    uint32_t unit = 0;
    for (size_t k = 2; k < 6; ++k) {
        int d = hexDigit(text[at + k]);
        if (d < 0) return std::nullopt;
        unit = unit * 16 + static_cast<uint32_t>(d);
    }
    return unit;
}

std::string_view trimSpaces(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t' || s.front() == '\n' || s.front() == '\r'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\n' || s.back() == '\r'))
        s.remove_suffix(1);
    return s;
}

struct UTextCloser {
    void operator()(UText* t) const { utext_close(t); }
};

} // namespace

// ---------------------------------------------------------------------------
// TextPattern

struct TextPattern::Compiled {
    std::unique_ptr<icu::RegexPattern> pattern;
};

TextPattern::TextPattern(std::string_view pattern) : compiled_(std::make_unique<Compiled>()) {
    UErrorCode status = U_ZERO_ERROR;
    UParseError where;
    compiled_->pattern.reset(icu::RegexPattern::compile(
        icu::UnicodeString::fromUTF8(icu::StringPiece(pattern.data(), static_cast<int32_t>(pattern.size()))),
        0, where, status));
    if (U_FAILURE(status))
        throw std::logic_error("XLSX reader: a pattern does not compile: " + std::string(pattern));
}

TextPattern::~TextPattern() = default;

std::optional<std::string_view> TextPattern::Match::group(int index) const {
    auto* matcher = static_cast<const icu::RegexMatcher*>(matcher_);
    UErrorCode status = U_ZERO_ERROR;
    int64_t start = matcher->start64(index, status);
    int64_t end = matcher->end64(index, status);
    if (U_FAILURE(status) || start < 0 || end < start || static_cast<size_t>(end) > text_.size())
        return std::nullopt;
    return text_.substr(static_cast<size_t>(start), static_cast<size_t>(end - start));
}

void TextPattern::forEachMatch(std::string_view text, const std::function<void(const Match&)>& visit) const {
    if (text.size() > static_cast<size_t>(INT64_MAX)) return;
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<UText, UTextCloser> input(
        utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &status));
    if (U_FAILURE(status)) return;
    std::unique_ptr<icu::RegexMatcher> matcher(compiled_->pattern->matcher(status));
    if (U_FAILURE(status)) return;
    matcher->reset(input.get());
    Match match;
    match.text_ = text;
    match.matcher_ = matcher.get();
    while (matcher->find(status) && U_SUCCESS(status))
        visit(match);
}

std::optional<std::string_view> TextPattern::firstGroup(std::string_view text, int group) const {
    std::optional<std::string_view> found;
    bool first = true;
    forEachMatch(text, [&](const Match& m) {
        if (!first) return;
        first = false;
        found = m.group(group);
    });
    return found;
}

// ---------------------------------------------------------------------------
// Decoding

std::string decodeXmlEntities(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        size_t semi;
        if (c != '&' || (semi = text.find(';', i + 1)) == std::string_view::npos || semi - i > 12) {
            out += c;
            continue;
        }
        std::string_view name = text.substr(i + 1, semi - i - 1);
        std::optional<uint32_t> cp;
        if (name == "amp")
            cp = '&';
        else if (name == "lt")
            cp = '<';
        else if (name == "gt")
            cp = '>';
        else if (name == "quot")
            cp = '"';
        else if (name == "apos")
            cp = '\'';
        else if (name.size() > 1 && name[0] == '#') {
            bool hex = name[1] == 'x' || name[1] == 'X';
            std::string_view digits = name.substr(hex ? 2 : 1);
            uint32_t value = 0;
            auto [end, ec] =
                std::from_chars(digits.data(), digits.data() + digits.size(), value, hex ? 16 : 10);
            if (ec == std::errc() && end == digits.data() + digits.size() && !digits.empty()) cp = value;
        }
        if (!cp) {
            out += c;
            continue;
        }
        appendUtf8(out, *cp);
        i = semi;
    }
    return out;
}

void decodeOoxmlEscapes(std::string& text) {
    size_t first = text.find("_x");
    if (first == std::string::npos) return;
    std::string out(text, 0, first);
    for (size_t i = first; i < text.size();) {
        auto unit = escapeAt(text, i);
        if (!unit) {
            out += text[i++];
            continue;
        }
        i += 7;
        uint32_t cp = *unit;
        if (cp >= 0xD800 && cp <= 0xDBFF) {
            auto low = escapeAt(text, i);
            if (low && *low >= 0xDC00 && *low <= 0xDFFF) {
                cp = 0x10000 + ((cp - 0xD800) << 10) + (*low - 0xDC00);
                i += 7;
            }
        }
        appendUtf8(out, cp);
    }
    text = std::move(out);
}

std::string hexFromArgb(std::string_view argb) {
    if (argb.size() == 8) argb.remove_prefix(2);
    return std::string(argb);
}

std::optional<int64_t> parseInteger(std::string_view text) {
    text = trimSpaces(text);
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    int64_t value = 0;
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc() || end != text.data() + text.size() || text.empty()) return std::nullopt;
    return value;
}

std::optional<double> parseDouble(std::string_view text) {
    text = trimSpaces(text);
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    double value = 0;
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec != std::errc() || end != text.data() + text.size() || text.empty()) return std::nullopt;
    return value;
}

std::optional<bool> parseBoolean(std::string_view text) {
    text = trimSpaces(text);
    if (text == "1" || text == "true" || text == "on") return true;
    if (text == "0" || text == "false" || text == "off") return false;
    return std::nullopt;
}

} // namespace sumora::xlsx
