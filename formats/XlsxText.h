#pragma once
// Text helpers of the XLSX reader: the few parts read from raw markup with
// regular expressions (sheet states, font colours, validations, defined
// names), the decoding of what those expressions capture, and the escapes
// that spreadsheet strings carry inside XML.
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace sumora::xlsx {

// An ICU regular expression run over UTF-8 text without converting it; the
// groups of a match are views into the searched text.
class TextPattern {
  public:
    explicit TextPattern(std::string_view pattern);
    ~TextPattern();
    TextPattern(const TextPattern&) = delete;
    TextPattern& operator=(const TextPattern&) = delete;

    class Match {
      public:
        // Group 0 is the whole match; a group that took no part is absent.
        std::optional<std::string_view> group(int index) const;

      private:
        friend class TextPattern;
        std::string_view text_;
        const void* matcher_ = nullptr;
    };

    // Every match, left to right and without overlap.
    void forEachMatch(std::string_view text, const std::function<void(const Match&)>& visit) const;
    // Group `group` of the first match.
    std::optional<std::string_view> firstGroup(std::string_view text, int group = 1) const;

  private:
    struct Compiled;
    std::unique_ptr<Compiled> compiled_;
};

// Decodes the five predefined entities and numeric character references of
// text taken from raw markup; anything else is kept as written.
std::string decodeXmlEntities(std::string_view text);

// Strings in the package write characters XML cannot hold as "_xHHHH_"
// (a carriage return is "_x000D_", a literal "_x" sequence is "_x005F_x…").
// Decodes them in place; text without "_x" is left untouched cheaply.
void decodeOoxmlEscapes(std::string& text);

// The six hex digits of an ARGB colour text: an eight-character value loses
// its first two characters (the alpha); other texts are kept.
std::string hexFromArgb(std::string_view argb);

// Parsers for attribute values; they accept surrounding spaces and fail on
// anything else.
std::optional<int64_t> parseInteger(std::string_view text);
std::optional<double> parseDouble(std::string_view text);
// "1", "true", "on" and their opposites; absent for other text.
std::optional<bool> parseBoolean(std::string_view text);

} // namespace sumora::xlsx
