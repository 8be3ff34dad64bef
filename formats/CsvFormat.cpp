#include "formats/CsvFormat.h"

#include <algorithm>
#include <array>

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

// What a byte means to the splitter; most bytes mean nothing and are skipped
// by one table lookup each.
enum ByteClass : uint8_t { kOrdinary, kComma, kQuote, kMaybeLineEnd };

constexpr std::array<uint8_t, 256> kByteClasses = [] {
    std::array<uint8_t, 256> classes{};
    classes[','] = kComma;
    classes['"'] = kQuote;
    for (int c = 0x0A; c <= 0x0D; ++c)
        classes[static_cast<size_t>(c)] = kMaybeLineEnd;
    classes[0xC2] = kMaybeLineEnd; // NEL
    classes[0xE2] = kMaybeLineEnd; // LS, PS
    return classes;
}();

// Turns split lines into the sheet's rows; blank lines are never handed in.
class RowStore {
  public:
    explicit RowStore(Sheet& sheet) : sheet_(sheet) {}

    template <class Fields> void add(const Fields& fields) {
        size_t width = fields.size();
        while (width > 0 && fields[width - 1].empty())
            --width;
        sheet_.growTo(row_ + 1, static_cast<int64_t>(fields.size()));
        // The row is made its exact width at once (empty fields inside it stay
        // default cells); trailing empty fields are never stored.
        if (width > 0) sheet_.cellForWriting(row_, static_cast<int64_t>(width) - 1);
        for (size_t col = 0; col < width; ++col) {
            std::string_view field = fields[col];
            if (field.empty()) continue;
            Cell& cell = *sheet_.storedCell(row_, static_cast<int64_t>(col));
            cell.setValue(field);
            cell.setComputedValue(field); // the same text: kept once
        }
        widest_ = std::max(widest_, fields.size());
        ++row_;
    }

    int64_t rows() const { return row_; }
    int64_t widest() const { return static_cast<int64_t>(widest_); }

  private:
    Sheet& sheet_;
    int64_t row_ = 0;
    size_t widest_ = 0;
};

} // namespace

SumoraDocument readCsvDocument(std::string_view bytes) {
    if (!isValidUtf8(bytes))
        throw FileReadError(
            FileReadError::Code::inapplicableEncoding,
            "The file couldn't be opened because the text encoding of its contents can't be determined.");
    SumoraDocument doc = SumoraDocument::empty();
    Sheet sheet("Sheet 1", 0, 0);
    RowStore rows(sheet);
    // One pass over the bytes: commas split the fields of the current line in
    // place; a line holding a quote is split again by parseCSVLine, whose
    // quote rules the common line does not need.
    std::vector<std::string_view> fields;
    size_t lineStart = 0, fieldStart = 0;
    bool quoted = false;
    auto endLine = [&](size_t end) {
        if (end == lineStart) return; // blank lines vanish
        if (quoted) {
            rows.add(parseCSVLine(bytes.substr(lineStart, end - lineStart)));
        } else {
            fields.push_back(bytes.substr(fieldStart, end - fieldStart));
            rows.add(fields);
        }
        fields.clear();
        quoted = false;
    };
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    const size_t size = bytes.size();
    for (size_t i = 0; i < size;) {
        while (i < size && kByteClasses[data[i]] == kOrdinary)
            ++i;
        if (i == size) break;
        switch (kByteClasses[data[i]]) {
        case kComma:
            if (!quoted) fields.push_back(bytes.substr(fieldStart, i - fieldStart));
            fieldStart = ++i;
            break;
        case kQuote:
            quoted = true;
            ++i;
            break;
        default:
            if (size_t length = newlineLength(bytes, i)) {
                endLine(i);
                i += length;
                lineStart = fieldStart = i;
            } else {
                ++i;
            }
        }
    }
    endLine(size);
    sheet.setGridSize(std::max<int64_t>(rows.rows(), SumoraDocument::kNewSheetRows),
                      std::max<int64_t>(rows.widest(), SumoraDocument::kNewSheetColumns));
    // No compact(): every row is stored at its exact width and ends in a
    // cell with text, so only the row list's spare capacity would go, and
    // that is address space the reader never touched.
    doc.sheets.push_back(std::move(sheet));
    return doc;
}

} // namespace sumora
