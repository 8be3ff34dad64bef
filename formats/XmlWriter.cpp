#include "formats/XmlWriter.h"

#include <cassert>

#include "formats/Utf8.h"

namespace sumora {

namespace {

constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

// Length of the well-formed UTF-8 sequence at `i` that XML may carry, or 0:
// U+FFFE and U+FFFF are not XML characters.
std::size_t validSequenceLength(std::string_view s, std::size_t i) {
    std::size_t length = utf8SequenceLength(s, i);
    if (length == 3 && static_cast<unsigned char>(s[i]) == 0xEF &&
        static_cast<unsigned char>(s[i + 1]) == 0xBF &&
        (static_cast<unsigned char>(s[i + 2]) == 0xBE || static_cast<unsigned char>(s[i + 2]) == 0xBF))
        return 0;
    return length;
}

} // namespace

void appendXmlEscaped(std::string& out, std::string_view text, XmlContext context) {
    const bool inAttribute = context == XmlContext::attribute;
    std::size_t runStart = 0; // start of the pending run of bytes copied unchanged
    std::size_t i = 0;
    auto replace = [&](std::string_view replacement, std::size_t consumed) {
        out.append(text, runStart, i - runStart);
        out.append(replacement);
        i += consumed;
        runStart = i;
    };
    while (i < text.size()) {
        auto c = static_cast<unsigned char>(text[i]);
        if (c >= 0x80) {
            std::size_t length = validSequenceLength(text, i);
            if (length == 0)
                replace(replacementCharacter, 1);
            else
                i += length;
            continue;
        }
        switch (c) {
        case '&':
            replace("&amp;", 1);
            break;
        case '<':
            replace("&lt;", 1);
            break;
        case '>':
            replace("&gt;", 1);
            break;
        case '"':
            replace("&quot;", 1);
            break;
        case '\'':
            replace("&apos;", 1);
            break;
        case '\r':
            replace("&#13;", 1);
            break;
        case '\n':
            if (inAttribute)
                replace("&#10;", 1);
            else
                ++i;
            break;
        case '\t':
            if (inAttribute)
                replace("&#9;", 1);
            else
                ++i;
            break;
        default:
            if (c < 0x20)
                replace({}, 1);
            else
                ++i;
        }
    }
    out.append(text, runStart, text.size() - runStart);
}

std::string xmlEscape(std::string_view text, XmlContext context) {
    std::string out;
    out.reserve(text.size());
    appendXmlEscaped(out, text, context);
    return out;
}

// ---------------------------------------------------------------------------
// XmlBuilder

void XmlBuilder::endStartTag() {
    if (!startTagOpen_) return;
    out_ += '>';
    startTagOpen_ = false;
}

XmlBuilder& XmlBuilder::raw(std::string_view markup) {
    endStartTag();
    out_.append(markup);
    return *this;
}

XmlBuilder& XmlBuilder::text(std::string_view text) {
    endStartTag();
    appendXmlEscaped(out_, text);
    return *this;
}

XmlBuilder& XmlBuilder::open(std::string_view name) {
    endStartTag();
    out_ += '<';
    out_.append(name);
    openElements_.emplace_back(name);
    startTagOpen_ = true;
    return *this;
}

XmlBuilder& XmlBuilder::attribute(std::string_view name, std::string_view value) {
    assert(startTagOpen_ && "attribute() needs an open start tag");
    out_ += ' ';
    out_.append(name);
    out_ += "=\"";
    appendXmlEscaped(out_, value, XmlContext::attribute);
    out_ += '"';
    return *this;
}

XmlBuilder& XmlBuilder::close() {
    assert(!openElements_.empty() && "close() without an open element");
    if (startTagOpen_) {
        out_ += "/>";
        startTagOpen_ = false;
    } else {
        out_ += "</";
        out_ += openElements_.back();
        out_ += '>';
    }
    openElements_.pop_back();
    return *this;
}

std::string XmlBuilder::take() {
    endStartTag();
    std::string result = std::move(out_);
    out_.clear();
    openElements_.clear();
    return result;
}

} // namespace sumora
