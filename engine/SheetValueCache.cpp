#include "engine/SheetValueCache.h"

#include <algorithm>
#include <cstring>

namespace sumora {

namespace {

bool isDecimalDigit(char c) {
    return c >= '0' && c <= '9';
}

// The texts most cells hold, read without the general parser: "[-]digits" of
// up to fifteen digits, and "[-]d[.ddd]e+XX", the "%g" form of a whole number,
// when it stands for one. Both are whole numbers below 10^15, which a double
// holds exactly, so the result is what parseStrictNumber gives for the text.
bool readPlainWholeNumber(std::string_view text, double& number) {
    const char* p = text.data();
    const char* const end = p + text.size();
    const bool negative = p != end && *p == '-';
    if (negative) ++p;
    int64_t whole = 0;
    int digits = 0;
    for (; p != end && isDecimalDigit(*p); ++p, ++digits) {
        if (digits == 15) return false;
        whole = whole * 10 + (*p - '0');
    }
    if (digits == 0) return false;
    if (p != end) {
        if (digits != 1) return false;
        int fraction = 0;
        if (*p == '.') {
            for (++p; p != end && isDecimalDigit(*p); ++p, ++fraction) {
                if (fraction == 14) return false;
                whole = whole * 10 + (*p - '0');
            }
            if (fraction == 0) return false;
        }
        if (end - p != 4 || p[0] != 'e' || p[1] != '+' || !isDecimalDigit(p[2]) || !isDecimalDigit(p[3]))
            return false;
        const int exponent = (p[2] - '0') * 10 + (p[3] - '0');
        if (exponent < fraction || exponent > 14) return false;
        for (int k = fraction; k < exponent; ++k)
            whole *= 10;
    }
    number = negative ? -static_cast<double>(whole) : static_cast<double>(whole);
    return true;
}

// Whether every byte-sized tag in [first, last) is `tag`, eight at a time:
// windows over a column of results are long runs of numbers.
template <class Tag> bool allAre(const Tag* first, const Tag* last, Tag tag) {
    static_assert(sizeof(Tag) == 1);
    const uint64_t eightTags = 0x0101010101010101ull * static_cast<uint8_t>(tag);
    for (; last - first >= 8; first += 8) {
        uint64_t eight;
        std::memcpy(&eight, first, sizeof eight);
        if (eight != eightTags) return false;
    }
    for (; first != last; ++first)
        if (*first != tag) return false;
    return true;
}

} // namespace

SheetValueCache::Tag SheetValueCache::decode(const Cell& cell, double& number) {
    // readCellText reads the computed text when there is one, else the value.
    const std::optional<std::string_view> computed = cell.computedValue();
    if (readPlainWholeNumber(computed && !computed->empty() ? *computed : cell.value(), number))
        return Tag::number;
    FormulaValue v = readCellText(computed, cell.value());
    switch (v.kind()) {
    case FormulaValue::Kind::number:
        number = v.numberValue();
        return Tag::number;
    case FormulaValue::Kind::boolean:
        return v.boolValue() ? Tag::boolTrue : Tag::boolFalse;
    case FormulaValue::Kind::empty:
        return Tag::empty;
    default:
        return Tag::text;
    }
}

SheetValueCache::Chunk& SheetValueCache::chunk(int64_t col, int64_t row) {
    auto c = static_cast<size_t>(col);
    if (c >= columns_.size()) columns_.resize(c + 1);
    auto& chunks = columns_[c];
    auto k = static_cast<size_t>(row) >> kChunkShift;
    if (k >= chunks.size()) chunks.resize(k + 1);
    if (!chunks[k]) chunks[k] = std::make_unique<Chunk>(); // zeroed: every tag unknown
    return *chunks[k];
}

SheetValueCache::Chunk* SheetValueCache::existingChunk(int64_t col, int64_t row) {
    auto c = static_cast<size_t>(col);
    auto k = static_cast<size_t>(row) >> kChunkShift;
    if (c >= columns_.size() || k >= columns_[c].size()) return nullptr;
    return columns_[c][k].get();
}

SheetValueCache::Tag SheetValueCache::tagOf(const Sheet& sheet, int64_t col, int64_t row, double& number) {
    // Unstored cells read as empty and get no cache memory.
    if (col >= sheet.storedColumnCount(row)) return Tag::empty;
    Chunk* existing = existingChunk(col, row);
    if (!existing) {
        // Nor do stored blank cells (the padding of a row that reaches a far
        // column), so a sparse row costs no chunk per column.
        const Cell& cell = sheet.cell(row, col);
        if (cell.value().empty() && cell.computedValue().value_or("").empty()) return Tag::empty;
    }
    Chunk& ch = existing ? *existing : chunk(col, row);
    size_t i = static_cast<size_t>(row) & (kChunkRows - 1);
    if (ch.tags[i] == Tag::unknown) ch.tags[i] = decode(sheet.cell(row, col), ch.numbers[i]);
    number = ch.numbers[i];
    return ch.tags[i];
}

FormulaValue SheetValueCache::materialise(const Sheet& sheet, int64_t col, int64_t row, Tag tag,
                                          double number) const {
    switch (tag) {
    case Tag::number:
        return FormulaValue::number(number);
    case Tag::empty:
        return FormulaValue::empty();
    case Tag::boolTrue:
        return FormulaValue::boolean(true);
    case Tag::boolFalse:
        return FormulaValue::boolean(false);
    default: {
        const Cell& c = sheet.cell(row, col);
        return readCellText(c.computedValue(), c.value());
    }
    }
}

FormulaValue SheetValueCache::value(const Sheet& sheet, int64_t col, int64_t row) {
    double number = 0;
    Tag tag = tagOf(sheet, col, row, number);
    return materialise(sheet, col, row, tag, number);
}

void SheetValueCache::appendValues(const Sheet& sheet, const RangeSpec& r, std::vector<FormulaValue>& out) {
    checkArrayCells(r.rows(), r.cols());
    out.reserve(out.size() + static_cast<size_t>(r.rows() * r.cols()));
    for (int64_t row = r.row1; row <= r.row2; ++row)
        for (int64_t col = r.col1; col <= r.col2; ++col)
            out.push_back(value(sheet, col, row));
}

void SheetValueCache::appendNumbers(const Sheet& sheet, const RangeSpec& r, std::vector<double>& out) {
    // Only stored rows can hold numbers.
    int64_t lastRow = std::min(r.row2, sheet.storedRowCount() - 1);
    if (r.col1 != r.col2) {
        double number = 0;
        for (int64_t row = r.row1; row <= lastRow; ++row) {
            int64_t lastCol = std::min(r.col2, sheet.storedColumnCount(row) - 1);
            for (int64_t col = r.col1; col <= lastCol; ++col)
                if (tagOf(sheet, col, row, number) == Tag::number) out.push_back(number);
        }
        return;
    }
    // One column: walk each chunk's arrays directly.
    const int64_t col = r.col1;
    if (lastRow >= r.row1)
        out.reserve(out.size() + static_cast<size_t>(std::min<int64_t>(lastRow - r.row1 + 1, 1 << 20)));
    for (int64_t row = r.row1; row <= lastRow;) {
        Chunk* ch = existingChunk(col, row); // else made at the first stored cell of this stretch
        size_t i = static_cast<size_t>(row) & (kChunkRows - 1);
        size_t end = std::min(kChunkRows, i + static_cast<size_t>(lastRow - row + 1));
        // A stretch of numbers already decoded (a window over results) is one copy.
        if (ch && allAre(ch->tags + i, ch->tags + end, Tag::number)) {
            out.insert(out.end(), ch->numbers + i, ch->numbers + end);
            row += static_cast<int64_t>(end - i);
            continue;
        }
        for (; i < end; ++i, ++row) {
            // A known tag is of a stored cell: only unknown ones need the row's width.
            if (!ch || ch->tags[i] == Tag::unknown) {
                if (col >= sheet.storedColumnCount(row)) continue;
                if (!ch) ch = &chunk(col, row);
                if (ch->tags[i] == Tag::unknown) ch->tags[i] = decode(sheet.cell(row, col), ch->numbers[i]);
            }
            if (ch->tags[i] == Tag::number) out.push_back(ch->numbers[i]);
        }
    }
}

void SheetValueCache::appendEntries(const Sheet& sheet, const RangeSpec& r, std::vector<RangeEntry>& out) {
    const int64_t cols = r.cols();
    int64_t lastRow = std::min(r.row2, sheet.storedRowCount() - 1);
    double number = 0;
    for (int64_t row = r.row1; row <= lastRow; ++row) {
        int64_t lastCol = std::min(r.col2, sheet.storedColumnCount(row) - 1);
        for (int64_t col = r.col1; col <= lastCol; ++col) {
            Tag tag = tagOf(sheet, col, row, number);
            if (tag != Tag::empty)
                out.push_back(
                    {(row - r.row1) * cols + (col - r.col1), materialise(sheet, col, row, tag, number)});
        }
    }
}

void SheetValueCache::rememberNumber(int64_t col, int64_t row, double number) {
    if (col < 0 || row < 0) return;
    Chunk& ch = chunk(col, row);
    size_t i = static_cast<size_t>(row) & (kChunkRows - 1);
    ch.tags[i] = Tag::number;
    ch.numbers[i] = number;
}

void SheetValueCache::forget(int64_t col, int64_t row) {
    auto c = static_cast<size_t>(col);
    auto k = static_cast<size_t>(row) >> kChunkShift;
    if (col < 0 || row < 0 || c >= columns_.size() || k >= columns_[c].size() || !columns_[c][k]) return;
    columns_[c][k]->tags[static_cast<size_t>(row) & (kChunkRows - 1)] = Tag::unknown;
}

} // namespace sumora
