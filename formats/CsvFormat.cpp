#include "formats/CsvFormat.h"

#include <algorithm>
#include <functional>

#include "formats/FileErrors.h"
#include "formats/Utf8.h"

namespace sumora {

std::vector<std::string> parseCSVLine(std::string_view line) {
    std::vector<std::string> fields;
    std::string field;
    bool inQuotes = false;
    for (char c : line) {
        if (c == '"') {
            inQuotes = !inQuotes;
        } else if (c == ',' && !inQuotes) {
            fields.push_back(std::move(field));
            field.clear();
            inQuotes = false;
        } else {
            field += c;
        }
    }
    fields.push_back(std::move(field));
    return fields;
}

namespace {

// Length of a line separator starting at i: LF, VT, FF, CR, NEL, LS, PS each
// end a line on their own (so CR LF gives an empty line, which is dropped).
size_t newlineLength(std::string_view s, size_t i) {
    auto c = static_cast<unsigned char>(s[i]);
    if (c >= 0x0A && c <= 0x0D) return 1;
    if (c == 0xC2 && i + 1 < s.size() && static_cast<unsigned char>(s[i + 1]) == 0x85) return 2;
    if (c == 0xE2 && i + 2 < s.size() && static_cast<unsigned char>(s[i + 1]) == 0x80) {
        auto d = static_cast<unsigned char>(s[i + 2]);
        if (d == 0xA8 || d == 0xA9) return 3;
    }
    return 0;
}

} // namespace

SumoraDocument readCsvDocument(std::string_view bytes) {
    if (!isValidUtf8(bytes))
        throw FileReadError(
            FileReadError::Code::inapplicableEncoding,
            "The file couldn't be opened because the text encoding of its contents can't be determined.");
    SumoraDocument doc = SumoraDocument::empty();
    Sheet sheet("Sheet 1", 0, 0);
    int64_t row = 0;
    size_t widest = 0;
    size_t start = 0;
    auto store = [&](size_t col, std::string_view field) {
        if (field.empty()) return;
        Cell& cell = sheet.cellForWriting(row, static_cast<int64_t>(col));
        cell.setValue(field);
        cell.setComputedValue(field); // the same text: kept once
    };
    auto takeLine = [&](size_t end) {
        if (end <= start) return;
        std::string_view line = bytes.substr(start, end - start);
        size_t fields = 0;
        if (line.find('"') == std::string_view::npos) {
            // The common line without quotes: its fields are read in place.
            fields = 1 + static_cast<size_t>(std::count(line.begin(), line.end(), ','));
            sheet.growTo(row + 1, static_cast<int64_t>(fields));
            sheet.reserveRow(row, static_cast<int64_t>(fields));
            size_t from = 0;
            for (size_t col = 0;; ++col) {
                size_t comma = line.find(',', from);
                store(col, line.substr(from, comma == std::string_view::npos ? comma : comma - from));
                if (comma == std::string_view::npos) break;
                from = comma + 1;
            }
        } else {
            auto parsed = parseCSVLine(line);
            fields = parsed.size();
            sheet.growTo(row + 1, static_cast<int64_t>(fields));
            sheet.reserveRow(row, static_cast<int64_t>(fields));
            for (size_t col = 0; col < parsed.size(); ++col)
                store(col, parsed[col]);
        }
        widest = std::max(widest, fields);
        ++row;
    };
    for (size_t i = 0; i < bytes.size();) {
        size_t nl = newlineLength(bytes, i);
        if (nl) {
            takeLine(i);
            i += nl;
            start = i;
        } else {
            ++i;
        }
    }
    takeLine(bytes.size());
    sheet.setGridSize(std::max<int64_t>(row, SumoraDocument::kNewSheetRows),
                      std::max<int64_t>(static_cast<int64_t>(widest), SumoraDocument::kNewSheetColumns));
    sheet.compact();
    doc.sheets.push_back(std::move(sheet));
    return doc;
}

void appendCsvField(std::string& out, std::string_view text) {
    if (text.find_first_of(",\"\n") == std::string_view::npos) {
        out.append(text);
        return;
    }
    out += '"';
    for (char c : text) {
        if (c == '"') out += '"';
        out += c;
    }
    out += '"';
}

void writeCsv(const SumoraDocument& document, const std::function<void(std::string_view)>& sink) {
    if (document.sheets.empty()) return;
    const Sheet& sheet = document.sheets.front();
    const int64_t cols = sheet.columnCount();
    // The grid is written whole, so a sheet reaching a far cell makes a file
    // of mostly commas: it goes out in pieces, never held in memory at once.
    constexpr size_t kPieceBytes = size_t{1} << 20;
    std::string out;
    out.reserve(kPieceBytes + 4096);
    for (int64_t r = 0; r < sheet.rowCount(); ++r) {
        const int64_t stored = std::min(sheet.storedColumnCount(r), cols);
        for (int64_t c = 0; c < stored; ++c) {
            if (c > 0) out += ',';
            appendCsvField(out, sheet.cell(r, c).displayValue());
            if (out.size() >= kPieceBytes) {
                sink(out);
                out.clear();
            }
        }
        // The empty fields after the last stored cell: only their commas.
        for (int64_t left = cols - std::max<int64_t>(stored, 1); left > 0;) {
            auto n = static_cast<size_t>(std::min<int64_t>(left, static_cast<int64_t>(kPieceBytes)));
            out.append(n, ',');
            left -= static_cast<int64_t>(n);
            if (out.size() >= kPieceBytes) {
                sink(out);
                out.clear();
            }
        }
        out += '\n';
        if (out.size() >= kPieceBytes) {
            sink(out);
            out.clear();
        }
    }
    if (!out.empty()) sink(out);
}

std::string writeCsv(const SumoraDocument& document) {
    std::string out;
    writeCsv(document, [&out](std::string_view piece) { out += piece; });
    return out;
}

} // namespace sumora
