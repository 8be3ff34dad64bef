#pragma once
// Event-driven XML reading for the package parts. Bytes are fed in pieces as
// they come out of the archive, so a worksheet of any size is parsed without
// being held whole. Elements and attributes are matched by local name (the
// part after the last ":"), which keeps readers indifferent to the prefixes
// and namespace flavours (transitional or strict) that producers choose.
#include <cstddef>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace sumora {

class ZipReader;

// Every message contains "XML", the parser's description and the line.
class XmlError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The attributes of one start tag, valid only during startElement().
class XmlAttributes {
  public:
    // Expat's null-terminated list of name/value pairs.
    explicit XmlAttributes(const char** pairs);
    // `count` pairs whose name and value lengths are known (lengths[2i], lengths[2i+1]).
    XmlAttributes(const char** pairs, std::size_t count, const std::size_t* lengths)
        : pairs_(pairs), lengths_(lengths), count_(count) {}

    // By local name ("number-columns-repeated" finds table:number-columns-repeated),
    // falling back to the exact qualified name ("table:name"). Namespace
    // declarations (xmlns, xmlns:x) are never matched by local name.
    std::optional<std::string_view> get(std::string_view name) const;
    // By the exact name as written, prefix included.
    std::optional<std::string_view> getQualified(std::string_view qualifiedName) const;

    std::size_t size() const { return count_; }
    std::string_view qualifiedName(std::size_t i) const { return text(2 * i); }
    std::string_view value(std::size_t i) const { return text(2 * i + 1); }

  private:
    std::string_view text(std::size_t k) const {
        return lengths_ ? std::string_view(pairs_[k], lengths_[k]) : std::string_view(pairs_[k]);
    }

    const char** pairs_;
    const std::size_t* lengths_ = nullptr;
    std::size_t count_ = 0;
};

// The part of a qualified name after the last ":".
inline std::string_view xmlLocalName(std::string_view qualifiedName) {
    std::size_t colon = qualifiedName.rfind(':');
    return colon == std::string_view::npos ? qualifiedName : qualifiedName.substr(colon + 1);
}

// Receives the events. Text between two tags arrives as one characters() call
// (entities decoded), however the input was cut into pieces — unless it runs
// past a megabyte: then it comes in pieces of about that size, so that a part
// padded with a gigabyte of blanks is never held whole. Handlers append.
class XmlHandler {
  public:
    virtual ~XmlHandler() = default;
    virtual void startElement(std::string_view localName, const XmlAttributes& attributes) {
        (void)localName;
        (void)attributes;
    }
    virtual void endElement(std::string_view localName) { (void)localName; }
    virtual void characters(std::string_view text) { (void)text; }

    // Called from inside a callback: no further events follow, and the rest of
    // the input is ignored without error.
    void stopParsing() { stopRequested_ = true; }
    bool stopRequested() const { return stopRequested_; }

    // Runs of elements read by the handler itself, where the usual events
    // would cost more than the markup. While readsElements() is set, the
    // scanner (never XmlReader) calls readElements() at each start tag in
    // content, after delivering the text before it, with its unread bytes
    // from that "<" on. The handler returns how many it consumed: zero or more
    // whole elements, and the blanks between them if it wants, whose effects
    // it has applied exactly as their events would have. It stops before
    // anything it does not read exactly (see XmlElementCursor) or that the
    // bytes cut off; the scanner reads the rest as usual.
    bool readsElements() const { return readsElements_; }
    virtual std::size_t readElements(const char* data, std::size_t size) {
        (void)data;
        (void)size;
        return 0;
    }

  protected:
    // A plain flag rather than a virtual call per tag: set while the handler
    // stands where it reads elements itself.
    void setReadsElements(bool on) { readsElements_ = on; }

  private:
    friend class XmlReader;
    bool stopRequested_ = false;
    bool readsElements_ = false;
};

// Wraps one expat parser. External entities are never loaded, and entity
// expansion is bounded, so hostile documents fail quickly instead of
// exhausting memory. Exceptions thrown by the handler propagate out of feed().
class XmlReader {
  public:
    explicit XmlReader(XmlHandler& handler);
    ~XmlReader();
    XmlReader(const XmlReader&) = delete;
    XmlReader& operator=(const XmlReader&) = delete;

    // Returns false once the handler has stopped parsing (further input is ignored).
    bool feed(std::string_view chunk);
    // Marks the end of input; throws XmlError when the document is incomplete.
    void finish();

    // Parses a whole document held in memory.
    static void parse(std::string_view document, XmlHandler& handler);

  private:
    struct Callbacks;
    void parseChunk(std::string_view chunk, bool isFinal);
    void flushText();
    [[noreturn]] void throwParseError();

    XmlHandler& handler_;
    void* parser_; // XML_Parser
    std::string text_;
    std::exception_ptr handlerError_;
    bool finished_ = false;
};

// Streams one archive entry through a handler, stopping the decompression as
// soon as the handler stops parsing. Archive problems throw ArchiveError,
// malformed XML throws XmlError.
void parseXmlEntry(ZipReader& archive, std::string_view path, XmlHandler& handler);

} // namespace sumora
