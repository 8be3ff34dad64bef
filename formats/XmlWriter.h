#pragma once
// Escaping and a small builder for the XML that the writers produce. Writers
// mostly append literals; what comes from the model goes through escaping,
// which also keeps the output well-formed when cell text holds characters
// that XML 1.0 forbids.
#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace sumora {

enum class XmlContext {
    text,     // element content: tab and line feed stay literal
    attribute // attribute value: tab and line feed become character references, which reading keeps
};

// Escapes & < > " and ' (as "&apos;"); a carriage return becomes "&#13;" so that
// it survives reading. Control characters other than tab, line feed and carriage
// return are dropped, and bytes that are not valid UTF-8 (or encode U+FFFE,
// U+FFFF or a surrogate) become U+FFFD.
std::string xmlEscape(std::string_view text, XmlContext context = XmlContext::text);
void appendXmlEscaped(std::string& out, std::string_view text, XmlContext context = XmlContext::text);

// Appends markup to a string. Start tags stay open for attributes until
// content, a child or the end of the element follows; an element closed with
// nothing inside is written as an empty-element tag.
//
//   XmlBuilder xml;
//   xml.open("c").attribute("r", "A1").open("v").text("42").close().close();
//   // <c r="A1"><v>42</v></c>
class XmlBuilder {
  public:
    explicit XmlBuilder(std::size_t reserveBytes = 0) { out_.reserve(reserveBytes); }

    XmlBuilder& raw(std::string_view markup);
    XmlBuilder& text(std::string_view text);
    XmlBuilder& open(std::string_view name);
    XmlBuilder& attribute(std::string_view name, std::string_view value);
    // Integers only: the text of other numbers is the caller's business.
    template <std::integral T> XmlBuilder& attribute(std::string_view name, T value) {
        return attribute(name, std::string_view(std::to_string(value)));
    }
    // Closes the innermost open element.
    XmlBuilder& close();

    std::size_t depth() const { return openElements_.size(); }
    const std::string& str() const { return out_; }
    // Hands the text over; the builder is left empty.
    std::string take();

  private:
    void endStartTag();

    std::string out_;
    std::vector<std::string> openElements_;
    bool startTagOpen_ = false;
};

} // namespace sumora
