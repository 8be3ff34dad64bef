// Reading an OpenDocument spreadsheet: the package's "content.xml" streamed
// through expat into Sheets. Nothing else in the package is read.
//
// A big content part is read in two halves at the same time, because
// parsing, not decompression, dominates the opening of a large workbook.
// Both halves see the same decompressed stream, each through its own archive
// reader. The cut lies at the first row start a little past the middle of
// the part's declared size. The first half parses everything before the cut.
// The second parses the automatic styles at the head of the part,
// decompresses on to the cut without parsing, parses the rows from the cut
// to the end of their table into rows of its own (numbered from the cut,
// since rows carry no numbers), and hands the rest of the part back to the
// first half, which takes the rows over and finishes the document. When the
// halves do not fit together (a cut outside a table's rows, any error in the
// second half) the part is simply read again as a whole, which also reports
// real errors the way a whole read does.
#include <atomic>
#include <cmath>
#include <exception>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <vector>

#include "formats/OdsContentHandler.h"
#include "formats/OdsFormat.h"
#include "formats/OdsReader.h"
#include "formats/StreamCut.h"
#include "formats/XmlScanner.h"
#include "formats/ZipArchive.h"
#include "values/Log.h"

namespace sumora {

namespace {

using ods::OdsContentHandler;

constexpr std::string_view kContentPart = "content.xml";
// Parts smaller than this (decompressed, as declared) are read whole.
constexpr uint64_t kSplitThreshold = uint64_t{8} << 20;

// Where a row begins; the cut lies before one.
const std::vector<std::string_view> kRowStarts = {"<table:table-row ", "<table:table-row>"};

struct Stop {};

// The second half: its rows in its handler, the part's end in `tail`.
struct SecondHalf {
    OdsContentHandler handler{OdsContentHandler::Role::continuation};
    std::string tail;
    std::exception_ptr error;
    bool complete = false;
};

void readSecondHalf(std::string_view package, uint64_t cutFrom, const std::atomic<bool>& cancelled,
                    SecondHalf& half) {
    try {
        ZipReader archive(BorrowedBytes{package});
        XmlReader head(half.handler);
        std::optional<XmlReader> rows;
        StreamCut toBody({"<office:body"}, 0);
        StreamCut toRows(kRowStarts, cutFrom);
        StreamCut toEnd({"</table:table>"}, 0);
        auto parseHead = [&](std::string_view piece) {
            if (!piece.empty()) head.feed(piece);
        };
        auto parseRows = [&](std::string_view piece) {
            if (!piece.empty()) rows->feed(piece);
        };
        auto keepTail = [&](std::string_view piece) { half.tail.append(piece); };
        auto fromCut = [&](std::string_view piece) {
            if (!rows) {
                rows.emplace(half.handler);
                rows->feed("<r><table:table>");
            }
            toEnd.feed(piece, parseRows, keepTail);
        };
        auto skip = [](std::string_view) {};
        try {
            archive.stream(kContentPart, [&](std::string_view chunk) {
                if (cancelled.load(std::memory_order_relaxed)) throw Stop{};
                // The styles come before the body, and rows only inside it.
                if (!toBody.found()) toBody.feed(chunk, parseHead, skip);
                toRows.feed(chunk, skip, fromCut);
            });
        } catch (const Stop&) {
            return;
        }
        if (!toRows.found()) return;
        toEnd.finish(parseRows);
        if (!toEnd.found()) return;
        rows->feed("</table:table></r>");
        rows->finish();
        half.complete = half.handler.continuationComplete();
    } catch (...) {
        half.error = std::current_exception();
    }
}

// What every handler of one package shares besides the content part.
struct HandlerSetup {
    const ods::ConditionalStyles* conditionalStyles = nullptr;
    std::vector<std::string>* droppedOnOpen = nullptr;

    void apply(OdsContentHandler& handler, bool reports) const {
        handler.setConditionalStyles(conditionalStyles);
        if (reports) handler.reportDroppedTo(droppedOnOpen);
    }
};

std::vector<Sheet> readWhole(ZipReader& archive, const HandlerSetup& setup) {
    OdsContentHandler handler;
    setup.apply(handler, true);
    parseXmlEntry(archive, kContentPart, handler);
    return handler.takeSheets();
}

// Reads the part with the fast scanner; nothing when the scanner refuses it
// or anything else goes wrong, and the part is then read as before, which
// gives the usual result or error.
std::optional<std::vector<Sheet>> readScanned(ZipReader& archive, const HandlerSetup& setup) {
    size_t droppedBefore = setup.droppedOnOpen ? setup.droppedOnOpen->size() : 0;
    try {
        OdsContentHandler handler;
        setup.apply(handler, true);
        if (scanXmlEntry(archive, kContentPart, handler)) return handler.takeSheets();
    } catch (...) {
    }
    if (setup.droppedOnOpen) setup.droppedOnOpen->resize(droppedBefore);
    return std::nullopt;
}

// Reads the part in two halves; nothing when the halves do not fit together.
std::optional<std::vector<Sheet>> readInHalves(ZipReader& archive, std::string_view package,
                                               uint64_t declaredSize, const HandlerSetup& setup) {
    // A little past the middle: the second half also decompresses the first.
    uint64_t cutFrom = declaredSize / 100 * 54;
    std::atomic<bool> cancelled{false};
    std::atomic<int64_t> textBytes{0};
    SecondHalf second;
    second.handler.shareTextCount(textBytes);
    setup.apply(second.handler, false);
    std::thread worker;
    try {
        worker = std::thread([&] { readSecondHalf(package, cutFrom, cancelled, second); });
    } catch (const std::system_error&) {
        return std::nullopt; // no thread to spare: one reader does it all
    }
    auto stopWorker = [&] {
        if (!worker.joinable()) return;
        cancelled = true;
        worker.join();
    };

    std::optional<std::vector<Sheet>> sheets;
    try {
        OdsContentHandler first;
        first.shareTextCount(textBytes);
        setup.apply(first, true);
        XmlReader xml(first);
        StreamCut cut(kRowStarts, cutFrom);
        auto parse = [&](std::string_view piece) {
            if (!piece.empty()) xml.feed(piece);
        };
        auto ignore = [](std::string_view) {};
        try {
            archive.stream(kContentPart, [&](std::string_view chunk) {
                cut.feed(chunk, parse, ignore);
                if (cut.found()) throw Stop{};
            });
        } catch (const Stop&) {
        }
        if (!cut.found()) {
            // No cut: the first half was the whole part.
            stopWorker();
            cut.finish(parse);
            xml.finish();
            return first.takeSheets();
        }
        if (first.betweenRows()) {
            worker.join();
            if (second.complete && !second.error) {
                first.absorb(second.handler);
                xml.feed(second.tail);
                xml.finish();
                sheets = first.takeSheets();
                Log::progress("  ODS: content.xml read in two halves");
            }
        }
    } catch (...) {
        // The whole read reports what was wrong.
    }
    stopWorker();
    return sheets;
}

} // namespace

// One package; the spreadsheet's sheets in tab order.
class ODSReader {
  public:
    explicit ODSReader(std::string_view data, bool splitBigParts = true,
                       std::vector<std::string>* droppedOnOpen = nullptr)
        : data_(data), split_(splitBigParts), droppedOnOpen_(droppedOnOpen) {}

    std::vector<Sheet> parse() {
        ZipReader archive(BorrowedBytes{data_});
        if (!archive.contains(kContentPart))
            throw std::runtime_error(
                "the package has no content.xml, so it is not an OpenDocument spreadsheet");
        ods::ConditionalStyles conditionalStyles = ods::readConditionalStyles(archive);
        std::vector<Sheet> sheets = readSheets(archive, {&conditionalStyles, droppedOnOpen_});
        if (!writtenBySumora(archive)) widenToPixels(sheets);
        return sheets;
    }

  private:
    std::vector<Sheet> readSheets(ZipReader& archive, const HandlerSetup& setup) {
        if (auto sheets = readScanned(archive, setup)) return std::move(*sheets);
        for (const ZipEntry& entry : archive.entries()) {
            if (!split_ || entry.path != kContentPart || entry.uncompressedSize < kSplitThreshold ||
                std::thread::hardware_concurrency() < 2)
                continue;
            if (auto sheets = readInHalves(archive, data_, entry.uncompressedSize, setup))
                return std::move(*sheets);
            break;
        }
        try {
            return readWhole(archive, setup);
        } catch (const XmlError&) {
            if (isEncrypted(archive))
                throw std::runtime_error(
                    "the spreadsheet is encrypted with a password, which Sumora cannot open");
            throw;
        }
    }

    // Our writer stores a width w as w × 0.264583 cm, ten times the true
    // length of w pixels; its files name it as their generator.
    static bool writtenBySumora(ZipReader& archive) {
        try {
            for (const ZipEntry& entry : archive.entries())
                if (entry.path == "meta.xml")
                    return entry.uncompressedSize < (1u << 20) &&
                           archive.read("meta.xml").find("<meta:generator>Sumora/") != std::string::npos;
        } catch (const std::exception&) {
        }
        return false;
    }

    // Other producers write true lengths, which the column styles read on
    // our writer's scale: at 96 pixels per inch a pixel is 0.0264583 cm.
    static void widenToPixels(std::vector<Sheet>& sheets) {
        constexpr double kScale = ods::kCentimetresPerWidthUnit / 0.0264583;
        for (Sheet& sheet : sheets)
            for (auto& [column, width] : sheet.columnWidths)
                width = std::round(width * kScale * 100) / 100;
    }

    // An encrypted package's content is not XML; its manifest says why.
    static bool isEncrypted(ZipReader& archive) {
        try {
            return archive.contains("META-INF/manifest.xml") &&
                   archive.read("META-INF/manifest.xml").find("encryption-data") != std::string::npos;
        } catch (const std::exception&) {
            return false;
        }
    }

    std::string_view data_;
    bool split_;
    std::vector<std::string>* droppedOnOpen_;
};

std::vector<Sheet> readOdsSheets(std::string_view bytes, std::vector<std::string>* droppedOnOpen) {
    return ODSReader(bytes, true, droppedOnOpen).parse();
}

std::vector<Sheet> ods::readSheets(std::string_view bytes, bool splitBigParts) {
    return ODSReader(bytes, splitBigParts).parse();
}

} // namespace sumora
