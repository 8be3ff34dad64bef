// Reads arbitrary bytes as an OpenDocument spreadsheet: input that begins
// like a ZIP archive is taken as the package, anything else as the package's
// content part (so that mutations reach the XML instead of the deflate
// stream). Reading must fail only with an exception, never crash; what is
// read must save, and the saved package must read back with the same sheets.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "formats/OdsContentHandler.h"
#include "formats/OdsFormat.h"
#include "formats/OdsReader.h"
#include "formats/XmlScanner.h"
#include "formats/ZipArchive.h"
#include "values/Log.h"

using namespace sumora;

namespace {

// Every event as text, to compare two reads of the same document.
struct Transcript : XmlHandler {
    std::string events;
    void startElement(std::string_view name, const XmlAttributes& attributes) override {
        events.append("<").append(name);
        for (size_t i = 0; i < attributes.size(); ++i)
            events.append(" ").append(attributes.qualifiedName(i)).append("=").append(attributes.value(i));
    }
    void endElement(std::string_view name) override { events.append(">").append(name); }
    void characters(std::string_view text) override { events.append("'").append(text); }
};

// Feeds `document` to `scanner` in place, in pieces of `piece` bytes, and finishes.
void feedInPieces(XmlScanner& scanner, std::string_view document, size_t piece) {
    for (size_t at = 0; at < document.size(); at += piece) {
        std::string chunk(document.substr(at, piece));
        scanner.feedWritable(chunk.data(), chunk.size());
    }
    scanner.finish();
}

// The scanner's events for `document` read in pieces of `piece` bytes;
// nothing when it refuses the document.
std::optional<std::string> scannedInPieces(std::string_view document, size_t piece) {
    Transcript transcript;
    XmlScanner scanner(transcript);
    try {
        feedInPieces(scanner, document, piece);
    } catch (const XmlScanner::Unsupported&) {
        return std::nullopt;
    }
    return transcript.events;
}

// The sheets the content handler reads from `document` fed to the scanner
// in pieces of `piece` bytes; nothing when either refuses it.
std::optional<std::vector<Sheet>> sheetsInPieces(std::string_view document, size_t piece) {
    ods::OdsContentHandler handler;
    XmlScanner scanner(handler);
    try {
        feedInPieces(scanner, document, piece);
    } catch (...) {
        return std::nullopt;
    }
    std::vector<Sheet> sheets = handler.takeSheets();
    for (Sheet& sheet : sheets)
        sheet.id.clear();
    return sheets;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool quiet = (Log::setEnabled(false), true);
    (void)quiet;
    std::string_view input(reinterpret_cast<const char*>(data), size);
    // Where a chunk ends must not change what the scanner reads.
    if (!input.starts_with("PK")) {
        std::optional<std::string> whole = scannedInPieces(input, input.size() + 1);
        if (scannedInPieces(input, 7) != whole || scannedInPieces(input, 600) != whole) std::abort();
        // Nor what the content handler reads, cells it takes from the bytes included.
        if (whole && sheetsInPieces(input, 7) != sheetsInPieces(input, input.size() + 1)) std::abort();
    }
    std::string package;
    if (input.starts_with("PK")) {
        package.assign(input);
    } else {
        ZipWriter zip;
        zip.add("mimetype", "application/vnd.oasis.opendocument.spreadsheet", Compression::store);
        zip.add("content.xml", input, Compression::store);
        package = zip.finish();
    }
    std::vector<Sheet> sheets;
    try {
        // Both ways: a small input never reaches the split, so force neither.
        sheets = ods::readSheets(package, false);
    } catch (const std::exception&) {
        return 0;
    }
    // The fast scanner reads exactly what expat reads: the same sheets.
    setXmlScannerEnabled(false);
    std::vector<Sheet> byExpat = ods::readSheets(package, false);
    setXmlScannerEnabled(true);
    if (byExpat.size() != sheets.size()) std::abort();
    for (size_t i = 0; i < sheets.size(); ++i) {
        byExpat[i].id = sheets[i].id;
        if (!(byExpat[i] == sheets[i])) std::abort();
    }
    std::vector<Sheet> again = readOdsSheets(writeOds(sheets));
    if (again.size() != sheets.size()) std::abort();
    for (size_t i = 0; i < sheets.size(); ++i) {
        if (again[i].name != sheets[i].name) std::abort();
        if (again[i].usedExtent().rows != sheets[i].usedExtent().rows) std::abort();
    }
    return 0;
}
