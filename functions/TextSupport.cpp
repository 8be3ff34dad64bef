#include "functions/TextSupport.h"

#include <algorithm>
#include <memory>

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

namespace sumora {

namespace {

icu::UnicodeString toUnicode(std::string_view text) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
}

std::string toUtf8(const icu::UnicodeString& u) {
    std::string out;
    u.toUTF8String(out);
    return out;
}

// Building a break iterator loads rule data; each thread keeps one.
icu::BreakIterator* characterBreaks() {
    thread_local std::unique_ptr<icu::BreakIterator> iterator = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> it(
            icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
        return U_SUCCESS(status) ? std::move(it) : nullptr;
    }();
    return iterator.get();
}

std::string asciiMapped(std::string_view text, char (*map)(char)) {
    std::string out(text);
    for (char& ch : out)
        ch = map(ch);
    return out;
}

char asciiUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}
char asciiLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::optional<TextSpan> findExact(std::string_view text, const CharacterIndex& chars, std::string_view needle,
                                  size_t from) {
    for (size_t pos = from;;) {
        size_t hit = text.find(needle, pos);
        if (hit == std::string_view::npos) return std::nullopt;
        if (chars.isBoundary(hit) && chars.isBoundary(hit + needle.size()))
            return TextSpan{hit, hit + needle.size()};
        pos = hit + 1;
    }
}

// Case folding may change lengths (ß folds to ss), so candidates are built
// character by character from folded characters and compared with the folded
// needle; a match always covers whole characters.
std::optional<TextSpan> findFolded(std::string_view text, const CharacterIndex& chars,
                                   std::string_view needle, size_t from) {
    const icu::UnicodeString target = toUnicode(needle).foldCase(U_FOLD_CASE_DEFAULT);
    const size_t first = chars.characterAt(from);
    const size_t n = chars.count();
    std::vector<icu::UnicodeString> folded;
    folded.reserve(n - first);
    for (size_t k = first; k < n; ++k) {
        size_t b = chars.byteOffset(k);
        folded.push_back(
            toUnicode(text.substr(b, chars.byteOffset(k + 1) - b)).foldCase(U_FOLD_CASE_DEFAULT));
    }
    for (size_t i = first; i < n; ++i) {
        icu::UnicodeString candidate;
        for (size_t j = i; j < n; ++j) {
            candidate.append(folded[j - first]);
            if (candidate.length() >= target.length()) {
                if (candidate == target) return TextSpan{chars.byteOffset(i), chars.byteOffset(j + 1)};
                break;
            }
            if (target.compare(0, candidate.length(), candidate) != 0) break;
        }
    }
    return std::nullopt;
}

} // namespace

bool isPlainAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

CharacterIndex::CharacterIndex(std::string_view text) : size_(text.size()) {
    if (isPlainAscii(text)) {
        // Every ASCII byte is a character except that CR LF is one.
        if (text.find("\r\n") == std::string_view::npos) return;
        bounds_.reserve(text.size() + 1);
        for (size_t i = 0; i <= text.size(); ++i)
            if (i == 0 || i == text.size() || !(text[i - 1] == '\r' && text[i] == '\n')) bounds_.push_back(i);
        return;
    }
    icu::BreakIterator* it = characterBreaks();
    UErrorCode status = U_ZERO_ERROR;
    UText* ut = utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &status);
    if (it && U_SUCCESS(status)) it->setText(ut, status);
    if (!it || U_FAILURE(status)) {
        // Without break rules, fall back to code points.
        forEachCodePoint(text, [&](char32_t, size_t begin, size_t) { bounds_.push_back(begin); });
        bounds_.push_back(text.size());
    } else {
        for (int32_t p = it->first(); p != icu::BreakIterator::DONE; p = it->next())
            bounds_.push_back(static_cast<size_t>(p));
        if (bounds_.empty() || bounds_.back() != text.size()) bounds_.push_back(text.size());
    }
    utext_close(ut);
}

bool CharacterIndex::isBoundary(size_t byte) const {
    if (bounds_.empty()) return byte <= size_;
    return std::binary_search(bounds_.begin(), bounds_.end(), byte);
}

size_t CharacterIndex::characterAt(size_t byte) const {
    if (bounds_.empty()) return std::min(byte, size_);
    return static_cast<size_t>(std::lower_bound(bounds_.begin(), bounds_.end(), byte) - bounds_.begin());
}

std::optional<TextSpan> findText(std::string_view text, const CharacterIndex& chars, std::string_view needle,
                                 size_t from, bool ignoreCase) {
    if (from > text.size()) return std::nullopt;
    if (needle.empty()) return TextSpan{from, from};
    if (!ignoreCase) return findExact(text, chars, needle, from);
    if (isPlainAscii(text) && isPlainAscii(needle))
        return findExact(asciiMapped(text, asciiLower), chars, asciiMapped(needle, asciiLower), from);
    return findFolded(text, chars, needle, from);
}

std::vector<TextSpan> findAll(std::string_view text, const CharacterIndex& chars, std::string_view needle,
                              bool ignoreCase) {
    std::vector<TextSpan> spans;
    if (needle.empty()) return spans;
    for (size_t pos = 0; auto hit = findText(text, chars, needle, pos, ignoreCase);) {
        spans.push_back(*hit);
        pos = hit->end;
    }
    return spans;
}

std::string upperCased(std::string_view text) {
    if (isPlainAscii(text)) return asciiMapped(text, asciiUpper);
    return toUtf8(toUnicode(text).toUpper(icu::Locale::getRoot()));
}

std::string lowerCased(std::string_view text) {
    if (isPlainAscii(text)) return asciiMapped(text, asciiLower);
    return toUtf8(toUnicode(text).toLower(icu::Locale::getRoot()));
}

std::string titleCased(std::string_view text) {
    // A null iterator selects ICU's word-break rules.
    return toUtf8(toUnicode(text).toTitle(nullptr, icu::Locale::getRoot()));
}

std::string caseFolded(std::string_view text) {
    if (isPlainAscii(text)) return asciiMapped(text, asciiLower);
    return toUtf8(toUnicode(text).foldCase(U_FOLD_CASE_DEFAULT));
}

char32_t decodeCodePoint(std::string_view text, size_t& pos) {
    int32_t i = static_cast<int32_t>(pos);
    UChar32 c = 0;
    U8_NEXT(reinterpret_cast<const uint8_t*>(text.data()), i, static_cast<int32_t>(text.size()), c);
    pos = static_cast<size_t>(i);
    return c < 0 ? U'\uFFFD' : static_cast<char32_t>(c);
}

std::optional<char32_t> firstCodePoint(std::string_view text) {
    if (text.empty()) return std::nullopt;
    size_t pos = 0;
    return decodeCodePoint(text, pos);
}

void appendCodePoint(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

bool isHorizontalSpace(char32_t c) {
    return c == '\t' || c == ' ' || (c >= 0x80 && u_charType(static_cast<UChar32>(c)) == U_SPACE_SEPARATOR);
}

} // namespace sumora
