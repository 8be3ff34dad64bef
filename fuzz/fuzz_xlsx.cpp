// Opens arbitrary bytes as an XLSX package, formulas calculated. Every failure must be an
// exception with a message (the open dispatch shows it to the user); no
// input may crash, hang or exhaust memory.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>

#include "values/Log.h"
#include "formats/XlsxFormat.h"
#include "formats/DocumentIO.h"

using namespace sumora;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool quiet = (Log::setEnabled(false), true);
    (void)quiet;
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    try {
        SumoraDocument doc = openDocument(std::string(bytes), "fuzz.xlsx", kXlsxContentType);
        if (doc.sheets.empty()) std::abort(); // a document always has a sheet
    } catch (const std::exception&) {
        // Expected for damaged packages.
    } catch (...) {
        std::abort(); // anything else escaping the reader is a bug
    }
    return 0;
}
