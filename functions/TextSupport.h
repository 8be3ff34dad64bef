#pragma once
// Text handling of the text functions: positions are user-perceived
// characters (grapheme clusters, so "é" written as e + accent and a flag emoji
// each count once), case mapping and case-insensitive search through ICU.
// Texts are UTF-8; plain ASCII takes a fast path that skips ICU.
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sumora {

// Byte offsets of the characters of one text.
class CharacterIndex {
  public:
    explicit CharacterIndex(std::string_view text);

    size_t count() const { return bounds_.empty() ? size_ : bounds_.size() - 1; }
    // Byte offset where character `index` begins; count() gives the end.
    size_t byteOffset(size_t index) const { return bounds_.empty() ? index : bounds_[index]; }
    // Whether a character begins (or the text ends) at this byte offset.
    bool isBoundary(size_t byte) const;
    // The character that begins at a boundary byte offset.
    size_t characterAt(size_t byte) const;

  private:
    size_t size_;
    std::vector<size_t> bounds_; // empty when every byte is one character
};

struct TextSpan {
    size_t begin = 0; // byte offsets
    size_t end = 0;
};

// The first occurrence of `needle` at or after byte `from` (a boundary) that
// begins and ends on character boundaries. An empty needle matches at `from`.
std::optional<TextSpan> findText(std::string_view text, const CharacterIndex& chars, std::string_view needle,
                                 size_t from, bool ignoreCase);

// Every non-overlapping occurrence, left to right (an empty needle has none).
std::vector<TextSpan> findAll(std::string_view text, const CharacterIndex& chars, std::string_view needle,
                              bool ignoreCase);

std::string upperCased(std::string_view text);
std::string lowerCased(std::string_view text);
// First letter of each word upper case, the rest lower case (ICU word rules).
std::string titleCased(std::string_view text);
// Simple case folding, for case-insensitive equality.
std::string caseFolded(std::string_view text);

bool isPlainAscii(std::string_view text);

// Unicode scalar values in UTF-8.
void appendCodePoint(std::string& out, char32_t c);
// The first code point, or nothing for an empty text.
std::optional<char32_t> firstCodePoint(std::string_view text);
// Calls f(codePoint, begin, end) for each code point with its byte span.
template <class F> void forEachCodePoint(std::string_view text, F&& f);

// Blanks and tabs: tab and the space separators (U+0020, U+00A0, U+3000, …).
bool isHorizontalSpace(char32_t c);

// ---- implementation of the template ----------------------------------
char32_t decodeCodePoint(std::string_view text, size_t& pos);

template <class F> void forEachCodePoint(std::string_view text, F&& f) {
    size_t pos = 0;
    while (pos < text.size()) {
        size_t begin = pos;
        char32_t c = decodeCodePoint(text, pos);
        f(c, begin, pos);
    }
}

} // namespace sumora
