#pragma once
// Strict reading of plain markup, for handlers that read runs of elements
// themselves (XmlHandler::readElements). Each step matches exactly the form
// it names and moves past it, or returns false and leaves the position where
// it was. The forms are a subset of well-formed XML that reads the same to
// every parser: ASCII names, values and texts of plain
// ASCII (no reference, no control byte but tab and line feed in text, no
// "]"), blanks of space, tab and line feed. Anything else is declined, and
// the scanner reads it as usual.
#include <cstddef>
#include <string_view>

#include "formats/XmlBytes.h"

namespace sumora {

class XmlElementCursor {
  public:
    XmlElementCursor(const char* data, std::size_t size) : begin_(data), p_(data), end_(data + size) {}

    // Bytes moved past since the start.
    std::size_t consumed() const { return static_cast<std::size_t>(p_ - begin_); }
    bool atEnd() const { return p_ == end_; }
    // The byte at the position; only when !atEnd().
    char peek() const { return *p_; }

    // Spaces, tabs and line feeds.
    void skipBlanks() { p_ = blanksFrom(p_); }

    // The byte after the "<" at the position ("/" for an end tag), or 0.
    char tagKind() const { return end_ - p_ >= 2 && p_[0] == '<' ? p_[1] : 0; }

    // "<name", followed by a blank, ">" or "/".
    bool startTag(std::string_view name) {
        std::size_t n = name.size();
        if (static_cast<std::size_t>(end_ - p_) < n + 2 || p_[0] != '<') return false;
        for (std::size_t k = 0; k < n; ++k)
            if (p_[k + 1] != name[k]) return false;
        char after = p_[n + 1];
        if (after != ' ' && after != '>' && after != '/' && after != '\n' && after != '\t') return false;
        p_ += n + 1;
        return true;
    }

    // One attribute after a start tag's name or another attribute: blanks,
    // a name, "=", and a value in double or single quotes (no blanks around
    // "="). Telling duplicates apart is the caller's part.
    bool attribute(std::string_view& name, std::string_view& value) {
        if (p_ >= end_ || !xml::hasClass(*p_, xml::kBlank)) return false;
        const char* p = blanksFrom(p_ + 1);
        if (p >= end_ || !xml::hasClass(*p, xml::kNameStart)) return false;
        const char* nameBegin = p;
        p = xml::skipClass(p, end_, xml::kNameChar);
        const char* nameEnd = p;
        if (end_ - p < 2 || p[0] != '=' || (p[1] != '"' && p[1] != '\'')) return false;
        const char quote = p[1];
        p += 2;
        const char* valueBegin = p;
        p = xml::skipClass(p, end_, xml::kPlainValue);
        if (p >= end_ || *p != quote) return false;
        name = std::string_view(nameBegin, static_cast<std::size_t>(nameEnd - nameBegin));
        value = std::string_view(valueBegin, static_cast<std::size_t>(p - valueBegin));
        p_ = p + 1;
        return true;
    }

    // The end of a start tag, after optional blanks: ">" or "/>" (then
    // `empty` is set).
    bool tagEnd(bool& empty) {
        const char* p = blanksFrom(p_);
        if (p < end_ && *p == '>') {
            empty = false;
            p_ = p + 1;
            return true;
        }
        if (end_ - p >= 2 && p[0] == '/' && p[1] == '>') {
            empty = true;
            p_ = p + 2;
            return true;
        }
        return false;
    }

    // "</name>", exactly.
    bool endTag(std::string_view name) {
        std::size_t n = name.size();
        if (static_cast<std::size_t>(end_ - p_) < n + 3 || p_[0] != '<' || p_[1] != '/') return false;
        for (std::size_t k = 0; k < n; ++k)
            if (p_[k + 2] != name[k]) return false;
        if (p_[n + 2] != '>') return false;
        p_ += n + 3;
        return true;
    }

    // Plain text up to the next "<" (possibly none).
    bool text(std::string_view& out) {
        const char* p = xml::skipClass(p_, end_, xml::kPlainText);
        if (p >= end_ || *p != '<') return false;
        out = std::string_view(p_, static_cast<std::size_t>(p - p_));
        p_ = p;
        return true;
    }

    // Back to a position read from consumed().
    void rewind(std::size_t offset) { p_ = begin_ + offset; }

  private:
    const char* blanksFrom(const char* p) const { return xml::skipClass(p, end_, xml::kBlank); }

    const char* begin_;
    const char* p_;
    const char* end_;
};

} // namespace sumora
