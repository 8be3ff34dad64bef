// The library was built with DTD support; the header only declares the
// entity-amplification controls when told so.
#define XML_DTD 1
#include "formats/XmlReader.h"

#include "formats/ZipArchive.h"

#include <expat.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace sumora {

namespace {

constexpr bool isNamespaceDeclaration(std::string_view name) {
    return name == "xmlns" || name.substr(0, 6) == "xmlns:";
}

XML_Parser asParser(void* parser) {
    return static_cast<XML_Parser>(parser);
}

// Entity expansion may grow the input at most this much, once past the
// threshold; real package parts never declare entities at all.
constexpr float maxEntityAmplification = 100.0f;
constexpr unsigned long long amplificationThresholdBytes = 4ull << 20;
// Longer runs of text reach the handler in pieces of about this size.
constexpr std::size_t kTextPieceBytes = std::size_t{1} << 20;

} // namespace

// ---------------------------------------------------------------------------
// XmlAttributes

XmlAttributes::XmlAttributes(const char** pairs) : pairs_(pairs) {
    while (pairs_[2 * count_])
        ++count_;
}

std::optional<std::string_view> XmlAttributes::get(std::string_view name) const {
    for (std::size_t i = 0; i < count_; ++i) {
        std::string_view qualified = qualifiedName(i);
        if (xmlLocalName(qualified) == name && !isNamespaceDeclaration(qualified)) return value(i);
    }
    return getQualified(name);
}

std::optional<std::string_view> XmlAttributes::getQualified(std::string_view qualifiedName) const {
    for (std::size_t i = 0; i < count_; ++i)
        if (this->qualifiedName(i) == qualifiedName) return value(i);
    return std::nullopt;
}

// ---------------------------------------------------------------------------
// XmlReader

// Expat calls C functions; these forward to the handler and keep C++
// exceptions from unwinding through the parser: an exception is parked,
// parsing is aborted, and feed() rethrows it.
struct XmlReader::Callbacks {
    static XmlReader& self(void* userData) { return *static_cast<XmlReader*>(userData); }

    static bool active(XmlReader& reader) {
        return !reader.handlerError_ && !reader.handler_.stopRequested();
    }

    template <typename Event> static void deliver(XmlReader& reader, Event&& event) {
        try {
            event();
        } catch (...) {
            reader.handlerError_ = std::current_exception();
        }
        if (!active(reader)) XML_StopParser(asParser(reader.parser_), XML_FALSE);
    }

    static void start(void* userData, const XML_Char* name, const XML_Char** attributes) {
        XmlReader& reader = self(userData);
        if (!active(reader)) return;
        deliver(reader, [&] {
            reader.flushText();
            if (!active(reader)) return;
            XmlAttributes list(attributes);
            reader.handler_.startElement(xmlLocalName(name), list);
        });
    }

    static void end(void* userData, const XML_Char* name) {
        XmlReader& reader = self(userData);
        if (!active(reader)) return;
        deliver(reader, [&] {
            reader.flushText();
            if (!active(reader)) return;
            reader.handler_.endElement(xmlLocalName(name));
        });
    }

    static void text(void* userData, const XML_Char* data, int length) {
        XmlReader& reader = self(userData);
        if (!active(reader)) return;
        deliver(reader, [&] {
            reader.text_.append(data, static_cast<std::size_t>(length));
            if (reader.text_.size() >= kTextPieceBytes) reader.flushText();
        });
    }
};

XmlReader::XmlReader(XmlHandler& handler) : handler_(handler), parser_(XML_ParserCreate(nullptr)) {
    if (!parser_) throw std::bad_alloc();
    XML_Parser parser = asParser(parser_);
    XML_SetUserData(parser, this);
    XML_SetElementHandler(parser, &Callbacks::start, &Callbacks::end);
    XML_SetCharacterDataHandler(parser, &Callbacks::text);
    // No external entity handler is installed, so external entities and the
    // external DTD subset are skipped, never fetched.
    XML_SetParamEntityParsing(parser, XML_PARAM_ENTITY_PARSING_NEVER);
#if XML_MAJOR_VERSION > 2 || (XML_MAJOR_VERSION == 2 && XML_MINOR_VERSION >= 4)
    XML_SetBillionLaughsAttackProtectionMaximumAmplification(parser, maxEntityAmplification);
    XML_SetBillionLaughsAttackProtectionActivationThreshold(parser, amplificationThresholdBytes);
#endif
}

XmlReader::~XmlReader() {
    XML_ParserFree(asParser(parser_));
}

void XmlReader::flushText() {
    if (text_.empty()) return;
    handler_.characters(text_);
    text_.clear();
}

void XmlReader::throwParseError() {
    XML_Parser parser = asParser(parser_);
    throw XmlError("XML parse error at line " + std::to_string(XML_GetCurrentLineNumber(parser)) +
                   ", column " + std::to_string(XML_GetCurrentColumnNumber(parser)) + ": " +
                   XML_ErrorString(XML_GetErrorCode(parser)));
}

void XmlReader::parseChunk(std::string_view chunk, bool isFinal) {
    // XML_Parse takes an int length; larger inputs go in slices.
    constexpr std::size_t maxSlice = std::size_t{1} << 30;
    do {
        std::size_t length = std::min(chunk.size(), maxSlice);
        bool last = isFinal && length == chunk.size();
        XML_Status status = XML_Parse(asParser(parser_), chunk.data(), static_cast<int>(length), last);
        chunk.remove_prefix(length);
        if (handlerError_) {
            finished_ = true;
            std::rethrow_exception(std::exchange(handlerError_, nullptr));
        }
        if (handler_.stopRequested()) return;
        if (status != XML_STATUS_OK) {
            finished_ = true;
            throwParseError();
        }
    } while (!chunk.empty());
}

bool XmlReader::feed(std::string_view chunk) {
    if (finished_ || handler_.stopRequested()) return false;
    parseChunk(chunk, false);
    return !handler_.stopRequested();
}

void XmlReader::finish() {
    if (finished_ || handler_.stopRequested()) return;
    parseChunk({}, true);
    finished_ = true;
}

void XmlReader::parse(std::string_view document, XmlHandler& handler) {
    XmlReader reader(handler);
    reader.feed(document);
    reader.finish();
}

void parseXmlEntry(ZipReader& archive, std::string_view path, XmlHandler& handler) {
    struct Stopped {};
    XmlReader reader(handler);
    try {
        archive.stream(path, [&](std::string_view chunk) {
            if (!reader.feed(chunk)) throw Stopped{};
        });
    } catch (const Stopped&) {
        return;
    }
    reader.finish();
}

} // namespace sumora
