#pragma once
// Byte classes of the plain XML that the scanner and the handlers' own
// element readers take as it stands, looked up once per byte on hot loops.
#include <array>

namespace sumora::xml {

enum : unsigned char {
    kNameStart = 1,   // a-z A-Z _
    kNameChar = 2,    // a name start, 0-9 - . :
    kSpace = 4,       // blank, tab, line feed and carriage return
    kPlainText = 8,   // text that reads as itself: no reference, markup, control or non-ASCII byte
    kPlainValue = 16, // the same inside an attribute value, quotes excluded
    kBlank = 32       // a blank that reads as itself: space, tab, line feed
};

inline constexpr std::array<unsigned char, 256> kByteClasses = [] {
    std::array<unsigned char, 256> classes{};
    for (int c = 0; c < 256; ++c) {
        bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
        bool nameChar = letter || (c >= '0' && c <= '9') || c == '-' || c == '.' || c == ':';
        bool space = c == ' ' || c == '\t' || c == '\n' || c == '\r';
        bool plainText =
            (c >= 0x20 && c < 0x80 && c != '&' && c != '<' && c != ']') || c == '\t' || c == '\n';
        bool plainValue = c >= 0x20 && c < 0x80 && c != '&' && c != '<' && c != '"' && c != '\'';
        classes[c] =
            static_cast<unsigned char>((letter ? kNameStart : 0) | (nameChar ? kNameChar : 0) |
                                       (space ? kSpace : 0) | (plainText ? kPlainText : 0) |
                                       (plainValue ? kPlainValue : 0) | (space && c != '\r' ? kBlank : 0));
    }
    return classes;
}();

inline bool hasClass(char c, unsigned char bits) {
    return kByteClasses[static_cast<unsigned char>(c)] & bits;
}

// The first byte from `p` on (or `end`) outside the classes `bits`.
inline const char* skipClass(const char* p, const char* end, unsigned char bits) {
    while (p < end && hasClass(*p, bits))
        ++p;
    return p;
}

} // namespace sumora::xml
