// Reads arbitrary bytes as an OpenDocument spreadsheet: input that begins
// like a ZIP archive is taken as the package, anything else as the package's
// content part (so that mutations reach the XML instead of the deflate
// stream). Reading must fail only with an exception, never crash; what is
// read must save, and the saved package must read back with the same sheets.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "formats/OdsFormat.h"
#include "formats/OdsReader.h"
#include "formats/XmlScanner.h"
#include "formats/ZipArchive.h"
#include "values/Log.h"

using namespace sumora;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool quiet = (Log::setEnabled(false), true);
    (void)quiet;
    std::string_view input(reinterpret_cast<const char*>(data), size);
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
