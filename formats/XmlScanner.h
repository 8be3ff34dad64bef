#pragma once
// A fast reader for the plain XML that spreadsheet producers write, delivering
// the same events as XmlReader to the same handlers. It reads the common
// subset exactly (elements, attributes, text, the five predefined and the
// numeric character references, a UTF-8 XML declaration) and refuses the
// rest: a DOCTYPE, CDATA sections, comments, processing instructions, other
// encodings, names outside ASCII, a carriage return, and anything that is
// not well-formed. A refusal throws XmlScanner::Unsupported; the caller then
// reads the part again from the start with XmlReader, which gives the usual
// result or error. Whatever the scanner accepts, XmlReader accepts too, with
// the same events.
#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "formats/XmlReader.h"

namespace sumora {

class ZipReader;

class XmlScanner {
  public:
    // The input is outside what the scanner reads; no event delivered so far counts.
    struct Unsupported {};

    explicit XmlScanner(XmlHandler& handler) : handler_(handler) {}
    XmlScanner(const XmlScanner&) = delete;
    XmlScanner& operator=(const XmlScanner&) = delete;

    // Returns false once the handler has stopped parsing (further input is ignored).
    bool feed(std::string_view chunk);
    // As feed(), without copying: the chunk is read where it lies, and its
    // bytes may be overwritten.
    bool feedWritable(char* chunk, std::size_t size);
    // Marks the end of input; throws Unsupported when the document is incomplete.
    void finish();

    // Attributes of one element, at most (duplicates are looked for pairwise).
    static constexpr std::size_t maxAttributes = 64;

  private:
    enum class Place { start, prolog, content, epilog };

    // Reads data_[0, size_); returns the bytes consumed, the rest being an
    // incomplete tag and the text before it.
    std::size_t scan(bool final);
    // scan() over buffer_, dropping what it consumed.
    std::size_t scanBuffer(bool final);
    // Each returns the number of bytes consumed, or 0 when more input is needed.
    std::size_t declaration(std::size_t at);
    std::size_t startTag(std::size_t at);
    std::size_t endTag(std::size_t at);
    // Hands the text read before the current tag to the handler; false once it stopped.
    bool deliverText();
    bool stopped() const { return handler_.stopRequested(); }

    struct Span {
        std::size_t begin, end;
        bool decode = false; // holds references (or blanks to normalise)
    };

    XmlHandler& handler_;
    std::string buffer_;   // input held back between feeds
    char* data_ = nullptr; // what scan() reads: buffer_ or a chunk read in place
    std::size_t size_ = 0;
    Place place_ = Place::start;
    // Qualified names of the open elements, end to end; the first `depth_`
    // starts are in use.
    std::string openNames_;
    std::vector<std::size_t> openStarts_;
    std::size_t depth_ = 0;
    // The current tag's attributes: name, value, name, value, ...
    std::array<Span, 2 * maxAttributes> attributeSpans_;
    std::size_t attributeCount_ = 0;
    std::array<const char*, 2 * maxAttributes> pairs_;
    std::array<std::size_t, 2 * maxAttributes> lengths_;
    Span pendingText_{0, 0};
    bool pendingReferences_ = false;
    bool done_ = false;
};

// Streams one archive entry through a handler with the scanner. False when
// the scanner refused the part (or is switched off): the handler has then
// seen some of it and must be discarded. Archive errors and the handler's
// exceptions propagate.
bool scanXmlEntry(ZipReader& archive, std::string_view path, XmlHandler& handler);

// Whether scanXmlEntry reads at all (on by default). Tests switch it off to
// compare the scanner's results with expat's and to reach the expat paths.
void setXmlScannerEnabled(bool enabled);

} // namespace sumora
