// Reading a worksheet part. A part is streamed through one handler; a big
// one is read in two halves at the same time, because parsing, not
// decompression, dominates the opening of a large workbook.
//
// The split: both halves see the same decompressed byte stream, each through
// its own archive reader. The cut lies at the first "<row " at or after a
// point near the middle of the part's declared size. The first half parses
// everything before the cut; the second decompresses up to the cut without
// parsing, parses the rows from the cut to "</sheetData>" wrapped in a
// synthetic root into a sheet of its own, and hands the rest of the part back
// to the first half, which finishes the document and takes over the second
// half's rows. When the halves do not fit together (no row numbers, a cut
// inside a text, any error in the second half) the part is simply read again
// as a whole, which also reports real errors the way a whole read does.
#include "formats/XlsxWorksheetReader.h"

#include <charconv>
#include <cmath>
#include <exception>
#include <system_error>
#include <thread>

#include "document/Sheet.h"
#include "formats/StreamCut.h"
#include "formats/XlsxText.h"
#include "formats/XlsxWorksheetHandler.h"
#include "formats/XmlScanner.h"
#include "formats/ZipArchive.h"
#include "values/SerialDate.h"

namespace sumora::xlsx {

namespace {

constexpr uint64_t kCutPercent = 56;
constexpr std::string_view kRowStart = "<row ";
constexpr std::string_view kSheetDataEnd = "</sheetData>";

struct Stop {};

// The second half: its rows into `sheet`, the part's end into `tail`.
struct SecondHalf {
    Sheet sheet;
    std::optional<WorksheetHandler> handler;
    std::string tail;
    std::exception_ptr error;
    bool complete = false;
};

void readSecondHalf(const WorksheetContext& context, std::string_view path, uint64_t cutFrom,
                    const std::atomic<bool>& cancelled, SecondHalf& half) {
    try {
        ZipReader archive(BorrowedBytes{context.packageBytes});
        half.handler.emplace(context, half.sheet, WorksheetHandler::Role::continuation);
        XmlReader xml(*half.handler);
        xml.feed("<worksheet><sheetData>");
        StreamCut toRows({kRowStart}, cutFrom);
        StreamCut toEnd({kSheetDataEnd}, 0);
        auto rows = [&](std::string_view piece) {
            if (!piece.empty()) xml.feed(piece);
        };
        auto end = [&](std::string_view piece) { half.tail.append(piece); };
        auto fromCut = [&](std::string_view piece) { toEnd.feed(piece, rows, end); };
        auto skip = [](std::string_view) {};
        try {
            archive.stream(path, [&](std::string_view chunk) {
                if (cancelled.load(std::memory_order_relaxed)) throw Stop{};
                toRows.feed(chunk, skip, fromCut);
            });
        } catch (const Stop&) {
            return;
        }
        toEnd.finish(rows);
        if (!toRows.found() || !toEnd.found()) return;
        xml.feed("</sheetData></worksheet>");
        xml.finish();
        half.complete = true;
    } catch (...) {
        half.error = std::current_exception();
    }
}

// A sheet as the caller handed it over, before any cell was read.
Sheet blankLike(const Sheet& sheet) {
    Sheet blank(sheet.name, 0, 0);
    blank.id = sheet.id;
    blank.isHidden = sheet.isHidden;
    return blank;
}

// Reads the part with the fast scanner. When the scanner refuses it, or
// anything else goes wrong, everything this attempt did is undone and the
// part is read as before, which then gives the usual result or error.
bool readScanned(ZipReader& archive, std::string_view path, const WorksheetContext& context, Sheet& sheet) {
    Sheet blank = blankLike(sheet);
    size_t droppedBefore = context.dropped ? context.dropped->size() : 0;
    WorksheetHandler handler(context, sheet);
    if (const ZipEntry* entry = archive.entry(path)) handler.setPartSize(entry->uncompressedSize);
    try {
        if (scanXmlEntry(archive, path, handler)) {
            handler.finish();
            return true;
        }
    } catch (...) {
    }
    if (context.storedTextBytes) *context.storedTextBytes -= handler.countedTextBytes();
    if (context.dropped) context.dropped->resize(droppedBefore);
    sheet = std::move(blank);
    return false;
}

void readWhole(ZipReader& archive, std::string_view path, const WorksheetContext& context, Sheet& sheet) {
    WorksheetHandler handler(context, sheet);
    parseXmlEntry(archive, path, handler);
    handler.finish();
}

// Reads the part in two halves; false (with `sheet` untouched by this
// attempt's results) when the halves do not fit together.
bool readInHalves(ZipReader& archive, std::string_view path, uint64_t declaredSize,
                  const WorksheetContext& context, Sheet& sheet) {
    // The second half first decompresses its way past the first, so the cut
    // lies a little beyond the middle to have both finish together.
    uint64_t cutFrom = declaredSize / 100 * kCutPercent;
    std::atomic<bool> cancelled{false};
    SecondHalf second;
    std::thread worker;
    try {
        worker = std::thread([&] { readSecondHalf(context, path, cutFrom, cancelled, second); });
    } catch (const std::system_error&) {
        return false; // no thread to be had: one reader does it all
    }

    WorksheetHandler first(context, sheet);
    bool fits = false;
    try {
        XmlReader xml(first);
        StreamCut cut({kRowStart}, cutFrom);
        auto parse = [&](std::string_view piece) {
            if (!piece.empty()) xml.feed(piece);
        };
        auto stop = [](std::string_view) {};
        try {
            archive.stream(path, [&](std::string_view chunk) {
                cut.feed(chunk, parse, stop);
                if (cut.found()) throw Stop{};
            });
        } catch (const Stop&) {
        }
        if (!cut.found()) {
            // No cut: the first half was the whole part.
            cancelled = true;
            worker.join();
            cut.finish(parse);
            xml.finish();
            first.finish();
            return true;
        }
        if (first.betweenRows()) {
            worker.join();
            if (second.complete && !second.error) {
                xml.feed(second.tail);
                xml.finish();
                fits = true;
            }
        }
    } catch (...) {
        // Whatever went wrong, the whole read below meets it again and reports it.
    }
    if (worker.joinable()) {
        cancelled = true;
        worker.join();
    }
    if (fits) {
        first.absorb(*second.handler, second.sheet);
        first.finish();
        if (context.partsReadInHalves) ++*context.partsReadInHalves;
        return true;
    }
    // Neither half's text counts: the whole read counts it again.
    if (context.storedTextBytes)
        *context.storedTextBytes -=
            first.countedTextBytes() + (second.handler ? second.handler->countedTextBytes() : 0);
    return false;
}

} // namespace

void readWorksheet(ZipReader& archive, std::string_view path, const WorksheetContext& context, Sheet& sheet) {
    if (readScanned(archive, path, context, sheet)) return;
    const ZipEntry* entry = archive.entry(path);
    if (entry && entry->uncompressedSize >= context.splitThreshold && !context.packageBytes.empty() &&
        std::thread::hardware_concurrency() >= 2) {
        Sheet fresh = blankLike(sheet);
        if (readInHalves(archive, path, entry->uncompressedSize, context, sheet)) return;
        sheet = std::move(fresh);
    }
    readWhole(archive, path, context, sheet);
}

std::optional<std::string> serialTextFromIsoDate(std::string_view text) {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0;
    double second = 0;
    auto number = [&](size_t at, size_t length, int& out) {
        if (at + length > text.size()) return false;
        auto [end, ec] = std::from_chars(text.data() + at, text.data() + at + length, out);
        return ec == std::errc() && end == text.data() + at + length;
    };
    if (text.size() < 10 || !number(0, 4, year) || text[4] != '-' || !number(5, 2, month) || text[7] != '-' ||
        !number(8, 2, day) || !isValidDate(year, month, day))
        return std::nullopt;
    if (text.size() > 10) {
        if ((text[10] != 'T' && text[10] != ' ') || text.size() < 16 || !number(11, 2, hour) ||
            text[13] != ':' || !number(14, 2, minute) || hour > 24 || minute > 59)
            return std::nullopt;
        if (text.size() > 17 && text[16] == ':') {
            size_t end = 17;
            while (end < text.size() && ((text[end] >= '0' && text[end] <= '9') || text[end] == '.'))
                ++end;
            auto seconds = parseDouble(text.substr(17, end - 17));
            if (!seconds || *seconds >= 61) return std::nullopt;
            second = *seconds;
        }
    }
    double serial = static_cast<double>(daysSince1900(CivilDate{year, month, day})) +
                    (hour * 3600.0 + minute * 60.0 + second) / 86400.0;
    char buffer[32];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, serial);
    if (ec != std::errc()) return std::nullopt;
    return std::string(buffer, end);
}

} // namespace sumora::xlsx
