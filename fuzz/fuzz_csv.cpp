// Reads arbitrary bytes as CSV and writes the document back: invalid UTF-8
// must be the one error, and the written text must read back to the same
// grid whenever no field held a quote (quotes are dropped on reading).
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "values/Log.h"
#include "formats/CsvFormat.h"
#include "formats/FileErrors.h"
#include "formats/Utf8.h"

using namespace sumora;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool quiet = (Log::setEnabled(false), true);
    (void)quiet;
    std::string_view bytes(reinterpret_cast<const char*>(data), size);
    SumoraDocument doc;
    try {
        doc = readCsvDocument(bytes);
    } catch (const FileReadError&) {
        if (isValidUtf8(bytes)) std::abort();
        return 0;
    }
    std::string written = writeCsv(doc);
    SumoraDocument again = readCsvDocument(written);
    const Sheet& a = doc.sheets.front();
    const Sheet& b = again.sheets.front();
    if (bytes.find('"') != std::string_view::npos) return 0;
    // Without quotes in the input every field is plain; fields holding a line
    // break cannot occur (lines were split), so the round trip is exact.
    if (a.rowCount() != b.rowCount() || a.columnCount() != b.columnCount()) std::abort();
    for (int64_t r = 0; r < a.rowCount(); ++r)
        for (int64_t c = 0; c < a.columnCount(); ++c)
            if (a.cell(r, c).displayValue() != b.cell(r, c).displayValue()) std::abort();
    return 0;
}
